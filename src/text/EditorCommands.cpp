// EDITOR: opening a small text file whole, keeping the typed text, saving it
// in the encoding it came in (or the one chosen in the picker), and the
// questions on the way in and out.
#include "core/AppState.h"

#include "archive/ArchiveLocation.h"
#include "core/FileDescriptor.h"
#include "core/PathUtils.h"
#include "core/SystemPath.h"
#include "dialogs/DosDialog.h"
#include "filesystem/FileSystemService.h"
#include "preview/PreviewSelection.h"
#include "text/TextDecoding.h"

#include <QCoreApplication>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

namespace {

// EDITOR holds the whole file as one text; larger files go to an outside application.
constexpr int64_t kEditorByteLimit = 262144;

const QString kPreviewOnly = QStringLiteral("This file is preview-only (not editable as text)");
const QString kNotRegularFile =
    QStringLiteral("This item is not a regular file (not editable as text)");

// The size of a file, or none when it can't be asked.
std::optional<int64_t> fileSize(const QString& url) {
    struct stat st;
    if (::stat(toSystemPath(url).constData(), &st) != 0) {
        return std::nullopt;
    }
    return int64_t(st.st_size);
}

FsResult<QByteArray> readWholeFile(const FileDescriptor& file) {
    QByteArray bytes;
    char buffer[65536];
    for (;;) {
        const ssize_t count = ::read(file.get(), buffer, sizeof buffer);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return fail(FileSystemError::fromErrno(errno));
        }
        if (count == 0) {
            break;
        }
        bytes.append(buffer, count);
    }
    return bytes;
}

// The entry under the cursor can be edited only when it is a plain file.
bool isEditableEntry(const FileEntry& entry) {
    return !entry.isDirectory && !entry.isParent && !entry.isZipArchive && !entry.isLinkToFolder;
}

// The picker's buttons stand in this order; the selection starts on the
// label the file was opened (or last chosen) with.
int encodingPickerIndex(const QString& label) {
    const std::optional<TextFileEncoding> encoding = TextDecoding::textFileEncoding(label);
    return encoding ? int(*encoding) : 0;
}

// What reading a file for EDITOR found, on a worker: the decoded text, a
// size over the limit, a kind of file EDITOR does not take, or why the file
// could not be read.
struct EditorRead {
    enum class Kind { text, large, previewOnly, failed };
    Kind kind = Kind::failed;
    QString path;
    QString failure;
    int64_t size = 0;
    TextDecoding::Decoded decoded;
};

EditorRead failedRead(const QString& path, const QString& failure) {
    EditorRead read;
    read.path = path;
    read.failure = failure;
    return read;
}

EditorRead kindOfRead(const QString& path, EditorRead::Kind kind, int64_t size = 0) {
    EditorRead read;
    read.kind = kind;
    read.path = path;
    read.size = size;
    return read;
}

// E asks the size first: a large file is offered to an outside application
// whatever its kind. Opening for EDITOR asks it after the kind.
enum class SizeFirst { no, yes };

EditorRead readForEditor(const QString& path, SizeFirst sizeFirst) {
    const std::optional<int64_t> size = fileSize(path);
    const bool large = size && *size >= kEditorByteLimit;
    if (sizeFirst == SizeFirst::yes && large) {
        return kindOfRead(path, EditorRead::Kind::large, *size);
    }
    // Opened first and without waiting: a FIFO or a device named like a text
    // would hold the thread in open() or read() for good.
    const auto file = FileDescriptor::openRegularFile(path);
    if (!file) {
        return failedRead(path, file.error() == FileDescriptor::notRegularFile()
                                    ? kNotRegularFile
                                    : FileSystemError::fromErrno(file.error().code).description());
    }
    if (PreviewSelection::classifyFile(PathUtils::lastPathComponent(path), path) !=
        ViewerContentKind::text) {
        return kindOfRead(path, EditorRead::Kind::previewOnly);
    }
    if (large) {
        return kindOfRead(path, EditorRead::Kind::large, *size);
    }
    const FsResult<QByteArray> bytes = readWholeFile(*file);
    if (!bytes) {
        return failedRead(path, bytes.error().description());
    }
    const auto decoded = TextDecoding::decode(*bytes, false);
    if (!decoded) {
        return failedRead(
            path, FileSystemError::make(FileSystemError::Kind::unreadableText, path).description());
    }
    EditorRead read = kindOfRead(path, EditorRead::Kind::text, bytes->size());
    read.decoded = *decoded;
    return read;
}

// What the read found, back on the main thread, in the order the steps of
// opening take.
void applyEditorRead(AppState& state, const EditorRead& read) {
    switch (read.kind) {
    case EditorRead::Kind::failed:
        state.reportError(read.failure);
        break;
    case EditorRead::Kind::previewOnly:
        state.reportError(kPreviewOnly);
        state.loadViewerContent(read.path);
        break;
    case EditorRead::Kind::large:
        state.offerExternalOpenForLargeFile(read.path, read.size);
        break;
    case EditorRead::Kind::text:
        state.showFileInEditor(read.path, read.decoded.text, read.decoded.label, read.size);
        break;
    }
    state.notifyChanged();
}

// The file is read on a worker; EDITOR or the refusal comes when it is back.
void openForEditor(AppState& state, const QString& url, SizeFirst sizeFirst) {
    state.lookAtDiskThen([&state, path = PathUtils::standardizedPath(url),
                          sizeFirst]() -> std::function<void()> {
        return [&state, read = readForEditor(path, sizeFirst)] { applyEditorRead(state, read); };
    });
}

// The size decides between EDITOR and the question about an outside application.
void openUnlessLarge(AppState& state, const QString& url) {
    openForEditor(state, url, SizeFirst::yes);
}

// With no file on show, E edits the file under the cursor.
void enterEditorFromCursor(AppState& state) {
    const std::optional<PaneSide> side = state.activeFilerSide();
    const auto refusal =
        side ? ArchiveLocation::refusal(state.pane(*side).location,
                                        ArchiveLocation::ReadOnlyCommand::enterEditor)
             : std::nullopt;
    if (refusal) {
        state.reportError(*refusal);
        state.notifyChanged();
        return;
    }
    const std::optional<FileEntry> entry = state.currentEntry();
    if (!entry || !isEditableEntry(*entry)) {
        state.reportError(QStringLiteral("No file to edit"));
        state.notifyChanged();
        return;
    }
    openUnlessLarge(state, PathUtils::standardizedPath(entry->url()));
}

} // namespace

void AppState::enterEditor() {
    const auto refuse = [this](const QString& message) {
        reportError(message);
        notifyChanged();
    };
    if (viewerFromZip) {
        refuse(ArchiveLocation::refusalText(ArchiveLocation::ReadOnlyCommand::enterEditor));
        return;
    }
    if (rightMode == RightPaneMode::editor) {
        // Already editing: reopening would throw the typed text away.
        focusedSide = PaneSide::right;
        ++editorFocusNonce;
        notifyChanged();
        return;
    }
    if (!editorURL) {
        enterEditorFromCursor(*this);
        return;
    }
    if (rightMode == RightPaneMode::viewer && viewerKind == ViewerContentKind::text) {
        if (isExtractedTextPreview) {
            refuse(QStringLiteral("抽出プレビューのため編集できません（元ファイルは Word 等）"));
            return;
        }
        // The viewer already holds the whole file: edit that text as it is.
        if (!isTextPreviewTruncated && !isViewerLoading) {
            rightMode = RightPaneMode::editor;
            focusedSide = PaneSide::right;
            ++editorFocusNonce;
            notifyChanged();
            return;
        }
    } else if (viewerKind == ViewerContentKind::preview ||
               viewerKind == ViewerContentKind::unsupported) {
        refuse(kPreviewOnly);
        return;
    }
    openUnlessLarge(*this, *editorURL);
}

void AppState::openFileInEditor(const QString& url) {
    openForEditor(*this, url, SizeFirst::no);
}

void AppState::showFileInEditor(const QString& path, const QString& text, const QString& label,
                                int64_t byteSize) {
    // A text load still running for VIEWER would otherwise land in the editor.
    cancelPreviewLoad();
    releasePreviewCopy(path);
    editorURL = path;
    editorText = text;
    textEncodingLabel = label;
    viewerKind = ViewerContentKind::text;
    viewerFromZip = false;
    viewerZipArchive.clear();
    viewerZipEntry.clear();
    textFileByteSize = byteSize;
    isTextPreviewTruncated = false;
    isExtractedTextPreview = false;
    isViewerLoading = false;
    viewerSkipReason.reset();
    isDirty = false;
    // EDITOR stands only in the viewer layout.
    layoutMode = LayoutMode::filerViewer;
    rightMode = RightPaneMode::editor;
    stopWatching(PaneSide::right);
    focusedSide = PaneSide::right;
    ++editorFocusNonce;
    notifyChanged();
}

void AppState::offerExternalOpenForLargeFile(const QString& url, int64_t size) {
    const QString path = PathUtils::standardizedPath(url);
    pendingLargeEditURL = path;
    // VIEWER's load forgets the size it had; the question tells it at once.
    loadViewerContent(path);
    textFileByteSize = size;
    dosDialogActionIndex = 0;
    notifyChanged();
}

// The comparison is with the text stored last, never with the disk: typing
// and undoing back to the opened text still leaves the file marked changed.
void AppState::updateEditorText(const QString& text) {
    if (rightMode != RightPaneMode::editor || text == editorText) {
        return;
    }
    editorText = text;
    isDirty = true;
    notifyChanged();
}

namespace {

std::optional<QString> saveRefusal(const AppState& state) {
    if (state.viewerFromZip) {
        return ArchiveLocation::refusalText(ArchiveLocation::ReadOnlyCommand::saveInEditor);
    }
    if (state.rightMode != RightPaneMode::editor) {
        return QStringLiteral("Switch to EDITOR (E) before saving");
    }
    if (!state.editorURL) {
        return QStringLiteral("No file open in editor");
    }
    return std::nullopt;
}

// Writes EDITOR's text in the label's encoding on a worker, then runs
// then(saved) on the main thread. A failure is reported and keeps the text
// and the changed mark, so nothing typed is lost. The keys typed meanwhile
// wait, and Esc does not stop a save half-way: it is short and ends whole.
// False, with then never run, when the save is refused or one is under way.
bool startEditorSave(AppState& state, std::function<void(bool)> then) {
    if (const std::optional<QString> refusal = saveRefusal(state)) {
        state.reportError(*refusal);
        return false;
    }
    if (state.isEditorSaving) {
        return false;
    }
    const TextFileEncoding encoding =
        TextDecoding::textFileEncoding(state.textEncodingLabel).value_or(TextFileEncoding::utf8);
    state.isEditorSaving = true;
    state.writeToDiskThen([&state, text = state.editorText, path = *state.editorURL, encoding,
                           then = std::move(then)]() -> std::function<void()> {
        return [&state, text, then, written = FileSystemService::writeText(text, path, encoding)] {
            state.isEditorSaving = false;
            if (!written) {
                state.reportError(written.error().description());
                then(false);
                return;
            }
            // Text that changed after the save began is still unsaved.
            state.isDirty = state.editorText != text;
            state.refreshAll();
            then(true);
        };
    });
    return true;
}

} // namespace

void AppState::saveEditor() {
    startEditorSave(*this, [](bool) {});
    notifyChanged();
}

void AppState::finishExitEditor(bool save) {
    pendingExitEditorToViewer = false;
    std::function<void()> then = std::exchange(m_afterEditorSaveQuestion, nullptr);
    const auto leave = [this, then = std::move(then)] {
        isDirty = false;
        exitEditorToViewer();
        if (then) {
            then();
        }
    };
    if (!save) {
        leave();
        return;
    }
    startEditorSave(*this, [this, leave](bool saved) {
        if (saved) {
            leave();
        }
        notifyChanged();
    });
    notifyChanged();
}

void AppState::whenEditorTextIsSafe(std::function<void()> then) {
    // A save under way decides whether anything is left to ask.
    if (isEditorSaving) {
        whenWritesAreDone([this, then = std::move(then)] { whenEditorTextIsSafe(then); });
        return;
    }
    if (rightMode != RightPaneMode::editor || !isDirty) {
        then();
        return;
    }
    m_afterEditorSaveQuestion = std::move(then);
    pendingExitEditorToViewer = true;
    dosDialogActionIndex = 0;
    notifyChanged();
}

// A write under way, EDITOR's save above all, ends before the program does.
void AppState::quitNow() {
    whenWritesAreDone([this] { whenEditorTextIsSafe([] { QCoreApplication::exit(0); }); });
}

bool AppState::canChangeSaveEncoding() const {
    return rightMode == RightPaneMode::editor;
}

void AppState::showEncodingPicker() {
    const bool otherQuestionOpen =
        anyPromptOrPickerOpen() || isEncodingPickerOpen || currentDosDialog(*this).has_value();
    if (otherQuestionOpen || !canChangeSaveEncoding()) {
        return;
    }
    isEncodingPickerOpen = true;
    dosDialogActionIndex = encodingPickerIndex(textEncodingLabel);
    notifyChanged();
}

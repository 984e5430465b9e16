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

// The whole file is read and decoded on the main thread; this bound keeps that quick.
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

// The size decides between EDITOR and the question about an outside application.
void openUnlessLarge(AppState& state, const QString& url) {
    const std::optional<int64_t> size = fileSize(url);
    if (size && *size >= kEditorByteLimit) {
        state.offerExternalOpenForLargeFile(url);
    } else {
        state.openFileInEditor(url);
    }
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
    openUnlessLarge(state, PathUtils::standardizedPath(entry->url));
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
    const QString path = PathUtils::standardizedPath(url);
    // Opened first and without waiting: a FIFO or a device named like a text
    // would hold the window in open() or read() for good.
    const auto file = FileDescriptor::openRegularFile(path);
    if (!file) {
        reportError(file.error() == FileDescriptor::notRegularFile()
                        ? kNotRegularFile
                        : FileSystemError::fromErrno(file.error().code).description());
        notifyChanged();
        return;
    }
    if (PreviewSelection::classifyFile(PathUtils::lastPathComponent(path), path) !=
        ViewerContentKind::text) {
        reportError(kPreviewOnly);
        loadViewerContent(path);
        notifyChanged();
        return;
    }
    const std::optional<int64_t> size = fileSize(path);
    if (size && *size >= kEditorByteLimit) {
        offerExternalOpenForLargeFile(path);
        return;
    }
    const FsResult<QByteArray> bytes = readWholeFile(*file);
    if (!bytes) {
        reportError(bytes.error().description());
        notifyChanged();
        return;
    }
    const auto decoded = TextDecoding::decode(*bytes, false);
    if (!decoded) {
        errorMessage =
            FileSystemError::make(FileSystemError::Kind::unreadableText, path).description();
        notifyChanged();
        return;
    }
    // A text load still running for VIEWER would otherwise land in the editor.
    cancelPreviewLoad();
    releasePreviewCopy(path);
    editorURL = path;
    editorText = decoded->text;
    textEncodingLabel = decoded->label;
    viewerKind = ViewerContentKind::text;
    viewerFromZip = false;
    viewerZipArchive.clear();
    viewerZipEntry.clear();
    textFileByteSize = bytes->size();
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

void AppState::offerExternalOpenForLargeFile(const QString& url) {
    const QString path = PathUtils::standardizedPath(url);
    pendingLargeEditURL = path;
    // VIEWER's load forgets the size it had; the question tells it at once.
    loadViewerContent(path);
    textFileByteSize = fileSize(path).value_or(0);
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

// Writes EDITOR's text in the label's encoding. A failure is reported and
// keeps the text and the changed mark, so nothing typed is lost.
bool writeEditorText(AppState& state) {
    if (const std::optional<QString> refusal = saveRefusal(state)) {
        state.reportError(*refusal);
        return false;
    }
    const TextFileEncoding encoding =
        TextDecoding::textFileEncoding(state.textEncodingLabel).value_or(TextFileEncoding::utf8);
    const FsResult<Done> written =
        FileSystemService::writeText(state.editorText, *state.editorURL, encoding);
    if (!written) {
        state.reportError(written.error().description());
        return false;
    }
    state.isDirty = false;
    state.refreshAll();
    return true;
}

} // namespace

void AppState::saveEditor() {
    writeEditorText(*this);
    notifyChanged();
}

void AppState::finishExitEditor(bool save) {
    pendingExitEditorToViewer = false;
    std::function<void()> then = std::exchange(m_afterEditorSaveQuestion, nullptr);
    if (save && !writeEditorText(*this)) {
        notifyChanged();
        return;
    }
    isDirty = false;
    exitEditorToViewer();
    if (then) {
        then();
    }
}

void AppState::whenEditorTextIsSafe(std::function<void()> then) {
    if (rightMode != RightPaneMode::editor || !isDirty) {
        then();
        return;
    }
    m_afterEditorSaveQuestion = std::move(then);
    pendingExitEditorToViewer = true;
    dosDialogActionIndex = 0;
    notifyChanged();
}

void AppState::quitNow() {
    whenEditorTextIsSafe([] { QCoreApplication::exit(0); });
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

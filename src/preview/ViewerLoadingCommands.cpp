// What VIEWER shows for a file or an archive member, and the life of its load:
// one load at a time, a newer one cancels the older, and a result that comes
// back after the cursor moved on is dropped by its ticket and its file.
#include "core/AppState.h"

#include "archive/ArchiveService.h"
#include "archive/ArchiveTemporaryFolder.h"
#include "core/Background.h"
#include "core/PathUtils.h"
#include "core/SystemPath.h"
#include "preview/AnimatedImageSupport.h"
#include "preview/PreviewSelection.h"
#include "text/TextPreviewLoading.h"

#include <stop_token>
#include <sys/stat.h>
#include <utility>

using TextPreviewLoading::TextPreviewLoadResult;
using Outcome = TextPreviewLoadResult::Outcome;

// The load under way. A member load also remembers which member it is for.
struct PreviewLoadTask {
    Background::Ticket ticket;
    QString url;
    bool isMember = false;
    QString archive;
    QString entry;
    TextPreviewLoading::LoadHandle textLoad;
    // Stops the archive tool that reads a member once the load is given up:
    // replaced, cancelled or past its time limit.
    std::stop_source toolStop;
};

namespace {

const QString diskImageMessage = QStringLiteral("ディスクイメージはプレビューしません");
const QString unreadableMemberMessage = QStringLiteral("Cannot read archive entry");

// Whether a result still belongs on the screen: no load has started or been
// cancelled since, and the same file or member is on show.
bool isCurrent(const AppState& state, const std::shared_ptr<PreviewLoadTask>& task) {
    if (!task || !task->ticket.isCurrent() || state.editorURL != task->url) {
        return false;
    }
    return !task->isMember || (state.viewerFromZip && state.viewerZipArchive == task->archive &&
                               state.viewerZipEntry == task->entry);
}

// Opening a FIFO or a device would block until someone writes to it.
bool isRegularFile(const QString& path) {
    struct stat status {};
    return ::stat(toSystemPath(path).constData(), &status) == 0 && S_ISREG(status.st_mode);
}

// How many frames the picture on show has. A GIF's frames are counted by
// reading through the whole file, and even a PNG's chunk headers may sit on a
// slow disk or a dead mount: the count is made on a reader thread, the
// picture shows as a still meanwhile, and the count arrives later unless
// another file has been chosen since. What is not a regular file is never
// opened there.
void lookUpAnimation(AppState& state, const QString& path) {
    state.animatedPreviewInfo.reset();
    state.animatedFrameIndex = 0;
    Background::run(
        state.executor(), Background::Pool::diskRead, &state, state.previewLoadGeneration.take(),
        [path] { return AnimatedImageSupport::animatedImageInfo(path); },
        [&state, path](const std::optional<AnimatedImageInfo>& info) {
            if (state.editorURL != path || state.viewerKind != ViewerContentKind::preview) {
                return;
            }
            state.animatedPreviewInfo = info;
            state.notifyChanged();
        });
}

// A document a converter may turn into text. Only a regular file's head is
// looked at here on the main thread; anything else goes to the converter,
// whose load the time limit ends.
bool isExtractableDocument(const QString& path, const QString& name) {
    if (!PreviewSelection::isExtractableExtension(PreviewSelection::pathExtension(name))) {
        return false;
    }
    return !isRegularFile(path) ||
           PreviewSelection::sniffFileHead(path) != PreviewSelection::FileHead::text;
}

// What the VIEWER makes of a file on disk, and what decides it.
struct Classified {
    ViewerContentKind kind = ViewerContentKind::unsupported;
    bool isExtractableDocument = false;
    bool isDiskImage = false;
};

Classified classifiedByName(const QString& name, ViewerContentKind kind) {
    return {kind, false, PreviewSelection::isDiskImageFile(name, std::nullopt)};
}

// Reads the disk: for a reader thread.
Classified classifiedOnDisk(const QString& path, const QString& name) {
    const ViewerContentKind kind = PreviewSelection::classifyFile(name, path);
    return {kind, kind == ViewerContentKind::preview && isExtractableDocument(path, name),
            kind == ViewerContentKind::unsupported &&
                PreviewSelection::isDiskImageFile(name, path)};
}

void clearTextFields(AppState& state) {
    state.editorText.clear();
    state.textEncodingLabel.clear();
    state.animatedPreviewInfo.reset();
    state.animatedFrameIndex = 0;
    state.isTextPreviewTruncated = false;
    state.textFileByteSize = 0;
    state.isExtractedTextPreview = false;
    state.isDirty = false;
}

// VIEWER takes the right half, and the right pane no longer follows a folder.
void showViewer(AppState& state) {
    state.stopWatching(PaneSide::right);
    if (state.layoutMode != LayoutMode::filerViewer) {
        state.layoutMode = LayoutMode::filerViewer;
    }
    state.rightMode = RightPaneMode::viewer;
}

// A file that is neither text nor readable as text: drawn by the graphic
// previewer, paged through when it is an animated image.
void showGraphicPreview(AppState& state, const QString& path) {
    clearTextFields(state);
    state.editorURL = path;
    state.viewerKind = ViewerContentKind::preview;
    state.viewerFromZip = false;
    state.viewerSkipReason.reset();
    state.isViewerLoading = false;
    lookUpAnimation(state, path);
    state.rightMode = RightPaneMode::viewer;
    state.stopWatching(PaneSide::right);
}

// Shows a file once its kind is known: its text loads, or it is drawn, or
// the pane says why it is not shown.
void showClassified(AppState& state, const QString& path, const Classified& classified) {
    if (classified.kind == ViewerContentKind::text) {
        state.startTextLoad(path, false);
    } else if (classified.isExtractableDocument) {
        state.startTextLoad(path, true);
    } else if (classified.kind == ViewerContentKind::preview) {
        showGraphicPreview(state, path);
    } else {
        clearTextFields(state);
        state.isViewerLoading = false;
        state.editorURL = path;
        state.viewerKind = ViewerContentKind::unsupported;
        if (classified.isDiskImage) {
            state.viewerSkipReason = diskImageMessage;
        }
    }
    showViewer(state);
    state.notifyChanged();
}

void showLoadedText(AppState& state, const TextPreviewLoadResult& result) {
    state.textFileByteSize = result.fileSize;
    state.editorText = result.text;
    state.textEncodingLabel = result.encodingLabel;
    state.isTextPreviewTruncated = result.fileSize > TextPreviewLoading::headLimit;
    state.viewerKind = ViewerContentKind::text;
    state.viewerSkipReason.reset();
}

// The end of a load of a file on disk. A document whose text could not be
// extracted is no failure: it goes to the graphic preview without a word.
void endFileLoad(AppState& state, const QString& url, bool extracted,
                 const TextPreviewLoadResult& result) {
    if (result.outcome == Outcome::loaded) {
        showLoadedText(state, result);
    } else if (result.outcome == Outcome::cancelled) {
        return;
    } else if (extracted) {
        showGraphicPreview(state, url);
    } else {
        state.showLoadFailure(url, TextPreviewLoading::failureMessage(result.outcome));
    }
}

// The end of a member's load: an unreadable member is reported in the dialog
// and leaves the pane as it was.
void endMemberLoad(AppState& state, const QString& url, const TextPreviewLoadResult& result) {
    switch (result.outcome) {
    case Outcome::loaded:
        showLoadedText(state, result);
        break;
    case Outcome::ioFailed:
        state.reportError(unreadableMemberMessage);
        break;
    case Outcome::decodeFailed:
    case Outcome::timedOut:
        state.showLoadFailure(url, TextPreviewLoading::failureMessage(result.outcome));
        break;
    case Outcome::cancelled:
        break;
    }
}

} // namespace

void AppState::releasePreviewCopy(const QString& keep) {
    if (!m_previewCopy.isEmpty() && m_previewCopy != keep) {
        ArchiveTemporaryFolder::remove(std::exchange(m_previewCopy, QString()));
    }
}

void AppState::clearViewer() {
    cancelPreviewLoad();
    releasePreviewCopy();
    clearTextFields(*this);
    editorURL.reset();
    viewerKind = ViewerContentKind::none;
    viewerFromZip = false;
    viewerZipArchive.clear();
    viewerZipEntry.clear();
    isViewerLoading = false;
    viewerSkipReason.reset();
    notifyChanged();
}

void AppState::showFilePreview(const FileEntry& entry) {
    loadViewerContent(PathUtils::standardizedPath(entry.url()));
}

void AppState::showArchivePreview(const FileEntry& entry) {
    if (entry.zipArchiveURL() && entry.zipEntryPath()) {
        loadViewerContentForMember(*entry.zipArchiveURL(), *entry.zipEntryPath(), entry.name);
    }
}

void AppState::cancelPreviewLoad() {
    previewLoadGeneration.dropAll();
    if (const std::shared_ptr<PreviewLoadTask> task = std::exchange(m_previewLoadTask, nullptr)) {
        task->textLoad.cancel();
        task->toolStop.request_stop();
    }
}

void AppState::loadViewerContent(const QString& url) {
    cancelPreviewLoad();
    viewerFromZip = false;
    viewerZipArchive.clear();
    viewerZipEntry.clear();
    viewerSkipReason.reset();
    const QString path = PathUtils::standardizedPath(url);
    // Coming back to VIEWER shows the member's copy again.
    releasePreviewCopy(path);
    const QString name = PathUtils::lastPathComponent(path);
    // A document a converter may read is looked at first, whatever its name says.
    const auto kind =
        PreviewSelection::isExtractableExtension(PreviewSelection::pathExtension(name))
            ? std::nullopt
            : PreviewSelection::kindByNameAlone(name);
    if (kind) {
        showClassified(*this, path, classifiedByName(name, *kind));
        return;
    }
    // The content type and the first bytes are asked on a reader thread: a
    // slow disk or a dead mount never holds the window.
    clearTextFields(*this);
    editorURL = path;
    viewerKind = ViewerContentKind::none;
    isViewerLoading = true;
    showViewer(*this);
    notifyChanged();
    Background::run(
        m_executor, Background::Pool::diskRead, this, previewLoadGeneration.take(),
        [path, name] { return classifiedOnDisk(path, name); },
        [this, path](const Classified& classified) {
            if (editorURL == path && !viewerFromZip) {
                showClassified(*this, path, classified);
            }
        });
}

void AppState::startTextLoad(const QString& url, bool extracted) {
    cancelPreviewLoad();
    auto task = std::make_shared<PreviewLoadTask>();
    task->ticket = previewLoadGeneration.take();
    task->url = PathUtils::standardizedPath(url);
    clearTextFields(*this);
    editorURL = task->url;
    viewerKind = ViewerContentKind::text;
    isExtractedTextPreview = extracted;
    isViewerLoading = true;
    viewerSkipReason.reset();
    rightMode = RightPaneMode::viewer;
    stopWatching(PaneSide::right);
    m_previewLoadTask = task;

    const QString path = task->url;
    auto work = [path, extracted](const TextPreviewLoading::CancelFlag& cancelled) {
        return extracted ? TextPreviewLoading::extractDocumentText(path, &cancelled)
                         : TextPreviewLoading::readTextHead(path, TextPreviewLoading::headLimit,
                                                            &cancelled);
    };
    const std::weak_ptr<PreviewLoadTask> weakTask = task;
    task->textLoad = TextPreviewLoading::start(
        m_executor, std::move(work), TextPreviewLoading::timeLimit(), this,
        [this, weakTask, extracted](const TextPreviewLoadResult& result) {
            const std::shared_ptr<PreviewLoadTask> ended = weakTask.lock();
            if (!isCurrent(*this, ended)) {
                return;
            }
            isViewerLoading = false;
            m_previewLoadTask.reset();
            endFileLoad(*this, ended->url, extracted, result);
            notifyChanged();
        });
    notifyChanged();
}

void AppState::showLoadFailure(const QString& url, const QString& message) {
    clearTextFields(*this);
    editorURL = PathUtils::standardizedPath(url);
    viewerKind = ViewerContentKind::unsupported;
    isViewerLoading = false;
    viewerSkipReason = message;
    showViewer(*this);
    notifyChanged();
}

void AppState::loadViewerContentForMember(const QString& archive, const QString& memberPath,
                                          const QString& name) {
    cancelPreviewLoad();
    releasePreviewCopy();
    const ViewerContentKind kind = PreviewSelection::classifyFile(name, std::nullopt);
    viewerFromZip = true;
    viewerZipArchive = archive;
    viewerZipEntry = memberPath;
    viewerSkipReason.reset();
    clearTextFields(*this);
    editorURL = PathUtils::appendingPathComponent(archive, memberPath);
    rightMode = RightPaneMode::viewer;
    stopWatching(PaneSide::right);

    auto task = std::make_shared<PreviewLoadTask>();
    task->ticket = previewLoadGeneration.take();
    task->url = *editorURL;
    task->isMember = true;
    task->archive = archive;
    task->entry = memberPath;
    const std::weak_ptr<PreviewLoadTask> weakTask = task;

    if (kind == ViewerContentKind::unsupported) {
        viewerKind = ViewerContentKind::unsupported;
        isViewerLoading = false;
    } else if (kind == ViewerContentKind::text) {
        viewerKind = ViewerContentKind::text;
        isViewerLoading = true;
        m_previewLoadTask = task;
        task->textLoad = TextPreviewLoading::start(
            m_executor,
            [archive, memberPath,
             stop = task->toolStop.get_token()](const TextPreviewLoading::CancelFlag&) {
                return TextPreviewLoading::loadMemberText(archive, memberPath, stop);
            },
            TextPreviewLoading::timeLimit(), this,
            [this, weakTask](const TextPreviewLoadResult& result) {
                const std::shared_ptr<PreviewLoadTask> ended = weakTask.lock();
                if (ended) {
                    ended->toolStop.request_stop();
                }
                if (!isCurrent(*this, ended)) {
                    return;
                }
                isViewerLoading = false;
                m_previewLoadTask.reset();
                endMemberLoad(*this, ended->url, result);
                notifyChanged();
            });
    } else {
        // The graphic previewer needs a real file: the member is copied out first.
        viewerKind = ViewerContentKind::none;
        isViewerLoading = true;
        m_previewLoadTask = task;
        ArchiveService::extractMemberToTemporaryFileInBackground(
            m_executor, archive, memberPath, this,
            [this, weakTask](ArchiveService::ArchiveResult<QString> extracted) {
                const std::shared_ptr<PreviewLoadTask> ended = weakTask.lock();
                if (!isCurrent(*this, ended)) {
                    // A copy made for a member no longer shown is not kept.
                    if (extracted) {
                        ArchiveTemporaryFolder::remove(*extracted);
                    }
                    return;
                }
                isViewerLoading = false;
                m_previewLoadTask.reset();
                if (!extracted) {
                    reportError(extracted.error().description());
                } else {
                    m_previewCopy = *extracted;
                    editorURL = *extracted;
                    viewerKind = ViewerContentKind::preview;
                    lookUpAnimation(*this, *extracted);
                }
                notifyChanged();
            },
            task->toolStop.get_token());
    }
    notifyChanged();
}

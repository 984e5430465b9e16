// The commands C and M: the path prompt, the confirm and EXISTS questions and
// the batch that carries the files item by item. One item at a time runs on a
// worker thread so the window keeps painting; the next starts only after it.
#include "core/AppState.h"

#include "archive/ArchiveLocation.h"

#include "core/Formats.h"
#include "core/PathUtils.h"
#include "core/SystemPath.h"
#include "filesystem/CopyMoveProgress.h"
#include "filesystem/FileJob.h"
#include "filesystem/FileSystemService.h"
#include "text/ShownFileName.h"

#include <sys/stat.h>

namespace {

using Kind = AppState::CopyMoveKind;
using ItemError = std::optional<FileSystemError>;

// How often the progress text is renewed once it shows, and how soon it is
// tried again when the item's bytes are still being counted.
constexpr std::chrono::milliseconds kProgressInterval{200};
constexpr std::chrono::milliseconds kCountingRetry{10};
std::chrono::milliseconds progressDelay{500};

struct ItemProgress {
    explicit ItemProgress(std::stop_token stop) { carried.stop = std::move(stop); }
    FileSystemService::CopyProgress carried;
    // Negative until the worker has counted the item's bytes.
    std::atomic<int64_t> total{-1};
};

// What stands at the place of the batch's head, looked at on a worker thread
// since the look can hang on a dead mount.
enum class HeadPlace { free, taken, refused };
struct HeadCheck {
    HeadPlace place = HeadPlace::free;
    ItemError refusal;
};

QString byKind(Kind kind, const char* copyText, const char* moveText) {
    return QString::fromUtf8(kind == Kind::copy ? copyText : moveText);
}

bool itemExists(const QString& path) {
    struct stat st;
    return ::lstat(toSystemPath(path).constData(), &st) == 0;
}

HeadCheck checkHead(const QString& source, const QString& destination) {
    if (!itemExists(FileSystemService::destinationItemURL(source, destination))) {
        return {HeadPlace::free, {}};
    }
    // Never offered for overwriting: it would destroy the source.
    if (auto refused = FileSystemService::checkOverwrite(source, destination); !refused) {
        return {HeadPlace::refused, refused.error()};
    }
    return {HeadPlace::taken, {}};
}

// A step of the batch begins on the worker thread: keys wait, and Esc asks
// for the stop the step's work reads.
std::stop_token beginStep(AppState& state) {
    state.isFileOperationRunning = true;
    state.fileOperationProgressText.clear();
    state.fileJobStop = std::stop_source();
    state.notifyChanged();
    return state.fileJobStop.get_token();
}

void endStep(AppState& state) {
    state.isFileOperationRunning = false;
    state.fileOperationProgressText.clear();
    state.fileJobStop = std::stop_source(std::nostopstate);
}

// Esc ended the batch: what was done stays done, the panes are listed anew
// and the count of what was carried is told.
void endStoppedBatch(AppState& state, const AppState::PendingCopyMove& batch) {
    state.pendingCopyMove.reset();
    state.finishFileOperation();
    state.fileJobStopReport = FileJob::stoppedReport(batch.carried, int(batch.sources.size()),
                                                     byKind(batch.kind, "copied", "moved"));
    state.dosDialogActionIndex = 0;
    state.notifyChanged();
}

// What stands in the way of the prompt or the dialog is put away first.
void clearWayForCopyMove(AppState& state) {
    if (state.isFileSearchMode) {
        state.exitFileSearchMode();
    }
    if (state.isFilterOpen) {
        state.closeFilter(true);
    }
    if (state.isOpen(Overlay::sortPicker)) {
        state.closeSortPicker();
    }
    if (state.isOpen(Overlay::volumePicker)) {
        state.closeVolumePicker();
    }
    if (state.isOpen(Overlay::jumpDialog)) {
        state.closeJumpDialog();
    }
    if (state.isOpen(Overlay::wildcardPrompt)) {
        state.cancelWildcardPrompt();
    }
}

void closeCopyMovePathPrompt(AppState& state) {
    state.closeOverlay(Overlay::copyMovePathPrompt);
    state.copyMovePathPrompt.text.clear();
    state.copyMovePathPrompt.sources.clear();
    state.copyMovePathPrompt.baseURL.reset();
    state.releaseTextFocus();
    state.notifyChanged();
}

QString progressText(const QString& name, const ItemProgress& progress) {
    return QStringLiteral("%1  %2 / %3")
        .arg(name, Formats::formatCompactSize(progress.carried.bytesDone.load()),
             Formats::formatCompactSize(progress.total.load()));
}

// Shows the item's progress after the wait, and again every interval while
// the item runs; the ticks end when ticking, the item's own object, goes.
void tickProgress(AppState& state, QObject* ticking, std::chrono::milliseconds wait,
                  const QString& name, const std::shared_ptr<const ItemProgress>& progress) {
    state.executor().callLater(wait, ticking, [&state, ticking, name, progress] {
        if (progress->total.load() < 0) {
            tickProgress(state, ticking, kCountingRetry, name, progress);
            return;
        }
        state.fileOperationProgressText = progressText(name, *progress);
        state.notifyChanged();
        tickProgress(state, ticking, kProgressInterval, name, progress);
    });
}

// Refusals that spare the batch: the item would have destroyed its own source,
// so it alone is left out.
bool sparesTheBatch(const FileSystemError& error) {
    return error.kind == FileSystemError::Kind::sameItem ||
           error.kind == FileSystemError::Kind::holdsSource;
}

// An item's failure in the ERROR dialog, below the items of this batch that
// were refused before it.
void reportItemError(AppState& state, const QString& source, const FileSystemError& error) {
    const QString line = ShownFileName::shownName(PathUtils::lastPathComponent(source)) +
                         QStringLiteral(": ") + error.description();
    state.reportError(state.errorMessage ? *state.errorMessage + QLatin1Char('\n') + line : line);
}

ItemError runItem(Kind kind, const QString& source, const QString& destination, bool overwrite,
                  ItemProgress& progress) {
    // An item not yet begun when Esc came is not begun.
    if (progress.carried.isStopRequested()) {
        return FileSystemError::make(FileSystemError::Kind::stopped);
    }
    progress.total = FileSystemService::copyByteCount(source);
    auto result =
        kind == Kind::copy
            ? FileSystemService::copyItem(source, destination, overwrite, &progress.carried)
            : FileSystemService::moveItem(source, destination, overwrite, &progress.carried);
    return result ? ItemError() : ItemError(result.error());
}

// The end of one item, back on the main thread: steps 4 to 6 of carrying the
// head, then the batch goes on unless Esc stopped it.
void completeItem(AppState& state, AppState::PendingCopyMove batch, const QString& source,
                  const ItemError& error, bool stopped) {
    endStep(state);
    if (!error) {
        ++batch.carried;
    }
    if (error && error->kind == FileSystemError::Kind::stopped) {
        endStoppedBatch(state, batch);
        return;
    }
    if (error && !sparesTheBatch(*error)) {
        state.pendingCopyMove.reset();
        reportItemError(state, source, *error);
        state.finishFileOperation();
        return;
    }
    if (error) {
        reportItemError(state, source, *error);
    } else if (batch.kind == Kind::move) {
        state.taggedKeys.remove(source);
        if (state.editorURL && PathUtils::standardizedPath(*state.editorURL) == source) {
            state.editorURL = FileSystemService::destinationItemURL(source, batch.destination);
        }
    }
    if (stopped) {
        endStoppedBatch(state, batch);
        return;
    }
    state.pendingCopyMove = std::move(batch);
    state.notifyChanged();
    state.advanceCopyMove();
}

// The look at the head's place is back: the head is carried, refused,
// skipped, or the EXISTS question stands.
void applyHeadCheck(AppState& state, AppState::PendingCopyMove batch, const HeadCheck& check) {
    const QString source = batch.remaining.first();
    if (check.place == HeadPlace::refused) {
        reportItemError(state, source, *check.refusal);
    }
    const bool skip =
        check.place == HeadPlace::refused ||
        (check.place == HeadPlace::taken && !batch.applyOverwriteAll && batch.applySkipAll);
    if (skip) {
        batch.remaining.removeFirst();
        batch.stage = AppState::PendingCopyMove::Confirm{};
    }
    const bool ask =
        check.place == HeadPlace::taken && !batch.applyOverwriteAll && !batch.applySkipAll;
    if (ask) {
        batch.stage = AppState::PendingCopyMove::Conflict{
            source, FileSystemService::destinationItemURL(source, batch.destination)};
        state.dosDialogActionIndex = 0;
    }
    state.pendingCopyMove = std::move(batch);
    state.notifyChanged();
    if (skip) {
        state.advanceCopyMove();
    } else if (!ask) {
        state.performCopyMoveHead(check.place == HeadPlace::taken);
    }
}

// Why the batch can't go into the folder, if it can't. A folder never goes
// into itself: the copy would never end, and a move would have nowhere to
// stand. A move out of the folder into itself is refused too.
std::optional<QString> copyMoveRefusal(Kind kind, const QStringList& sources,
                                       const QString& folder) {
    for (const QString& source : sources) {
        if (FileSystemService::isInsideItem(folder, source)) {
            return byKind(kind, "Cannot copy a folder into itself: ",
                          "Cannot move a folder into itself: ") +
                   ShownFileName::shownName(PathUtils::lastPathComponent(source));
        }
    }
    if (kind == Kind::move) {
        for (const QString& source : sources) {
            if (FileSystemService::isSameItem(PathUtils::parentPath(source), folder)) {
                return FileSystemError::make(FileSystemError::Kind::sameDirectory).description();
            }
        }
    }
    return std::nullopt;
}

} // namespace

std::chrono::milliseconds CopyMoveProgress::delay() {
    return progressDelay;
}

void CopyMoveProgress::setDelay(std::chrono::milliseconds delay) {
    progressDelay = delay;
}

// Shift+C and Shift+M carry the folder under the cursor, chosen as Shift+D
// chooses the folder to delete; C and M the tagged files.
void AppState::startCopyOrMove(CopyMoveKind kind, CopyMoveItems items) {
    if (anyPromptOrPickerOpen() || isFileOperationRunning) {
        return;
    }
    const auto side = activeFilerSide();
    if (!side) {
        return;
    }
    if (refuseInsideArchive(*side, kind == CopyMoveKind::copy
                                       ? ArchiveLocation::ReadOnlyCommand::copy
                                       : ArchiveLocation::ReadOnlyCommand::move)) {
        return;
    }
    const bool folders = items == CopyMoveItems::folders;
    // Which tagged items are files is asked of the disk on a worker.
    const QStringList folderSources = folders ? deleteTargets(DeleteKind::folders) : QStringList();
    const TaggedFileCandidates candidates =
        folders ? TaggedFileCandidates{} : taggedFileCandidates();
    lookAtDiskThen([this, kind, folders, folderSources, candidates, side = *side] {
        return std::function<void()>(
            [this, kind, folders, side,
             sources = folders ? folderSources : taggedFileURLs(candidates)] {
                offerCopyMove(kind, folders, sources, side);
            });
    });
}

void AppState::offerCopyMove(CopyMoveKind kind, bool folders, const QStringList& sources,
                             PaneSide side) {
    if (sources.isEmpty()) {
        reportError(folders ? byKind(kind, "No folder to copy (select a folder)",
                                     "No folder to move (select a folder)")
                            : byKind(kind, "No item to copy (Space to tag, or select an item)",
                                     "No item to move (Space to tag, or select an item)"));
        return;
    }
    clearWayForCopyMove(*this);
    if (layoutMode == LayoutMode::dualFiler) {
        const auto* other = pane(otherSide(side)).location.asDirectory();
        if (!other) {
            reportError(byKind(kind, "Cannot copy into an archive", "Cannot move into an archive"));
            return;
        }
        beginCopyMove(kind, sources, other->url);
        return;
    }
    copyMovePathPrompt.sources = sources;
    copyMovePathPrompt.baseURL = pane(side).location.asDirectory()->url;
    copyMovePathPrompt.text = lastCopyMoveDestinationPath;
    copyMovePathPrompt.kind = kind;
    showOverlay(Overlay::copyMovePathPrompt);
    notifyChanged();
}

void AppState::cancelCopyMovePathPrompt() {
    if (isOpen(Overlay::copyMovePathPrompt)) {
        closeCopyMovePathPrompt(*this);
    }
}

// A refused text closes the prompt all the same: the dialog tells why.
void AppState::commitCopyMovePathPrompt() {
    if (!isOpen(Overlay::copyMovePathPrompt)) {
        return;
    }
    const CopyMoveKind kind = copyMovePathPrompt.kind;
    const QStringList sources = copyMovePathPrompt.sources;
    // The typed folder is looked for on a worker; the prompt closes when
    // the answer is back.
    lookAtDiskThen(
        [this, kind, sources, text = copyMovePathPrompt.text, base = copyMovePathPrompt.baseURL] {
            return std::function<void()>(
                [this, kind, sources,
                 resolved = FileSystemService::resolveDestinationFolder(text, base)] {
                    closeCopyMovePathPrompt(*this);
                    if (!resolved) {
                        reportError(resolved.error().description());
                        return;
                    }
                    lastCopyMoveDestinationPath = *resolved;
                    beginCopyMove(kind, sources, *resolved);
                });
        });
}

// The checks look at the sources on disk, on a worker; the confirm question
// comes when they are back.
void AppState::beginCopyMove(CopyMoveKind kind, const QStringList& sources,
                             const QString& destination) {
    const QString folder = PathUtils::standardizedPath(destination);
    lookAtDiskThen([this, kind, sources, folder] {
        return std::function<void()>(
            [this, kind, sources, folder, refusal = copyMoveRefusal(kind, sources, folder)] {
                if (refusal) {
                    reportError(*refusal);
                    return;
                }
                pendingCopyMove = PendingCopyMove{
                    kind, sources, folder, sources, PendingCopyMove::Confirm{}, false, false};
                dosDialogActionIndex = 0;
                notifyChanged();
            });
    });
}

void AppState::proceedCopyMove(bool shift) {
    if (!pendingCopyMove || isFileOperationRunning) {
        return;
    }
    if (std::holds_alternative<PendingCopyMove::Conflict>(pendingCopyMove->stage)) {
        if (shift) {
            pendingCopyMove->applyOverwriteAll = true;
        }
        // The batch goes on once this item is done.
        performCopyMoveHead(true);
        return;
    }
    advanceCopyMove();
}

void AppState::skipCopyMoveItem(bool shift) {
    if (!pendingCopyMove || isFileOperationRunning ||
        !std::holds_alternative<PendingCopyMove::Conflict>(pendingCopyMove->stage)) {
        return;
    }
    if (shift) {
        pendingCopyMove->applySkipAll = true;
    }
    pendingCopyMove->remaining.removeFirst();
    pendingCopyMove->stage = PendingCopyMove::Confirm{};
    advanceCopyMove();
}

// The next step of the batch: its end, or a look at the head's place on the
// worker thread, whose answer carries the head, skips it or asks the user.
void AppState::advanceCopyMove() {
    if (!pendingCopyMove || isFileOperationRunning) {
        return;
    }
    if (pendingCopyMove->remaining.isEmpty()) {
        pendingCopyMove.reset();
        finishFileOperation();
        return;
    }
    PendingCopyMove batch = *pendingCopyMove;
    pendingCopyMove.reset();
    const auto stop = beginStep(*this);
    Background::run(
        m_executor, Background::Pool::shared, this,
        [source = batch.remaining.first(), destination = batch.destination] {
            return checkHead(source, destination);
        },
        [this, batch, stop](const HeadCheck& check) {
            endStep(*this);
            if (stop.stop_requested()) {
                endStoppedBatch(*this, batch);
                return;
            }
            applyHeadCheck(*this, batch, check);
        });
}

// While the item runs no batch is pending, so no dialog stands; it comes back
// with the shortened list when the item is done.
void AppState::performCopyMoveHead(bool overwrite) {
    if (!pendingCopyMove || pendingCopyMove->remaining.isEmpty()) {
        pendingCopyMove.reset();
        finishFileOperation();
        return;
    }
    PendingCopyMove batch = *pendingCopyMove;
    const QString source = batch.remaining.takeFirst();
    pendingCopyMove.reset();
    auto progress = std::make_shared<ItemProgress>(beginStep(*this));
    auto* ticking = new QObject(this);
    tickProgress(*this, ticking, CopyMoveProgress::delay(),
                 ShownFileName::shownName(PathUtils::lastPathComponent(source)), progress);
    Background::run(
        m_executor, Background::Pool::shared, this,
        [kind = batch.kind, source, destination = batch.destination, overwrite, progress] {
            return runItem(kind, source, destination, overwrite, *progress);
        },
        [this, ticking, batch, source, progress](const ItemError& error) {
            delete ticking;
            completeItem(*this, batch, source, error, progress->carried.isStopRequested());
        });
}

void AppState::finishFileOperation() {
    reloadPane(PaneSide::left, true);
    if (rightMode == RightPaneMode::filer) {
        reloadPane(PaneSide::right, true);
    }
    refreshTreeSessions();
    syncPreview();
}

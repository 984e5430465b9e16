// The commands D and Shift+D: the question, then each item to the Trash.
#include "core/AppState.h"

#include "archive/ArchiveLocation.h"

#include "core/PathUtils.h"
#include "filesystem/FileJob.h"
#include "filesystem/FileSystemService.h"
#include "text/ShownFileName.h"

namespace {

void finishDelete(AppState& state, const FileJob::Outcome& outcome) {
    for (const auto& [url, error] : outcome.items) {
        if (error) {
            continue;
        }
        const QString path = PathUtils::standardizedPath(url);
        state.taggedKeys.remove(path);
        if (state.editorURL && PathUtils::standardizedPath(*state.editorURL) == path) {
            state.clearViewer();
        }
    }
    state.finishFileOperation();
    const QStringList failures = outcome.failureLines();
    if (!failures.isEmpty()) {
        state.reportError(failures.join(QLatin1Char('\n')));
    }
    if (outcome.stopped) {
        state.fileJobStopReport = FileJob::stoppedReport(outcome.succeeded(), outcome.total,
                                                         QStringLiteral("moved to the Trash"));
        state.dosDialogActionIndex = 0;
    }
}

} // namespace

QStringList AppState::deleteTargets(DeleteKind kind) const {
    if (kind == DeleteKind::files) {
        return taggedFileURLs();
    }
    // Shift+D takes the one folder under the cursor; tags are not looked at.
    const std::optional<FileEntry> entry = currentEntry();
    if (!entry || entry->isParent || entry->isInsideArchive() || entry->isZipArchive ||
        !entry->isDirectory) {
        return {};
    }
    return {PathUtils::standardizedPath(entry->url)};
}

void AppState::startDelete(DeleteKind kind) {
    const auto side = activeFilerSide();
    if (!side) {
        return;
    }
    if (refuseInsideArchive(*side, ArchiveLocation::ReadOnlyCommand::deleteItems)) {
        return;
    }
    const bool folders = kind == DeleteKind::folders;
    const QStringList targets = deleteTargets(kind);
    if (targets.isEmpty()) {
        reportError(folders ? QStringLiteral("No folder to delete (select a folder)")
                            : QStringLiteral("No file to delete (Space to tag, or select a file)"));
        return;
    }
    // The remembered owner-write bit decides, so one refused item refuses all.
    for (const QString& url : targets) {
        if (!FileSystemService::accessRights(url, folders, false).writable) {
            reportError(QStringLiteral("Not writable: ") +
                        ShownFileName::shownName(PathUtils::lastPathComponent(url)));
            return;
        }
    }
    pendingDelete = PendingDelete{targets, folders};
    dosDialogActionIndex = 0;
    notifyChanged();
}

// One item that can't be trashed does not stop the others. The items go to
// the Trash one by one on a worker thread; what follows each of them, and the
// closing steps, run when the job has ended.
void AppState::runPendingDelete() {
    if (!pendingDelete) {
        return;
    }
    const PendingDelete batch = *pendingDelete;
    pendingDelete.reset();
    FileJob::start(
        *this, batch.urls, QStringLiteral("Trash"),
        [](const QString& url) {
            const auto trashed = FileSystemService::trashItem(url);
            return trashed ? FileJob::ItemError() : FileJob::ItemError(trashed.error());
        },
        [this](const FileJob::Outcome& outcome) { finishDelete(*this, outcome); });
}

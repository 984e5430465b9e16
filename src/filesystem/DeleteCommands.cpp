// The commands D and Shift+D: the question, then each item to the Trash.
#include "core/AppState.h"

#include "archive/ArchiveLocation.h"

#include "core/PathUtils.h"
#include "filesystem/FileAccessMemory.h"
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

// What the look at the disk found: the targets, and the first of them whose
// remembered rights refuse the command.
struct TargetsChecked {
    QStringList targets;
    std::optional<QString> refused;
};

TargetsChecked checkTargets(const QStringList& targets, bool folders) {
    TargetsChecked checked{targets, std::nullopt};
    // The remembered owner-write bit decides, so one refused item refuses all.
    for (const QString& url : targets) {
        if (!FileSystemService::accessRights(url, folders, false).writable) {
            checked.refused = url;
            break;
        }
    }
    // The rights met on the way go to the memory's file from its own thread.
    FileAccessMemory::persist();
    return checked;
}

void askToDelete(AppState& state, const TargetsChecked& checked, bool folders) {
    if (checked.targets.isEmpty()) {
        state.reportError(
            folders ? QStringLiteral("No folder to delete (select a folder)")
                    : QStringLiteral("No file to delete (Space to tag, or select a file)"));
        return;
    }
    if (checked.refused) {
        state.reportError(QStringLiteral("Not writable: ") +
                          ShownFileName::shownName(PathUtils::lastPathComponent(*checked.refused)));
        return;
    }
    state.pendingDelete = AppState::PendingDelete{checked.targets, folders};
    state.dosDialogActionIndex = 0;
    state.notifyChanged();
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
    return {PathUtils::standardizedPath(entry->url())};
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
    // Which tagged items are files, and their rights, are read on a worker;
    // the question comes when they are back.
    const TaggedFileCandidates candidates =
        folders ? TaggedFileCandidates{} : taggedFileCandidates();
    const QStringList folderTargets = folders ? deleteTargets(kind) : QStringList();
    lookAtDiskThen([this, candidates, folderTargets, folders]() -> std::function<void()> {
        const QStringList targets = folders ? folderTargets : taggedFileURLs(candidates);
        return [this, checked = checkTargets(targets, folders), folders] {
            askToDelete(*this, checked, folders);
        };
    });
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

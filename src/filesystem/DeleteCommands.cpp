// The commands D and Shift+D: the question, then each item to the Trash.
#include "core/AppState.h"

#include "archive/ArchiveLocation.h"

#include "core/PathUtils.h"
#include "filesystem/FileSystemService.h"

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
            reportError(QStringLiteral("Not writable: ") + PathUtils::lastPathComponent(url));
            return;
        }
    }
    pendingDelete = PendingDelete{targets, folders};
    dosDialogActionIndex = 0;
    notifyChanged();
}

// One item that can't be trashed does not stop the others.
void AppState::runPendingDelete() {
    if (!pendingDelete) {
        return;
    }
    const PendingDelete batch = *pendingDelete;
    pendingDelete.reset();
    QStringList failures;
    for (const QString& url : batch.urls) {
        const auto trashed = FileSystemService::trashItem(url);
        if (!trashed) {
            failures << PathUtils::lastPathComponent(url) + QStringLiteral(": ") +
                            trashed.error().description();
            continue;
        }
        const QString path = PathUtils::standardizedPath(url);
        taggedKeys.remove(path);
        if (editorURL && PathUtils::standardizedPath(*editorURL) == path) {
            clearViewer();
        }
    }
    finishFileOperation();
    if (!failures.isEmpty()) {
        reportError(failures.join(QLatin1Char('\n')));
    }
    notifyChanged();
}

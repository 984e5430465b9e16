// The jump dialog (J), its bookmarks ("+") and the start folder (H, O): the
// commands. The bookmark rules themselves stand in JumpDialog.cpp.
#include "archive/ArchiveLocation.h"
#include "core/AppState.h"
#include "core/PathUtils.h"
#include "core/PreferenceKeys.h"
#include "core/Preferences.h"
#include "core/StoredPath.h"
#include "core/SystemPath.h"
#include "filesystem/FileSystemService.h"
#include "pickers/JumpDialog.h"
#include "search/TreeSession.h"

namespace {

bool isExistingFolder(const QString& path) {
    return SystemPath::isDirectory(PathUtils::standardizedPath(path));
}

} // namespace

QStringList AppState::jumpRows() const {
    return JumpDialog::jumpRows(jumpBookmarks, jumpDialog.filterQuery);
}

void AppState::saveJumpBookmarks() {
    StoredPath::writePathList(m_preferences, PreferenceKeys::jumpBookmarks,
                              PreferenceKeys::jumpBookmarksStored, jumpBookmarks);
}

void AppState::openJumpDialog() {
    if (!makeWayForPicker(FilterRow::leave)) {
        return;
    }
    jumpDialog.filterQuery.clear();
    jumpDialog.selectedPath.reset();
    showOverlay(Overlay::jumpDialog);
    ++jumpDialog.focusNonce;
    notifyChanged();
}

void AppState::closeJumpDialog() {
    closeOverlay(Overlay::jumpDialog);
    releaseTextFocus();
    notifyChanged();
}

// A selected row that the new filter hides gives way to the first row.
void AppState::setJumpFilterQuery(const QString& text) {
    jumpDialog.filterQuery = text;
    const QStringList rows = jumpRows();
    if (jumpDialog.selectedPath && JumpDialog::indexOfRow(rows, *jumpDialog.selectedPath) < 0) {
        jumpDialog.selectedPath = rows.isEmpty() ? std::nullopt : std::optional(rows.first());
    }
    notifyChanged();
}

void AppState::clearJumpSelection() {
    if (!isOpen(Overlay::jumpDialog)) {
        return;
    }
    jumpDialog.selectedPath.reset();
    ++jumpDialog.focusNonce;
    notifyChanged();
}

// Up from the first row gives the keys back to the filter field; there is no
// wrap at the bottom.
void AppState::moveJumpSelection(int delta) {
    if (!isOpen(Overlay::jumpDialog)) {
        return;
    }
    const QStringList rows = jumpRows();
    const int index =
        jumpDialog.selectedPath ? JumpDialog::indexOfRow(rows, *jumpDialog.selectedPath) : -1;
    if (rows.isEmpty()) {
        jumpDialog.selectedPath.reset();
    } else if (!jumpDialog.selectedPath) {
        if (delta >= 1) {
            jumpDialog.selectedPath = rows.first();
        }
    } else if (index < 0) {
        jumpDialog.selectedPath = delta < 1 ? rows.last() : rows.first();
    } else if (index + delta < 0) {
        jumpDialog.selectedPath.reset();
        ++jumpDialog.focusNonce;
    } else {
        jumpDialog.selectedPath = rows.at(std::min(index + delta, int(rows.size()) - 1));
    }
    notifyChanged();
}

void AppState::confirmJumpDialog() {
    confirmJumpDialogAt(std::nullopt);
}

// A clicked row first, then the selected row, then the only row a filter left.
void AppState::confirmJumpDialogAt(const std::optional<QString>& clickedPath) {
    if (!isOpen(Overlay::jumpDialog)) {
        return;
    }
    const QStringList rows = jumpRows();
    std::optional<QString> target = clickedPath;
    if (!target && jumpDialog.selectedPath &&
        JumpDialog::indexOfRow(rows, *jumpDialog.selectedPath) >= 0) {
        target = jumpDialog.selectedPath;
    }
    if (!target && rows.size() == 1) {
        target = rows.first();
    }
    if (target) {
        closeJumpDialog();
        goToBookmark(*target);
    }
}

void AppState::jumpToNumberedBookmark(int number) {
    const QStringList rows = jumpRows();
    if (!isOpen(Overlay::jumpDialog) || number < 1 || number > 9 || number > rows.size()) {
        return;
    }
    closeJumpDialog();
    goToBookmark(rows.at(number - 1));
}

// A bookmark whose folder is gone is reported and dropped in the same step,
// so that it cures itself by failing once.
void AppState::goToBookmark(const QString& path) {
    const auto side = activeFilerSide();
    if (!side) {
        return;
    }
    const QString folder = JumpDialog::folderOnDisk(path);
    if (folder.isEmpty()) {
        reportError(QStringLiteral("Folder not found:\n") + path);
        jumpBookmarks = JumpDialog::withBookmarkRemoved(jumpBookmarks, path);
        saveJumpBookmarks();
        notifyChanged();
        return;
    }
    if (pane(*side).treeMode) {
        leaveTreeMode(*side);
    }
    openLocation(FilerLocation::directory(folder), *side, std::nullopt);
}

void AppState::removeJumpBookmark() {
    if (!isOpen(Overlay::jumpDialog) || !jumpDialog.selectedPath) {
        return;
    }
    const int index = JumpDialog::indexOfRow(jumpRows(), *jumpDialog.selectedPath);
    if (index < 0) {
        return;
    }
    jumpBookmarks = JumpDialog::withBookmarkRemoved(jumpBookmarks, *jumpDialog.selectedPath);
    saveJumpBookmarks();
    const QStringList rows = jumpRows();
    if (rows.isEmpty()) {
        jumpDialog.selectedPath.reset();
        ++jumpDialog.focusNonce;
    } else {
        jumpDialog.selectedPath = rows.at(std::min(index, int(rows.size()) - 1));
    }
    notifyChanged();
}

void AppState::setStartupFromJumpSelection() {
    if (isOpen(Overlay::jumpDialog) && jumpDialog.selectedPath &&
        JumpDialog::indexOfRow(jumpRows(), *jumpDialog.selectedPath) >= 0) {
        storeStartupDirectory(*jumpDialog.selectedPath);
    }
}

// Whether the folder is there is asked on a worker, as for every folder the
// user names: it may stand on a mount that no longer answers.
void AppState::storeStartupDirectory(const QString& path) {
    const QString folder = PathUtils::standardizedPath(path);
    lookAtDiskThen([this, path, folder]() -> std::function<void()> {
        return [this, path, folder, found = isExistingFolder(folder)] {
            if (found) {
                StoredPath::writePath(m_preferences, PreferenceKeys::startupDirectory,
                                      PreferenceKeys::startupDirectoryStored, folder);
                startupDirectory = folder;
            } else {
                reportError(QStringLiteral("Folder not found:\n") + path);
            }
            notifyChanged();
        };
    });
}

// True (and the message set) when the pane stands inside an archive.
bool AppState::refuseInsideArchive(PaneSide side, ArchiveLocation::ReadOnlyCommand command) {
    const auto refusal = ArchiveLocation::refusal(pane(side).location, command);
    if (refusal) {
        reportError(*refusal);
        notifyChanged();
    }
    return refusal.has_value();
}

// "+" on a folder row remembers that folder, not the one that holds it.
std::optional<QString> AppState::bookmarkTarget(PaneSide side) const {
    if (const auto session = pane(side).treeMode ? pane(side).treeSession : nullptr) {
        return session->selectedPath();
    }
    const QList<FileEntry> visible = visibleEntries(side);
    const int index = pane(side).selection;
    if (index >= 0 && index < visible.size()) {
        const FileEntry& entry = visible.at(index);
        if (entry.isDirectory && !entry.isParent && !entry.zipArchiveURL() && !entry.isZipArchive) {
            return PathUtils::standardizedPath(entry.url());
        }
    }
    if (const auto* directory = pane(side).location.asDirectory()) {
        return directory->url;
    }
    return std::nullopt;
}

void AppState::addJumpBookmark() {
    const auto side = activeFilerSide();
    if (!side || refuseInsideArchive(*side, ArchiveLocation::ReadOnlyCommand::bookmark)) {
        return;
    }
    const std::optional<QString> target = bookmarkTarget(*side);
    lookAtDiskThen([this, target]() -> std::function<void()> {
        if (!target || !isExistingFolder(*target)) {
            return [this] {
                reportError(QStringLiteral("Not a folder"));
                notifyChanged();
            };
        }
        return [this, target = *target] { addBookmark(target); };
    });
}

void AppState::addBookmark(const QString& target) {
    jumpBookmarks = JumpDialog::withBookmarkAdded(jumpBookmarks, target);
    saveJumpBookmarks();
    if (isOpen(Overlay::jumpDialog)) {
        jumpDialog.filterQuery.clear();
        jumpDialog.selectedPath = jumpBookmarks.first();
    }
    notifyChanged();
}

// H sets the folder the pane shows, never the row under the cursor.
void AppState::setStartupDirectoryToCurrent() {
    const auto side = activeFilerSide();
    if (!side || refuseInsideArchive(*side, ArchiveLocation::ReadOnlyCommand::setStartup)) {
        return;
    }
    const auto session = pane(*side).treeMode ? pane(*side).treeSession : nullptr;
    if (session && session->selectedRow()) {
        storeStartupDirectory(session->selectedPath());
    } else if (const auto* directory = pane(*side).location.asDirectory()) {
        storeStartupDirectory(directory->url);
    }
}

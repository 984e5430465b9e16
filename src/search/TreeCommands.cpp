// Tree mode: a pane shows the folder tree below the start folder beside the
// files of the folder under the tree cursor.
#include "core/AppState.h"

#include "archive/ArchiveLocation.h"
#include "core/PathUtils.h"
#include "filesystem/FileSystemService.h"
#include "search/TreeSession.h"

#include <algorithm>

namespace {

bool isAtOrBelow(const QString& path, const QString& root) {
    return path == root || path.startsWith(root == QLatin1String("/") ? root : root + u'/');
}

int clampedIndex(int index, qsizetype count) {
    return count == 0 ? 0 : std::clamp(index, 0, int(count) - 1);
}

} // namespace

// Every change of a session ends here: the screen learns of it through the
// revision, and the VIEWER follows the new cursor.
void AppState::noteTreeChanged() {
    ++treeRevision;
    askTreeSubfolders();
    if (layoutMode == LayoutMode::filerGallery) {
        rebuildGalleryItems();
        syncGallerySelection();
    }
    syncPreview();
    notifyChanged();
}

void AppState::toggleTreeMode() {
    const auto side = activeFilerSide();
    if (!side) {
        return;
    }
    if (pane(*side).treeMode) {
        if (const auto session = pane(*side).treeSession) {
            openLocation(FilerLocation::directory(session->selectedPath()), *side, std::nullopt);
        }
        leaveTreeMode(*side);
        return;
    }
    if (refuseInsideArchive(*side, ArchiveLocation::ReadOnlyCommand::treeMode)) {
        return;
    }
    const FilerLocation& location = pane(*side).location;
    // The tree always grows from the start folder; a pane elsewhere starts
    // on the root row.
    const QString root = PathUtils::standardizedPath(startupDirectory);
    const QString folder = location.asDirectory()->url;
    const QString target = isAtOrBelow(folder, root) ? folder : root;
    TreeSession session(root, sortMode, showLocalizedNames);
    session.expanded = TreeSession::expandedChain(root, target);
    const TreeStep open = [target](TreeSession& copy, bool showHidden) {
        copy.rebuildRows(showHidden);
        copy.select(target);
        copy.reloadFiles(showHidden);
        return true;
    };
    loadTree(*side, session, open, [this, side = *side](TreeSession opened) {
        pane(side).treeSession = std::make_shared<TreeSession>(std::move(opened));
        pane(side).treeMode = true;
        noteTreeChanged();
    });
}

// A change of the tree under way is dropped with the tree; what waited for
// it runs once the pane has nothing else to load.
void AppState::leaveTreeMode(PaneSide side) {
    const bool wasLoading = pane(side).treeLoad.has_value();
    cancelTreeLoad(side);
    pane(side).treeMode = false;
    pane(side).treeSession.reset();
    ++treeRevision;
    if (wasLoading) {
        finishLoading(side);
    }
    notifyChanged();
}

// Esc goes back to the folder the pane showed before the tree, closing an
// open filter in the same step.
void AppState::exitTreeModeByEsc() {
    const auto side = activeFilerSide();
    if (!side || !pane(*side).treeMode) {
        return;
    }
    if (isFilterOpen) {
        closeFilter(false);
    }
    leaveTreeMode(*side);
    syncPreview();
}

void AppState::activateTreeSelection() {
    const auto side = activeFilerSide();
    const auto session = side ? pane(*side).treeSession : nullptr;
    if (!session) {
        return;
    }
    if (!session->focusOnFiles) {
        openTreeFolder(*side, session);
        return;
    }
    const QList<FileEntry> visible = visibleTreeFiles(session->files);
    if (session->fileSelection < 0 || session->fileSelection >= visible.size()) {
        return;
    }
    const FileEntry entry = visible.at(session->fileSelection);
    if (entry.isZipArchive) {
        if (entry.isReadable) {
            openLocation(FilerLocation::zip(PathUtils::standardizedPath(entry.url()), QString()),
                         *side, std::nullopt);
            leaveTreeMode(*side);
        }
    } else {
        showEntryInViewer(entry);
    }
}

// Enter on the tree: the folder's rights are read on a worker, and a readable
// folder is opened in the pane if the tree still stands on it then.
void AppState::openTreeFolder(PaneSide side, const std::shared_ptr<TreeSession>& session) {
    const std::weak_ptr<TreeSession> target = session;
    lookAtDiskThen([this, side, target, path = session->selectedPath()]() -> std::function<void()> {
        const bool readable = FileSystemService::accessRights(path, true, false).readable;
        return [this, side, target, path, readable] {
            const std::shared_ptr<TreeSession> live = target.lock();
            if (!readable || !live || live != pane(side).treeSession ||
                live->selectedPath() != path) {
                return;
            }
            openLocation(FilerLocation::directory(path), side, std::nullopt);
            leaveTreeMode(side);
        };
    });
}

// Moves the cursor of the list that has the keys to an index, clamped. A move
// over the tree loads the new folder's files.
void AppState::moveTreeCursorTo(PaneSide side, int index) {
    const auto session = pane(side).treeSession;
    if (!session) {
        return;
    }
    if (session->focusOnFiles) {
        session->fileSelection = clampedIndex(index, visibleTreeFiles(session->files).size());
        noteTreeChanged();
        return;
    }
    const int row = clampedIndex(index, session->rows.size());
    loadPaneTree(side, [row](TreeSession& copy, bool showHidden) {
        copy.selectedRowIndex = row;
        copy.reloadFiles(showHidden);
        return true;
    });
}

int AppState::treeCursorIndex(PaneSide side) const {
    const auto session = pane(side).treeSession;
    if (!session) {
        return 0;
    }
    return session->focusOnFiles ? session->fileSelection : session->selectedRowIndex;
}

void AppState::moveTreeSelection(int delta) {
    if (const auto side = activeFilerSide()) {
        moveTreeCursorTo(*side, treeCursorIndex(*side) + delta);
    }
}

void AppState::treeSelectFirst() {
    if (const auto side = activeFilerSide()) {
        moveTreeCursorTo(*side, 0);
    }
}

void AppState::treeSelectLast() {
    if (const auto side = activeFilerSide()) {
        moveTreeCursorTo(*side, INT_MAX);
    }
}

void AppState::treePage(int direction) {
    if (const auto side = activeFilerSide()) {
        moveTreeCursorTo(*side, treeCursorIndex(*side) + direction * pageStepForViewport());
    }
}

void AppState::treeStepLeft() {
    const auto side = activeFilerSide();
    const auto session = side ? pane(*side).treeSession : nullptr;
    if (!session) {
        return;
    }
    // Back from the file list touches no disk.
    if (session->focusOnFiles) {
        session->collapseSelected(showHiddenFiles);
        noteTreeChanged();
        return;
    }
    loadPaneTree(*side, [](TreeSession& copy, bool showHidden) {
        copy.collapseSelected(showHidden);
        return true;
    });
}

// An unreadable folder is never opened, nor its (empty) file list entered.
void AppState::treeStepRight() {
    const auto side = activeFilerSide();
    if (!side || !pane(*side).treeSession) {
        return;
    }
    loadPaneTree(*side, [](TreeSession& copy, bool showHidden) {
        if (!FileSystemService::accessRights(copy.selectedPath(), true, false).readable) {
            return false;
        }
        copy.expandSelected(showHidden);
        return true;
    });
}

void AppState::selectTreeRow(PaneSide side, int index) {
    const auto session = pane(side).treeSession;
    if (!session || index < 0 || index >= session->rows.size()) {
        return;
    }
    loadPaneTree(side, [index](TreeSession& copy, bool showHidden) {
        copy.selectedRowIndex = index;
        copy.focusOnFiles = false;
        copy.reloadFiles(showHidden);
        return true;
    });
}

void AppState::selectTreeFile(PaneSide side, int index) {
    const auto session = pane(side).treeSession;
    if (!session || index < 0 || index >= session->files.size()) {
        return;
    }
    session->fileSelection = index;
    session->focusOnFiles = true;
    noteTreeChanged();
}

// After a new or renamed item: a file takes the cursor of the file list, a
// folder the tree cursor where its row is shown. Anything else leaves both.
void AppState::putTreeCursorOn(PaneSide side, const QString& path) {
    const auto session = pane(side).treeSession;
    if (!session) {
        return;
    }
    const QList<FileEntry> files = visibleTreeFiles(session->files);
    for (int index = 0; index < files.size(); ++index) {
        if (PathUtils::standardizedPath(files.at(index).url()) == path) {
            session->fileSelection = index;
            session->focusOnFiles = true;
            noteTreeChanged();
            return;
        }
    }
    for (int index = 0; index < session->rows.size(); ++index) {
        if (session->rows.at(index).path == path) {
            selectTreeRow(side, index);
            return;
        }
    }
    noteTreeChanged();
}

// After file work or a change of a setting: every open tree is listed anew
// with the current hidden-files setting. A session keeps the order it was
// entered with, so a new sort mode or name setting leaves its lists alone.
// The search folder box is read anew the same way.
void AppState::refreshTreeSessions() {
    refreshPaneTree(PaneSide::left);
    refreshPaneTree(PaneSide::right);
    if (const auto& session = searchTreeBox.session) {
        session->forgetSubfolderAnswers();
        changeSearchTreeBox([](TreeSession& copy, bool showHidden) {
            copy.rebuildRows(showHidden);
            copy.reloadFiles(showHidden);
            return true;
        });
    }
    notifyChanged();
}

// The filter narrows the file list, so the keys go there.
void AppState::treeOpenFilter(PaneSide side) {
    if (const auto session = pane(side).treeSession) {
        session->focusOnFiles = true;
        ++treeRevision;
    }
}

void AppState::treeApplyFilter(PaneSide side) {
    const auto session = pane(side).treeSession;
    if (!session) {
        return;
    }
    const int count = int(visibleTreeFiles(session->files).size());
    if (session->fileSelection >= count) {
        session->fileSelection = std::max(0, count - 1);
    }
    noteTreeChanged();
}

void AppState::treeCloseFilterKeepingRow(PaneSide side) {
    const auto session = pane(side).treeSession;
    if (!session) {
        return;
    }
    const QList<FileEntry> visible = visibleTreeFiles(session->files);
    if (session->fileSelection >= 0 && session->fileSelection < visible.size()) {
        const QString id = visible.at(session->fileSelection).id();
        const auto found = std::find_if(session->files.begin(), session->files.end(),
                                        [&](const FileEntry& e) { return e.id() == id; });
        if (found != session->files.end()) {
            session->fileSelection = int(found - session->files.begin());
            session->focusOnFiles = true;
        }
    }
    ++treeRevision;
}

// Space on the file list tags the file and steps on; on the tree it tags
// nothing and steps to the next folder.
void AppState::treeToggleTagAtCursor(PaneSide side) {
    const auto session = pane(side).treeSession;
    if (!session) {
        return;
    }
    if (!session->focusOnFiles) {
        moveTreeCursorTo(side, session->selectedRowIndex + 1);
        return;
    }
    const QList<FileEntry> visible = visibleTreeFiles(session->files);
    const int index = session->fileSelection;
    if (index < 0 || index >= visible.size()) {
        return;
    }
    const FileEntry& entry = visible.at(index);
    if (!entry.isParent && !entry.isDirectory && !entry.isInsideArchive()) {
        toggleTag(tagKey(entry));
    }
    moveTreeCursorTo(side, index + 1);
}

QList<FileEntry> AppState::treeFiles(PaneSide side) const {
    const auto session = pane(side).treeSession;
    return session ? session->files : QList<FileEntry>{};
}

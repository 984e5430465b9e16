// The folder box of file search: a tree over the search folder from which
// the user takes another folder to search in.
#include "core/AppState.h"

#include "core/PathUtils.h"
#include "filesystem/FileSystemService.h"
#include "search/TreeSession.h"

#include <algorithm>

void AppState::openSearchTreeBox() {
    if (!isFileSearchMode) {
        return;
    }
    // The form's text field gives up the keyboard while the box stands.
    releaseTextFocus();
    const QString root = PathUtils::standardizedPath(fileSearchRoot());
    auto session = std::make_shared<TreeSession>(root, sortMode, showLocalizedNames);
    session->expanded = TreeSession::expandedChain(root, root);
    session->rebuildRows(showHiddenFiles);
    session->reloadFiles(showHiddenFiles);
    searchTreeBox.session = session;
    showOverlay(Overlay::searchTreeBox);
    askTreeSubfolders();
    ++treeRevision;
    notifyChanged();
}

void AppState::closeSearchTreeBox() {
    closeOverlay(Overlay::searchTreeBox);
    searchTreeBox.session.reset();
    ++treeRevision;
    notifyChanged();
}

void AppState::moveSearchTreeBoxRow(int delta) {
    if (!searchTreeBox.session || searchTreeBox.session->rows.isEmpty()) {
        return;
    }
    const int last = int(searchTreeBox.session->rows.size()) - 1;
    searchTreeBox.session->selectedRowIndex =
        std::clamp(searchTreeBox.session->selectedRowIndex + delta, 0, last);
    searchTreeBox.session->reloadFiles(showHiddenFiles);
    ++treeRevision;
    notifyChanged();
}

void AppState::selectSearchTreeBoxRow(int index) {
    if (!searchTreeBox.session || index < 0 || index >= searchTreeBox.session->rows.size()) {
        return;
    }
    searchTreeBox.session->selectedRowIndex = index;
    searchTreeBox.session->reloadFiles(showHiddenFiles);
    ++treeRevision;
    notifyChanged();
}

int AppState::searchTreeBoxRowCount() const {
    return searchTreeBox.session ? int(searchTreeBox.session->rows.size()) : 0;
}

void AppState::collapseOrExpandSearchTreeBoxRow(bool expand) {
    if (!searchTreeBox.session) {
        return;
    }
    if (expand) {
        searchTreeBox.session->expandSelected(showHiddenFiles);
        // The box shows no file list: Right on a leaf must not leave the keys
        // there, or the next Left would only take them back.
        searchTreeBox.session->focusOnFiles = false;
    } else {
        searchTreeBox.session->collapseSelected(showHiddenFiles);
    }
    askTreeSubfolders();
    ++treeRevision;
    notifyChanged();
}

// A readable folder becomes the search folder and a new scan follows after
// the usual wait; an unreadable one is refused with the box left open.
void AppState::confirmSearchTreeBox() {
    if (!searchTreeBox.session) {
        return;
    }
    const QString path = searchTreeBox.session->selectedPath();
    if (!FileSystemService::accessRights(path, true, false).readable) {
        reportError(QStringLiteral("Cannot open folder"));
        notifyChanged();
        return;
    }
    closeSearchTreeBox();
    fileSearchScopePath = path;
    if (isFileSearchMode) {
        focusedSide = PaneSide::left;
        scheduleFileSearch();
    }
    notifyChanged();
}

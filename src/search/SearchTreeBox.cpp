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
    searchTreeSession = session;
    isSearchTreeBoxOpen = true;
    ++treeRevision;
    notifyChanged();
}

void AppState::closeSearchTreeBox() {
    isSearchTreeBoxOpen = false;
    searchTreeSession.reset();
    ++treeRevision;
    notifyChanged();
}

void AppState::moveSearchTreeBoxRow(int delta) {
    if (!searchTreeSession || searchTreeSession->rows.isEmpty()) {
        return;
    }
    const int last = int(searchTreeSession->rows.size()) - 1;
    searchTreeSession->selectedRowIndex =
        std::clamp(searchTreeSession->selectedRowIndex + delta, 0, last);
    searchTreeSession->reloadFiles(showHiddenFiles);
    ++treeRevision;
    notifyChanged();
}

void AppState::selectSearchTreeBoxRow(int index) {
    if (!searchTreeSession || index < 0 || index >= searchTreeSession->rows.size()) {
        return;
    }
    searchTreeSession->selectedRowIndex = index;
    searchTreeSession->reloadFiles(showHiddenFiles);
    ++treeRevision;
    notifyChanged();
}

int AppState::searchTreeBoxRowCount() const {
    return searchTreeSession ? int(searchTreeSession->rows.size()) : 0;
}

void AppState::collapseOrExpandSearchTreeBoxRow(bool expand) {
    if (!searchTreeSession) {
        return;
    }
    if (expand) {
        searchTreeSession->expandSelected(showHiddenFiles);
        // The box shows no file list: Right on a leaf must not leave the keys
        // there, or the next Left would only take them back.
        searchTreeSession->focusOnFiles = false;
    } else {
        searchTreeSession->collapseSelected(showHiddenFiles);
    }
    ++treeRevision;
    notifyChanged();
}

// A readable folder becomes the search folder and a new scan follows after
// the usual wait; an unreadable one is refused with the box left open.
void AppState::confirmSearchTreeBox() {
    if (!searchTreeSession) {
        return;
    }
    const QString path = searchTreeSession->selectedPath();
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

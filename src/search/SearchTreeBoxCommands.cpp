// The folder box of file search: a tree over the search folder from which
// the user takes another folder to search in. Every step that reads the disk
// (the box's rows, the files of the folder under its cursor, the rights of
// the folder taken) runs on a worker over a copy of the box's tree; the keys
// typed meanwhile wait and run after it, and Esc drops the step with the box
// as it was.
#include "core/AppState.h"

#include "core/PathUtils.h"
#include "filesystem/FileSystemService.h"
#include "search/TreeSession.h"

#include <algorithm>

// The step runs over a copy; the box takes the copy's rows and cursor if it
// still shows the tree the step began from.
void AppState::changeSearchTreeBox(TreeStep step) {
    const std::shared_ptr<TreeSession> session = searchTreeBox.session;
    if (!session) {
        return;
    }
    const std::weak_ptr<TreeSession> target = session;
    lookAtDiskThen([this, copy = *session, step = std::move(step), showHidden = showHiddenFiles,
                    target]() mutable -> std::function<void()> {
        step(copy, showHidden);
        return [this, target, changed = std::move(copy)]() mutable {
            const std::shared_ptr<TreeSession> live = target.lock();
            if (!live || live != searchTreeBox.session) {
                return;
            }
            live->adopt(std::move(changed));
            askTreeSubfolders();
            ++treeRevision;
            notifyChanged();
        };
    });
}

void AppState::openSearchTreeBox() {
    if (!isFileSearchMode) {
        return;
    }
    const QString root = PathUtils::standardizedPath(fileSearchRoot());
    TreeSession session(root, sortMode, showLocalizedNames);
    session.expanded = TreeSession::expandedChain(root, root);
    lookAtDiskThen([this, session = std::move(session),
                    showHidden = showHiddenFiles]() mutable -> std::function<void()> {
        session.rebuildRows(showHidden);
        session.reloadFiles(showHidden);
        return [this, opened = std::move(session)]() mutable {
            // The form was left while the box's folders were read.
            if (!isFileSearchMode) {
                return;
            }
            // The form's text field gives up the keyboard while the box stands.
            releaseTextFocus();
            searchTreeBox.session = std::make_shared<TreeSession>(std::move(opened));
            showOverlay(Overlay::searchTreeBox);
            askTreeSubfolders();
            ++treeRevision;
            notifyChanged();
        };
    });
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
    changeSearchTreeBox([delta](TreeSession& copy, bool showHidden) {
        const int last = int(copy.rows.size()) - 1;
        copy.selectedRowIndex = std::clamp(copy.selectedRowIndex + delta, 0, last);
        copy.reloadFiles(showHidden);
        return true;
    });
}

void AppState::selectSearchTreeBoxRow(int index) {
    if (!searchTreeBox.session || index < 0 || index >= searchTreeBox.session->rows.size()) {
        return;
    }
    changeSearchTreeBox([index](TreeSession& copy, bool showHidden) {
        copy.selectedRowIndex = index;
        copy.reloadFiles(showHidden);
        return true;
    });
}

int AppState::searchTreeBoxRowCount() const {
    return searchTreeBox.session ? int(searchTreeBox.session->rows.size()) : 0;
}

void AppState::collapseOrExpandSearchTreeBoxRow(bool expand) {
    if (!searchTreeBox.session) {
        return;
    }
    changeSearchTreeBox([expand](TreeSession& copy, bool showHidden) {
        if (expand) {
            copy.expandSelected(showHidden);
            // The box shows no file list: Right on a leaf must not leave the
            // keys there, or the next Left would only take them back.
            copy.focusOnFiles = false;
        } else {
            copy.collapseSelected(showHidden);
        }
        return true;
    });
}

// A readable folder becomes the search folder and a new scan follows after
// the usual wait; an unreadable one is refused with the box left open.
void AppState::confirmSearchTreeBox() {
    const std::shared_ptr<TreeSession> session = searchTreeBox.session;
    if (!session) {
        return;
    }
    const std::weak_ptr<TreeSession> target = session;
    lookAtDiskThen([this, target, path = session->selectedPath()]() -> std::function<void()> {
        const bool readable = FileSystemService::accessRights(path, true, false).readable;
        return [this, target, path, readable] {
            if (target.lock() != searchTreeBox.session || !searchTreeBox.session) {
                return;
            }
            takeSearchTreeBoxFolder(path, readable);
        };
    });
}

void AppState::takeSearchTreeBoxFolder(const QString& path, bool readable) {
    if (!readable) {
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

// The create prompt (K for a folder, I for a file) and the rename prompt (N,
// R): opening them, and what Enter and Esc do. The text field itself belongs
// to the prompt's view, which writes createItemPrompt.name and renamePrompt.name.
#include "core/AppState.h"

#include "archive/ArchiveLocation.h"

#include "core/PathUtils.h"
#include "filesystem/FileSystemService.h"
#include "search/TreeSession.h"
#include "text/ShownFileName.h"

namespace {

// The message for a create or rename refused by the archive around the pane.
// Whatever else stands in the way of a prompt is closed first.
void clearWayForNamePrompt(AppState& s) {
    if (s.isFileSearchMode) {
        s.exitFileSearchMode();
    }
    if (s.isFilterOpen) {
        s.closeFilter(true);
    }
    s.closeOverlay(Overlay::sortPicker);
    if (s.isOpen(Overlay::volumePicker)) {
        s.closeVolumePicker();
    }
    s.closeOverlay(Overlay::wildcardPrompt);
}

// The panes on screen are read again and the cursor of the active pane goes
// to the item's row, if the item is shown at all.
void reloadAfterNameChange(AppState& s, const QString& path) {
    s.reloadPane(PaneSide::left, true);
    if (s.layoutMode == LayoutMode::dualFiler || s.rightMode == RightPaneMode::filer) {
        s.reloadPane(PaneSide::right, true);
    }
    s.refreshTreeSessions();
    const std::optional<PaneSide> side = s.activeFilerSide();
    if (!side) {
        return;
    }
    s.whenListed(*side, [&s, side = *side, path] {
        if (s.pane(side).treeMode && s.pane(side).treeSession) {
            s.putTreeCursorOn(side, path);
            return;
        }
        const QList<FileEntry> rows = s.visibleEntries(side);
        for (int index = 0; index < rows.size(); ++index) {
            if (PathUtils::standardizedPath(rows.at(index).url()) == path) {
                s.setSelection(index, side);
                break;
            }
        }
        s.notifyChanged();
    });
}

// A tag follows its file, and so does the file shown in EDITOR.
void finishRename(AppState& s, const QString& source, const FsResult<QString>& renamed) {
    if (!renamed) {
        s.reportError(renamed.error().description());
        return;
    }
    if (s.taggedKeys.remove(source)) {
        s.taggedKeys.insert(*renamed);
    }
    if (s.editorURL == source) {
        s.editorURL = *renamed;
    }
    reloadAfterNameChange(s, *renamed);
    s.syncPreview();
}

} // namespace

void AppState::openCreateItemPrompt(CreateItemKind kind) {
    if (anyPromptOrPickerOpen()) {
        return;
    }
    const std::optional<PaneSide> side = activeFilerSide();
    if (!side) {
        return;
    }
    if (refuseInsideArchive(*side, kind == CreateItemKind::folder
                                       ? ArchiveLocation::ReadOnlyCommand::createFolder
                                       : ArchiveLocation::ReadOnlyCommand::createFile)) {
        return;
    }
    // In tree mode with the keys on the tree, the new item goes into the
    // folder under the tree cursor: the pane's own folder is out of sight.
    const auto session = pane(*side).treeMode ? pane(*side).treeSession : nullptr;
    const QString parent = session && !session->focusOnFiles
                               ? session->selectedPath()
                               : pane(*side).location.asDirectory()->url;
    clearWayForNamePrompt(*this);
    createItemPrompt.parentPath = parent;
    createItemPrompt.name.clear();
    createItemPrompt.kind = kind;
    showOverlay(Overlay::createItemPrompt);
    notifyChanged();
}

void AppState::cancelCreateItemPrompt() {
    closeOverlay(Overlay::createItemPrompt);
    createItemPrompt.name.clear();
    releaseTextFocus();
    notifyChanged();
}

void AppState::commitCreateItem() {
    if (!isOpen(Overlay::createItemPrompt)) {
        return;
    }
    // The prompt closes first: on a failure its text is gone.
    const CreateItemKind kind = createItemPrompt.kind;
    const QString parent = PathUtils::standardizedPath(createItemPrompt.parentPath);
    const QString name = createItemPrompt.name;
    closeOverlay(Overlay::createItemPrompt);
    createItemPrompt.name.clear();
    releaseTextFocus();
    // The check for an item of that name and the creation run on a worker: a
    // folder on a slow or dead mount never holds the window.
    writeToDiskThen([this, kind, name, parent]() -> std::function<void()> {
        const FsResult<QString> created = kind == CreateItemKind::folder
                                              ? FileSystemService::createFolder(name, parent)
                                              : FileSystemService::createFile(name, parent);
        return [this, created] {
            if (!created) {
                reportError(created.error().description());
                return;
            }
            reloadAfterNameChange(*this, *created);
        };
    });
    notifyChanged();
}

void AppState::openRenamePrompt() {
    if (anyPromptOrPickerOpen()) {
        return;
    }
    const std::optional<PaneSide> side = activeFilerSide();
    if (!side) {
        return;
    }
    if (refuseInsideArchive(*side, ArchiveLocation::ReadOnlyCommand::rename)) {
        return;
    }
    const std::optional<FileEntry> entry = currentEntry();
    if (!entry || entry->isParent || entry->isInsideArchive()) {
        reportError(QStringLiteral("No item to rename"));
        return;
    }
    clearWayForNamePrompt(*this);
    renamePrompt.sourceURL = PathUtils::standardizedPath(entry->url());
    renamePrompt.sourceName = entry->name;
    // A name that is not UTF-8 is offered as it is shown; see commitRename.
    renamePrompt.name = ShownFileName::editableName(entry->name);
    showOverlay(Overlay::renamePrompt);
    notifyChanged();
}

void AppState::cancelRenamePrompt() {
    closeOverlay(Overlay::renamePrompt);
    releaseTextFocus();
    notifyChanged();
}

void AppState::commitRename() {
    if (!isOpen(Overlay::renamePrompt) || renamePrompt.sourceURL.isEmpty()) {
        return;
    }
    const QString source = renamePrompt.sourceURL;
    // The offered text confirmed as it stands keeps the name's own bytes; a
    // name the user edited is written as UTF-8.
    const bool unchanged =
        renamePrompt.name == ShownFileName::editableName(renamePrompt.sourceName);
    const QString name = unchanged ? renamePrompt.sourceName : renamePrompt.name;
    closeOverlay(Overlay::renamePrompt);
    releaseTextFocus();
    writeToDiskThen([this, source, name]() -> std::function<void()> {
        return [this, source, renamed = FileSystemService::renameItem(source, name)] {
            finishRename(*this, source, renamed);
        };
    });
    notifyChanged();
}

void AppState::setPromptText(const QString& text) {
    if (isOpen(Overlay::createItemPrompt)) {
        createItemPrompt.name = text;
    } else if (isOpen(Overlay::renamePrompt)) {
        renamePrompt.name = text;
    } else if (isOpen(Overlay::copyMovePathPrompt)) {
        copyMovePathPrompt.text = text;
    } else if (isOpen(Overlay::wildcardPrompt)) {
        wildcardPrompt.pattern = text;
    }
}

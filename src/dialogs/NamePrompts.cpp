// The create prompt (K for a folder, I for a file) and the rename prompt (N,
// R): opening them, and what Enter and Esc do. The text field itself belongs
// to the prompt's view, which writes createItemName and renameName.
#include "core/AppState.h"

#include "archive/ArchiveLocation.h"

#include "core/PathUtils.h"
#include "filesystem/FileSystemService.h"
#include "search/TreeSession.h"

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
    s.isSortPickerOpen = false;
    if (s.isVolumePickerOpen) {
        s.closeVolumePicker();
    }
    s.isWildcardPromptOpen = false;
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
    const QList<FileEntry> rows = s.visibleEntries(*side);
    for (int index = 0; index < rows.size(); ++index) {
        if (PathUtils::standardizedPath(rows.at(index).url) == path) {
            s.setSelection(index, *side);
            break;
        }
    }
    s.notifyChanged();
}

} // namespace

void AppState::openCreateItemPrompt(CreateItemKind kind) {
    if (createItemKind || isRenamePromptOpen || copyMovePathKind || pendingCopyMove ||
        isJumpDialogOpen || isVolumePickerOpen || isWildcardPromptOpen) {
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
    createItemParentPath = parent;
    createItemName.clear();
    createItemKind = kind;
    notifyChanged();
}

void AppState::cancelCreateItemPrompt() {
    createItemKind.reset();
    createItemName.clear();
    releaseTextFocus();
    notifyChanged();
}

void AppState::commitCreateItem() {
    if (!createItemKind) {
        return;
    }
    // The prompt closes first: on a failure its text is gone.
    const CreateItemKind kind = *createItemKind;
    const QString parent = PathUtils::standardizedPath(createItemParentPath);
    const QString name = createItemName;
    createItemKind.reset();
    createItemName.clear();
    releaseTextFocus();
    const FsResult<QString> created = kind == CreateItemKind::folder
                                          ? FileSystemService::createFolder(name, parent)
                                          : FileSystemService::createFile(name, parent);
    if (!created) {
        reportError(created.error().description());
        return;
    }
    reloadAfterNameChange(*this, *created);
}

void AppState::openRenamePrompt() {
    if (isRenamePromptOpen || isAttributePromptOpen || createItemKind || copyMovePathKind ||
        pendingCopyMove || isJumpDialogOpen || isVolumePickerOpen || isWildcardPromptOpen) {
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
    renameSourceURL = PathUtils::standardizedPath(entry->url);
    renameSourceName = entry->name;
    renameName = entry->name;
    isRenamePromptOpen = true;
    notifyChanged();
}

void AppState::cancelRenamePrompt() {
    isRenamePromptOpen = false;
    releaseTextFocus();
    notifyChanged();
}

void AppState::commitRename() {
    if (!isRenamePromptOpen || renameSourceURL.isEmpty()) {
        return;
    }
    const QString source = renameSourceURL;
    const QString name = renameName;
    isRenamePromptOpen = false;
    releaseTextFocus();
    const FsResult<QString> renamed = FileSystemService::renameItem(source, name);
    if (!renamed) {
        reportError(renamed.error().description());
        return;
    }
    // A tag follows its file, and so does the file shown in EDITOR.
    if (taggedKeys.remove(source)) {
        taggedKeys.insert(*renamed);
    }
    if (editorURL == source) {
        editorURL = *renamed;
    }
    reloadAfterNameChange(*this, *renamed);
    syncPreview();
}

void AppState::setPromptText(const QString& text) {
    if (createItemKind) {
        createItemName = text;
    } else if (isRenamePromptOpen) {
        renameName = text;
    } else if (copyMovePathKind) {
        copyMovePathText = text;
    } else if (isWildcardPromptOpen) {
        wildcardPattern = text;
    }
}

// The key V: the mounted volumes over the screen, Enter goes to one.
#include "core/AppState.h"

#include "filesystem/FileSystemService.h"

void AppState::openVolumePicker() {
    if (!activeFilerSide() || createItemKind || isRenamePromptOpen || copyMovePathKind ||
        pendingCopyMove || isSortPickerOpen || isJumpDialogOpen || isWildcardPromptOpen) {
        return;
    }
    if (isFileSearchMode) {
        exitFileSearchMode();
    }
    if (isFilterOpen) {
        closeFilter(true);
    }
    // Taken once: the list is not renewed while the picker stands.
    volumePickerItems = FileSystemService::mountedVolumes();
    volumePickerSelection = 0;
    isVolumePickerOpen = true;
    notifyChanged();
}

void AppState::closeVolumePicker() {
    isVolumePickerOpen = false;
    notifyChanged();
}

void AppState::moveVolumePickerSelection(int delta) {
    const int count = int(volumePickerItems.size());
    if (!isVolumePickerOpen || count == 0) {
        return;
    }
    volumePickerSelection = ((volumePickerSelection + delta) % count + count) % count;
    notifyChanged();
}

// A volume ejected since the picker opened is reported by goToFolder.
void AppState::confirmVolumePicker(std::optional<int> index) {
    if (!isVolumePickerOpen) {
        return;
    }
    const int chosen = index.value_or(volumePickerSelection);
    if (chosen < 0 || chosen >= volumePickerItems.size()) {
        return;
    }
    const QString url = volumePickerItems.at(chosen).url;
    closeVolumePicker();
    goToFolder(url);
}

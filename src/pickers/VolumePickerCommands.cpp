// The key V: the mounted volumes over the screen, Enter goes to one.
#include "core/AppState.h"

#include "filesystem/FileSystemService.h"

void AppState::openVolumePicker() {
    if (!makeWayForPicker(FilterRow::keep)) {
        return;
    }
    // Taken once, on a worker thread since a dead mount can hang the look:
    // the box stands at once and the list fills it when it comes; it is not
    // renewed while the picker stands.
    volumePicker.items.clear();
    volumePicker.selection = 0;
    volumePicker.isLoading = true;
    showOverlay(Overlay::volumePicker);
    Background::run(
        m_executor, Background::Pool::diskRead, this, volumePicker.listing.take(),
        [] { return FileSystemService::mountedVolumes(); },
        [this](const QList<MountedVolume>& volumes) {
            if (!isOpen(Overlay::volumePicker)) {
                return;
            }
            volumePicker.items = volumes;
            volumePicker.isLoading = false;
            notifyChanged();
        });
    notifyChanged();
}

void AppState::closeVolumePicker() {
    closeOverlay(Overlay::volumePicker);
    volumePicker.listing.dropAll();
    volumePicker.isLoading = false;
    notifyChanged();
}

void AppState::moveVolumePickerSelection(int delta) {
    const int count = int(volumePicker.items.size());
    if (!isOpen(Overlay::volumePicker) || count == 0) {
        return;
    }
    volumePicker.selection = ((volumePicker.selection + delta) % count + count) % count;
    notifyChanged();
}

// A volume ejected since the picker opened is reported by goToFolder.
void AppState::confirmVolumePicker(std::optional<int> index) {
    if (!isOpen(Overlay::volumePicker)) {
        return;
    }
    const int chosen = index.value_or(volumePicker.selection);
    if (chosen < 0 || chosen >= volumePicker.items.size()) {
        return;
    }
    const QString url = volumePicker.items.at(chosen).url;
    closeVolumePicker();
    goToFolder(url);
}

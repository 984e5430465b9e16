// Filling a pane: AppState::listLocation, reloadPane and refreshAll.
#include "core/AppState.h"

#include "archive/ArchiveLocation.h"
#include "core/PathUtils.h"
#include "filesystem/FileAccessMemory.h"
#include "filesystem/FileSystemService.h"

#include <QFileInfo>

#include <algorithm>

Result<QList<FileEntry>, QString> AppState::listLocation(const FilerLocation& location) const {
    if (const auto* directory = location.asDirectory()) {
        auto rows = FileSystemService::listDirectory(directory->url, showHiddenFiles, sortMode,
                                                     showLocalizedNames);
        if (!rows) {
            return fail(rows.error().description());
        }
        return std::move(rows).value();
    }
    auto rows =
        ArchiveLocation::list(*location.asZip(), showHiddenFiles, sortMode, showLocalizedNames);
    if (!rows) {
        return fail(rows.error().description());
    }
    return std::move(rows).value();
}

void AppState::reloadPane(PaneSide side, bool forgetRights) {
    const FilerLocation location = locationFor(side);
    if (forgetRights) {
        if (const auto* directory = location.asDirectory()) {
            FileAccessMemory::forget(directory->url);
        }
    }
    auto rows = listLocation(location);
    if (!rows) {
        errorMessage = rows.error();
        dosDialogActionIndex = 0;
        notifyChanged();
        return;
    }
    setEntries(side, std::move(rows).value());
    setSelection(selectionFor(side), side);
    watchPaneFolder(side);
    // Pictures that came or went show in the grid at once.
    if (layoutMode == LayoutMode::filerGallery && side == PaneSide::left) {
        rebuildGalleryItems();
    }
    notifyChanged();
}

void AppState::refreshAll() {
    reloadPane(PaneSide::left, true);
    if (rightMode == RightPaneMode::filer) {
        reloadPane(PaneSide::right, true);
    }
}

void AppState::setEntries(PaneSide side, QList<FileEntry> entries) {
    if (side == PaneSide::left) {
        leftEntries = std::move(entries);
        ++leftListEpoch;
    } else {
        rightEntries = std::move(entries);
        ++rightListEpoch;
    }
}

// Filling a pane: AppState::listLocation, reloadPane, reloadPaneInBackground
// and refreshAll.
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
    const FilerLocation location = pane(side).location;
    if (forgetRights) {
        if (const auto* directory = location.asDirectory()) {
            FileAccessMemory::forget(directory->url);
        }
    }
    showListing(side, listLocation(location));
}

void AppState::showListing(PaneSide side, Result<QList<FileEntry>, QString> rows) {
    if (!rows) {
        reportError(rows.error());
        notifyChanged();
        return;
    }
    pane(side).replaceEntries(std::move(rows).value());
    setSelection(pane(side).selection, side);
    watchPaneFolder(side);
    // Pictures that came or went show in the grid at once.
    if (layoutMode == LayoutMode::filerGallery && side == PaneSide::left) {
        rebuildGalleryItems();
    }
    notifyChanged();
}

void AppState::reloadPaneInBackground(PaneSide side) {
    const FilerLocation location = pane(side).location;
    const auto* directory = location.asDirectory();
    if (!directory) {
        reloadPane(side, true);
        return;
    }
    FileAccessMemory::forget(directory->url);
    using Rows = FsResult<QList<FileEntry>>;
    Background::run(
        m_executor, Background::Pool::diskRead, this, pane(side).backgroundReloads.take(),
        [url = directory->url, hidden = showHiddenFiles, sort = sortMode,
         localized = showLocalizedNames] {
            return FileSystemService::listDirectory(url, hidden, sort, localized);
        },
        [this, side, location](Rows rows) {
            if (pane(side).location != location) {
                return;
            }
            // The rights met in the listing are written to the store here, on
            // the thread that owns the settings.
            FileAccessMemory::persist();
            if (!rows) {
                showListing(side, fail(rows.error().description()));
            } else {
                showListing(side, std::move(rows).value());
            }
        });
}

void AppState::refreshAll() {
    reloadPane(PaneSide::left, true);
    if (rightMode == RightPaneMode::filer) {
        reloadPane(PaneSide::right, true);
    }
}

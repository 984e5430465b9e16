// Filling a pane: AppState::listLocation, reloadPane, reloadPaneInBackground
// and refreshAll.
#include "core/AppState.h"

#include "archive/ArchiveLocation.h"
#include "core/DiskReadPool.h"
#include "core/PathUtils.h"
#include "filesystem/FileAccessMemory.h"
#include "filesystem/FileSystemService.h"

#include <QFileInfo>
#include <QFutureWatcher>
#include <QtConcurrent/QtConcurrentRun>

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
    const uint64_t request = ++pane(side).backgroundReloadTicket;
    const int64_t epoch = pane(side).listEpoch;
    using Rows = FsResult<QList<FileEntry>>;
    auto* watcher = new QFutureWatcher<Rows>(this);
    connect(watcher, &QFutureWatcher<Rows>::finished, this, [=, this] {
        watcher->deleteLater();
        const PaneState& now = pane(side);
        const bool current = request == now.backgroundReloadTicket && epoch == now.listEpoch &&
                             now.location == location;
        if (!current) {
            return;
        }
        // The rights met in the listing are written to the store here, on
        // the thread that owns the settings.
        FileAccessMemory::persist();
        Rows rows = watcher->result();
        if (!rows) {
            showListing(side, fail(rows.error().description()));
        } else {
            showListing(side, std::move(rows).value());
        }
    });
    watcher->setFuture(QtConcurrent::run(
        &DiskReadPool::instance(), [url = directory->url, hidden = showHiddenFiles, sort = sortMode,
                                    localized = showLocalizedNames] {
            return FileSystemService::listDirectory(url, hidden, sort, localized);
        }));
}

void AppState::refreshAll() {
    reloadPane(PaneSide::left, true);
    if (rightMode == RightPaneMode::filer) {
        reloadPane(PaneSide::right, true);
    }
}

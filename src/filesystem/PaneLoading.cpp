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
    const FilerLocation location = locationFor(side);
    if (forgetRights) {
        if (const auto* directory = location.asDirectory()) {
            FileAccessMemory::forget(directory->url);
        }
    }
    showListing(side, listLocation(location));
}

void AppState::showListing(PaneSide side, Result<QList<FileEntry>, QString> rows) {
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

void AppState::reloadPaneInBackground(PaneSide side) {
    const FilerLocation location = locationFor(side);
    const auto* directory = location.asDirectory();
    if (!directory) {
        reloadPane(side, true);
        return;
    }
    FileAccessMemory::forget(directory->url);
    const uint64_t request = ++m_backgroundReloads[side == PaneSide::left ? 0 : 1];
    const int64_t epoch = side == PaneSide::left ? leftListEpoch : rightListEpoch;
    using Rows = FsResult<QList<FileEntry>>;
    auto* watcher = new QFutureWatcher<Rows>(this);
    connect(watcher, &QFutureWatcher<Rows>::finished, this, [=, this] {
        watcher->deleteLater();
        const bool current = request == m_backgroundReloads[side == PaneSide::left ? 0 : 1] &&
                             epoch == (side == PaneSide::left ? leftListEpoch : rightListEpoch) &&
                             locationFor(side) == location;
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

void AppState::setEntries(PaneSide side, QList<FileEntry> entries) {
    if (side == PaneSide::left) {
        leftEntries = std::move(entries);
        ++leftListEpoch;
    } else {
        rightEntries = std::move(entries);
        ++rightListEpoch;
    }
}

// Filling a pane: AppState::listLocation, reloadPane, reloadPaneInBackground,
// refreshAll, and the listings under way that hold a pane's keys until their
// rows come (a tree's loads hold them too).
#include "core/AppState.h"

#include "archive/ArchiveLocation.h"
#include "core/HeapRelease.h"
#include "core/PathUtils.h"
#include "filesystem/DirectoryWatcher.h"
#include "filesystem/FileAccessMemory.h"
#include "filesystem/FileSystemService.h"

#include <QFileInfo>

#include <algorithm>

namespace {

// The settings a listing is made with, read on the main thread when it is asked for.
struct ListingSettings {
    bool showHidden = false;
    FilerSortMode sortMode = FilerSortMode::name;
    bool byLocalizedName = true;
};

using Rows = Result<QList<FileEntry>, QString>;

Rows listWith(const FilerLocation& location, const ListingSettings& settings,
              const std::stop_token& stop, std::atomic<qsizetype>* readCount) {
    if (const auto* directory = location.asDirectory()) {
        auto rows =
            FileSystemService::listDirectory(directory->url, settings.showHidden, settings.sortMode,
                                             settings.byLocalizedName, {stop, readCount});
        if (!rows) {
            return fail(rows.error().description());
        }
        return std::move(rows).value();
    }
    auto rows = ArchiveLocation::list(*location.asZip(), settings.showHidden, settings.sortMode,
                                      settings.byLocalizedName, stop);
    if (!rows) {
        return fail(rows.error().description());
    }
    if (readCount) {
        readCount->store(rows->size(), std::memory_order_relaxed);
    }
    return std::move(rows).value();
}

// The rows of a listing, and for a folder the watch armed on it right after,
// on the same worker.
struct Listed {
    Rows rows;
    std::shared_ptr<ArmedWatch> watch;
};

Listed listAndArm(const FilerLocation& location, const ListingSettings& settings,
                  const std::stop_token& stop, std::atomic<qsizetype>* readCount) {
    Listed listed{listWith(location, settings, stop, readCount), nullptr};
    const auto* directory = location.asDirectory();
    if (listed.rows && directory && !stop.stop_requested()) {
        listed.watch = DirectoryWatcher::arm(directory->url);
    }
    return listed;
}

bool isQuitKey(const KeyEvent& event) {
    return event.charactersIgnoringModifiers &&
           event.charactersIgnoringModifiers->compare(QLatin1String("q"), Qt::CaseInsensitive) == 0;
}

} // namespace

Rows AppState::listLocation(const FilerLocation& location) const {
    return listWith(location, {showHiddenFiles, sortMode, showLocalizedNames}, {}, nullptr);
}

void AppState::reloadPane(PaneSide side, bool forgetRights) {
    PaneState& p = pane(side);
    PaneListing request;
    request.location = p.location;
    // A change of location under way is what the pane is about to show.
    if (p.listing && p.listing->purpose == PaneListing::Purpose::open) {
        request.purpose = PaneListing::Purpose::open;
        request.location = p.listing->location;
        request.selectName = p.listing->selectName;
    }
    if (forgetRights) {
        if (const auto* directory = request.location.asDirectory()) {
            FileAccessMemory::forgetWithoutWriting(directory->url);
        }
    }
    startListing(side, std::move(request));
}

void AppState::startListing(PaneSide side, PaneListing request) {
    PaneState& p = pane(side);
    if (p.listing) {
        p.listing->stop.request_stop();
    }
    p.backgroundReloads.dropAll();
    const Background::Ticket ticket = p.listings.take();
    auto work = [location = request.location,
                 settings = ListingSettings{showHiddenFiles, sortMode, showLocalizedNames},
                 stop = request.stop.get_token(), count = request.readCount] {
        return listAndArm(location, settings, stop, count.get());
    };
    p.listing = std::move(request);
    Background::run(
        m_executor, Background::Pool::listing, this, ticket, std::move(work),
        [this, side](Listed listed) { finishListing(side, std::move(listed.rows), listed.watch); });
    const auto running = [](PaneState& p) -> PaneLoad* {
        return p.listing ? &*p.listing : nullptr;
    };
    m_executor.callLater(listingNoticeDelay, this,
                         [this, side, ticket, running] { noteLoadSlow(side, ticket, running); });
    notifyChanged();
}

// A load still running after the delay shows its loading line, and the
// count of items read is brought up to date until it completes.
void AppState::noteLoadSlow(PaneSide side, const Background::Ticket& ticket,
                            PaneLoad* (*running)(PaneState&)) {
    PaneLoad* load = running(pane(side));
    if (!ticket.isCurrent() || !load) {
        return;
    }
    load->showsLoadingLine = true;
    load->shownCount = load->readCount->load(std::memory_order_relaxed);
    notifyChanged();
    m_executor.callLater(listingCountInterval, this,
                         [this, side, ticket, running] { noteLoadSlow(side, ticket, running); });
}

std::optional<qsizetype> AppState::loadingLineCount(PaneSide side) const {
    const PaneLoad* load = pane(side).loadShowingLine();
    return load ? std::optional<qsizetype>(load->shownCount) : std::nullopt;
}

void AppState::finishListing(PaneSide side, Rows rows, const std::shared_ptr<ArmedWatch>& armed) {
    PaneState& p = pane(side);
    if (!p.listing) {
        return;
    }
    const PaneListing request = std::move(*p.listing);
    p.listing.reset();
    if (request.purpose == PaneListing::Purpose::open) {
        completeOpenLocation(side, request, std::move(rows), armed);
    } else {
        showListing(side, std::move(rows), armed);
    }
    finishLoading(side);
}

void AppState::finishLoading(PaneSide side) {
    PaneState& p = pane(side);
    if (!p.isLoading()) {
        const std::vector<std::function<void()>> waiting = std::exchange(p.afterListing, {});
        for (const auto& then : waiting) {
            then();
        }
        replayHeldKeys(side);
    }
    notifyChanged();
}

// The held keys run as they would have had the rows been there when they
// were typed: on this pane, in order, until one of them starts another
// listing of it. A focus moved meanwhile to the other side stays there.
void AppState::replayHeldKeys(PaneSide side) {
    PaneState& p = pane(side);
    while (!p.heldKeys.isEmpty() && !p.isLoading()) {
        const KeyEvent key = p.heldKeys.takeFirst();
        const PaneSide focusBefore = focusedSide;
        focusedSide = side;
        handleKeyDown(key);
        if (focusedSide == side) {
            focusedSide = focusBefore;
        }
    }
}

void AppState::cancelListing(PaneSide side) {
    PaneState& p = pane(side);
    if (!p.isLoading()) {
        return;
    }
    if (p.listing) {
        p.listing->stop.request_stop();
        p.listing.reset();
        p.listings.dropAll();
    }
    cancelTreeLoad(side);
    p.heldKeys.clear();
    p.afterListing.clear();
    notifyChanged();
}

void AppState::whenListed(PaneSide side, std::function<void()> then) {
    if (!pane(side).isLoading()) {
        then();
        return;
    }
    pane(side).afterListing.push_back(std::move(then));
}

bool AppState::holdKeyWhileListing(const KeyEvent& event) {
    const auto side = activeFilerSide();
    if (!side || !pane(*side).isLoading()) {
        return false;
    }
    if (event.keyCode == KeyCode::escape) {
        cancelListing(*side);
        return true;
    }
    if (event.keyCode == KeyCode::tab || isQuitKey(event)) {
        return false;
    }
    pane(*side).heldKeys.append(event);
    return true;
}

void AppState::showListing(PaneSide side, Rows rows, const std::shared_ptr<ArmedWatch>& armed) {
    if (!rows) {
        reportError(rows.error());
        notifyChanged();
        return;
    }
    const qsizetype rowsBefore = pane(side).entries.size();
    pane(side).replaceEntries(std::move(rows).value());
    HeapRelease::afterRowsReplaced(rowsBefore, pane(side).entries.size());
    setSelection(pane(side).selection, side);
    watchPaneFolder(side, armed);
    // Pictures that came or went show in the grid at once.
    if (layoutMode == LayoutMode::filerGallery && side == PaneSide::left) {
        rebuildGalleryItems();
    }
    notifyChanged();
}

void AppState::reloadPaneInBackground(PaneSide side) {
    // A listing under way reads the folder anew anyway.
    if (pane(side).listing) {
        return;
    }
    const FilerLocation location = pane(side).location;
    const auto* directory = location.asDirectory();
    if (!directory) {
        reloadPane(side, true);
        return;
    }
    FileAccessMemory::forgetWithoutWriting(directory->url);
    Background::run(
        m_executor, Background::Pool::listing, this, pane(side).backgroundReloads.take(),
        [location, settings = ListingSettings{showHiddenFiles, sortMode, showLocalizedNames}] {
            return listAndArm(location, settings, {}, nullptr);
        },
        [this, side, location](Listed listed) {
            if (pane(side).location != location || pane(side).listing) {
                return;
            }
            showListing(side, std::move(listed.rows), listed.watch);
        });
}

void AppState::refreshAll() {
    // The check of the start folders lists the panes itself when it is done.
    if (m_startCheck == StartCheck::running) {
        return;
    }
    reloadPane(PaneSide::left, true);
    if (rightMode == RightPaneMode::filer) {
        reloadPane(PaneSide::right, true);
    }
    refreshShownFileStatus();
}

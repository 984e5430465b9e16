// Keeping each filer pane live: AppState::watchPaneFolder and stopWatching.
#include "core/AppState.h"

#include "core/PathUtils.h"
#include "filesystem/DirectoryWatcher.h"

#include <QPointer>

// The end of every listing of a pane: the watch is armed anew, and the free
// space of the pane's volume is read again.
void AppState::watchPaneFolder(PaneSide side, const std::shared_ptr<ArmedWatch>& armed) {
    refreshFreeSpace(side);
    const std::shared_ptr<DirectoryWatcher>& watcher = pane(side).watcher;
    if (!watcher) {
        return;
    }
    const auto* directory = pane(side).location.asDirectory();
    if (!directory) {
        watcher->stop(); // archives are not watched
        return;
    }
    QPointer<AppState> state(this);
    auto onChange = [state, side] {
        if (!state || (side == PaneSide::right && state->rightMode != RightPaneMode::filer)) {
            return;
        }
        state->reloadPaneInBackground(side);
    };
    if (armed && armed->path == PathUtils::standardizedPath(directory->url)) {
        watcher->adopt(armed.get(), std::move(onChange));
    } else {
        watcher->start(directory->url, std::move(onChange));
    }
}

void AppState::stopWatching(PaneSide side) {
    if (const auto& watcher = pane(side).watcher) {
        watcher->stop();
    }
}

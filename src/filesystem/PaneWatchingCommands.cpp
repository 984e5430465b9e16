// Keeping each filer pane live: AppState::watchPaneFolder and stopWatching.
#include "core/AppState.h"

#include "filesystem/DirectoryWatcher.h"

#include <QPointer>

// The end of every listing of a pane: the watch is armed anew, and the free
// space of the pane's volume is read again.
void AppState::watchPaneFolder(PaneSide side) {
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
    watcher->start(directory->url, [state, side] {
        if (!state || (side == PaneSide::right && state->rightMode != RightPaneMode::filer)) {
            return;
        }
        state->reloadPaneInBackground(side);
    });
}

void AppState::stopWatching(PaneSide side) {
    if (const auto& watcher = pane(side).watcher) {
        watcher->stop();
    }
}

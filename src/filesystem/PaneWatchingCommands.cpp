// Keeping each filer pane live: AppState::watchPaneFolder and stopWatching.
#include "core/AppState.h"

#include "filesystem/DirectoryWatcher.h"

#include <QPointer>

void AppState::watchPaneFolder(PaneSide side) {
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

#pragma once

#include "core/AppState.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

// Whether the state waits for the disk: a pane's listing, or a command's
// read before its prompt, dialog or editor.
inline bool isWaitingForDisk(const AppState& state) {
    return state.isListingPending(PaneSide::left) || state.isListingPending(PaneSide::right) ||
           state.isLookingAtDisk();
}

// Turns the event loop until neither pane of the state has a listing or a
// change of its tree under way and no command reads the disk, so a test can read the rows or the
// prompt a command asked for. Gives up after timeoutMs; false then.
inline bool waitForListings(const AppState& state, int timeoutMs = 10000) {
    const auto pending = [&state] { return isWaitingForDisk(state); };
    // Each completion arrives as an event and wakes the wait; the timer
    // wakes it once the time is up. Events are processed directly rather
    // than by a nested loop, which a quit asked for earlier would end.
    QTimer limit;
    limit.setSingleShot(true);
    limit.start(timeoutMs);
    while (pending() && limit.isActive()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return !pending();
}

// The same for a state whose work the test steps by hand: waiting work runs,
// oldest first, until no listing or tree load is under way and no command reads the disk.
inline bool waitForListings(const AppState& state, Background::ManualExecutor& executor) {
    const auto pending = [&state] { return isWaitingForDisk(state); };
    while (pending() && executor.runNext()) {
    }
    return !pending();
}

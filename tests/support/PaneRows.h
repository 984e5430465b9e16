#pragma once

// Finding a row of a pane by its name, as a user finds it on screen.
#include "core/AppState.h"

#include <gtest/gtest.h>

namespace PaneRows {

// The index of the row with this name in the pane's shown list, or -1.
inline int rowOf(const AppState& state, const QString& name, PaneSide side = PaneSide::left) {
    const QList<FileEntry> rows = state.visibleEntries(side);
    for (int i = 0; i < rows.size(); ++i) {
        if (rows.at(i).name == name) {
            return i;
        }
    }
    return -1;
}

// Puts the pane's cursor on the row with this name; a missing row fails the test.
inline void putCursorOn(AppState& state, const QString& name, PaneSide side = PaneSide::left) {
    const int row = rowOf(state, name, side);
    ASSERT_GE(row, 0) << "no row " << name.toStdString();
    state.setSelection(row, side);
}

} // namespace PaneRows

#pragma once

#include <QString>

class AppState;

// What the status bar tells about the item under the cursor, all as text.
struct SelectionStatus {
    QString mode;
    QString owner;
    QString group;
    QString size;
    QString date;
    QString name;
    bool operator==(const SelectionStatus&) const = default;

    // The entry under the cursor of the pane commands act on; else the file
    // shown on the right; else ten hyphens and two single ones.
    static SelectionStatus of(const AppState& state);
};

// "空き:" with the free and total size of the active pane's volume and the
// free share in percent; empty without an active pane or a readable volume,
// and until the volume's first read on a worker thread has come back. The
// disk is never asked here. The label is Japanese in every language.
QString freeSpaceLabel(const AppState& state);

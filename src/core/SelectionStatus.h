#pragma once

#include <QString>

#include <optional>

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
    // shown on the right, as its row in the left pane tells or as a worker
    // last read it; else ten hyphens and two single ones. The disk is never
    // asked here.
    static SelectionStatus of(const AppState& state);
    // The file the status line tells about, if it tells about a file and not
    // a row: the one shown on the right while it has the focus and the pane
    // commands act on has no cursor row.
    static std::optional<QString> shownFile(const AppState& state);
    // The facts of a file as the disk tells them; any thread.
    static SelectionStatus readFromDisk(const QString& url);
};

// "空き:" with the free and total size of the active pane's volume and the
// free share in percent; empty without an active pane or a readable volume,
// and until the volume's first read on a worker thread has come back. The
// disk is never asked here. The label is Japanese in every language.
QString freeSpaceLabel(const AppState& state);

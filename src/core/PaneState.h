#pragma once

#include "core/Background.h"
#include "core/Model.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <memory>

class DirectoryWatcher;
class TreeSession;

// Everything that exists once per filer pane: where it stands, its rows, its
// cursor, its tree, its watcher, and what it keeps to answer quickly. The
// state object holds two of them, one per side, and hands them out by side.
struct PaneState {
    // What the pane shows; always standardised.
    FilerLocation location;
    // The rows as listed and sorted, before the filter.
    QList<FileEntry> entries;
    // The cursor: an index into the rows the filter keeps, not into entries.
    int selection = 0;
    // Steps whenever the rows are replaced or redrawn wholesale.
    int64_t listEpoch = 0;

    bool treeMode = false;
    std::shared_ptr<TreeSession> treeSession;

    // Keeps the rows live while the pane shows a folder on disk.
    std::shared_ptr<DirectoryWatcher> watcher;
    // The reloads for a change seen on disk: a later one, or rows shown
    // meanwhile, drop the older.
    Background::TicketCounter backgroundReloads;

    // The rows the filter keeps, asked for many times per key by the commands
    // and the views. Folding every name of a large folder takes long, so the
    // folded names are kept until the rows change, and the kept rows until
    // the query changes too.
    struct FilterMemo {
        int64_t listEpoch = -1;
        const FileEntry* listData = nullptr;
        qsizetype listSize = 0;
        QStringList foldedNames;
        QString query;
        QList<FileEntry> kept;
    };
    mutable FilterMemo filterMemo;

    // A background reload asked for before these rows came would show an
    // older state of the folder: it is dropped.
    void replaceEntries(QList<FileEntry> rows) {
        backgroundReloads.dropAll();
        entries = std::move(rows);
        ++listEpoch;
    }
};

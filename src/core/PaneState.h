#pragma once

#include "core/Background.h"
#include "core/KeyEvent.h"
#include "core/Model.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

class DirectoryWatcher;
class TreeSession;

// A load of what a pane shows, under way on a worker thread: how to stop it
// and how far it got, for the loading line of a slow one.
struct PaneLoad {
    // Asked to stop when the load is superseded or cancelled.
    std::stop_source stop;
    // Items read so far, counted by the worker.
    std::shared_ptr<std::atomic<qsizetype>> readCount = std::make_shared<std::atomic<qsizetype>>(0);
    // Set once the load has run long enough to say so in the pane, with the
    // count the pane shows.
    bool showsLoadingLine = false;
    qsizetype shownCount = 0;
};

// A listing of a pane under way on a worker thread. Until it completes the
// pane shows its old rows; the completion applies the new ones and the steps
// that follow them.
struct PaneListing : PaneLoad {
    enum class Purpose {
        // The pane's own location read again; the cursor is kept by position.
        reload,
        // A change of location; the cursor goes to selectName, or to row 0.
        open,
    };
    Purpose purpose = Purpose::reload;
    FilerLocation location;
    std::optional<QString> selectName;
};

// A change of the pane's tree under way: the session's folders and files are
// read on a worker thread into a copy of the session, and the tree on screen
// stays as it was until the copy takes its place.
struct TreeLoad : PaneLoad {
    // The disk changed while the load ran: the tree is read again once the
    // load's result is in place.
    bool refreshAfter = false;
};

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

    // The listing the user asked for, while it runs; a newer request or Esc
    // drops it.
    std::optional<PaneListing> listing;
    Background::TicketCounter listings;
    // The change of the tree under way, while it runs; a newer one or Esc
    // drops it.
    std::optional<TreeLoad> treeLoad;
    Background::TicketCounter treeLoads;
    // Keys typed for the pane while it lists or its tree loads, run in order
    // once both are done.
    QList<KeyEvent> heldKeys;
    // Steps that wait for the listing and the tree load under way.
    std::vector<std::function<void()>> afterListing;

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

    // The load under way that shows a loading line, the tree's first.
    const PaneLoad* loadShowingLine() const {
        if (treeLoad && treeLoad->showsLoadingLine) {
            return &*treeLoad;
        }
        return listing && listing->showsLoadingLine ? &*listing : nullptr;
    }
    bool isLoading() const { return listing || treeLoad; }

    // A background reload asked for before these rows came would show an
    // older state of the folder: it is dropped.
    void replaceEntries(QList<FileEntry> rows) {
        backgroundReloads.dropAll();
        entries = std::move(rows);
        ++listEpoch;
    }
};

// Changing a pane's tree off the main thread: the folders and files a change
// needs are read on a worker thread into a copy of the session, and the copy
// takes the session's place when it comes. Like a pane's listing, a slow load
// shows the loading line, holds the keys typed for the pane and gives way to
// Esc or to a newer load of the same pane.
#include "core/AppState.h"

#include "search/TreeSession.h"

namespace {

// What a worker brings back: the changed copy and whether the step changed
// anything at all.
struct LoadedTree {
    TreeSession session;
    bool changed = false;
};

PaneLoad* runningTreeLoad(PaneState& p) {
    return p.treeLoad ? &*p.treeLoad : nullptr;
}

} // namespace

void AppState::loadTree(PaneSide side, const TreeSession& base, TreeStep step,
                        std::function<void(TreeSession)> apply) {
    PaneState& p = pane(side);
    const bool refreshAfter = p.treeLoad && p.treeLoad->refreshAfter;
    cancelTreeLoad(side);
    p.treeLoad.emplace();
    p.treeLoad->refreshAfter = refreshAfter;
    const Background::Ticket ticket = p.treeLoads.take();
    auto work = [session = base, step = std::move(step), showHidden = showHiddenFiles,
                 stop = p.treeLoad->stop.get_token(), count = p.treeLoad->readCount]() mutable {
        session.setListingControl({stop, count.get()});
        const bool changed = step(session, showHidden);
        session.readSelectedFolder();
        session.setListingControl({});
        return LoadedTree{std::move(session), changed};
    };
    Background::run(m_executor, Background::Pool::listing, this, ticket, std::move(work),
                    [this, side, apply = std::move(apply)](LoadedTree loaded) {
                        std::optional<TreeLoad>& load = pane(side).treeLoad;
                        if (!load) {
                            return;
                        }
                        const bool refreshAfter = load->refreshAfter;
                        load.reset();
                        if (loaded.changed) {
                            apply(std::move(loaded.session));
                        }
                        if (refreshAfter && pane(side).treeSession) {
                            refreshPaneTree(side);
                        }
                        finishLoading(side);
                    });
    m_executor.callLater(listingNoticeDelay, this,
                         [this, side, ticket] { noteLoadSlow(side, ticket, runningTreeLoad); });
    notifyChanged();
}

void AppState::loadPaneTree(PaneSide side, TreeStep step) {
    const std::shared_ptr<TreeSession> session = pane(side).treeSession;
    if (!session) {
        return;
    }
    const std::weak_ptr<TreeSession> target = session;
    loadTree(side, *session, std::move(step), [this, side, target](TreeSession changed) {
        const std::shared_ptr<TreeSession> live = target.lock();
        // A tree left or made anew meanwhile wants nothing of this one.
        if (!live || live != pane(side).treeSession) {
            return;
        }
        live->adopt(std::move(changed));
        noteTreeChanged();
    });
}

// The session keeps the order it was entered with, so only the hidden-files
// setting of today counts.
void AppState::refreshPaneTree(PaneSide side) {
    // What the load under way reads may be older than the change: it is read
    // again once it is in place.
    if (pane(side).treeLoad) {
        pane(side).treeLoad->refreshAfter = true;
        return;
    }
    const std::shared_ptr<TreeSession> session = pane(side).treeSession;
    if (!session) {
        return;
    }
    session->forgetSubfolderAnswers();
    const std::weak_ptr<TreeSession> target = session;
    const TreeStep step = [](TreeSession& copy, bool showHidden) {
        copy.rebuildRows(showHidden);
        copy.reloadFiles(showHidden);
        return true;
    };
    loadTree(side, *session, step, [this, side, target](TreeSession changed) {
        const std::shared_ptr<TreeSession> live = target.lock();
        if (!live || live != pane(side).treeSession) {
            return;
        }
        live->adopt(std::move(changed));
        askTreeSubfolders();
        ++treeRevision;
        notifyChanged();
    });
}

void AppState::cancelTreeLoad(PaneSide side) {
    PaneState& p = pane(side);
    if (p.treeLoad) {
        p.treeLoad->stop.request_stop();
        p.treeLoad.reset();
    }
    p.treeLoads.dropAll();
}

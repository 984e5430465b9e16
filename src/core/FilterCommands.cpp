// The incremental filter: it narrows what the active pane shows while the
// user types, and never touches the list itself.
#include "core/AppState.h"

#include "core/TextInputHost.h"
#include "core/TextMatching.h"

#include <QMetaObject>

bool AppState::isFilterNarrowing() const {
    return isFilterOpen && !filterQuery.isEmpty();
}

// The real name is tested even where another name is drawn.
bool AppState::nameMatchesFilter(const QString& name) const {
    return TextMatching::localizedCaseInsensitiveContains(name, filterQuery);
}

QList<FileEntry> AppState::visibleTreeFiles(const QList<FileEntry>& files) const {
    if (!isFilterNarrowing()) {
        return files;
    }
    QList<FileEntry> kept;
    for (const FileEntry& file : files) {
        if (nameMatchesFilter(EntryDisplay::shownName(file))) {
            kept.append(file);
        }
    }
    return kept;
}

void AppState::openFilter() {
    const auto side = activeFilerSide();
    if (!side) {
        return;
    }
    if (isFileSearchMode) {
        exitFileSearchMode();
    }
    closeOverlay(Overlay::sortPicker);
    closeOverlay(Overlay::volumePicker);
    if (isOpen(Overlay::wildcardPrompt)) {
        closeOverlay(Overlay::wildcardPrompt);
        releaseTextFocus();
    }
    isFilterOpen = true;
    filterQuery.clear();
    if (pane(*side).treeMode && pane(*side).treeSession) {
        treeOpenFilter(*side);
    }
    notifyChanged();
}

// After each change of the query. The cursor keeps its index, not its row,
// while the user types; only a cursor beyond the list is pulled back.
void AppState::applyFilter() {
    const auto side = activeFilerSide();
    if (!side) {
        return;
    }
    if (pane(*side).treeMode && pane(*side).treeSession) {
        treeApplyFilter(*side);
        return;
    }
    const int count = int(visibleEntries(*side).size());
    if (pane(*side).selection >= count) {
        setSelection(count - 1, *side);
    }
    notifyChanged();
}

void AppState::setFilterQuery(const QString& text) {
    if (!isFilterOpen) {
        return;
    }
    filterQuery = text;
    applyFilter();
    ++treeRevision;
    notifyChanged();
}

// Esc keeps the row under the cursor; every other way out keeps the index,
// which then counts in the full list and may stand on another row.
void AppState::closeFilter(bool keepCursorRow) {
    const auto side = activeFilerSide();
    if (keepCursorRow && side && pane(*side).treeMode && pane(*side).treeSession) {
        treeCloseFilterKeepingRow(*side);
    } else if (keepCursorRow && side) {
        const QList<FileEntry> visible = visibleEntries(*side);
        const int index = pane(*side).selection;
        if (index >= 0 && index < visible.size()) {
            const QString id = visible.at(index).id();
            const QList<FileEntry>& all = pane(*side).entries;
            const auto found = std::find_if(all.begin(), all.end(),
                                            [&](const FileEntry& e) { return e.id() == id; });
            if (found != all.end()) {
                pane(*side).selection = int(found - all.begin());
            }
        }
        if (*side == PaneSide::left && layoutMode == LayoutMode::filerGallery) {
            syncGallerySelection();
        }
    }
    isFilterOpen = false;
    filterQuery.clear();
    // The folded names of a large folder are worth keeping only while a
    // query may ask for them.
    for (PaneState& each : m_panes) {
        each.filterMemo = {};
    }
    ++treeRevision;
    notifyChanged();
    releaseTextFocus();
    syncPreview();
}

// Later on the main queue, so that the key that closed a prompt has finished
// its way through the field before the keyboard goes back to the window.
void AppState::releaseTextFocus() {
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (m_textInputHost) {
                m_textInputHost->releaseTextFocus();
            }
        },
        Qt::QueuedConnection);
}

// The incremental filter: it narrows what the active pane shows while the
// user types, and never touches the list itself.
#include "core/AppState.h"

#include "core/TextInputHost.h"
#include "core/TextMatching.h"

#include <QMetaObject>

bool AppState::isFilterNarrowing() const {
    return isSearching && !searchQuery.isEmpty();
}

// The real name is tested even where another name is drawn.
bool AppState::nameMatchesFilter(const QString& name) const {
    return TextMatching::localizedCaseInsensitiveContains(name, searchQuery);
}

QList<FileEntry> AppState::visibleTreeFiles(const QList<FileEntry>& files) const {
    if (!isFilterNarrowing()) {
        return files;
    }
    QList<FileEntry> kept;
    for (const FileEntry& file : files) {
        if (nameMatchesFilter(file.name)) {
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
    isSortPickerOpen = false;
    isVolumePickerOpen = false;
    if (isWildcardPromptOpen) {
        isWildcardPromptOpen = false;
        releaseTextFocus();
    }
    isSearching = true;
    searchQuery.clear();
    if (treeModeFor(*side) && treeSessionFor(*side)) {
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
    if (treeModeFor(*side) && treeSessionFor(*side)) {
        treeApplyFilter(*side);
        return;
    }
    const int count = int(visibleEntries(*side).size());
    if (selectionFor(*side) >= count) {
        setSelection(count - 1, *side);
    }
    notifyChanged();
}

// Esc keeps the row under the cursor; every other way out keeps the index,
// which then counts in the full list and may stand on another row.
void AppState::closeFilter(bool keepCursorRow) {
    const auto side = activeFilerSide();
    if (keepCursorRow && side && treeModeFor(*side) && treeSessionFor(*side)) {
        treeCloseFilterKeepingRow(*side);
    } else if (keepCursorRow && side) {
        const QList<FileEntry> visible = visibleEntries(*side);
        const int index = selectionFor(*side);
        if (index >= 0 && index < visible.size()) {
            const QString id = visible.at(index).id;
            const QList<FileEntry>& all = entriesFor(*side);
            const auto found = std::find_if(all.begin(), all.end(),
                                            [&](const FileEntry& e) { return e.id == id; });
            if (found != all.end()) {
                (*side == PaneSide::left ? leftSelection : rightSelection) =
                    int(found - all.begin());
            }
        }
        if (*side == PaneSide::left && layoutMode == LayoutMode::filerGallery) {
            syncGallerySelection();
        }
    }
    isSearching = false;
    searchQuery.clear();
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

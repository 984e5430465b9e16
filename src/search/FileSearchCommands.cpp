// File search mode: the left pane becomes a form and a list of hits. Every
// change of the form waits a moment for the next key before the folder scan
// starts, so typing a word starts one scan and not one per letter.
#include "core/AppState.h"

#include "core/PathUtils.h"
#include "filesystem/FileSystemService.h"
#include "search/FolderSearchService.h"
#include "text/ShownFileName.h"

#include <QFileInfo>

#include <algorithm>

namespace {

template <typename Enum> Enum stepped(Enum value, int delta, int count) {
    return Enum(((int(value) + delta) % count + count) % count);
}

// A hit as a pane row, so the VIEWER, EDITOR and open-with take it as they
// take the row under a filer cursor.
FileEntry entryForHit(const FolderSearchHit& hit) {
    FileEntry entry;
    entry.setId(hit.id);
    entry.name = hit.name;
    entry.setLocalizedName(ShownFileName::shownName(hit.name));
    entry.setUrl(hit.url);
    entry.isDirectory = hit.isDirectory;
    entry.isHidden = hit.name.startsWith(u'.');
    entry.size = hit.size;
    entry.setModificationDate(hit.modificationDate);
    const auto rights = FileSystemService::accessRights(hit.url, hit.isDirectory, false);
    entry.isReadable = rights.readable;
    entry.isWritable = rights.writable;
    entry.setPermissionMode(rights.mode);
    return entry;
}

std::optional<FolderSearchHit> selectedHit(const AppState& state) {
    const QList<FolderSearchHit>& hits = state.folderSearch->results();
    if (state.fileSearchSelection < 0 || state.fileSearchSelection >= hits.size()) {
        return std::nullopt;
    }
    return hits.at(state.fileSearchSelection);
}

bool editorHoldsChanges(const AppState& state) {
    return state.rightMode == RightPaneMode::editor && state.isDirty;
}

// A folder stands in the VIEWER as its path; a file is previewed. Unsaved
// EDITOR text is never replaced by the hit.
void showHit(AppState& state, const FolderSearchHit& hit) {
    if (editorHoldsChanges(state)) {
        return;
    }
    if (hit.isDirectory) {
        state.clearViewer();
        state.editorURL = hit.url;
        state.editorText = QStringLiteral("(folder) ") + hit.url;
        state.viewerKind = ViewerContentKind::text;
    } else {
        state.showFilePreview(entryForHit(hit));
    }
}

// Moves the result cursor, clamped to the hits, and takes the keys to the list.
void selectHit(AppState& state, int index) {
    const qsizetype count = state.folderSearch->results().size();
    state.fileSearchSelection = count == 0 ? 0 : std::clamp(index, 0, int(count) - 1);
    state.fileSearchFocusField = FileSearchFocusField::results;
    if (const auto hit = selectedHit(state)) {
        showHit(state, *hit);
    }
    state.notifyChanged();
}

} // namespace

QString AppState::fileSearchRoot() const {
    if (!fileSearchScopePath.isEmpty()) {
        return fileSearchScopePath;
    }
    if (const auto* zip = pane(PaneSide::left).location.asZip()) {
        return PathUtils::standardizedPath(QFileInfo(zip->archive).absolutePath());
    }
    return pane(PaneSide::left).location.asDirectory()->url;
}

// Shift+4 and the menu both come here, so the menu's shortcut also leaves.
void AppState::enterFileSearchMode() {
    if (isFileSearchMode) {
        exitFileSearchMode();
        return;
    }
    closeSortPicker();
    closeVolumePicker();
    if (isOpen(Overlay::jumpDialog)) {
        closeJumpDialog();
    }
    if (isOpen(Overlay::wildcardPrompt)) {
        cancelWildcardPrompt();
    }
    if (isFilterOpen) {
        closeFilter(false);
    }
    if (pane(PaneSide::left).treeMode) {
        leaveTreeMode(PaneSide::left);
    }
    fileSearchDebounceTask.dropAll();
    fileSearchScopePath.clear();
    fileSearchScopePath = fileSearchRoot();
    fileSearchQuery.clear();
    fileSearchFromYM.clear();
    fileSearchToYM.clear();
    fileSearchMatchMode = FolderSearchMatchMode::nameOnly;
    fileSearchSort = FolderSearchSort::name;
    fileSearchSelection = 0;
    fileSearchFocusField = FileSearchFocusField::query;
    folderSearch->cancel();
    isFileSearchMode = true;
    focusedSide = PaneSide::left;
    if (layoutMode != LayoutMode::filerViewer) {
        layoutMode = LayoutMode::filerViewer;
        stopWatching(PaneSide::right);
    }
    if (rightMode != RightPaneMode::editor || !isDirty) {
        rightMode = RightPaneMode::viewer;
        clearViewer();
    }
    notifyChanged();
}

void AppState::exitFileSearchMode() {
    fileSearchDebounceTask.dropAll();
    folderSearch->cancel();
    if (isOpen(Overlay::searchTreeBox)) {
        closeSearchTreeBox();
    }
    isFileSearchMode = false;
    if (!editorHoldsChanges(*this)) {
        clearViewer();
        syncPreview();
    }
    notifyChanged();
}

// Each change takes a new ticket, so only the wait begun by the last one
// ends in a scan.
void AppState::scheduleFileSearch() {
    m_executor.callLater(std::chrono::milliseconds(fileSearchDebounceMilliseconds), this,
                         [this, ticket = fileSearchDebounceTask.take()] {
                             if (ticket.isCurrent()) {
                                 runScheduledFileSearch();
                             }
                         });
}

void AppState::runScheduledFileSearch() {
    if (!isFileSearchMode) {
        return;
    }
    folderSearch->start(fileSearchQuery, fileSearchRoot(), fileSearchMatchMode, fileSearchFromYM,
                        fileSearchToYM, fileSearchSort, showHiddenFiles);
    fileSearchSelection = 0;
    notifyChanged();
}

// The form's view hands the keyboard to the field of the new position.
void AppState::cycleFileSearchFocus(int delta) {
    fileSearchFocusField = stepped(fileSearchFocusField, delta, 7);
    notifyChanged();
}

void AppState::moveFileSearchSelection(int delta) {
    selectHit(*this, fileSearchSelection + delta);
}

void AppState::focusFileSearchResults() {
    selectHit(*this, fileSearchSelection);
}

void AppState::fileSearchSelectFirst() {
    selectHit(*this, 0);
}

void AppState::fileSearchSelectLast() {
    selectHit(*this, int(folderSearch->results().size()) - 1);
}

void AppState::fileSearchPage(int direction) {
    selectHit(*this, fileSearchSelection + direction * pageStepForViewport());
}

void AppState::cycleFileSearchSort(int delta) {
    fileSearchSort = stepped(fileSearchSort, delta, 3);
    scheduleFileSearch();
    notifyChanged();
}

void AppState::cycleFileSearchMatchMode(int delta) {
    fileSearchMatchMode = stepped(fileSearchMatchMode, delta, 2);
    scheduleFileSearch();
    notifyChanged();
}

void AppState::toggleFileSearchChoice() {
    if (fileSearchFocusField == FileSearchFocusField::sort) {
        cycleFileSearchSort(1);
    } else if (fileSearchFocusField == FileSearchFocusField::matchMode) {
        cycleFileSearchMatchMode(1);
    }
}

// A folder ends the mode and opens in the left pane; a file is shown again
// and the mode stays.
void AppState::openFileSearchResult() {
    const auto hit = selectedHit(*this);
    if (fileSearchFocusField != FileSearchFocusField::results || !hit) {
        return;
    }
    if (!hit->isDirectory) {
        showHit(*this, *hit);
        notifyChanged();
        return;
    }
    exitFileSearchMode();
    if (FileSystemService::accessRights(hit->url, true, false).readable) {
        openLocation(FilerLocation::directory(hit->url), PaneSide::left, std::nullopt);
    }
}

// EDITOR takes the file that the VIEWER shows, so the hit is shown first.
void AppState::editFileSearchResult() {
    const auto hit = selectedHit(*this);
    if (!hit || hit->isDirectory) {
        reportError(QStringLiteral("No file to edit"));
        notifyChanged();
        return;
    }
    showHit(*this, *hit);
    enterEditor();
}

void AppState::openFileSearchResultExternally() {
    const auto hit = selectedHit(*this);
    if (!hit || hit->isDirectory) {
        reportError(QStringLiteral("No file to open"));
        notifyChanged();
        return;
    }
    showOpenWithChoices(hit->url, hit->name);
}

void AppState::setFileSearchText(FileSearchFocusField field, const QString& text) {
    switch (field) {
    case FileSearchFocusField::query:
        fileSearchQuery = text;
        break;
    case FileSearchFocusField::periodFrom:
        fileSearchFromYM = text;
        break;
    case FileSearchFocusField::periodTo:
        fileSearchToYM = text;
        break;
    default:
        return;
    }
    scheduleFileSearch();
    notifyChanged();
}

void AppState::setFileSearchFocus(FileSearchFocusField field) {
    if (fileSearchFocusField != field) {
        fileSearchFocusField = field;
        notifyChanged();
    }
}

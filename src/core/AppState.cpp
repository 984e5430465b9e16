#include "core/AppState.h"

#include "core/PathUtils.h"
#include "core/TextMatching.h"
#include "filesystem/DirectoryWatcher.h"
#include "search/FolderSearchService.h"
#include "search/TreeSession.h"

#include <QMetaObject>

#include <array>

AppState::AppState(Preferences& preferences, QObject* parent)
    : QObject(parent)
    , m_preferences(preferences) {
    resolveStartupDirectory();
    leftLocation = FilerLocation::directory(startupDirectory);
    rightLocation = leftLocation;
    readSettings();
    leftWatcher = std::make_shared<DirectoryWatcher>();
    rightWatcher = std::make_shared<DirectoryWatcher>();
    folderSearch = std::make_shared<FolderSearchService>();
    connect(folderSearch.get(), &FolderSearchService::changed, this, &AppState::notifyChanged);
}

const FilerLocation& AppState::locationFor(PaneSide side) const {
    return side == PaneSide::left ? leftLocation : rightLocation;
}

const QList<FileEntry>& AppState::entriesFor(PaneSide side) const {
    return side == PaneSide::left ? leftEntries : rightEntries;
}

namespace {

// The rows the filter keeps, asked for many times per key by the commands and
// the views. Folding every name of a large folder takes long, so the folded
// names are kept until the pane's list changes, and the kept rows until the
// query changes too. Main thread only, like the state it serves.
struct FilteredRows {
    const AppState* owner = nullptr;
    int64_t listEpoch = -1;
    const FileEntry* listData = nullptr;
    qsizetype listSize = 0;
    QStringList foldedNames;
    QString query;
    QList<FileEntry> kept;

    bool holdsList(const AppState* state, int64_t epoch, const QList<FileEntry>& entries) const {
        return owner == state && listEpoch == epoch && listData == entries.constData() &&
               listSize == entries.size();
    }
};

std::array<FilteredRows, 2> filteredRowsBySide;

FilteredRows& filteredRows(const AppState* state, PaneSide side, int64_t epoch,
                           const QList<FileEntry>& entries) {
    FilteredRows& rows = filteredRowsBySide[side == PaneSide::left ? 0 : 1];
    if (!rows.holdsList(state, epoch, entries)) {
        rows = FilteredRows{state, epoch, entries.constData(), entries.size(), {}, {}, {}};
        rows.foldedNames.reserve(entries.size());
        for (const FileEntry& entry : entries) {
            rows.foldedNames.append(TextMatching::foldedForMatching(entry.name));
        }
    }
    return rows;
}

} // namespace

AppState::~AppState() {
    for (FilteredRows& rows : filteredRowsBySide) {
        if (rows.owner == this) {
            rows = FilteredRows{};
        }
    }
}

QList<FileEntry> AppState::visibleEntries(PaneSide side) const {
    const QList<FileEntry>& entries = entriesFor(side);
    if (!isSearching || activeFilerSide() != side || searchQuery.isEmpty()) {
        return entries;
    }
    const int64_t epoch = side == PaneSide::left ? leftListEpoch : rightListEpoch;
    FilteredRows& rows = filteredRows(this, side, epoch, entries);
    if (rows.query == searchQuery) {
        return rows.kept;
    }
    // The test is on the real name even where another name is drawn.
    const QString query = TextMatching::foldedForMatching(searchQuery);
    QList<FileEntry> kept;
    for (qsizetype i = 0; i < entries.size(); ++i) {
        if (entries.at(i).isParent || rows.foldedNames.at(i).contains(query)) {
            kept.append(entries.at(i));
        }
    }
    rows.query = searchQuery;
    rows.kept = kept;
    return kept;
}

int AppState::selectionFor(PaneSide side) const {
    return side == PaneSide::left ? leftSelection : rightSelection;
}

bool AppState::treeModeFor(PaneSide side) const {
    return side == PaneSide::left ? leftTreeMode : rightTreeMode;
}

std::shared_ptr<TreeSession> AppState::treeSessionFor(PaneSide side) const {
    return side == PaneSide::left ? leftTreeSession : rightTreeSession;
}

std::optional<PaneSide> AppState::activeFilerSide() const {
    switch (layoutMode) {
    case LayoutMode::dualFiler:
        return focusedSide;
    case LayoutMode::filerGallery:
        return PaneSide::left;
    case LayoutMode::filerViewer:
        break;
    }
    if (focusedSide == PaneSide::left || rightMode == RightPaneMode::viewer) {
        return PaneSide::left;
    }
    return std::nullopt;
}

std::optional<FileEntry> AppState::currentEntry() const {
    const auto side = activeFilerSide();
    if (!side) {
        return std::nullopt;
    }
    // In tree mode: the file under the file cursor, or the folder under the
    // tree cursor as a row of its own.
    if (const auto session = treeModeFor(*side) ? treeSessionFor(*side) : nullptr) {
        if (!session->focusOnFiles) {
            return session->selectedFolderEntry();
        }
        const QList<FileEntry> files = visibleTreeFiles(session->files);
        if (session->fileSelection < 0 || session->fileSelection >= files.size()) {
            return std::nullopt;
        }
        return files.at(session->fileSelection);
    }
    const QList<FileEntry> visible = visibleEntries(*side);
    const int index = selectionFor(*side);
    if (index < 0 || index >= visible.size()) {
        return std::nullopt;
    }
    return visible.at(index);
}

void AppState::notifyChanged() {
    if (m_changeScheduled) {
        return;
    }
    m_changeScheduled = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_changeScheduled = false;
            emit changed();
        },
        Qt::QueuedConnection);
}

#include "core/AppState.h"

#include "core/PathUtils.h"
#include "core/TextMatching.h"
#include "filesystem/DirectoryWatcher.h"
#include "search/FolderSearchService.h"
#include "search/TreeSession.h"

#include <QMetaObject>

AppState::AppState(Preferences& preferences, QObject* parent)
    : AppState(preferences, Background::workerThreads(), parent) {}

AppState::AppState(Preferences& preferences, Background::Executor& executor, QObject* parent)
    : QObject(parent)
    , m_preferences(preferences)
    , m_executor(executor) {
    resolveStartupDirectory();
    pane(PaneSide::left).location = FilerLocation::directory(startupDirectory);
    pane(PaneSide::right).location = pane(PaneSide::left).location;
    readSettings();
    pane(PaneSide::left).watcher = std::make_shared<DirectoryWatcher>();
    pane(PaneSide::right).watcher = std::make_shared<DirectoryWatcher>();
    folderSearch = std::make_shared<FolderSearchService>(m_executor);
    connect(folderSearch.get(), &FolderSearchService::changed, this, &AppState::notifyChanged);
}

AppState::~AppState() = default;

// The memo of a pane, made afresh when the pane's list is another than the one
// it was made for.
PaneState::FilterMemo& AppState::filterMemo(PaneSide side) const {
    const PaneState& state = pane(side);
    const QList<FileEntry>& entries = state.entries;
    PaneState::FilterMemo& memo = state.filterMemo;
    if (memo.listEpoch != state.listEpoch || memo.listData != entries.constData() ||
        memo.listSize != entries.size()) {
        memo = {state.listEpoch, entries.constData(), entries.size(), {}, {}, {}};
        memo.foldedNames.reserve(entries.size());
        for (const FileEntry& entry : entries) {
            // Most names fold to themselves: those keep sharing the row's text.
            const QString shown = EntryDisplay::shownName(entry);
            const QString folded = TextMatching::foldedForMatching(shown);
            memo.foldedNames.append(folded == shown ? shown : folded);
        }
    }
    return memo;
}

QList<FileEntry> AppState::visibleEntries(PaneSide side) const {
    const QList<FileEntry>& entries = pane(side).entries;
    if (!isFilterOpen || activeFilerSide() != side || filterQuery.isEmpty()) {
        return entries;
    }
    PaneState::FilterMemo& memo = filterMemo(side);
    if (memo.query == filterQuery) {
        return memo.kept;
    }
    // The test is on the real name even where another name is drawn.
    const QString query = TextMatching::foldedForMatching(filterQuery);
    QList<FileEntry> kept;
    for (qsizetype i = 0; i < entries.size(); ++i) {
        if (entries.at(i).isParent || memo.foldedNames.at(i).contains(query)) {
            kept.append(entries.at(i));
        }
    }
    memo.query = filterQuery;
    memo.kept = kept;
    return kept;
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
    if (const auto session = pane(*side).treeMode ? pane(*side).treeSession : nullptr) {
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
    const int index = pane(*side).selection;
    if (index < 0 || index >= visible.size()) {
        return std::nullopt;
    }
    return visible.at(index);
}

void AppState::showOverlay(Overlay overlay) {
    m_overlay = overlay;
    notifyChanged();
}

void AppState::closeOverlay(Overlay overlay) {
    if (m_overlay == overlay) {
        m_overlay = Overlay::none;
        notifyChanged();
    }
}

void AppState::reportError(const QString& message) {
    errorMessage = message;
    dosDialogActionIndex = 0;
    notifyChanged();
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
            noteShownFile();
            readUnlistedTagSizes();
            emit changed();
        },
        Qt::QueuedConnection);
}

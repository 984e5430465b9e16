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
    leftLocation = FilerLocation::directory(startupDirectory);
    rightLocation = leftLocation;
    readSettings();
    leftWatcher = std::make_shared<DirectoryWatcher>();
    rightWatcher = std::make_shared<DirectoryWatcher>();
    folderSearch = std::make_shared<FolderSearchService>(m_executor);
    connect(folderSearch.get(), &FolderSearchService::changed, this, &AppState::notifyChanged);
}

const FilerLocation& AppState::locationFor(PaneSide side) const {
    return side == PaneSide::left ? leftLocation : rightLocation;
}

const QList<FileEntry>& AppState::entriesFor(PaneSide side) const {
    return side == PaneSide::left ? leftEntries : rightEntries;
}

AppState::~AppState() = default;

// The memo of a pane, made afresh when the pane's list is another than the one
// it was made for.
AppState::FilterMemo& AppState::filterMemo(PaneSide side) const {
    const QList<FileEntry>& entries = entriesFor(side);
    const int64_t epoch = side == PaneSide::left ? leftListEpoch : rightListEpoch;
    FilterMemo& memo = m_filterMemos[side == PaneSide::left ? 0 : 1];
    if (memo.listEpoch != epoch || memo.listData != entries.constData() ||
        memo.listSize != entries.size()) {
        memo = FilterMemo{epoch, entries.constData(), entries.size(), {}, {}, {}};
        memo.foldedNames.reserve(entries.size());
        for (const FileEntry& entry : entries) {
            memo.foldedNames.append(TextMatching::foldedForMatching(entry.name));
        }
    }
    return memo;
}

QList<FileEntry> AppState::visibleEntries(PaneSide side) const {
    const QList<FileEntry>& entries = entriesFor(side);
    if (!isSearching || activeFilerSide() != side || searchQuery.isEmpty()) {
        return entries;
    }
    FilterMemo& memo = filterMemo(side);
    if (memo.query == searchQuery) {
        return memo.kept;
    }
    // The test is on the real name even where another name is drawn.
    const QString query = TextMatching::foldedForMatching(searchQuery);
    QList<FileEntry> kept;
    for (qsizetype i = 0; i < entries.size(); ++i) {
        if (entries.at(i).isParent || memo.foldedNames.at(i).contains(query)) {
            kept.append(entries.at(i));
        }
    }
    memo.query = searchQuery;
    memo.kept = kept;
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

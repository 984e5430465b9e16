#include "core/AppState.h"

#include "core/PathUtils.h"
#include "core/TextMatching.h"
#include "filesystem/DirectoryWatcher.h"

#include <QMetaObject>

AppState::AppState(Preferences& preferences, QObject* parent)
    : QObject(parent)
    , m_preferences(preferences) {
    resolveStartupDirectory();
    leftLocation = FilerLocation::directory(startupDirectory);
    rightLocation = leftLocation;
    readSettings();
    leftWatcher = std::make_shared<DirectoryWatcher>();
    rightWatcher = std::make_shared<DirectoryWatcher>();
}

AppState::~AppState() = default;

const FilerLocation& AppState::locationFor(PaneSide side) const {
    return side == PaneSide::left ? leftLocation : rightLocation;
}

const QList<FileEntry>& AppState::entriesFor(PaneSide side) const {
    return side == PaneSide::left ? leftEntries : rightEntries;
}

QList<FileEntry> AppState::visibleEntries(PaneSide side) const {
    const QList<FileEntry>& entries = entriesFor(side);
    if (!isSearching || activeFilerSide() != side || searchQuery.isEmpty()) {
        return entries;
    }
    // The test is on the real name even where another name is drawn.
    const QString query = TextMatching::foldedForMatching(searchQuery);
    QList<FileEntry> kept;
    for (const FileEntry& entry : entries) {
        if (entry.isParent || TextMatching::foldedForMatching(entry.name).contains(query)) {
            kept.append(entry);
        }
    }
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
    // Tree mode answers from its session once tree sessions exist; until then
    // the visible list is the only source of rows.
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

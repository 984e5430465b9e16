// The incremental filter and the sort picker over a real folder.
#include "core/KeyTestSupport.h"

#include "support/StateFixture.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

using namespace KeyTest;

namespace {

class FilterTest : public StateFixture {
protected:
    void SetUp() override {
        StateFixture::SetUp();
        // Sizes and names chosen so that each sort gives another order.
        dir.makeFile(QStringLiteral("file10.txt"), "1");
        dir.makeFile(QStringLiteral("file9.txt"), "333");
        dir.makeFile(QStringLiteral("Straße.md"), "22");
        dir.makeFolder(QStringLiteral("docs"));
        makeState().setTextInputHost(&input);
    }

    QStringList visibleNames(PaneSide side = PaneSide::left) const {
        QStringList names;
        for (const FileEntry& entry : state->visibleEntries(side)) {
            names << entry.name;
        }
        return names;
    }
    QString nameAtCursor() const {
        return visibleNames().at(state->pane(PaneSide::left).selection);
    }
    void type(const QString& query) {
        state->filterQuery = query;
        state->applyFilter();
    }

    ComposingInput input;
};

TEST_F(FilterTest, QueryNarrowsTheActivePaneOnly) {
    state->applyLayoutMode(LayoutMode::dualFiler);
    waitForListings(*state);
    state->openFilter();
    struct Case {
        QString query;
        QStringList expected;
    };
    const Case cases[] = {
        {"", {"..", "docs", "file9.txt", "file10.txt", "Straße.md"}},
        {"FILE", {"..", "file9.txt", "file10.txt"}},
        {"strasse", {"..", "Straße.md"}},
        {"nothing", {".."}},
    };
    for (const Case& c : cases) {
        type(c.query);
        EXPECT_EQ(visibleNames(), c.expected) << qPrintable(c.query);
        EXPECT_EQ(visibleNames(PaneSide::right).size(), 5);
    }
}

// The views and commands ask for the filtered rows many times per key: the
// answer is kept, not worked out again, until the list or the query changes.
TEST_F(FilterTest, TheFilteredRowsAreKeptUntilTheListOrTheQueryChangesAndDroppedOnClose) {
    state->openFilter();
    type(QStringLiteral("file"));
    const QList<FileEntry> first = state->visibleEntries(PaneSide::left);
    state->moveCursor(1);
    EXPECT_EQ(state->visibleEntries(PaneSide::left).constData(), first.constData());

    dir.makeFile(QStringLiteral("file-new.txt"));
    state->reloadPane(PaneSide::left, false);
    waitForListings(*state);
    const QList<FileEntry> reloaded = state->visibleEntries(PaneSide::left);
    EXPECT_EQ(reloaded.size(), first.size() + 1);
    type(QStringLiteral("file-n"));
    ASSERT_EQ(state->visibleEntries(PaneSide::left).size(), 2);
    EXPECT_EQ(state->visibleEntries(PaneSide::left).at(1).name, QStringLiteral("file-new.txt"));

    // Closed, the filter keeps none of a large folder's folded names.
    state->closeFilter(false);
    EXPECT_TRUE(state->pane(PaneSide::left).filterMemo.foldedNames.isEmpty());
    EXPECT_TRUE(state->pane(PaneSide::left).filterMemo.kept.isEmpty());
}

TEST_F(FilterTest, TypingKeepsTheIndexAndPullsBackACursorBeyondTheList) {
    state->openFilter();
    state->setSelection(4, PaneSide::left);
    type(QStringLiteral("file"));
    EXPECT_EQ(state->pane(PaneSide::left).selection, 2);
    type(QStringLiteral("fil"));
    EXPECT_EQ(state->pane(PaneSide::left).selection, 2);
}

TEST_F(FilterTest, ClosingGivesTheKeyboardBackLater) {
    state->openFilter();
    state->closeFilter(true);
    EXPECT_EQ(input.releases, 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(input.releases, 1);
}

TEST_F(FilterTest, OpeningTheFilterClosesPickersAndTheWildcardPrompt) {
    state->showOverlay(Overlay::volumePicker);
    state->showOverlay(Overlay::wildcardPrompt);
    state->openFilter();
    EXPECT_TRUE(state->isFilterOpen);
    EXPECT_FALSE(state->isOpen(Overlay::volumePicker));
    EXPECT_FALSE(state->isOpen(Overlay::wildcardPrompt));
}

TEST_F(FilterTest, SortPickerReordersBothPanesAndStoresTheMode) {
    state->applyLayoutMode(LayoutMode::dualFiler);
    waitForListings(*state);
    state->openSortPicker();
    EXPECT_EQ(state->sortPicker.selection, 0);
    state->confirmSortPicker(2);
    waitForListings(*state);
    EXPECT_FALSE(state->isOpen(Overlay::sortPicker));
    EXPECT_EQ(state->sortMode, FilerSortMode::size);
    EXPECT_EQ(preferences.stringValue(QStringLiteral("filerSortMode")), QStringLiteral("size"));
    const QStringList bySize = {"..", "docs", "file9.txt", "Straße.md", "file10.txt"};
    EXPECT_EQ(visibleNames(), bySize);
    EXPECT_EQ(visibleNames(PaneSide::right), bySize);
    state->openSortPicker();
    EXPECT_EQ(state->sortPicker.selection, 2);
}

TEST_F(FilterTest, OpeningTheSortPickerClosesTheFilterKeepingTheRow) {
    state->openFilter();
    type(QStringLiteral("straße"));
    state->setSelection(1, PaneSide::left);
    state->openSortPicker();
    EXPECT_FALSE(state->isFilterOpen);
    EXPECT_EQ(nameAtCursor(), QStringLiteral("Straße.md"));
}

TEST_F(FilterTest, TreeRowsPassTheFilterTopLevelIncludedAndTreeFilesHaveNoParentException) {
    struct Row {
        QString name;
        int depth;
    };
    const QList<Row> rows = {{"top", 0}, {"match-me", 1}, {"other", 2}};
    FileEntry parent;
    parent.name = QStringLiteral("..");
    parent.isParent = true;
    state->openFilter();
    type(QStringLiteral("match"));
    const QList<Row> kept = state->visibleTreeRows(rows);
    ASSERT_EQ(kept.size(), 1); // the top row, not passing, goes too
    EXPECT_EQ(kept.at(0).name, QStringLiteral("match-me"));
    EXPECT_TRUE(state->visibleTreeFiles({parent}).isEmpty());
}

} // namespace

// What the search form, the tree pane and the folder box show: the fill of
// the form's focused row, the cursor of the hits and their texts, the tree's
// branch lines and the cursor of the list that has the keys.
#include "ui/FileSearchPaneView.h"
#include "ui/SearchTreeBoxView.h"
#include "ui/TreeFilerPaneView.h"

#include "ScreenTestSupport.h"
#include "search/FolderSearchService.h"
#include "search/TreeSession.h"
#include "ui/ScreenFont.h"
#include "ui/ScreenText.h"
#include "support/ListingWait.h"

#include <QLineEdit>
#include <QSignalSpy>

using namespace ScreenTest;

namespace {

// QTRY_VERIFY would fail without telling the test runner.
template <typename Condition> bool settles(Condition condition) {
    return QTest::qWaitFor(condition, 2000);
}

class SearchViewsTest : public ScreenFixture {
protected:
    void SetUp() override {
        ScreenFixture::SetUp();
        dir.makeFile(QStringLiteral("alpha.txt"), QByteArray(2048, 'a'));
        dir.makeFile(QStringLiteral("music/alpine.mp3"), "m");
        dir.makeFolder(QStringLiteral("music/live"));
        dir.makeFolder(QStringLiteral("docs"));
        makeState();
        state->fileSearchDebounceMilliseconds = 0;
    }

    // How many pixels of a colour the row holds in its left part, where the
    // padding and the first cells of text stand.
    static int fillIn(const QImage& image, const QRect& row, const QColor& color) {
        return countColor(image, row.adjusted(0, 1, -row.width() / 2, -1), color, 3);
    }
};

TEST_F(SearchViewsTest, TheFocusedFormRowIsFilledAndTypingSearches) {
    state->enterFileSearchMode();
    FileSearchPaneView view(*state);
    view.resize(640, 480);
    view.show();
    const QColor rowFill = blended(Palette::cursorFill(), 0.25, Palette::paneBackground());
    QImage image = grab(view);
    const QRect query = view.formRowRect(FileSearchFocusField::query);
    const QRect sort = view.formRowRect(FileSearchFocusField::sort);
    EXPECT_GT(fillIn(image, query, rowFill), query.height() * 20);
    EXPECT_EQ(fillIn(image, sort, rowFill), 0);
    // The name field takes the keyboard on the next turn of the loop.
    EXPECT_TRUE(settles([&] { return view.queryFocused(); }));
    state->cycleFileSearchFocus(-2);
    image = grab(view);
    EXPECT_EQ(fillIn(image, query, rowFill), 0);
    EXPECT_GT(fillIn(image, sort, rowFill), sort.height() * 20);
    EXPECT_FALSE(view.queryFocused());
    state->cycleFileSearchFocus(2);
    EXPECT_TRUE(settles([&] { return view.queryFocused(); }));

    QSignalSpy finished(state->folderSearch.get(), &FolderSearchService::finished);
    QTest::keyClicks(view.focusWidget(), QStringLiteral("alp"));
    EXPECT_EQ(state->fileSearchQuery, QStringLiteral("alp"));
    ASSERT_TRUE(finished.wait(3000));
    ASSERT_EQ(state->folderSearch->results().size(), 2);
    state->moveFileSearchSelection(1);
    image = grab(view);
    const QRect first = view.resultRowRect(0);
    const QRect second = view.resultRowRect(1);
    EXPECT_EQ(fillIn(image, first, Palette::cursorFill()), 0);
    EXPECT_GT(fillIn(image, second, Palette::cursorFill()), second.height() * 20);
    // The size column of "alpha.txt" reads "2.0K" in the dim colour.
    EXPECT_GT(countColor(image, first.adjusted(8, 0, -(first.width() - 64), 0), Palette::dimText()),
              5);

    // A long list scrolls with the thin bar of the panes, not a light desktop one.
    for (int i = 0; i < 60; ++i) {
        dir.makeFile(QStringLiteral("alp%1").arg(i), "x");
    }
    state->scheduleFileSearch();
    ASSERT_TRUE(finished.wait(3000));
    image = grab(view);
    const QRect edge(first.right() - 12, first.top(), 12, view.resultRowRect(10).bottom());
    EXPECT_EQ(countColor(image, edge, QColor(230, 230, 230), 12), 0);
}

// When the keys come back to the form from EDITOR beside it, the editor's
// text stops taking what is typed: the form's field, or no field, has it.
TEST_F(SearchViewsTest, TheFormTakesTheKeyboardBackFromTheRightPane) {
    state->enterFileSearchMode();
    QWidget window;
    auto* view = new FileSearchPaneView(*state, &window);
    auto* editor = new QLineEdit(&window); // stands for EDITOR's text
    view->resize(640, 480);
    editor->move(660, 0);
    window.resize(900, 480);
    window.show();
    EXPECT_TRUE(settles([&] { return view->queryFocused(); }));
    for (const auto field : {FileSearchFocusField::query, FileSearchFocusField::results}) {
        state->fileSearchFocusField = field;
        state->focusedSide = PaneSide::right;
        state->notifyChanged();
        QApplication::processEvents();
        editor->setFocus();
        EXPECT_TRUE(settles([&] { return editor->hasFocus(); }));
        state->focusPane(PaneSide::left);
        EXPECT_TRUE(settles([&] { return !editor->hasFocus(); }));
        EXPECT_EQ(view->queryFocused(), field == FileSearchFocusField::query);
    }
}

// In a narrow pane the footer's keys give way to the count of hits, which
// is drawn alone at the right end just as in a wide pane.
TEST_F(SearchViewsTest, TheFooterCountStaysReadableInANarrowPane) {
    state->enterFileSearchMode();
    FileSearchPaneView wide(*state);
    FileSearchPaneView narrow(*state);
    wide.resize(800, 300);
    narrow.resize(330, 300);
    const auto countCorner = [](FileSearchPaneView& view) {
        view.show();
        return grab(view).copy(view.width() - 45, view.height() - 26, 33, 20);
    };
    EXPECT_EQ(countCorner(narrow), countCorner(wide));
}

TEST_F(SearchViewsTest, TheTreePaneDrawsBranchesAndTheCursorOfTheListWithTheKeys) {
    state->toggleTreeMode();
    waitForListings(*state);
    auto session = state->pane(PaneSide::left).treeSession;
    ASSERT_TRUE(session);
    ASSERT_EQ(session->rows.size(), 3); // the root, docs, music
    TreeFilerPaneView view(*state, PaneSide::left);
    view.resize(640, 400);
    view.show();

    QImage image = grab(view);
    const QRect root = view.treeRowRect(0);
    const QRect music = view.treeRowRect(2);
    // The root stands under the cursor; the child rows draw "+--" in the
    // folder colour from their second cell on.
    EXPECT_GT(fillIn(image, root, Palette::cursorFill()), root.height() * 20);
    const int cell = int(ScreenText(ScreenFont::font(13)).cellWidth());
    const QRect branch = music.adjusted(6 + cell, 0, -(music.width() - 6 - 4 * cell), 0);
    EXPECT_GT(countColor(image, branch, Palette::dirText()), 3);
    EXPECT_EQ(TreeSession::rowText(session->rows.at(2), false), QStringLiteral(" +--music>"));

    // Right on the open root row hands the keys to its file list.
    state->treeStepRight();
    waitForListings(*state);
    image = grab(view);
    const QColor dimmed = blended(Palette::cursorFill(), 0.35, Palette::paneBackground());
    EXPECT_GT(fillIn(image, view.treeRowRect(0), dimmed), root.height() * 20);
    EXPECT_GT(fillIn(image, view.fileRowRect(0), Palette::cursorFill()), root.height() * 20);
}

TEST_F(SearchViewsTest, TheTreePaneFilterBarTakesTheKeyboardAndNarrowsBothLists) {
    state->toggleTreeMode();
    waitForListings(*state);
    TreeFilerPaneView view(*state, PaneSide::left);
    view.resize(640, 400);
    view.show();
    view.activateWindow();
    state->openFilter();
    auto* field = view.findChild<QLineEdit*>();
    ASSERT_NE(field, nullptr);
    ASSERT_TRUE(settles([&] { return field->isVisible() && view.filterFocused(); }));
    // The bar stands below the lists, filled with the cursor colour over navy.
    const QColor barFill = blended(Palette::cursorFill(), 0.45, Palette::paneBackground());
    const QRect bar = field->parentWidget()->geometry();
    EXPECT_GT(bar.top(), view.treeRowRect(2).bottom());
    EXPECT_GT(countColor(grab(view), bar.adjusted(0, 0, -bar.width() / 2, 0), barFill, 3),
              bar.height() * 20);

    // No folder row, the root included, passes "alpx": none is drawn.
    QTest::keyClicks(field, QStringLiteral("alpx"));
    EXPECT_EQ(state->filterQuery, QStringLiteral("alpx"));
    const QImage image = grab(view);
    EXPECT_EQ(countColor(image, view.treeRowRect(1), Palette::dirText()), 0);

    state->focusPane(PaneSide::right);
    QApplication::processEvents();
    EXPECT_FALSE(field->isVisible());
    EXPECT_TRUE(state->isFilterOpen);
}

TEST_F(SearchViewsTest, TheFolderBoxShowsTheTreeWithItsCursor) {
    state->enterFileSearchMode();
    state->openSearchTreeBox();
    waitForListings(*state);
    state->moveSearchTreeBoxRow(2);
    waitForListings(*state);
    SearchTreeBoxView box(*state);
    box.resize(box.sizeHint());
    box.show();
    const QImage image = grab(box);
    const QRect music = box.rowRect(2);
    EXPECT_GT(fillIn(image, music, Palette::cursorFill()), music.height() * 20);
    EXPECT_EQ(fillIn(image, box.rowRect(1), Palette::cursorFill()), 0);
    EXPECT_GT(countColor(image, music, Palette::dirText()), 10);
    // The border is 2 points of the title colour.
    EXPECT_GT(countColor(image, QRect(0, 100, 2, 100), Palette::titleText()), 150);
}

} // namespace

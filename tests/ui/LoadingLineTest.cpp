// The loading line of a slow load, as the flat pane and the tree pane paint
// it: the work is stepped by hand and the clock moved by hand, so a load is
// "slow" for exactly as long as the test leaves it waiting.
#include "ui/FilerPaneView.h"
#include "ui/TreeFilerPaneView.h"

#include "ScreenTestSupport.h"
#include "search/TreeSession.h"
#include "support/SteppedStateFixture.h"
#include "ui/EntryColors.h"

using namespace ScreenTest;
using namespace std::chrono_literals;

namespace {

class LoadingLineTest : public SteppedStateFixture {
protected:
    void SetUp() override {
        preferences.setValue(QStringLiteral("uiFontSize"), 13.0);
        dir.makeFolder(QStringLiteral("inner/deeper"));
        dir.makeFile(QStringLiteral("inner/file.txt"), "x");
        start();
    }

    // The lower part of a view, where the line stands over the last rows.
    static QRect foot(const QWidget& view) {
        return QRect(0, view.height() * 2 / 3, view.width(), view.height() / 3);
    }
    static int bandPixels(const QImage& image, const QRect& area) {
        return countColor(image, area, EntryColors::overNavy(Palette::cursorFill(), 0.45), 2);
    }
    // The band's pixels with its words: the count read changes them.
    static QImage bandOf(const QImage& image, const QRect& area) {
        int top = area.bottom(), bottom = area.top();
        for (int y = area.top(); y <= area.bottom(); ++y) {
            if (bandPixels(image, QRect(area.left(), y, area.width(), 1)) > area.width() / 2) {
                top = std::min(top, y);
                bottom = std::max(bottom, y);
            }
        }
        return image.copy(QRect(area.left(), top, area.width(), bottom - top + 1));
    }

    // Checks the line on a view while the load the test started runs: none
    // before the delay, then one with the count, gone when the load is in.
    void expectTheLineWhileLoading(QWidget& view, std::atomic<qsizetype>& readCount) {
        const QRect area = foot(view);
        executor.advance(199ms);
        EXPECT_EQ(bandPixels(grab(view), area), 0);
        executor.advance(1ms);
        const QImage slow = grab(view);
        EXPECT_GT(bandPixels(slow, area), view.width() * 4);
        EXPECT_GT(countColor(slow, area, Palette::titleText(), 2), 10);
        // The count the worker keeps shows at the next update of the line.
        readCount.store(123456);
        executor.advance(100ms);
        const QImage counted = grab(view);
        EXPECT_NE(bandOf(counted, area), bandOf(slow, area));
        executor.runAll();
        EXPECT_EQ(bandPixels(grab(view), area), 0);
    }
};

TEST_F(LoadingLineTest, TheFlatPaneShowsTheLineForItsListingAndForATreeBeingOpened) {
    FilerPaneView view(*state, PaneSide::left);
    view.resize(640, 400);
    view.show();
    state->openLocation(FilerLocation::directory(dir.filePath(QStringLiteral("inner"))),
                        PaneSide::left, std::nullopt);
    expectTheLineWhileLoading(view, *state->pane(PaneSide::left).listing->readCount);
    ASSERT_EQ(state->pane(PaneSide::left).location,
              FilerLocation::directory(dir.filePath(QStringLiteral("inner"))));

    // The tree stands in the pane only once its rows are read: until then
    // the flat pane says it is loading.
    state->toggleTreeMode();
    expectTheLineWhileLoading(view, *state->pane(PaneSide::left).treeLoad->readCount);
    EXPECT_TRUE(state->pane(PaneSide::left).treeMode);
}

TEST_F(LoadingLineTest, TheTreePaneShowsTheLineAcrossBothLists) {
    state->toggleTreeMode();
    executor.runAll();
    ASSERT_TRUE(state->pane(PaneSide::left).treeMode);
    TreeFilerPaneView view(*state, PaneSide::left);
    view.resize(640, 400);
    view.show();
    state->moveTreeSelection(1);
    expectTheLineWhileLoading(view, *state->pane(PaneSide::left).treeLoad->readCount);
    EXPECT_EQ(state->pane(PaneSide::left).treeSession->selectedPath(),
              dir.filePath(QStringLiteral("inner")));
    // Across both lists: the band reaches past the middle of the pane.
    state->moveTreeSelection(-1);
    executor.advance(200ms);
    const QImage slow = grab(view);
    const QRect rightHalf(view.width() / 2, view.height() * 2 / 3, view.width() / 2 - 10,
                          view.height() / 3);
    EXPECT_GT(bandPixels(slow, rightHalf), view.width());
    executor.runAll();
}

} // namespace

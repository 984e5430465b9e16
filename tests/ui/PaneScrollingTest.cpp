// Where a pane's list stands scrolled: a new pane shows its cursor in the
// middle, a new font size keeps the cursor in view, a tree opens with its
// first rows in sight, and the top row is never cut by the header above it.
#include "ui/FilerPaneView.h"
#include "ui/TreeFilerPaneView.h"

#include "ScreenTestSupport.h"
#include "search/TreeSession.h"

#include <QAbstractScrollArea>
#include <QPropertyAnimation>

using namespace ScreenTest;

namespace {

class PaneScrollingTest : public ScreenFixture {
protected:
    void SetUp() override {
        ScreenFixture::SetUp();
        for (int i = 0; i < 300; ++i) {
            dir.makeFile(QStringLiteral("f%1").arg(i, 3, 10, QLatin1Char('0')));
        }
        makeState();
    }

    std::unique_ptr<FilerPaneView> showPane() {
        auto view = std::make_unique<FilerPaneView>(*state, PaneSide::left);
        view->resize(640, 400);
        view->show();
        QApplication::processEvents();
        return view;
    }
    static QRect listArea(QWidget& view) {
        auto* list = view.findChild<QAbstractScrollArea*>();
        const QWidget* port = list->viewport();
        return QRect(port->mapTo(&view, QPoint(0, 0)), port->size());
    }
    // The state's notice comes on the next turn of the loop, and the scroll
    // eases in: it has ended when its animation stands still.
    static bool scrollSettles(QWidget& view) {
        QApplication::processEvents();
        auto* scroll = view.findChild<QPropertyAnimation*>();
        return QTest::qWaitFor(
            [&] { return !scroll || scroll->state() == QAbstractAnimation::Stopped; }, 2000);
    }
};

TEST_F(PaneScrollingTest, ANewPaneAndANewFontSizeShowTheCursorInTheMiddle) {
    state->setSelection(150, PaneSide::left);
    auto view = showPane();
    const QRect area = listArea(*view);
    const int rowHeight = view->rowRect(1).top() - view->rowRect(0).top();
    EXPECT_NEAR(view->rowRect(150).center().y(), area.center().y(), rowHeight);

    state->setUIFontSize(26);
    ASSERT_TRUE(scrollSettles(*view));
    const int biggerRow = view->rowRect(1).top() - view->rowRect(0).top();
    ASSERT_GT(biggerRow, rowHeight);
    EXPECT_NEAR(view->rowRect(150).center().y(), listArea(*view).center().y(), biggerRow);
}

TEST_F(PaneScrollingTest, TheCursorRowIsInViewAndTheTopRowIsAlwaysWhole) {
    auto view = showPane();
    const QRect area = listArea(*view);
    for (const int selection : {40, 41, 97, 150, 299}) {
        state->setSelection(selection, PaneSide::left);
        ASSERT_TRUE(scrollSettles(*view));
        int top = 0;
        while (view->rowRect(top).bottom() < area.top()) {
            ++top;
        }
        EXPECT_GE(view->rowRect(top).top(), area.top() - 1) << selection;
        const QRect row = view->rowRect(selection);
        EXPECT_TRUE(area.contains(row.center())) << selection;
        EXPECT_EQ(countColor(grab(*view), QRect(row.left() + 3, row.center().y(), 1, 1),
                             Palette::cursorFill(), 2),
                  1)
            << selection;
    }
}

TEST_F(PaneScrollingTest, ATreeOpensWithItsFirstRowsInSight) {
    // More folders than the view holds; the cursor stands in its upper half.
    for (int i = 0; i < 40; ++i) {
        dir.makeFolder(QStringLiteral("d%1").arg(i, 2, 10, QLatin1Char('0')));
    }
    state->refreshAll();
    waitForListings(*state);
    state->openLocation(FilerLocation::directory(dir.filePath(QStringLiteral("d08"))),
                        PaneSide::left, std::nullopt);
    waitForListings(*state);
    state->toggleTreeMode();
    waitForListings(*state);
    ASSERT_EQ(state->pane(PaneSide::left).treeSession->selectedRowIndex, 9);
    TreeFilerPaneView view(*state, PaneSide::left);
    view.resize(640, 600);
    view.show();
    QApplication::processEvents();
    const QRect root = view.treeRowRect(0);
    EXPECT_GE(root.top(), listArea(view).top() - 1);
    EXPECT_GT(countColor(grab(view), root, Palette::dirText()), 10);
}

} // namespace

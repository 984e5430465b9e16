// What a filer pane shows: entry colours, the tag mark, the size and date
// columns, the cursor fill on the focused and the other pane, and clicks.
#include "ui/FilerPaneView.h"

#include "ScreenTestSupport.h"
#include "support/ListingWait.h"

#include <QLineEdit>

using namespace ScreenTest;

namespace {

class FilerPaneViewTest : public ScreenFixture {
protected:
    void SetUp() override {
        ScreenFixture::SetUp();
        dir.makeFolder(QStringLiteral("folder"));
        dir.makeFile(QStringLiteral("a-archive.zip"), QByteArray(300, 'z'));
        dir.makeFile(QStringLiteral("b-plain.txt"), QByteArray(2048, 'p'));
        dir.makeFile(QStringLiteral("c-locked.txt"), "x");
        dir.setMode(QStringLiteral("c-locked.txt"), 0444);
        makeState();
        view = std::make_unique<FilerPaneView>(*state, PaneSide::left);
        view->resize(640, 400);
        view->show();
    }

    // The name, size and date columns of a row, as the pane lays them out.
    struct Columns {
        QRect name, size, date;
    };
    Columns columnsOf(int row) const {
        const QRect r = view->rowRect(row);
        const int date = int(13 * 8.6), size = int(13 * 5.6);
        const int right = r.right() - 8;
        return {QRect(r.left() + 8, r.top(), right - date - size - 16 - r.left() - 8, r.height()),
                QRect(right - date - 8 - size, r.top(), size, r.height()),
                QRect(right - date, r.top(), date, r.height())};
    }

    std::unique_ptr<FilerPaneView> view;
};

TEST_F(FilerPaneViewTest, EachKindOfEntryHasItsColourAndSizesStandRightAligned) {
    const QImage image = grab(*view);
    const struct {
        const char* name;
        QColor color;
    } rows[] = {
        {"folder", Palette::dirText()},
        {"a-archive.zip", Palette::archiveText()},
        {"b-plain.txt", Palette::fileText()},
        {"c-locked.txt", Palette::readOnlyFileText()},
    };
    for (const auto& row : rows) {
        // Row 0 is ".." under the cursor; these rows are clear.
        const Columns columns = columnsOf(rowOf(QString::fromUtf8(row.name)));
        EXPECT_GT(countColor(image, columns.name, row.color), 10) << row.name;
        EXPECT_GT(countColor(image, columns.size, row.color), 0) << row.name;
        EXPECT_GT(countColor(image, columns.date, row.color), 10) << row.name;
    }

    const Columns folder = columnsOf(rowOf(QStringLiteral("folder")));
    const Columns plain = columnsOf(rowOf(QStringLiteral("b-plain.txt")));
    // "<DIR>" is five cells wide and "2.0K" four; both end at the column's edge.
    const auto inkExtent = [&](const QRect& column, const QColor& color) {
        int left = column.right(), right = column.left();
        for (int x = column.left(); x <= column.right(); ++x) {
            if (countColor(image, QRect(x, column.top(), 1, column.height()), color) > 0) {
                left = std::min(left, x);
                right = std::max(right, x);
            }
        }
        return std::pair{left, right};
    };
    const auto [dirLeft, dirRight] = inkExtent(folder.size, Palette::dirText());
    const auto [sizeLeft, sizeRight] = inkExtent(plain.size, Palette::fileText());
    EXPECT_GE(dirRight, folder.size.right() - 3);
    EXPECT_GE(sizeRight, plain.size.right() - 3);
    EXPECT_LT(dirLeft, sizeLeft) << "five cells reach further left than four";
}

TEST_F(FilerPaneViewTest, ATaggedFileShowsTheMarkAndAFolderNever) {
    const int plain = rowOf(QStringLiteral("b-plain.txt"));
    const int folder = rowOf(QStringLiteral("folder"));
    const auto markCell = [&](int row) {
        const QRect name = columnsOf(row).name;
        return QRect(name.left(), name.top(), 7, name.height());
    };
    QImage before = grab(*view);
    EXPECT_EQ(countColor(before, markCell(plain), Palette::fileText()), 0);
    state->toggleTag(dir.filePath(QStringLiteral("b-plain.txt")));
    state->toggleTag(dir.filePath(QStringLiteral("folder")));
    state->notifyChanged();
    QApplication::processEvents();
    const QImage after = grab(*view);
    EXPECT_GT(countColor(after, markCell(plain), Palette::fileText()), 0);
    EXPECT_EQ(countColor(after, markCell(folder), Palette::dirText()), 0);
}

TEST_F(FilerPaneViewTest, TheCursorIsFullOnTheFocusedPaneAndFaintOnTheOther) {
    state->setSelection(rowOf(QStringLiteral("b-plain.txt")), PaneSide::left);
    QApplication::processEvents();
    const QRect row = view->rowRect(state->pane(PaneSide::left).selection);
    const QPoint padding(row.left() + 3, row.center().y());
    EXPECT_EQ(countColor(grab(*view), QRect(padding, QSize(1, 1)), Palette::cursorFill(), 2), 1);

    state->focusPane(PaneSide::right);
    QApplication::processEvents();
    const QColor faint = blended(Palette::cursorFill(), 0.35, Palette::paneBackground());
    EXPECT_EQ(countColor(grab(*view), QRect(padding, QSize(1, 1)), faint, 2), 1);
    EXPECT_EQ(countColor(grab(*view), view->rowRect(rowOf(QStringLiteral("folder"))),
                         Palette::cursorFill()),
              0);
}

TEST_F(FilerPaneViewTest, ClicksMoveTheCursorAndDoubleClicksOpen) {
    state->focusPane(PaneSide::right);
    const int plain = rowOf(QStringLiteral("b-plain.txt"));
    QWidget* rows = view->childAt(view->rowRect(plain).center());
    ASSERT_NE(rows, nullptr);
    const QPoint inRows = rows->mapFrom(view.get(), view->rowRect(plain).center());
    QTest::mouseClick(rows, Qt::LeftButton, {}, inRows);
    EXPECT_EQ(state->focusedSide, PaneSide::left);
    EXPECT_EQ(state->pane(PaneSide::left).selection, plain);

    const int folder = rowOf(QStringLiteral("folder"));
    QTest::mouseDClick(rows, Qt::LeftButton, {},
                       rows->mapFrom(view.get(), view->rowRect(folder).center()));
    waitForListings(*state);
    EXPECT_EQ(state->pane(PaneSide::left).location,
              FilerLocation::directory(dir.filePath(QStringLiteral("folder"))));
}

TEST_F(FilerPaneViewTest, TheFilterBarTakesTheKeyboardAndNarrowsTheList) {
    view->activateWindow();
    state->openFilter();
    auto* field = view->findChild<QLineEdit*>();
    ASSERT_NE(field, nullptr);
    // The field takes the keyboard on the turn of the loop after it shows.
    EXPECT_TRUE(QTest::qWaitFor([&] { return field->isVisible() && field->hasFocus(); }));
    QTest::keyClicks(field, QStringLiteral("plain"));
    EXPECT_EQ(state->filterQuery, QStringLiteral("plain"));
    EXPECT_EQ(state->visibleEntries(PaneSide::left).size(), 2); // ".." and the file
    state->focusPane(PaneSide::right);
    QApplication::processEvents();
    EXPECT_FALSE(field->isVisible());
    EXPECT_TRUE(state->isFilterOpen);
}

} // namespace

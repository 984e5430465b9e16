// The attribute prompt, the volume picker and the jump dialog as they stand
// over the screen: which row or cell is filled, how many rows are drawn, the
// colours of their words, and what clicks and typing do to them.
#include "ui/OverlayView.h"

#include "ScreenTestSupport.h"
#include "filesystem/FileSystemService.h"
#include "ui/AttributePromptView.h"
#include "ui/JumpDialogView.h"
#include "ui/Palette.h"
#include "ui/VolumePickerView.h"

#include <QLineEdit>
#include <QTest>

using namespace ScreenTest;

namespace {

class PickerViewsTest : public ScreenFixture {
protected:
    void SetUp() override {
        ScreenFixture::SetUp();
        dir.makeFile(QStringLiteral("notes.txt"), "hello");
        dir.setMode(QStringLiteral("notes.txt"), 0640);
        for (const char* name : {"media/USB-A", "media/USB-B", "work/alpha", "work/beta"}) {
            dir.makeFolder(QString::fromLatin1(name));
        }
        makeState();
        overlay = std::make_unique<OverlayView>(*state);
        overlay->resize(1000, 700);
        overlay->show();
    }
    void settle() {
        QApplication::processEvents();
        QApplication::processEvents();
    }
    template <typename View> View* box() {
        settle();
        return qobject_cast<View*>(overlay->box());
    }
    // The pixels inside an area, off its fractional edges, which the next row shares.
    static QRect inside(const QRectF& area) { return area.toRect().adjusted(0, 1, 0, -1); }
    int filled(QWidget& view, const QRectF& area) {
        return countColor(grab(view), inside(area), Palette::cursorFill());
    }

    std::unique_ptr<OverlayView> overlay;
};

TEST_F(PickerViewsTest, TheAttributePromptFillsTheCellUnderItsCursor) {
    state->leftSelection = rowOf(QStringLiteral("notes.txt"));
    state->openAttributePrompt();
    auto* view = box<AttributePromptView>();
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->width(), 460);
    EXPECT_EQ(state->attributeNewMode, QStringLiteral("rw-r-----"));
    const auto cell = [&](int field, int index) {
        return filled(*view, view->newCellRect(field, index));
    };
    EXPECT_GT(cell(0, 0), 0);
    EXPECT_EQ(cell(0, 1), 0);
    EXPECT_EQ(cell(1, 0), 0);
    // The new mode stands in white, one character per cell.
    EXPECT_GT(countColor(grab(*view), inside(view->newCellRect(0, 1)), Palette::fileText(), 40), 0);

    state->moveAttributeFocus(1);
    state->moveAttributeFieldCursor(-1);
    settle();
    EXPECT_EQ(cell(0, 0), 0);
    EXPECT_GT(cell(1, 7), 0);
    EXPECT_EQ(cell(1, 0), 0);

    // The head line names the file in the title colour.
    const QRectF head(0, 0, view->width(), view->rowRect(-1).top());
    EXPECT_GT(countColor(grab(*view), head.toRect(), Palette::titleText(), 40), 0);
    QTest::mouseClick(overlay.get(), Qt::LeftButton, {}, QPoint(5, 5));
    EXPECT_FALSE(state->isAttributePromptOpen);
}

TEST_F(PickerViewsTest, TheVolumePickerDrawsEachVolumeAndFillsTheSelectedOne) {
    state->openVolumePicker();
    state->volumePickerItems =
        FileSystemService::collectVolumes({}, {dir.filePath(QStringLiteral("media"))});
    ASSERT_EQ(state->volumePickerItems.size(), 3);
    state->moveVolumePickerSelection(1);
    auto* view = box<VolumePickerView>();
    ASSERT_NE(view, nullptr);
    const QImage image = grab(*view);
    int drawn = 0;
    for (int i = 0; i < 3; ++i) {
        const QRect row = inside(view->rowRect(i));
        const bool selected = i == 1;
        const bool hasName =
            countColor(image, row, selected ? Palette::titleText() : Palette::fileText(), 30) > 0;
        drawn += hasName ? 1 : 0;
        EXPECT_EQ(countColor(image, row, Palette::cursorFill()) > 0, selected) << i;
    }
    EXPECT_EQ(drawn, 3);
    EXPECT_GT(countColor(image, inside(view->rowRect(1)), Palette::rgb(0.55, 0.95, 1), 30), 0);
    EXPECT_EQ(countColor(image, inside(view->rowRect(2)), Palette::rgb(0.55, 0.95, 1), 10), 0);

    // A click selects, a double click goes there.
    QTest::mouseClick(view, Qt::LeftButton, {}, view->rowRect(2).center().toPoint());
    EXPECT_EQ(state->volumePickerSelection, 2);
    EXPECT_GT(filled(*view, view->rowRect(2)), 0);
    EXPECT_EQ(filled(*view, view->rowRect(1)), 0);
    QTest::mouseDClick(view, Qt::LeftButton, {}, view->rowRect(2).center().toPoint());
    EXPECT_FALSE(state->isVolumePickerOpen);
    EXPECT_EQ(state->leftLocation,
              FilerLocation::directory(dir.filePath(QStringLiteral("media/USB-B"))));
}

TEST_F(PickerViewsTest, AnEmptyVolumeListSaysSoAndScrollsNothing) {
    state->openVolumePicker();
    state->volumePickerItems.clear();
    auto* view = box<VolumePickerView>();
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(filled(*view, view->rect()), 0);
    EXPECT_GT(countColor(grab(*view), view->rect(), Palette::dimText(), 20), 0);

    // A list longer than the box scrolls so that the selection stays in view.
    for (int i = 0; i < 20; ++i) {
        state->volumePickerItems.append({QStringLiteral("Disk %1").arg(i), dir.path(), false});
    }
    state->moveVolumePickerSelection(-1);
    settle();
    EXPECT_EQ(view->firstVisibleRow(), 20 - VolumePickerView::maxVisibleRows);
    EXPECT_TRUE(view->rowRect(0).isEmpty());
    EXPECT_GT(filled(*view, view->rowRect(19)), 0);
}

class JumpViewTest : public PickerViewsTest {
protected:
    void SetUp() override {
        PickerViewsTest::SetUp();
        state->jumpBookmarks = {dir.filePath(QStringLiteral("work/alpha")),
                                dir.filePath(QStringLiteral("work/beta")), dir.path()};
        state->openJumpDialog();
        view = box<JumpDialogView>();
        ASSERT_NE(view, nullptr);
    }
    JumpDialogView* view = nullptr;
};

TEST_F(JumpViewTest, NoRowIsFilledUntilOneIsSelected) {
    EXPECT_EQ(filled(*view, view->rect()), 0);
    EXPECT_FALSE(view->rowRect(2).isEmpty());
    EXPECT_EQ(view->field()->placeholderText(), QStringLiteral("パスで絞り込み"));
    state->moveJumpSelection(1);
    state->moveJumpSelection(1);
    settle();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(filled(*view, view->rowRect(i)) > 0, i == 1) << i;
    }
    // The start folder's row bears its mark in the accent colour; the others don't.
    const QImage image = grab(*view);
    EXPECT_GT(countColor(image, inside(view->rowRect(2)), Palette::accentText(), 30), 0);
    EXPECT_EQ(countColor(image, inside(view->rowRect(0)), Palette::accentText(), 10), 0);
}

TEST_F(JumpViewTest, TypingInTheFieldFiltersTheRows) {
    QTest::keyClicks(view->field(), QStringLiteral("BET"));
    settle();
    EXPECT_EQ(state->jumpFilterQuery, QStringLiteral("BET"));
    EXPECT_FALSE(view->rowRect(0).isEmpty());
    EXPECT_TRUE(view->rowRect(1).isEmpty());
    // Titles of the one row left stand in the title colour.
    EXPECT_GT(countColor(grab(*view), inside(view->rowRect(0)), Palette::titleText(), 30), 0);

    QTest::keyClicks(view->field(), QStringLiteral("zz"));
    settle();
    EXPECT_TRUE(view->rowRect(0).isEmpty());
    EXPECT_GT(countColor(grab(*view), view->rect(), Palette::dimText(), 20), 0);
    // The state may clear the filter, as bookmarking does; the field follows.
    state->setJumpFilterQuery(QString());
    settle();
    EXPECT_TRUE(view->field()->text().isEmpty());
}

TEST_F(JumpViewTest, AClickSelectsARowAndADoubleClickGoesThere) {
    QTest::mouseClick(view, Qt::LeftButton, {}, view->rowRect(2).center().toPoint());
    ASSERT_TRUE(state->jumpSelectedPath);
    EXPECT_EQ(*state->jumpSelectedPath, dir.path());
    QTest::mouseClick(view, Qt::LeftButton, {}, view->rowRect(1).center().toPoint());
    EXPECT_EQ(*state->jumpSelectedPath, dir.filePath(QStringLiteral("work/beta")));
    EXPECT_GT(filled(*view, view->rowRect(1)), 0);
    EXPECT_EQ(filled(*view, view->rowRect(2)), 0);
    QTest::mouseDClick(view, Qt::LeftButton, {}, view->rowRect(0).center().toPoint());
    EXPECT_FALSE(state->isJumpDialogOpen);
    EXPECT_EQ(state->leftLocation,
              FilerLocation::directory(dir.filePath(QStringLiteral("work/alpha"))));
}

TEST_F(JumpViewTest, NoBookmarksLeavesOnlyTheHintOfHowToAddOne) {
    state->closeJumpDialog();
    state->jumpBookmarks.clear();
    state->openJumpDialog();
    view = box<JumpDialogView>();
    ASSERT_NE(view, nullptr);
    EXPECT_TRUE(view->rowRect(0).isEmpty());
    EXPECT_EQ(filled(*view, view->rect()), 0);
    QTest::mouseClick(overlay.get(), Qt::LeftButton, {}, QPoint(5, 5));
    EXPECT_FALSE(state->isJumpDialogOpen);
}

} // namespace

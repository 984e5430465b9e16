// The attribute prompt, the volume picker, the jump dialog and the OPEN WITH
// box as they stand over the screen: which row or cell is filled, how many
// rows are drawn, the colours of their words and marks, and what clicks and
// typing do to them.
#include "ScreenTestSupport.h"
#include "filesystem/FileSystemService.h"
#include "pickers/OpenWith.h"
#include "ui/AttributePromptView.h"
#include "ui/JumpDialogView.h"
#include "ui/OpenWithPickerView.h"
#include "ui/VolumePickerView.h"
#include "support/ListingWait.h"

#include <QLineEdit>
#include <QTest>

using namespace ScreenTest;

namespace {

const QColor kMarkColor = Palette::rgb(0.55, 0.95, 1);

class PickerViewsTest : public OverlayFixture {
protected:
    void SetUp() override {
        OverlayFixture::SetUp();
        dir.makeFile(QStringLiteral("notes.txt"), "hello");
        dir.setMode(QStringLiteral("notes.txt"), 0640);
        for (const char* name : {"media/USB-A", "media/USB-B", "work/alpha", "work/beta"}) {
            dir.makeFolder(QString::fromLatin1(name));
        }
        showOverlay();
    }
    static void click(QWidget* view, const QRectF& row) {
        QTest::mouseClick(view, Qt::LeftButton, {}, row.center().toPoint());
    }
};

TEST_F(PickerViewsTest, TheAttributePromptFillsTheCellUnderItsCursor) {
    state->pane(PaneSide::left).selection = rowOf(QStringLiteral("notes.txt"));
    state->openAttributePrompt();
    ASSERT_TRUE(waitForListings(*state));
    auto* view = box<AttributePromptView>();
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(state->attributePrompt.newMode, QStringLiteral("rw-r-----"));
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
    clickBackdrop();
    EXPECT_FALSE(state->isOpen(Overlay::attributePrompt));
}

TEST_F(PickerViewsTest, TheVolumePickerDrawsEachVolumeFillsTheSelectedOneAndScrolls) {
    state->openVolumePicker();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !state->volumePicker.isLoading; }, 5000));
    state->volumePicker.items.clear();
    auto* view = box<VolumePickerView>();
    ASSERT_NE(view, nullptr);
    // An empty list says so and fills nothing.
    EXPECT_EQ(filled(*view, view->rect()), 0);
    EXPECT_GT(countColor(grab(*view), view->rect(), Palette::dimText(), 20), 0);

    // A list longer than the box scrolls so that the selection stays in view.
    for (int i = 0; i < 20; ++i) {
        state->volumePicker.items.append({QStringLiteral("Disk %1").arg(i), dir.path(), false});
    }
    state->moveVolumePickerSelection(-1);
    settle();
    EXPECT_EQ(view->firstVisibleRow(), 20 - VolumePickerView::maxVisibleRows);
    EXPECT_TRUE(view->rowRect(0).isEmpty());
    EXPECT_GT(filled(*view, view->rowRect(19)), 0);

    state->volumePicker.items =
        FileSystemService::collectVolumes({}, {dir.filePath(QStringLiteral("media"))});
    ASSERT_EQ(state->volumePicker.items.size(), 3);
    state->volumePicker.selection = 0;
    state->moveVolumePickerSelection(1);
    settle();
    const QImage image = grab(*view);
    for (int i = 0; i < 3; ++i) {
        const QRect row = inside(view->rowRect(i));
        const bool selected = i == 1;
        EXPECT_GT(countColor(image, row, selected ? Palette::titleText() : Palette::fileText(), 30),
                  0)
            << i;
        EXPECT_EQ(countColor(image, row, Palette::cursorFill()) > 0, selected) << i;
    }
    EXPECT_GT(countColor(image, inside(view->rowRect(1)), kMarkColor, 30), 0);
    EXPECT_EQ(countColor(image, inside(view->rowRect(2)), kMarkColor, 10), 0);

    // One click goes there.
    click(view, view->rowRect(2));
    waitForListings(*state);
    EXPECT_FALSE(state->isOpen(Overlay::volumePicker));
    EXPECT_EQ(state->pane(PaneSide::left).location,
              FilerLocation::directory(dir.filePath(QStringLiteral("media/USB-B"))));
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

TEST_F(JumpViewTest, ARowIsFilledOnlyOnceSelectedAndOneClickGoes) {
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

    click(view, view->rowRect(0));
    waitForListings(*state);
    EXPECT_FALSE(state->isOpen(Overlay::jumpDialog));
    EXPECT_EQ(state->pane(PaneSide::left).location,
              FilerLocation::directory(dir.filePath(QStringLiteral("work/alpha"))));
}

TEST_F(JumpViewTest, TypingInTheFieldFiltersTheRows) {
    QTest::keyClicks(view->field(), QStringLiteral("BET"));
    settle();
    EXPECT_EQ(state->jumpDialog.filterQuery, QStringLiteral("BET"));
    EXPECT_FALSE(view->rowRect(0).isEmpty());
    EXPECT_TRUE(view->rowRect(1).isEmpty());
    // Titles of the one row left stand in the title colour.
    EXPECT_GT(countColor(grab(*view), inside(view->rowRect(0)), Palette::titleText(), 30), 0);

    QTest::keyClicks(view->field(), QStringLiteral("zz"));
    settle();
    EXPECT_TRUE(view->rowRect(0).isEmpty());
    EXPECT_EQ(filled(*view, view->rect()), 0);
    EXPECT_GT(countColor(grab(*view), view->rect(), Palette::dimText(), 20), 0);
    // The state may clear the filter, as bookmarking does; the field follows.
    state->setJumpFilterQuery(QString());
    settle();
    EXPECT_TRUE(view->field()->text().isEmpty());
    clickBackdrop();
    EXPECT_FALSE(state->isOpen(Overlay::jumpDialog));
}

class OpenWithPickerViewTest : public PickerViewsTest {
protected:
    OpenWithPickerView* openPicker(const QList<OpenWithApp>& apps) {
        state->openWithPicker.apps = apps;
        state->openWithPicker.fileURL = dir.filePath(QStringLiteral("notes.txt"));
        state->openWithPicker.fileName = QStringLiteral("notes.txt");
        state->openWithPicker.selection = 0;
        state->showOverlay(Overlay::openWithPicker);
        state->notifyChanged();
        return box<OpenWithPickerView>();
    }
};

TEST_F(OpenWithPickerViewTest, RowsShowTheSelectionAndMarksAndAClickOpens) {
    auto* view = openPicker(
        {{QStringLiteral("/a.desktop"), QStringLiteral("Alpha"), true, true},
         {QStringLiteral("/b.desktop"), QStringLiteral("Beta"), false, true},
         {dir.filePath(QStringLiteral("missing.desktop")), QStringLiteral("Gamma"), false, false}});
    ASSERT_NE(view, nullptr);
    QImage image = grab(*view);
    const auto count = [&](int row, const QColor& color, int tolerance = 6) {
        return countColor(image, inside(view->rowRect(row)), color, tolerance);
    };
    // The selected row: filled, its name in the title colour, its marks in the accent.
    EXPECT_GT(count(0, Palette::cursorFill()), 0);
    EXPECT_GT(count(0, Palette::titleText(), 30), 0);
    EXPECT_GT(count(0, kMarkColor, 30), 0);
    // The others: no fill, names in white; a recent one's mark dim. (The
    // edges of white letters on the blue blend into the dim colour too, so
    // the plain row is the measure of what is only edges.)
    EXPECT_EQ(count(1, Palette::cursorFill()), 0);
    EXPECT_EQ(count(1, kMarkColor, 30), 0);
    EXPECT_GT(count(2, Palette::fileText(), 30), 0);
    EXPECT_GT(count(1, Palette::dimText()), 2 * count(2, Palette::dimText()) + 20);

    state->moveOpenWithSelection(-1);
    image = grab(*view);
    EXPECT_GT(count(2, Palette::cursorFill()), 0);
    // Two marks against one.
    EXPECT_GT(count(0, Palette::dimText()), count(1, Palette::dimText()) + 20);

    // A click opens with that row's application at once.
    click(view, view->rowRect(1));
    EXPECT_FALSE(state->isOpen(Overlay::openWithPicker));
    EXPECT_EQ(OpenWith::recentApplications(preferences, "txt"),
              QStringList{QStringLiteral("/b.desktop")});
}

TEST_F(OpenWithPickerViewTest, AnEmptyListSaysSoAndTheBackdropCloses) {
    auto* view = openPicker({});
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(filled(*view, view->rect()), 0);
    EXPECT_GT(countColor(grab(*view), view->rect(), Palette::dimText(), 20), 0);
    clickBackdrop();
    EXPECT_FALSE(state->isOpen(Overlay::openWithPicker));
}

} // namespace

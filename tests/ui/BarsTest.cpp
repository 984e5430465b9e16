// The function toolbar and the status bar: dim cells inside an archive, the
// overflow marks, and what the status line says about the selection.
#include "ui/FunctionToolbarView.h"

#include "ScreenTestSupport.h"
#include "core/SelectionStatus.h"

#include <QTest>

using namespace ScreenTest;

namespace {

class BarsTest : public ScreenFixture {
protected:
    void SetUp() override {
        ScreenFixture::SetUp();
        dir.makeFile(QStringLiteral("notes.txt"), QByteArray(1536, 'n'));
        makeState();
    }
};

TEST_F(BarsTest, CellsThatChangeFilesAreDimInsideAnArchive) {
    FunctionToolbarView toolbar(*state);
    toolbar.resize(2400, toolbar.sizeHint().height());
    toolbar.show();
    // The first cell is "C:Copy"; its cap is white when it can be used.
    const QRect firstCap(10, 0, 8, toolbar.height());
    const QRect legend(10, 0, 1500, toolbar.height());
    const QImage plain = grab(toolbar);
    const int whiteCapsPlain = countColor(plain, legend, Palette::fileText());
    EXPECT_GT(countColor(plain, firstCap, Palette::fileText()), 0);

    state->pane(PaneSide::left).location =
        FilerLocation::zip(dir.filePath(QStringLiteral("a.zip")), QString());
    state->notifyChanged();
    const QImage archive = grab(toolbar);
    EXPECT_EQ(countColor(archive, firstCap, Palette::fileText()), 0);
    const int whiteCapsArchive = countColor(archive, legend, Palette::fileText());
    EXPECT_GT(whiteCapsArchive, 0) << "X, G, P and the others stay bright";
    EXPECT_LT(whiteCapsArchive, whiteCapsPlain);

    // With the focus in EDITOR no pane is active, and nothing is dim.
    state->focusedSide = PaneSide::right;
    state->rightMode = RightPaneMode::editor;
    state->notifyChanged();
    EXPECT_EQ(countColor(grab(toolbar), legend, Palette::fileText()), whiteCapsPlain);
}

TEST_F(BarsTest, ANarrowLegendShowsWhereItContinues) {
    FunctionToolbarView toolbar(*state);
    toolbar.resize(900, toolbar.sizeHint().height());
    toolbar.show();
    grab(toolbar);
    EXPECT_FALSE(toolbar.canScrollLeft());
    EXPECT_TRUE(toolbar.canScrollRight());
    toolbar.scrollLegend(100000);
    EXPECT_TRUE(toolbar.canScrollLeft());
    EXPECT_FALSE(toolbar.canScrollRight());
    // Shift brings a new legend, which starts at its left end.
    state->isShiftKeyDown = true;
    state->notifyChanged();
    grab(toolbar);
    EXPECT_FALSE(toolbar.canScrollLeft());
    toolbar.resize(2400, toolbar.height());
    grab(toolbar);
    EXPECT_FALSE(toolbar.canScrollRight());
}

TEST_F(BarsTest, TheStatusLineTellsTheEntryOrThePlaceholder) {
    state->setSelection(rowOf(QStringLiteral("notes.txt")), PaneSide::left);
    const SelectionStatus entry = SelectionStatus::of(*state);
    EXPECT_EQ(entry.name, QStringLiteral("notes.txt"));
    EXPECT_EQ(entry.size, QStringLiteral("1.5K"));
    EXPECT_TRUE(entry.mode.startsWith(QStringLiteral("-rw")));
    EXPECT_FALSE(entry.owner.isEmpty());
    // The free space comes from a worker thread after the listing.
    ASSERT_TRUE(QTest::qWaitFor([&] { return !freeSpaceLabel(*state).isEmpty(); }, 5000));

    // In EDITOR: placeholders, no free space, and the edited file once there is one.
    state->focusedSide = PaneSide::right;
    state->rightMode = RightPaneMode::editor;
    EXPECT_EQ(SelectionStatus::of(*state), (SelectionStatus{"----------", "-", "-", {}, {}, {}}));
    EXPECT_TRUE(freeSpaceLabel(*state).isEmpty());
    state->editorURL = dir.filePath(QStringLiteral("notes.txt"));
    EXPECT_EQ(SelectionStatus::of(*state).name, QStringLiteral("notes.txt"));
    EXPECT_EQ(SelectionStatus::of(*state).size, QStringLiteral("1.5K"));
}

} // namespace

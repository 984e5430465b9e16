// The status line while EDITOR has the focus tells about the edited file: from
// its row when the left pane's cursor is on it, else from a read on a worker,
// stepped here by hand. Painting the line never asks the disk.
#include "core/SelectionStatus.h"

#include "support/PaneRows.h"
#include "support/SteppedStateFixture.h"

#include <QCoreApplication>

namespace {

class ShownFileStatusTest : public SteppedStateFixture {
protected:
    void SetUp() override {
        dir.makeFile("row.txt", QByteArray(1536, 'r'));
        dir.makeFile("sub/far.txt", QByteArray(3072, 'f'));
        start();
        PaneRows::putCursorOn(*state, "sub");
    }
    // EDITOR on the right with the focus, showing the file.
    void edit(const QString& url) {
        state->layoutMode = LayoutMode::filerViewer;
        state->rightMode = RightPaneMode::editor;
        state->focusedSide = PaneSide::right;
        state->editorURL = url;
        tellViews();
    }
    // The views hear of a change once the event loop turns.
    void tellViews() {
        state->notifyChanged();
        QCoreApplication::sendPostedEvents();
    }
    SelectionStatus shown() const { return SelectionStatus::of(*state); }

    const SelectionStatus waiting{"----------", "-", "-", {}, {}, "far.txt"};
};

TEST_F(ShownFileStatusTest, AFileNoRowShowsIsReadOnAWorkerAndKeptUntilReadAgain) {
    edit(at("sub/far.txt"));
    EXPECT_EQ(shown(), waiting) << "the disk was asked when the line was painted";
    ASSERT_EQ(executor.nextPool(), Background::Pool::listing);
    ASSERT_TRUE(executor.runNext());
    EXPECT_EQ(shown().size, "3.0K");
    EXPECT_TRUE(shown().mode.startsWith("-rw"));
    EXPECT_EQ(shown().name, "far.txt");

    // What the line shows stays until the file is read again: a save reads
    // everything again.
    dir.makeFile("sub/far.txt", QByteArray(4096, 'f'));
    tellViews();
    EXPECT_EQ(executor.waitingCount(), 0);
    EXPECT_EQ(shown().size, "3.0K");
    state->refreshAll();
    executor.runAll();
    EXPECT_EQ(shown().size, "4.0K");
}

// A read for a file the line no longer tells about is dropped: it does not
// take the place of what the line shows.
TEST_F(ShownFileStatusTest, AReadForAFileTheLineNoLongerTellsAboutIsDropped) {
    edit(at("row.txt"));
    executor.runAll();
    EXPECT_EQ(shown().size, "1.5K");
    edit(at("sub/far.txt"));
    edit(at("row.txt"));
    ASSERT_TRUE(executor.runNext());
    EXPECT_EQ(shown().size, "1.5K");
    EXPECT_EQ(shown().name, "row.txt");
    executor.runAll();
    EXPECT_EQ(shown().size, "1.5K");

    // Leaving EDITOR and coming back reads the file again.
    dir.makeFile("row.txt", QByteArray(2048, 'r'));
    state->focusedSide = PaneSide::left;
    tellViews();
    edit(at("row.txt"));
    executor.runAll();
    EXPECT_EQ(shown().size, "2.0K");
}

// The cursor row tells at once, with the name as the pane shows it.
TEST_F(ShownFileStatusTest, TheCursorRowTellsWithoutWaiting) {
    PaneRows::putCursorOn(*state, "row.txt");
    edit(at("row.txt"));
    EXPECT_EQ(shown().size, "1.5K");
    EXPECT_EQ(shown().name, "row.txt");
}

} // namespace

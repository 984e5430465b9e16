// Shift+C and Shift+M carry the folder under the cursor with everything in
// it, through the same questions as C and M; a folder never goes into itself,
// and a copy that fails half way leaves nothing behind.
#include "filesystem/FileFlowSupport.h"
#include "filesystem/FileOperationSupport.h"

#include <QDir>

#include <csignal>
#include <sys/resource.h>

using namespace FileFlowTest;
using FileOperationTest::contents;
using FileOperationTest::exists;

namespace {

class FolderCopyMove : public FlowTest {
protected:
    // left/tree with a file, a subfolder with a file, and an empty subfolder.
    void SetUp() override {
        FlowTest::SetUp();
        dir.makeFile("left/tree/top.txt", "top");
        dir.makeFile("left/tree/sub/deep.txt", "deep");
        dir.makeFolder("left/tree/empty");
        dir.makeFile("left/loose.txt", "loose");
        state->reloadPane(PaneSide::left, false);
        useDualFiler();
        pointAt("tree");
    }
    void expectWholeTreeAt(const QString& folder) {
        EXPECT_EQ(contents(dir.filePath(folder + "/top.txt")), "top");
        EXPECT_EQ(contents(dir.filePath(folder + "/sub/deep.txt")), "deep");
        EXPECT_TRUE(QFileInfo(dir.filePath(folder + "/empty")).isDir());
    }
    QStringList itemsInRight() const {
        return QDir(dir.filePath("right"))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
};

TEST_F(FolderCopyMove, ShiftCCopiesAndShiftMMovesTheFolderWithEverythingInIt) {
    key("C", KeyTest::shift);
    ASSERT_TRUE(state->pendingCopyMove);
    EXPECT_EQ(state->pendingCopyMove->sources, QStringList{dir.filePath("left/tree")});
    key("y");
    waitForFileWork();
    EXPECT_FALSE(state->errorMessage);
    expectWholeTreeAt("right/tree");
    expectWholeTreeAt("left/tree");

    QDir(dir.filePath("right/tree")).removeRecursively();
    pointAt("tree");
    key("M", KeyTest::shift);
    key("y");
    waitForFileWork();
    EXPECT_FALSE(state->errorMessage);
    expectWholeTreeAt("right/tree");
    EXPECT_FALSE(exists(dir.filePath("left/tree")));
}

TEST_F(FolderCopyMove, AFolderThatIsThereAsksAndSkipKeepsTheOldOne) {
    dir.makeFile("right/tree/old.txt", "old");
    key("C", KeyTest::shift);
    key("y");
    waitForFileWork();
    ASSERT_TRUE(state->pendingCopyMove);
    ASSERT_TRUE(
        std::holds_alternative<AppState::PendingCopyMove::Conflict>(state->pendingCopyMove->stage));
    key("s");
    waitForFileWork();
    EXPECT_EQ(contents(dir.filePath("right/tree/old.txt")), "old");
    EXPECT_FALSE(exists(dir.filePath("right/tree/top.txt")));

    pointAt("tree");
    key("C", KeyTest::shift);
    key("y");
    waitForFileWork();
    key("o");
    waitForFileWork();
    expectWholeTreeAt("right/tree");
    EXPECT_FALSE(exists(dir.filePath("right/tree/old.txt")));
}

// Shift picks the folder; without Shift C and M keep to files, as before.
TEST_F(FolderCopyMove, ShiftTakesOnlyAFolderAndPlainCOnlyFiles) {
    key("c");
    EXPECT_EQ(error(), "No item to copy (Space to tag, or select an item)");
    state->errorMessage.reset();
    pointAt("loose.txt");
    key("M", KeyTest::shift);
    EXPECT_EQ(error(), "No folder to move (select a folder)");
    state->errorMessage.reset();
    pointAt("..");
    key("C", KeyTest::shift);
    EXPECT_EQ(error(), "No folder to copy (select a folder)");
    state->errorMessage.reset();
    key("C", KeyModifier::shift | KeyModifier::control);
    EXPECT_FALSE(state->errorMessage);
    EXPECT_FALSE(state->pendingCopyMove);
}

TEST_F(FolderCopyMove, AFolderIsNeverCarriedIntoItselfOrBelowItself) {
    for (const char* inside : {"left/tree", "left/tree/sub"}) {
        SCOPED_TRACE(inside);
        state->pane(PaneSide::right).location = FilerLocation::directory(dir.filePath(inside));
        key("C", KeyTest::shift);
        EXPECT_EQ(error(), "Cannot copy a folder into itself: tree");
        EXPECT_FALSE(state->pendingCopyMove);
        state->errorMessage.reset();
        key("M", KeyTest::shift);
        EXPECT_EQ(error(), "Cannot move a folder into itself: tree");
        state->errorMessage.reset();
    }
    // By the path prompt too, in the layout without a second filer pane.
    state->applyLayoutMode(LayoutMode::filerViewer);
    key("C", KeyTest::shift);
    ASSERT_TRUE(state->isOpen(Overlay::copyMovePathPrompt));
    state->copyMovePathPrompt.text = "tree/sub";
    state->commitCopyMovePathPrompt();
    settleListings();
    EXPECT_EQ(error(), "Cannot copy a folder into itself: tree");
    EXPECT_FALSE(state->pendingCopyMove);
    EXPECT_EQ(
        QDir(dir.filePath("left/tree/sub")).entryList(QDir::NoDotAndDotDot | QDir::AllEntries),
        QStringList{"deep.txt"});
}

// Files may not grow past 64 KiB while the copy runs: the big file inside
// fails, and neither a part of the folder nor a hidden remnant is left.
TEST_F(FolderCopyMove, ACopyThatFailsHalfWayLeavesNothingAndTheSourceWhole) {
    dir.makeFile("left/tree/z-big.bin", QByteArray(1 << 20, 'z'));
    struct rlimit before {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit small = before;
    small.rlim_cur = 64 * 1024;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    key("C", KeyTest::shift);
    key("y");
    waitForFileWork();
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, oldHandler);

    EXPECT_EQ(error(), "tree: " + QString::fromLocal8Bit(strerror(EFBIG)));
    EXPECT_EQ(itemsInRight(), QStringList());
    expectWholeTreeAt("left/tree");
    EXPECT_EQ(contents(dir.filePath("left/tree/z-big.bin")).size(), 1 << 20);
}

} // namespace

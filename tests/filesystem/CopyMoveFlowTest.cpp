// C and M from the key to the disk: which files go, the path prompt, the
// confirm and EXISTS stages, Shift for all later conflicts, what a failure or
// an abort leaves behind, the progress text, and keys while an item runs.
#include "filesystem/FileFlowSupport.h"
#include "filesystem/CopyMoveProgress.h"
#include "filesystem/FileOperationSupport.h"
#include "support/ListingWait.h"

using namespace FileFlowTest;
using FileOperationTest::contents;
using FileOperationTest::exists;
using Stage = AppState::PendingCopyMove;

namespace {

class CopyMoveFlow : public FlowTest {
protected:
    // Tagged files on the left, the right pane already holding those taken.
    void filesWithRightHolding(const QStringList& names, const QStringList& taken) {
        for (const QString& name : taken) {
            dir.makeFile(QStringLiteral("right/") + name, "old");
        }
        tagNewFiles(names);
        useDualFiler();
    }
    bool atConflictOn(const QString& name) const {
        const auto* conflict = state->pendingCopyMove
                                   ? std::get_if<Stage::Conflict>(&state->pendingCopyMove->stage)
                                   : nullptr;
        return conflict && conflict->destinationItem == dir.filePath("right/" + name);
    }
    void oneFileUnderTheCursor(const QString& name, const QByteArray& bytes = "x") {
        dir.makeFile("left/" + name, bytes);
        state->reloadPane(PaneSide::left, false);
        waitForListings(*state);
        useDualFiler();
        pointAt(name);
    }
    QByteArray right(const QString& name) const { return contents(dir.filePath("right/" + name)); }
};

TEST_F(CopyMoveFlow, ConflictOnTheSecondWithShiftSkipSkipsItAndCarriesTheThird) {
    filesWithRightHolding({"a.txt", "b.txt", "c.txt"}, {"b.txt"});
    key("c");
    ASSERT_TRUE(state->pendingCopyMove);
    EXPECT_EQ(state->pendingCopyMove->sources.size(), 3);
    key("y");
    waitForFileWork();
    ASSERT_TRUE(atConflictOn("b.txt"));
    key("S", KeyTest::shift);
    waitForFileWork();

    EXPECT_FALSE(state->pendingCopyMove);
    EXPECT_EQ(right("a.txt"), "new a.txt");
    EXPECT_EQ(right("b.txt"), "old");
    EXPECT_EQ(right("c.txt"), "new c.txt");
    EXPECT_EQ(state->pane(PaneSide::right).entries.size(), 4); // the closing reload: "..", a, b, c
    EXPECT_EQ(state->taggedKeys.size(), 3);                    // a copy keeps its tags
}

// O and S act on one conflict; Shift+O overwrites it and every later one.
TEST_F(CopyMoveFlow, TheDialogKeysDriveTheBatch) {
    filesWithRightHolding({"a", "b", "c", "d", "e"}, {"a", "b", "c", "e"});
    key("c");
    key("y");
    waitForFileWork();
    ASSERT_TRUE(atConflictOn("a"));
    key("o");
    waitForFileWork();
    ASSERT_TRUE(atConflictOn("b"));
    key("s");
    waitForFileWork();
    ASSERT_TRUE(atConflictOn("c"));
    key("O", KeyTest::shift);
    waitForFileWork();
    EXPECT_FALSE(state->pendingCopyMove);
    EXPECT_EQ(right("a"), "new a");
    EXPECT_EQ(right("b"), "old");
    for (const QString name : {"c", "d", "e"}) {
        EXPECT_EQ(right(name), "new " + name.toUtf8());
    }
}

// A at the EXISTS question ends the batch: nothing undone, nothing reloaded.
TEST_F(CopyMoveFlow, AConflictAbortedAfterTheFirstLeavesExactlyTheFirstDone) {
    filesWithRightHolding({"a.txt", "b.txt", "c.txt"}, {"b.txt", "c.txt"});
    key("m");
    state->proceedCopyMove(false);
    waitForFileWork();
    ASSERT_TRUE(atConflictOn("b.txt"));
    const int64_t epoch = state->pane(PaneSide::right).listEpoch;
    key("a");
    waitForFileWork();
    EXPECT_FALSE(state->pendingCopyMove);

    EXPECT_EQ(right("a.txt"), "new a.txt");
    EXPECT_FALSE(exists(dir.filePath("left/a.txt")));
    EXPECT_TRUE(exists(dir.filePath("left/b.txt")));
    EXPECT_EQ(right("c.txt"), "old");
    EXPECT_EQ(state->pane(PaneSide::right).listEpoch, epoch);
    EXPECT_FALSE(state->taggedKeys.contains(dir.filePath("left/a.txt")));
    EXPECT_TRUE(state->taggedKeys.contains(dir.filePath("left/b.txt")));
}

TEST_F(CopyMoveFlow, AFailureOnTheSecondEndsTheBatch) {
    filesWithRightHolding({"a.txt", "b.txt", "c.txt"}, {});
    key("c");
    QFile::remove(dir.filePath("left/b.txt"));
    state->proceedCopyMove(false);
    waitForFileWork();
    EXPECT_FALSE(state->pendingCopyMove);
    EXPECT_EQ(error(), "b.txt: " + QString::fromLocal8Bit(strerror(ENOENT)));
    EXPECT_TRUE(exists(dir.filePath("right/a.txt")));
    EXPECT_FALSE(exists(dir.filePath("right/c.txt")));
}

TEST_F(CopyMoveFlow, AMovedFileOpenInTheEditorKeepsItsPlace) {
    oneFileUnderTheCursor("open.txt");
    state->editorURL = dir.filePath("left/open.txt");
    key("m");
    state->proceedCopyMove(false);
    waitForFileWork();
    EXPECT_EQ(state->editorURL, dir.filePath("right/open.txt"));
    EXPECT_TRUE(exists(dir.filePath("right/open.txt")));
}

TEST_F(CopyMoveFlow, WhatIsCarriedAndWhatIsRefusedAtTheStart) {
    dir.makeFile("left/file.txt");
    dir.makeFolder("left/folder");
    state->reloadPane(PaneSide::left, false);
    waitForListings(*state);
    state->pane(PaneSide::right).location = state->pane(PaneSide::left).location;
    useDualFiler();
    tag({"folder"});
    pointAt("file.txt");
    key("c"); // only a folder tagged: the file under the cursor goes
    ASSERT_TRUE(state->pendingCopyMove);
    EXPECT_EQ(state->pendingCopyMove->sources, QStringList{dir.filePath("left/file.txt")});
    state->pendingCopyMove.reset();

    key("m"); // both panes on one folder
    EXPECT_EQ(error(), "Source and destination are the same directory");
    EXPECT_FALSE(state->pendingCopyMove);
    state->errorMessage.reset();

    dir.makeLink("alias", dir.filePath("left")); // one folder by two paths
    state->pane(PaneSide::right).location = FilerLocation::directory(dir.filePath("alias"));
    key("m");
    EXPECT_EQ(error(), "Source and destination are the same directory");
    EXPECT_FALSE(state->pendingCopyMove);
    EXPECT_TRUE(exists(dir.filePath("left/file.txt")));
    state->errorMessage.reset();

    pointAt("folder");
    key("c");
    EXPECT_EQ(error(), "No item to copy (Space to tag, or select an item)");
}

// Both panes on one folder, by one path or two: every item meets itself. None
// is offered for overwriting, each is refused by name, and all stay whole.
TEST_F(CopyMoveFlow, CopyingOntoItselfRefusesEachItemWithoutAsking) {
    dir.makeLink("alias", dir.filePath("left"));
    tagNewFiles({"a.txt", "b.txt"});
    useDualFiler();
    for (const QString right : {"left", "alias"}) {
        SCOPED_TRACE(right.toStdString());
        state->pane(PaneSide::right).location = FilerLocation::directory(dir.filePath(right));
        key("c");
        key("y");
        waitForFileWork();
        EXPECT_FALSE(state->pendingCopyMove);
        EXPECT_EQ(error(), "a.txt: Cannot overwrite an item with itself\n"
                           "b.txt: Cannot overwrite an item with itself");
        EXPECT_EQ(contents(dir.filePath("left/a.txt")), "new a.txt");
        EXPECT_EQ(contents(dir.filePath("left/b.txt")), "new b.txt");
        state->errorMessage.reset();
    }
}

// M of q/x/x to ".." meets the folder q/x that holds it: that item is refused
// without the EXISTS question and the batch goes on with the next.
TEST_F(CopyMoveFlow, AMoveOntoTheFolderThatHoldsItIsRefusedAndTheBatchGoesOn) {
    dir.makeFile("left/x/x", "inner");
    dir.makeFile("left/x/y", "sibling");
    state->pane(PaneSide::left).location = FilerLocation::directory(dir.filePath("left/x"));
    state->reloadPane(PaneSide::left, false);
    waitForListings(*state);
    state->taggedKeys = {dir.filePath("left/x/x"), dir.filePath("left/x/y")};
    key("m");
    state->copyMovePathPrompt.text = "..";
    state->commitCopyMovePathPrompt();
    settleListings();
    state->proceedCopyMove(false);
    waitForFileWork();
    EXPECT_FALSE(state->pendingCopyMove);
    EXPECT_EQ(error(), "x: Cannot overwrite a folder that holds the source");
    EXPECT_EQ(contents(dir.filePath("left/x/x")), "inner");
    EXPECT_EQ(contents(dir.filePath("left/y")), "sibling");
}

TEST_F(CopyMoveFlow, NineOrMoreFilesAreAllCarried) {
    QStringList names;
    for (int i = 0; i < 10; ++i) {
        names << QStringLiteral("f%1.txt").arg(i);
    }
    filesWithRightHolding(names, {});
    key("c");
    state->proceedCopyMove(false);
    waitForFileWork();
    EXPECT_EQ(QDir(dir.filePath("right")).entryList(QDir::Files).size(), 10);
}

TEST_F(CopyMoveFlow, ThePathPromptResolvesFromThePaneAndRemembersThePath) {
    dir.makeFile("left/a.txt", "a");
    dir.makeFile("left/not-a-folder");
    state->reloadPane(PaneSide::left, false);
    waitForListings(*state);
    pointAt("a.txt");
    key("c");
    ASSERT_TRUE(state->isOpen(Overlay::copyMovePathPrompt));
    ASSERT_EQ(state->copyMovePathPrompt.kind, AppState::CopyMoveKind::copy);
    EXPECT_EQ(state->copyMovePathPrompt.text, "");
    state->copyMovePathPrompt.text = "../right";
    state->commitCopyMovePathPrompt();
    settleListings();
    EXPECT_FALSE(state->isOpen(Overlay::copyMovePathPrompt));
    ASSERT_TRUE(state->pendingCopyMove);
    EXPECT_EQ(state->pendingCopyMove->destination, dir.filePath("right"));
    state->pendingCopyMove.reset();

    key("m"); // the field starts with the last path, for move as for copy
    EXPECT_EQ(state->copyMovePathPrompt.text, dir.filePath("right"));
    state->copyMovePathPrompt.text = "not-a-folder";
    state->commitCopyMovePathPrompt();
    settleListings();
    EXPECT_EQ(error(), "Not a directory: " + dir.filePath("left/not-a-folder"));
    state->errorMessage.reset();

    key("m");
    state->copyMovePathPrompt.text = "missing";
    state->commitCopyMovePathPrompt();
    settleListings();
    EXPECT_EQ(error(), "Destination is not an existing folder");
    EXPECT_FALSE(state->isOpen(Overlay::copyMovePathPrompt));
}

// An item that runs past the delay shows its name and the bytes carried of
// the whole in the status line, and the text goes when the item is done;
// below the delay an item ends without a word.
TEST_F(CopyMoveFlow, ALongItemTellsItsProgressUntilItIsDoneAQuickOneNothing) {
    const auto copyWatchingProgress = [&](const QString& name) {
        pointAt(name);
        key("c");
        key("y");
        QStringList seen;
        QElapsedTimer clock;
        clock.start();
        while (state->isFileOperationRunning && clock.elapsed() < 60000) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 2);
            if (!state->fileOperationProgressText.isEmpty()) {
                seen.append(state->fileOperationProgressText);
            }
        }
        return seen;
    };
    oneFileUnderTheCursor("small.txt");
    EXPECT_EQ(copyWatchingProgress("small.txt"), QStringList());
    EXPECT_TRUE(exists(dir.filePath("right/small.txt")));

    QFile big(dir.filePath("left/big.bin"));
    ASSERT_TRUE(big.open(QIODevice::WriteOnly));
    const QByteArray block(1 << 20, 'x');
    for (int i = 0; i < 256; ++i) {
        big.write(block);
    }
    big.close();
    state->reloadPane(PaneSide::left, false);
    waitForListings(*state);
    CopyMoveProgress::setDelay(std::chrono::milliseconds(0));
    const QStringList seen = copyWatchingProgress("big.bin");
    CopyMoveProgress::setDelay(std::chrono::milliseconds(500));

    ASSERT_FALSE(seen.isEmpty());
    for (const QString& text : seen) {
        EXPECT_TRUE(text.startsWith("big.bin  ")) << text.toStdString();
        EXPECT_TRUE(text.endsWith(" / 256.0M")) << text.toStdString(); // never "0 / 0"
    }
    EXPECT_TRUE(state->fileOperationProgressText.isEmpty());
    EXPECT_EQ(QFileInfo(dir.filePath("right/big.bin")).size(), 256 << 20);
}

// While an item runs the keys are taken without acting, but for the menu
// shortcuts, which pass on to the menus, and Esc, which asks the job to stop;
// the keys act again once the item is done.
TEST_F(CopyMoveFlow, KeysWaitWhileAnItemRunsEscStopsItAndMenuShortcutsPass) {
    oneFileUnderTheCursor("a.txt");
    state->isFileOperationRunning = true;
    state->fileJobStop = std::stop_source();
    for (const KeyEvent& event : {typed("d"), KeyTest::named(KeyCode::down), typed("q")}) {
        EXPECT_TRUE(state->handleKeyDown(event));
        waitForListings(*state);
    }
    EXPECT_FALSE(state->handleKeyDown(typed("r", KeyModifiers{KeyModifier::command})));
    EXPECT_FALSE(state->pendingDelete || state->pendingQuit);
    EXPECT_EQ(state->pane(PaneSide::left).selection, 1);
    EXPECT_FALSE(state->fileJobStop.stop_requested());
    EXPECT_TRUE(state->handleKeyDown(KeyTest::named(KeyCode::escape)));
    EXPECT_TRUE(state->fileJobStop.stop_requested());
    state->isFileOperationRunning = false;
    EXPECT_TRUE(state->handleKeyDown(KeyTest::named(KeyCode::up)));
    waitForListings(*state);
    EXPECT_EQ(state->pane(PaneSide::left).selection, 0);
}

} // namespace

// C and M from the key to the disk: which files go, the path prompt, the
// confirm and EXISTS stages, Shift for all later conflicts, and what a
// failure or an abort leaves behind.
#include "filesystem/FileFlowSupport.h"
#include "filesystem/CopyMoveProgress.h"
#include "filesystem/FileOperationSupport.h"

using namespace FileFlowTest;
using FileOperationTest::contents;
using FileOperationTest::exists;
using Stage = AppState::PendingCopyMove;

namespace {

class CopyMoveFlow : public FlowTest {
protected:
    void threeFilesWithRightHolding(const QStringList& taken) {
        for (const QString name : {"a.txt", "b.txt", "c.txt"}) {
            dir.makeFile(QStringLiteral("left/") + name, "new " + name.toUtf8());
        }
        for (const QString& name : taken) {
            dir.makeFile(QStringLiteral("right/") + name, "old");
        }
        state->reloadPane(PaneSide::left, false);
        useDualFiler();
        tag({"a.txt", "b.txt", "c.txt"});
    }
    bool atConflictOn(const QString& name) const {
        const auto* conflict = state->pendingCopyMove
                                   ? std::get_if<Stage::Conflict>(&state->pendingCopyMove->stage)
                                   : nullptr;
        return conflict && conflict->destinationItem == dir.filePath("right/" + name);
    }
};

TEST_F(CopyMoveFlow, ConflictOnTheSecondWithShiftSkipSkipsItAndCarriesTheThird) {
    threeFilesWithRightHolding({"b.txt"});
    key("c");
    ASSERT_TRUE(state->pendingCopyMove);
    EXPECT_EQ(state->pendingCopyMove->sources.size(), 3);
    state->proceedCopyMove(false);
    waitForFileWork();
    ASSERT_TRUE(atConflictOn("b.txt"));
    state->skipCopyMoveItem(true);
    waitForFileWork();

    EXPECT_FALSE(state->pendingCopyMove);
    EXPECT_EQ(contents(dir.filePath("right/a.txt")), "new a.txt");
    EXPECT_EQ(contents(dir.filePath("right/b.txt")), "old");
    EXPECT_EQ(contents(dir.filePath("right/c.txt")), "new c.txt");
    EXPECT_EQ(state->rightEntries.size(), 4); // the closing reload: "..", a, b, c
    EXPECT_EQ(state->taggedKeys.size(), 3);   // a copy keeps its tags
}

TEST_F(CopyMoveFlow, TheDialogKeysDriveTheBatch) {
    threeFilesWithRightHolding({"a.txt", "b.txt"});
    key("c");
    key("y");
    waitForFileWork();
    ASSERT_TRUE(atConflictOn("a.txt"));
    key("o"); // overwrite this one only
    waitForFileWork();
    ASSERT_TRUE(atConflictOn("b.txt"));
    key("s");
    waitForFileWork();
    EXPECT_FALSE(state->pendingCopyMove);
    EXPECT_EQ(contents(dir.filePath("right/a.txt")), "new a.txt");
    EXPECT_EQ(contents(dir.filePath("right/b.txt")), "old");
    EXPECT_EQ(contents(dir.filePath("right/c.txt")), "new c.txt");
}

TEST_F(CopyMoveFlow, ShiftOverwriteOverwritesEveryLaterConflict) {
    threeFilesWithRightHolding({"a.txt", "c.txt"});
    key("c");
    state->proceedCopyMove(false);
    waitForFileWork();
    ASSERT_TRUE(atConflictOn("a.txt"));
    state->proceedCopyMove(true);
    waitForFileWork();
    EXPECT_FALSE(state->pendingCopyMove);
    EXPECT_EQ(contents(dir.filePath("right/a.txt")), "new a.txt");
    EXPECT_EQ(contents(dir.filePath("right/c.txt")), "new c.txt");
}

// Abort is the dialog clearing the batch: nothing undone, nothing reloaded.
TEST_F(CopyMoveFlow, AConflictAbortedAfterTheFirstLeavesExactlyTheFirstDone) {
    threeFilesWithRightHolding({"b.txt", "c.txt"});
    key("m");
    state->proceedCopyMove(false);
    waitForFileWork();
    ASSERT_TRUE(atConflictOn("b.txt"));
    const int64_t epoch = state->rightListEpoch;
    state->pendingCopyMove.reset();

    EXPECT_EQ(contents(dir.filePath("right/a.txt")), "new a.txt");
    EXPECT_FALSE(exists(dir.filePath("left/a.txt")));
    EXPECT_TRUE(exists(dir.filePath("left/b.txt")));
    EXPECT_EQ(contents(dir.filePath("right/c.txt")), "old");
    EXPECT_EQ(state->rightListEpoch, epoch);
    EXPECT_FALSE(state->taggedKeys.contains(dir.filePath("left/a.txt")));
    EXPECT_TRUE(state->taggedKeys.contains(dir.filePath("left/b.txt")));
}

TEST_F(CopyMoveFlow, AFailureOnTheSecondEndsTheBatch) {
    threeFilesWithRightHolding({});
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
    dir.makeFile("left/open.txt", "text");
    state->reloadPane(PaneSide::left, false);
    useDualFiler();
    pointAt("open.txt");
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
    state->rightLocation = state->leftLocation;
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

    pointAt("folder");
    key("c");
    EXPECT_EQ(error(), "No item to copy (Space to tag, or select an item)");
}

TEST_F(CopyMoveFlow, NineOrMoreFilesAreAllCarried) {
    for (int i = 0; i < 10; ++i) {
        tag({dir.makeFile(QStringLiteral("left/f%1.txt").arg(i)).section('/', -1)});
    }
    state->reloadPane(PaneSide::left, false);
    useDualFiler();
    key("c");
    state->proceedCopyMove(false);
    waitForFileWork();
    EXPECT_EQ(QDir(dir.filePath("right")).entryList(QDir::Files).size(), 10);
}

TEST_F(CopyMoveFlow, ThePathPromptResolvesFromThePaneAndRemembersThePath) {
    dir.makeFile("left/a.txt", "a");
    dir.makeFile("left/not-a-folder");
    state->reloadPane(PaneSide::left, false);
    pointAt("a.txt");
    key("c");
    ASSERT_EQ(state->copyMovePathKind, AppState::CopyMoveKind::copy);
    EXPECT_EQ(state->copyMovePathText, "");
    state->copyMovePathText = "../right";
    state->commitCopyMovePathPrompt();
    EXPECT_FALSE(state->copyMovePathKind);
    ASSERT_TRUE(state->pendingCopyMove);
    EXPECT_EQ(state->pendingCopyMove->destination, dir.filePath("right"));
    state->pendingCopyMove.reset();

    key("m"); // the field starts with the last path, for move as for copy
    EXPECT_EQ(state->copyMovePathText, dir.filePath("right"));
    state->copyMovePathText = "not-a-folder";
    state->commitCopyMovePathPrompt();
    EXPECT_EQ(error(), "Not a directory: " + dir.filePath("left/not-a-folder"));
    state->errorMessage.reset();

    key("m");
    state->copyMovePathText = "missing";
    state->commitCopyMovePathPrompt();
    EXPECT_EQ(error(), "Destination is not an existing folder");
    EXPECT_FALSE(state->copyMovePathKind);
}

// An item that runs past the delay shows its name and the bytes carried of
// the whole in the status line, and the text goes when the item is done.
TEST_F(CopyMoveFlow, ALongItemTellsItsProgressUntilItIsDone) {
    QFile big(dir.filePath("left/big.bin"));
    ASSERT_TRUE(big.open(QIODevice::WriteOnly));
    const QByteArray block(1 << 20, 'x');
    for (int i = 0; i < 256; ++i) {
        big.write(block);
    }
    big.close();
    state->reloadPane(PaneSide::left, false);
    useDualFiler();
    pointAt("big.bin");
    CopyMoveProgress::setDelay(std::chrono::milliseconds(0));
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
    CopyMoveProgress::setDelay(std::chrono::milliseconds(500));

    ASSERT_FALSE(seen.isEmpty());
    for (const QString& text : seen) {
        EXPECT_TRUE(text.startsWith("big.bin  ")) << text.toStdString();
        EXPECT_TRUE(text.endsWith(" / 256.0M")) << text.toStdString(); // never "0 / 0"
    }
    EXPECT_TRUE(state->fileOperationProgressText.isEmpty());
    EXPECT_EQ(QFileInfo(dir.filePath("right/big.bin")).size(), 256 << 20);
}

// Below the delay an item ends without a word in the status line.
TEST_F(CopyMoveFlow, AQuickItemShowsNoProgress) {
    dir.makeFile("left/small.txt", "x");
    state->reloadPane(PaneSide::left, false);
    useDualFiler();
    pointAt("small.txt");
    key("c");
    key("y");
    bool shown = false;
    while (state->isFileOperationRunning) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        shown = shown || !state->fileOperationProgressText.isEmpty();
    }
    EXPECT_FALSE(shown);
    EXPECT_TRUE(exists(dir.filePath("right/small.txt")));
}

} // namespace

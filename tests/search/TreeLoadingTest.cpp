// A pane's tree changes on a worker: the executor is stepped by hand, so a
// tree load is under way for exactly as long as the test leaves it waiting.
#include "core/KeyTestSupport.h"

#include "core/AppState.h"
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"
#include "search/TreeSession.h"
#include "support/SteppedStateFixture.h"
#include "support/ListingWait.h"
#include "support/TestDir.h"

#include <gtest/gtest.h>

using namespace KeyTest;
using namespace std::chrono_literals;

namespace {

class TreeLoadingTest : public SteppedStateFixture {
protected:
    void SetUp() override {
        for (const char* folder : {"Music/Jazz", "Music/Rock", "Photos", "Work"}) {
            dir.makeFolder(QString::fromUtf8(folder));
        }
        dir.makeFile(QStringLiteral("Music/track.mp3"), "x");
        dir.makeFile(QStringLiteral("Photos/cat.png"), "x");
        preferences.setValue(QStringLiteral("alwaysPreviewMode"), true);
        start();
    }

    // Opens the tree on the start folder, its subfolder answers in.
    void openTree() {
        state->toggleTreeMode();
        executor.runAll();
        ASSERT_TRUE(left().treeMode);
    }
    const TreeSession& session() const { return *left().treeSession; }
    QStringList fileNames() const {
        QStringList names;
        for (const FileEntry& file : session().files) {
            names.append(file.name);
        }
        return names;
    }
};

TEST_F(TreeLoadingTest, ATreeOpensWhenItsRowsComeAndTheStepsFollowThem) {
    const int64_t revision = state->treeRevision;
    state->toggleTreeMode();
    // Nothing of the tree stands before its rows are read.
    EXPECT_TRUE(state->isListingPending(PaneSide::left));
    EXPECT_FALSE(left().treeMode);
    EXPECT_FALSE(left().treeSession);
    EXPECT_EQ(state->treeRevision, revision);
    EXPECT_EQ(executor.nextPool(), Background::Pool::listing);

    ASSERT_TRUE(executor.runNext());
    EXPECT_FALSE(state->isListingPending(PaneSide::left));
    ASSERT_TRUE(left().treeMode);
    EXPECT_EQ(session().rows.size(), 4);
    EXPECT_EQ(state->treeRevision, revision + 1);
    // The subfolder marks are asked for once the rows stand.
    EXPECT_EQ(executor.nextPool(), Background::Pool::diskRead);

    // A move over the tree reads the new folder's files before the cursor moves.
    state->moveTreeSelection(1);
    EXPECT_EQ(session().selectedRowIndex, 0);
    executor.runAll();
    EXPECT_EQ(session().selectedPath(), at("Music"));
    EXPECT_EQ(fileNames(), QStringList{"track.mp3"});
    EXPECT_EQ(state->currentEntry()->id(), "tree:" + at("Music"));
    EXPECT_EQ(state->treeRevision, revision + 3);

    // Right on a folder without subfolders hands the keys to its files, and
    // VIEWER follows the file cursor once that is done, not before.
    state->selectTreeRow(PaneSide::left, 2);
    executor.runAll();
    state->treeStepRight();
    EXPECT_FALSE(session().focusOnFiles);
    EXPECT_NE(state->editorURL, at("Photos/cat.png"));
    ASSERT_TRUE(executor.runNext());
    EXPECT_TRUE(session().focusOnFiles);
    EXPECT_EQ(state->editorURL, at("Photos/cat.png"));
}

TEST_F(TreeLoadingTest, ANewerLoadOfThePaneDropsTheOlder) {
    openTree();
    const int64_t revision = state->treeRevision;
    state->moveTreeSelection(1);
    state->selectTreeRow(PaneSide::left, 2);
    // The first load finishes first; its cursor would stand on the wrong row.
    ASSERT_TRUE(executor.runNext());
    EXPECT_EQ(session().selectedRowIndex, 0);
    EXPECT_EQ(state->treeRevision, revision);
    EXPECT_TRUE(state->isListingPending(PaneSide::left));

    executor.runAll();
    EXPECT_EQ(session().selectedPath(), at("Photos"));
    EXPECT_EQ(fileNames(), QStringList{"cat.png"});
}

TEST_F(TreeLoadingTest, EscCancelsATreeLoadAndTheTreeStaysAsItWas) {
    openTree();
    const QList<TreeRow> rows = session().rows;
    const int64_t revision = state->treeRevision;
    press(named(KeyCode::down));
    press(named(KeyCode::right));
    press(named(KeyCode::escape));
    EXPECT_FALSE(state->isListingPending(PaneSide::left));
    executor.runAll();
    executor.advance(1s);
    EXPECT_TRUE(left().treeMode);
    EXPECT_EQ(session().rows, rows);
    EXPECT_EQ(session().selectedRowIndex, 0);
    EXPECT_EQ(state->treeRevision, revision);
    EXPECT_TRUE(left().heldKeys.isEmpty());

    // Esc while the tree opens leaves the pane as it was, not in tree mode.
    press(named(KeyCode::escape));
    ASSERT_FALSE(left().treeMode);
    const FilerLocation location = left().location;
    state->toggleTreeMode();
    press(named(KeyCode::escape));
    executor.runAll();
    EXPECT_FALSE(left().treeMode);
    EXPECT_FALSE(left().treeSession);
    EXPECT_EQ(left().location, location);
}

TEST_F(TreeLoadingTest, KeysTypedWhileTheTreeLoadsRunInOrder) {
    openTree();
    // Down to Music, Right opens it, Down to its first subfolder, Right on
    // that leaf goes to its (empty) file list.
    press(named(KeyCode::down));
    press(named(KeyCode::right));
    press(named(KeyCode::down));
    press(named(KeyCode::right));
    EXPECT_EQ(left().heldKeys.size(), 3);
    EXPECT_EQ(session().selectedRowIndex, 0);

    executor.runAll();
    EXPECT_TRUE(left().heldKeys.isEmpty());
    EXPECT_EQ(session().selectedPath(), at("Music/Jazz"));
    EXPECT_EQ(session().rows.size(), 6);
    EXPECT_TRUE(session().focusOnFiles);
}

TEST_F(TreeLoadingTest, ASlowTreeLoadShowsTheLoadingLineUntilItCompletes) {
    openTree();
    state->moveTreeSelection(1);
    executor.advance(199ms);
    EXPECT_FALSE(state->loadingLineCount(PaneSide::left));
    executor.advance(1ms);
    EXPECT_EQ(state->loadingLineCount(PaneSide::left), 0);
    left().treeLoad->readCount->store(4321);
    executor.advance(100ms);
    EXPECT_EQ(state->loadingLineCount(PaneSide::left), 4321);
    executor.runAll();
    EXPECT_FALSE(state->loadingLineCount(PaneSide::left));
}

TEST_F(TreeLoadingTest, AStoppedLoadCountsWhatItReadAndEndsEarly) {
    for (int i = 0; i < 300; ++i) {
        dir.makeFolder(QStringLiteral("Many/folder%1").arg(i));
    }
    std::atomic<qsizetype> count{0};
    EXPECT_EQ(TreeSession::listSubfolders(at("Many"), false, true, {{}, &count}).size(), 300);
    EXPECT_GE(count.load(), 300);
    std::stop_source stop;
    stop.request_stop();
    EXPECT_LT(
        TreeSession::listSubfolders(at("Many"), false, true, {stop.get_token(), nullptr}).size(),
        300);
}

TEST_F(TreeLoadingTest, AChangeOnDiskDuringALoadIsReadOnceTheLoadIsIn) {
    openTree();
    state->moveTreeSelection(1);
    dir.makeFolder(QStringLiteral("Zoo"));
    state->refreshTreeSessions();
    // One load at a time: the refresh waits for the move.
    EXPECT_EQ(executor.waitingCount(), 1);
    ASSERT_TRUE(waitForListings(*state, executor));
    EXPECT_EQ(session().selectedPath(), at("Music"));
    EXPECT_EQ(session().rows.last().path, at("Zoo"));

    // A flat listing of the pane and a tree load run side by side.
    executor.runAll();
    state->reloadPane(PaneSide::left, false);
    state->refreshTreeSessions();
    EXPECT_EQ(executor.waitingCount(), 2);
    ASSERT_TRUE(waitForListings(*state, executor));
    EXPECT_EQ(session().selectedPath(), at("Music"));
}

// Enter on a tree row reads the folder's rights on a worker; the keys typed
// meanwhile run in the folder it opens, and Esc leaves the tree as it was.
TEST_F(TreeLoadingTest, EnterOnARowOpensTheFolderOnceItsRightsAreRead) {
    openTree();
    state->selectTreeRow(PaneSide::left, 2);
    executor.runAll();
    press(named(KeyCode::returnKey));
    press(named(KeyCode::escape));
    executor.runAll();
    EXPECT_TRUE(left().treeMode);
    EXPECT_EQ(session().selectedPath(), at("Photos"));

    press(named(KeyCode::returnKey));
    press(named(KeyCode::down));
    EXPECT_TRUE(left().treeMode);
    EXPECT_EQ(executor.nextPool(), Background::Pool::listing);
    ASSERT_TRUE(waitForListings(*state, executor));
    EXPECT_FALSE(left().treeMode);
    EXPECT_EQ(left().location, FilerLocation::directory(at("Photos")));
    EXPECT_EQ(state->currentEntry()->name, QStringLiteral("cat.png"));
}

} // namespace

// Tree mode: the rows and their lines, opening and closing folders, hidden
// and unreadable folders, and the commands of a pane in tree mode.
#include "archive/ArchiveLocation.h"
#include "core/AppState.h"
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"
#include "search/TreeSession.h"
#include "support/ChildProcess.h"
#include "support/TestDir.h"
#include "support/ListingWait.h"

#include <QDir>
#include <QFileInfo>
#include <QStringList>

#include <QTest>

#include <gtest/gtest.h>

namespace {

class TreeSessionTest : public ::testing::Test {
protected:
    void SetUp() override {
        FileAccessMemory::attach(&rights);
        for (const char* folder :
             {"Music/Jazz", "Music/Rock/Live", "Photos", "Work2", "Work10", ".config/app"}) {
            dir.makeFolder(folder);
        }
        dir.makeFile("Music/track.mp3", "x");
        dir.makeFile("Music/.hidden.mp3", "x");
    }
    void TearDown() override { FileAccessMemory::attach(nullptr); }

    static QStringList texts(const TreeSession& session) {
        QStringList lines;
        for (const TreeRow& row : session.rows) {
            lines.append(TreeSession::rowText(row, true));
        }
        return lines;
    }

    // What the worker does for the state: the rows' folders are asked
    // whether they have subfolders, and the answers noted.
    static void answer(TreeSession& session, bool showHidden = false) {
        const QStringList asked = session.takeSubfolderQuestions(showHidden);
        session.noteSubfolderAnswers(
            TreeSession::checkSubfolders(asked, showHidden, [] { return true; }), showHidden);
    }

    TreeSession openAt(const QString& target, bool showHidden = false) {
        TreeSession session(dir.path(), FilerSortMode::name, true);
        session.expanded = TreeSession::expandedChain(dir.path(), target);
        session.rebuildRows(showHidden);
        answer(session, showHidden);
        session.select(target);
        session.reloadFiles(showHidden);
        return session;
    }

    MemoryPreferences rights;
    TestDir dir;
};

TEST_F(TreeSessionTest, RowsAreDrawnWithBranchesAndNaturalOrder) {
    TreeSession session = openAt(dir.filePath("Music/Rock"));
    const QString root = QFileInfo(dir.path()).fileName();
    EXPECT_EQ(texts(session), (QStringList{" " + root, " +--Music", " |  +--Jazz", " |  +--Rock>",
                                           " +--Photos", " +--Work2", " +--Work10"}));
    EXPECT_EQ(session.selectedPath(), dir.filePath("Music/Rock"));
    // The last child draws the same branch as its brothers; below a last
    // child the ancestor column is blank.
    session.select(dir.filePath("Music/Rock"));
    session.expandSelected(false);
    EXPECT_EQ(texts(session).at(4), " |     +--Live");
}

TEST_F(TreeSessionTest, ExpandingACollapsedAncestorShowsOnlyItsFirstLevel) {
    TreeSession session = openAt(dir.filePath("Music/Rock/Live"));
    EXPECT_EQ(session.rows.size(), 8);
    session.select(dir.filePath("Music"));
    session.collapseSelected(false);
    EXPECT_EQ(session.rows.size(), 5);
    EXPECT_EQ(session.expanded, QSet<QString>{dir.path()});
    session.expandSelected(false);
    EXPECT_EQ(texts(session).mid(1, 3), (QStringList{" +--Music", " |  +--Jazz", " |  +--Rock>"}));
    EXPECT_EQ(session.selectedPath(), dir.filePath("Music"));
    EXPECT_EQ(session.files.size(), 1); // track.mp3; the hidden file stays out
}

TEST_F(TreeSessionTest, LeftAndRightSteps) {
    TreeSession session = openAt(dir.filePath("Photos"));
    // Right on a leaf goes to its (empty) file list; Left comes back first.
    session.expandSelected(false);
    EXPECT_TRUE(session.focusOnFiles);
    session.collapseSelected(false);
    EXPECT_FALSE(session.focusOnFiles);
    // Left on a closed row goes to the parent row, then closes it.
    session.collapseSelected(false);
    EXPECT_EQ(session.selectedRowIndex, 0);
    session.collapseSelected(false);
    EXPECT_EQ(session.rows.size(), 1);
    EXPECT_EQ(TreeSession::rowText(session.rows[0], true).back(), u'>');
    // The root row, closed, stays as it is.
    session.collapseSelected(false);
    EXPECT_EQ(session.rows.size(), 1);
}

TEST_F(TreeSessionTest, HiddenFoldersOnlyWhenAsked) {
    EXPECT_EQ(openAt(dir.path()).rows.size(), 5);
    const TreeSession shown = openAt(dir.path(), true);
    EXPECT_EQ(shown.rows.size(), 6);
    EXPECT_EQ(shown.rows[1].name, ".config");
    EXPECT_TRUE(shown.rows[1].hasChildren);
    EXPECT_EQ(openAt(dir.filePath("Music"), true).files.size(), 2);
}

TEST_F(TreeSessionTest, AVanishedFolderDropsItsRowAndTheCursorFallsBack) {
    TreeSession session = openAt(dir.filePath("Work10"));
    QDir(dir.filePath("Work10")).removeRecursively();
    session.rebuildRows(false);
    EXPECT_EQ(session.selectedRowIndex, 0);
    EXPECT_EQ(session.rows.size(), 4);
}

TEST_F(TreeSessionTest, ExpandedChainAndTheVolumeRoot) {
    EXPECT_EQ(TreeSession::expandedChain("/a", "/a/b/c"), (QSet<QString>{"/a", "/a/b"}));
    EXPECT_EQ(TreeSession::expandedChain("/a", "/ab/c"), QSet<QString>{"/a"});
    EXPECT_EQ(TreeSession::expandedChain("/", "/x/y"), (QSet<QString>{"/", "/x"}));
    TreeSession top("/", FilerSortMode::name, true);
    top.rebuildRows(false);
    answer(top);
    EXPECT_EQ(top.rows[0].name, "/");
    EXPECT_EQ(top.rows[0].localizedName, "/");
    EXPECT_EQ(TreeSession::label(top.rows[0], true), "/>");
}

TEST_F(TreeSessionTest, UnreadableFoldersHaveNoChildrenAndAreNotEntered) {
    dir.makeFolder("Locked/inside");
    dir.setMode("", 0755);
    dir.setMode("Music", 0755);
    dir.setMode("Locked", 0);
    const QString root = dir.path();
    const int status = runAsUnprivilegedUser([&] {
        TreeSession session(root, FilerSortMode::name, true);
        session.expanded = {root};
        session.rebuildRows(false);
        answer(session);
        session.select(root + "/Locked");
        const TreeRow locked = *session.selectedRow();
        session.reloadFiles(false);
        const int before = int(session.rows.size());
        session.expandSelected(false);
        return !locked.hasChildren && !locked.isReadable && session.files.isEmpty() &&
               int(session.rows.size()) == before && !session.expanded.contains(root + "/Locked");
    });
    EXPECT_EQ(status, 0);
}

class TreeModeTest : public TreeSessionTest {
protected:
    void SetUp() override {
        TreeSessionTest::SetUp();
        preferences.setValue("startupDirectory", dir.path());
        state = std::make_unique<AppState>(preferences);
        state->refreshAll();
        waitForListings(*state);
    }
    TreeSession& session() { return *state->pane(PaneSide::left).treeSession; }

    MemoryPreferences preferences;
    std::unique_ptr<AppState> state;
};

TEST_F(TreeModeTest, EnteringFromBelowTheStartFolderSelectsThatFolder) {
    state->openLocation(FilerLocation::directory(dir.filePath("Music/Rock")), PaneSide::left, {});
    waitForListings(*state);
    state->toggleTreeMode();
    waitForListings(*state);
    ASSERT_TRUE(state->pane(PaneSide::left).treeMode);
    EXPECT_EQ(session().selectedPath(), dir.filePath("Music/Rock"));
    const auto entry = state->currentEntry();
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->id(), "tree:" + dir.filePath("Music/Rock"));
    EXPECT_TRUE(entry->isDirectory);
    // Esc returns to the folder shown before; T goes to the tree's folder.
    state->moveTreeSelection(-1);
    waitForListings(*state);
    state->exitTreeModeByEsc();
    EXPECT_FALSE(state->pane(PaneSide::left).treeSession);
    EXPECT_EQ(state->pane(PaneSide::left).location,
              FilerLocation::directory(dir.filePath("Music/Rock")));
    state->toggleTreeMode();
    waitForListings(*state);
    state->moveTreeSelection(-1);
    waitForListings(*state);
    state->toggleTreeMode();
    waitForListings(*state);
    EXPECT_EQ(state->pane(PaneSide::left).location,
              FilerLocation::directory(dir.filePath("Music/Jazz")));
}

TEST_F(TreeModeTest, EnteringFromElsewhereStartsOnTheRootRow) {
    TestDir other;
    state->openLocation(FilerLocation::directory(other.path()), PaneSide::left, {});
    waitForListings(*state);
    state->toggleTreeMode();
    waitForListings(*state);
    EXPECT_EQ(session().selectedRowIndex, 0);
    EXPECT_EQ(session().root, dir.path());
}

TEST_F(TreeModeTest, FileListKeysAndEnter) {
    state->openLocation(FilerLocation::directory(dir.filePath("Music")), PaneSide::left, {});
    waitForListings(*state);
    state->toggleTreeMode();
    waitForListings(*state);
    ASSERT_TRUE(QTest::qWaitFor([&] { return session().selectedRow()->hasChildren; }, 5000));
    state->treeStepRight(); // opens Music
    waitForListings(*state);
    state->treeStepRight(); // Music is open: into its files
    waitForListings(*state);
    EXPECT_TRUE(session().focusOnFiles);
    EXPECT_EQ(state->currentEntry()->name, "track.mp3");
    state->treeToggleTagAtCursor(PaneSide::left);
    waitForListings(*state);
    EXPECT_TRUE(state->taggedKeys.contains(dir.filePath("Music/track.mp3")));
    state->treeStepLeft();
    waitForListings(*state);
    state->treeSelectLast();
    waitForListings(*state);
    EXPECT_EQ(session().selectedPath(), dir.filePath("Work10"));
    EXPECT_TRUE(session().files.isEmpty());
    // A new folder goes into the folder under the tree cursor, not the
    // pane's own folder that the tree hides.
    state->openCreateItemPrompt(CreateItemKind::folder);
    EXPECT_EQ(state->createItemPrompt.parentPath, dir.filePath("Work10"));
    state->cancelCreateItemPrompt();
    state->activateTreeSelection();
    waitForListings(*state);
    EXPECT_FALSE(state->pane(PaneSide::left).treeMode);
    EXPECT_EQ(state->pane(PaneSide::left).location,
              FilerLocation::directory(dir.filePath("Work10")));
}

TEST_F(TreeModeTest, InsideAnArchiveTheTreeIsRefusedAndEscWithAFilterLeavesInOneStep) {
    const FilerLocation archive = FilerLocation::zip(dir.filePath("a.zip"), QString());
    state->pane(PaneSide::left).location = archive;
    state->toggleTreeMode();
    waitForListings(*state);
    EXPECT_FALSE(state->pane(PaneSide::left).treeMode);
    EXPECT_EQ(state->errorMessage,
              ArchiveLocation::refusalText(ArchiveLocation::ReadOnlyCommand::treeMode));
    EXPECT_EQ(state->pane(PaneSide::left).location, archive);

    state->errorMessage.reset();
    state->openLocation(FilerLocation::directory(dir.path()), PaneSide::left, {});
    waitForListings(*state);
    state->toggleTreeMode();
    waitForListings(*state);
    ASSERT_TRUE(state->pane(PaneSide::left).treeMode);
    state->openFilter();
    state->filterQuery = "zzz";
    state->exitTreeModeByEsc();
    EXPECT_FALSE(state->isFilterOpen);
    EXPECT_FALSE(state->pane(PaneSide::left).treeMode);
}

// The ">" comes from a worker thread: the rows stand at once without it, the
// answers fill it in, and a refreshed tree keeps the former answers on
// screen until the new ones come.
TEST_F(TreeSessionTest, SubfolderMarksAreFilledInByTheWorker) {
    Background::ManualExecutor executor;
    MemoryPreferences preferences;
    preferences.setValue("startupDirectory", dir.path());
    AppState state(preferences, executor);
    state.reloadPane(PaneSide::left, false);
    executor.runAll();
    state.toggleTreeMode();
    ASSERT_TRUE(executor.runNext()); // the tree's rows
    const auto& session = *state.pane(PaneSide::left).treeSession;
    EXPECT_EQ(texts(session).mid(1, 2), (QStringList{" +--Music", " +--Photos"}));
    EXPECT_EQ(executor.nextPool(), Background::Pool::diskRead);
    const int64_t revision = state.treeRevision;
    executor.runAll();
    EXPECT_EQ(texts(session).mid(1, 2), (QStringList{" +--Music>", " +--Photos"}));
    EXPECT_GT(state.treeRevision, revision);

    dir.makeFolder("Photos/2024");
    state.refreshTreeSessions();
    ASSERT_TRUE(executor.runNext()); // the rows read anew
    EXPECT_EQ(texts(session).mid(1, 2), (QStringList{" +--Music>", " +--Photos"}));
    executor.runAll();
    EXPECT_EQ(texts(session).mid(1, 2), (QStringList{" +--Music>", " +--Photos>"}));
}

TEST_F(TreeSessionTest, TheSubfolderTestStopsAtTheFirstAndCountsHiddenOnesWhenAsked) {
    for (int i = 0; i < 50; ++i) {
        dir.makeFile(QStringLiteral("Many/file%1").arg(i));
    }
    EXPECT_FALSE(TreeSession::hasVisibleSubfolder(dir.filePath("Many"), false));
    dir.makeFolder("Many/sub");
    EXPECT_TRUE(TreeSession::hasVisibleSubfolder(dir.filePath("Many"), false));
    EXPECT_FALSE(TreeSession::hasVisibleSubfolder(dir.filePath(".config/app"), true));
    dir.makeFolder("Hidden/.inner");
    EXPECT_FALSE(TreeSession::hasVisibleSubfolder(dir.filePath("Hidden"), false));
    EXPECT_TRUE(TreeSession::hasVisibleSubfolder(dir.filePath("Hidden"), true));
    EXPECT_FALSE(TreeSession::hasVisibleSubfolder(dir.filePath("missing"), true));
}

TEST_F(TreeModeTest, ASessionKeepsItsSortAndTheFilterKeepsOnlyRowsThatPassIt) {
    dir.makeFile("Music/c-big.mp3", QByteArray(4000, 'x'));
    dir.makeFile("Music/b-small.mp3", "x");
    state->openLocation(FilerLocation::directory(dir.filePath("Music")), PaneSide::left, {});
    waitForListings(*state);
    state->toggleTreeMode();
    waitForListings(*state);
    const auto names = [&] {
        QStringList list;
        for (const FileEntry& file : session().files) {
            list.append(file.name);
        }
        return list;
    };
    const QStringList byName = names();
    ASSERT_EQ(byName, QStringList({"b-small.mp3", "c-big.mp3", "track.mp3"}));
    state->applySortMode(FilerSortMode::size);
    waitForListings(*state);
    EXPECT_EQ(session().sortMode, FilerSortMode::name);
    EXPECT_EQ(names(), byName);

    state->openFilter();
    state->setFilterQuery("pho");
    QStringList rows;
    for (const TreeRow& row : state->visibleTreeRows(session().rows)) {
        rows.append(row.name);
    }
    EXPECT_EQ(rows, QStringList({"Photos"})); // the root, not passing, goes too
}

TEST_F(TreeModeTest, ANewOrRenamedItemTakesTheCursorOfItsList) {
    state->openLocation(FilerLocation::directory(dir.filePath("Music")), PaneSide::left, {});
    waitForListings(*state);
    state->toggleTreeMode();
    waitForListings(*state);
    ASSERT_TRUE(QTest::qWaitFor([&] { return session().selectedRow()->hasChildren; }, 5000));
    state->treeStepRight(); // Music opens: its subfolders are rows
    waitForListings(*state);
    state->openCreateItemPrompt(CreateItemKind::file);
    state->createItemPrompt.name = "new.txt";
    state->commitCreateItem();
    waitForListings(*state);
    EXPECT_TRUE(session().focusOnFiles);
    EXPECT_EQ(state->currentEntry()->name, "new.txt");

    state->selectTreeFile(PaneSide::left, 1); // track.mp3, after new.txt
    ASSERT_EQ(state->currentEntry()->name, "track.mp3");
    state->openRenamePrompt();
    state->renamePrompt.name = "a-first.mp3";
    state->commitRename();
    waitForListings(*state);
    EXPECT_EQ(state->currentEntry()->name, "a-first.mp3");
    EXPECT_EQ(session().fileSelection, 0);

    state->treeStepLeft(); // back to the tree, on Music
    waitForListings(*state);
    ASSERT_FALSE(session().focusOnFiles);
    state->openCreateItemPrompt(CreateItemKind::folder);
    state->createItemPrompt.name = "Blues";
    state->commitCreateItem();
    waitForListings(*state);
    EXPECT_FALSE(session().focusOnFiles);
    EXPECT_EQ(session().selectedPath(), dir.filePath("Music/Blues"));

    state->openRenamePrompt();
    state->renamePrompt.name = "Soul";
    state->commitRename();
    waitForListings(*state);
    EXPECT_EQ(session().selectedPath(), dir.filePath("Music/Soul"));
}

} // namespace

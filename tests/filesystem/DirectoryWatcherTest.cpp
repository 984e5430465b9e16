// Watching pane folders: one reload per burst, after the quiet time; no
// watch inside archives or on a right pane that is not a filer.
#include "core/AppState.h"
#include "core/Background.h"
#include "core/Preferences.h"
#include "filesystem/DirectoryWatcher.h"
#include "filesystem/FileAccessMemory.h"
#include "support/TestDir.h"
#include "support/ListingWait.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

// Runs the event loop for the given time.
void runEventsFor(std::chrono::milliseconds time) {
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < time.count()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
}

TEST(DirectoryWatcher, ABurstOfAThousandFilesCallsBackOnceAfterTheQuietTime) {
    TestDir dir;
    DirectoryWatcher watcher(100ms);
    int calls = 0;
    watcher.start(dir.path(), [&] { ++calls; });
    ASSERT_TRUE(watcher.isWatching());
    for (int i = 0; i < 1000; ++i) {
        dir.makeFile(QStringLiteral("f%1.txt").arg(i), "x");
        if (i % 100 == 0) {
            QCoreApplication::processEvents(); // the events arrive while the burst goes on
        }
    }
    runEventsFor(30ms);
    EXPECT_EQ(calls, 0);
    runEventsFor(300ms);
    EXPECT_EQ(calls, 1);
}

TEST(DirectoryWatcher, SeesWritesIntoItemsTheFolderRenamedAndStopNorWatchesWhatIsMissing) {
    TestDir dir;
    const QString file = dir.makeFile("sub/a.txt", "a");
    DirectoryWatcher watcher(20ms);
    int calls = 0;
    watcher.start(dir.filePath("sub"), [&] { ++calls; });
    {
        QFile f(file);
        ASSERT_TRUE(f.open(QIODevice::Append));
        f.write("more");
    }
    ASSERT_TRUE(QTest::qWaitFor([&] { return calls == 1; }, 2000)) << calls;
    ASSERT_TRUE(QFile::rename(dir.filePath("sub"), dir.filePath("moved")));
    ASSERT_TRUE(QTest::qWaitFor([&] { return calls == 2; }, 2000)) << calls;

    watcher.stop();
    EXPECT_FALSE(watcher.isWatching());
    dir.makeFile("moved/b.txt");
    runEventsFor(100ms);
    EXPECT_EQ(calls, 2);

    watcher.start(QStringLiteral("/no/such/folder"), [] {});
    EXPECT_FALSE(watcher.isWatching());
}

// Every reload re-arms the watch; a change seen just before must still call back.
TEST(DirectoryWatcher, ReArmingTheSameFolderKeepsTheCallOwedAndAnotherFolderDropsIt) {
    TestDir dir;
    DirectoryWatcher watcher(100ms);
    int calls = 0;
    watcher.start(dir.path(), [&] { ++calls; });
    dir.makeFile("a.txt");
    runEventsFor(30ms);
    watcher.start(dir.path(), [&] { ++calls; });
    runEventsFor(300ms);
    EXPECT_EQ(calls, 1);

    dir.makeFile("b.txt");
    runEventsFor(30ms);
    watcher.start(dir.filePath("sub-missing-so-unwatched"), [&] { ++calls; });
    dir.makeFolder("elsewhere");
    watcher.start(dir.filePath("elsewhere"), [&] { ++calls; });
    runEventsFor(300ms);
    EXPECT_EQ(calls, 1);
}

// The watch is armed by the listing's worker and taken by the main thread
// later: a change made in between is seen, and a watch never taken closes.
TEST(DirectoryWatcher, AChangeBetweenArmingOnAWorkerAndTakingTheWatchIsSeen) {
    TestDir dir;
    std::unique_ptr<ArmedWatch> armed = DirectoryWatcher::arm(dir.path());
    ASSERT_NE(armed, nullptr);
    dir.makeFile("made-meanwhile.txt");
    DirectoryWatcher watcher(20ms);
    int calls = 0;
    watcher.adopt(armed.get(), [&] { ++calls; });
    EXPECT_EQ(watcher.watchedPath(), dir.path());
    EXPECT_TRUE(QTest::qWaitFor([&] { return calls == 1; }, 2000)) << calls;

    EXPECT_EQ(DirectoryWatcher::arm(dir.filePath("missing")), nullptr);
    watcher.adopt(nullptr, [] {});
    EXPECT_FALSE(watcher.isWatching());
}

// A reload of the same folder keeps its watch; a folder deleted and made
// anew under the same path (perhaps with the same inode) is watched afresh.
TEST(DirectoryWatcher, AFolderMadeAnewUnderTheSamePathIsWatchedAfresh) {
    TestDir dir;
    const QString sub = dir.makeFolder("sub");
    DirectoryWatcher watcher(20ms);
    int calls = 0;
    watcher.start(sub, [&] { ++calls; });
    watcher.start(sub, [&] { ++calls; });
    dir.makeFile("sub/a.txt");
    ASSERT_TRUE(QTest::qWaitFor([&] { return calls == 1; }, 2000)) << calls;

    ASSERT_TRUE(QDir(sub).removeRecursively());
    ASSERT_TRUE(QTest::qWaitFor([&] { return calls == 2; }, 2000)) << calls;
    dir.makeFolder("sub");
    watcher.start(sub, [&] { ++calls; });
    dir.makeFile("sub/b.txt");
    EXPECT_TRUE(QTest::qWaitFor([&] { return calls == 3; }, 2000)) << calls;
}

class PaneWatchingTest : public ::testing::Test {
protected:
    void SetUp() override {
        FileAccessMemory::attach(&preferences);
        preferences.setValue(QStringLiteral("startupDirectory"), dir.path());
        state = std::make_unique<AppState>(preferences);
        state->pane(PaneSide::left).watcher = std::make_shared<DirectoryWatcher>(20ms);
        state->pane(PaneSide::right).watcher = std::make_shared<DirectoryWatcher>(20ms);
    }
    void TearDown() override {
        state.reset();
        FileAccessMemory::attach(nullptr);
    }

    TestDir dir;
    MemoryPreferences preferences;
    std::unique_ptr<AppState> state;
};

TEST_F(PaneWatchingTest, AChangeOnDiskReloadsThePaneAndForgetsItsRights) {
    state->reloadPane(PaneSide::left, false);
    waitForListings(*state);
    EXPECT_EQ(state->pane(PaneSide::left).watcher->watchedPath(), dir.path());
    const int64_t epoch = state->pane(PaneSide::left).listEpoch;
    FileAccessMemory::remember({true, true, "drwx------", "x", "y"}, dir.path(), false);
    dir.makeFile("new.txt");
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return state->pane(PaneSide::left).listEpoch == epoch + 1; }, 2000))
        << state->pane(PaneSide::left).listEpoch;
    EXPECT_EQ(state->pane(PaneSide::left).entries.last().name, "new.txt");
    const auto record = FileAccessMemory::rememberedRecord(dir.path());
    EXPECT_TRUE(!record || record->owner != "x");
}

// A change on disk lists the folder on a worker thread. Its rows are shown only
// if they are still the latest word on the pane's folder.
TEST_F(PaneWatchingTest, ABackgroundReloadShowsItsRowsOnlyIfStillCurrent) {
    Background::ManualExecutor executor;
    state = std::make_unique<AppState>(preferences, executor);
    state->pane(PaneSide::left).watcher.reset(); // reloads are asked for by hand here
    state->reloadPane(PaneSide::left, false);
    waitForListings(*state, executor);
    dir.makeFile("one.txt");
    const int64_t epoch = state->pane(PaneSide::left).listEpoch;
    const qsizetype listingsBefore = executor.startedCount(Background::Pool::listing);
    state->reloadPaneInBackground(PaneSide::left);
    EXPECT_EQ(state->pane(PaneSide::left).listEpoch, epoch);
    EXPECT_EQ(executor.startedCount(Background::Pool::listing), listingsBefore + 1);
    executor.runAll();
    EXPECT_EQ(state->pane(PaneSide::left).listEpoch, epoch + 1);
    EXPECT_EQ(state->pane(PaneSide::left).entries.last().name, "one.txt");
    EXPECT_TRUE(FileAccessMemory::rememberedRecord(dir.filePath("one.txt")));

    // Two requests in a row show rows once, not twice.
    state->reloadPaneInBackground(PaneSide::left);
    state->reloadPaneInBackground(PaneSide::left);
    executor.runAll();
    EXPECT_EQ(state->pane(PaneSide::left).listEpoch, epoch + 2);

    // The pane was listed anew before the rows came: they are dropped.
    state->reloadPaneInBackground(PaneSide::left);
    state->reloadPane(PaneSide::left, false);
    waitForListings(*state, executor);
    executor.runAll();
    EXPECT_EQ(state->pane(PaneSide::left).listEpoch, epoch + 3);

    // The pane moved on before the rows came: they are dropped.
    TestDir other;
    other.makeFile("elsewhere.txt");
    state->reloadPaneInBackground(PaneSide::left);
    state->openLocation(FilerLocation::directory(other.path()), PaneSide::left, std::nullopt);
    waitForListings(*state, executor);
    executor.runAll();
    EXPECT_EQ(state->pane(PaneSide::left).entries.last().name, "elsewhere.txt");
}

TEST_F(PaneWatchingTest, NoWatchInsideArchivesNorReloadOfARightPaneNotAFiler) {
    state->rightMode = RightPaneMode::filer;
    state->reloadPane(PaneSide::right, false);
    waitForListings(*state);
    const int64_t epoch = state->pane(PaneSide::right).listEpoch;
    state->rightMode = RightPaneMode::viewer;
    dir.makeFile("new.txt");
    runEventsFor(150ms);
    EXPECT_EQ(state->pane(PaneSide::right).listEpoch, epoch);

    state->reloadPane(PaneSide::left, false);
    waitForListings(*state);
    ASSERT_TRUE(state->pane(PaneSide::left).watcher->isWatching());
    state->pane(PaneSide::left).location = FilerLocation::zip(dir.filePath("a.zip"), QString());
    state->watchPaneFolder(PaneSide::left);
    EXPECT_FALSE(state->pane(PaneSide::left).watcher->isWatching());
}

} // namespace

// Listings of a pane run on a worker: the executor is stepped by hand, so a
// listing is under way for exactly as long as the test leaves it waiting.
#include "core/KeyTestSupport.h"

#include "core/AppState.h"
#include "core/EntryDisplay.h"
#include "core/Preferences.h"
#include "filesystem/DirectoryWatcher.h"
#include "filesystem/FileAccessMemory.h"
#include "filesystem/FileSystemService.h"
#include "support/SteppedStateFixture.h"
#include "support/TestDir.h"

#include <gtest/gtest.h>

#include <QDir>

#include <algorithm>
#include <cerrno>

using namespace KeyTest;
using namespace std::chrono_literals;

namespace {

class PaneListingTest : public SteppedStateFixture {
protected:
    void SetUp() override {
        for (const char* folder : {"a/b", "a/c", "a/d", "e"}) {
            dir.makeFolder(QString::fromUtf8(folder));
        }
        dir.makeFile(QStringLiteral("a/big.txt"), QByteArray(300, 'x'));
        dir.makeFile(QStringLiteral("f.txt"));
        dir.makeFile(QStringLiteral("g.txt"));
        start();
    }

    FilerLocation folder(const char* relative) const {
        return FilerLocation::directory(QDir::cleanPath(at(relative)));
    }
    QString nameAtCursor() const {
        return state->visibleEntries(PaneSide::left).at(left().selection).name;
    }
    void selectRow(const QString& name) {
        const QList<FileEntry> rows = state->visibleEntries(PaneSide::left);
        for (int i = 0; i < rows.size(); ++i) {
            if (rows.at(i).name == name) {
                state->setSelection(i, PaneSide::left);
            }
        }
        ASSERT_EQ(nameAtCursor(), name);
    }
};

TEST_F(PaneListingTest, TheOldRowsStayUntilTheListingCompletes) {
    const QList<FileEntry> before = left().entries;
    const int64_t epoch = left().listEpoch;
    state->openLocation(folder("a"), PaneSide::left, std::nullopt);
    EXPECT_TRUE(state->isListingPending(PaneSide::left));
    EXPECT_EQ(left().location, folder("."));
    EXPECT_EQ(left().entries, before);
    EXPECT_EQ(executor.nextPool(), Background::Pool::listing);

    executor.runAll();
    EXPECT_FALSE(state->isListingPending(PaneSide::left));
    EXPECT_EQ(left().location, folder("a"));
    EXPECT_EQ(left().listEpoch, epoch + 1);
}

TEST_F(PaneListingTest, ANewerRequestDropsTheOlderListing) {
    const int64_t epoch = left().listEpoch;
    state->openLocation(folder("a"), PaneSide::left, std::nullopt);
    state->openLocation(folder("e"), PaneSide::left, std::nullopt);
    // The first listing finishes first; its rows would show the wrong folder.
    ASSERT_TRUE(executor.runNext());
    EXPECT_EQ(left().location, folder("."));
    EXPECT_EQ(left().listEpoch, epoch);
    EXPECT_TRUE(state->isListingPending(PaneSide::left));

    executor.runAll();
    EXPECT_EQ(left().location, folder("e"));
    EXPECT_EQ(left().listEpoch, epoch + 1);
}

TEST_F(PaneListingTest, SettingsChangedWhileEnteringApplyToTheFolderEntered) {
    dir.makeFile(QStringLiteral("a/.hidden"));
    state->openLocation(folder("a"), PaneSide::left, std::nullopt);
    state->toggleHiddenFiles();
    executor.runAll();
    EXPECT_EQ(left().location, folder("a"));
    const QList<FileEntry>& rows = left().entries;
    EXPECT_TRUE(std::any_of(rows.begin(), rows.end(),
                            [](const FileEntry& e) { return e.name == QLatin1String(".hidden"); }));
}

TEST_F(PaneListingTest, KeysTypedWhileListingRunInOrderOnceTheRowsCome) {
    selectRow(QStringLiteral("a"));
    press(named(KeyCode::returnKey));
    press(named(KeyCode::down));
    press(named(KeyCode::down));
    press(named(KeyCode::returnKey));
    EXPECT_EQ(left().location, folder("."));
    EXPECT_EQ(left().heldKeys.size(), 3);

    executor.runAll();
    // "..", "b", "c": the second Down stops on "c", and Enter goes in.
    EXPECT_EQ(left().location, folder("a/c"));
    EXPECT_TRUE(left().heldKeys.isEmpty());
}

TEST_F(PaneListingTest, TabAndTheOtherPaneStayLiveWhileAPaneLists) {
    state->applyLayoutMode(LayoutMode::dualFiler);
    executor.runAll();
    selectRow(QStringLiteral("a"));
    press(named(KeyCode::returnKey));
    press(named(KeyCode::down));
    press(named(KeyCode::tab));
    EXPECT_EQ(state->focusedSide, PaneSide::right);
    press(named(KeyCode::down));
    EXPECT_EQ(state->pane(PaneSide::right).selection, 1);

    executor.runAll();
    // The held Down ran on the left pane; the focus stays where Tab put it.
    EXPECT_EQ(left().location, folder("a"));
    EXPECT_EQ(nameAtCursor(), QStringLiteral("b"));
    EXPECT_EQ(state->focusedSide, PaneSide::right);
}

TEST_F(PaneListingTest, EscCancelsTheListingAndThePaneStaysAsItWas) {
    selectRow(QStringLiteral("f.txt"));
    state->toggleTagAtCursor();
    selectRow(QStringLiteral("a"));
    const QList<FileEntry> rows = left().entries;
    const int64_t epoch = left().listEpoch;
    const int cursor = left().selection;

    press(named(KeyCode::returnKey));
    press(named(KeyCode::down));
    press(named(KeyCode::escape));
    EXPECT_FALSE(state->isListingPending(PaneSide::left));
    executor.runAll();
    executor.advance(1s);

    EXPECT_EQ(left().location, folder("."));
    EXPECT_EQ(left().entries, rows);
    EXPECT_EQ(left().listEpoch, epoch);
    EXPECT_EQ(left().selection, cursor);
    EXPECT_EQ(state->taggedKeys.size(), 1);
    EXPECT_TRUE(left().heldKeys.isEmpty());
}

TEST_F(PaneListingTest, OnlyASlowListingShowsTheLoadingLine) {
    state->openLocation(folder("a"), PaneSide::left, std::nullopt);
    executor.advance(199ms);
    ASSERT_TRUE(left().listing);
    EXPECT_FALSE(left().listing->showsLoadingLine);
    executor.advance(1ms);
    EXPECT_TRUE(left().listing->showsLoadingLine);
    EXPECT_EQ(left().listing->shownCount, 0);
    // The count shown follows the count the worker keeps.
    left().listing->readCount->store(1234);
    executor.advance(100ms);
    EXPECT_EQ(left().listing->shownCount, 1234);
    EXPECT_EQ(EntryDisplay::loadingLine(1234),
              QStringLiteral("Loading... 1,234 items read  (Esc: cancel)"));

    executor.runAll();
    EXPECT_FALSE(left().listing);
    // A listing done within the delay never shows it.
    state->openLocation(folder("e"), PaneSide::left, std::nullopt);
    executor.runAll();
    executor.advance(1s);
    EXPECT_FALSE(left().listing);
    EXPECT_EQ(left().location, folder("e"));
}

TEST_F(PaneListingTest, GoingUpTakesItsStepsWhenTheRowsCome) {
    state->openLocation(folder("a"), PaneSide::left, std::nullopt);
    executor.runAll();
    selectRow(QStringLiteral("big.txt"));
    state->toggleTagAtCursor();
    const int64_t epoch = left().listEpoch;

    state->goToParentDirectory();
    // Nothing of the steps is taken before the rows are there.
    EXPECT_EQ(state->taggedKeys.size(), 1);
    EXPECT_EQ(left().watcher->watchedPath(), at("a"));
    executor.runAll();

    EXPECT_EQ(left().location, folder("."));
    EXPECT_EQ(nameAtCursor(), QStringLiteral("a"));
    EXPECT_EQ(left().listEpoch, epoch + 1);
    EXPECT_TRUE(state->taggedKeys.isEmpty());
    EXPECT_EQ(left().watcher->watchedPath(), dir.path());
}

TEST_F(PaneListingTest, AFailedListingStillRunsTheHeldKeys) {
    selectRow(QStringLiteral("e"));
    ASSERT_TRUE(QDir(at("e")).removeRecursively());
    press(named(KeyCode::returnKey));
    press(named(KeyCode::down));
    executor.runAll();
    // The error dialog stands, as it did when listings were immediate, and
    // the held key went to it, not to the rows.
    EXPECT_TRUE(state->errorMessage.has_value());
    EXPECT_EQ(left().selection, 0);
    EXPECT_TRUE(left().heldKeys.isEmpty());
}

TEST_F(PaneListingTest, AWatcherReloadGivesWayToAListingUnderWay) {
    state->openLocation(folder("a"), PaneSide::left, std::nullopt);
    state->reloadPaneInBackground(PaneSide::left);
    EXPECT_EQ(executor.waitingCount(), 1);
    executor.runAll();
    EXPECT_EQ(left().location, folder("a"));
}

TEST(FolderListingStopTest, AStoppedListingEndsEarlyAndACountIsKept) {
    TestDir dir;
    for (int i = 0; i < 600; ++i) {
        dir.makeFile(QStringLiteral("file%1").arg(i));
    }
    std::atomic<qsizetype> count{0};
    const auto listed = FileSystemService::listDirectory(dir.path(), false, FilerSortMode::name,
                                                         true, {std::stop_token{}, &count});
    ASSERT_TRUE(listed);
    EXPECT_EQ(count.load(), 600);

    std::stop_source stop;
    stop.request_stop();
    const auto stopped = FileSystemService::listDirectory(dir.path(), false, FilerSortMode::name,
                                                          true, {stop.get_token(), nullptr});
    ASSERT_FALSE(stopped);
    EXPECT_EQ(stopped.error().systemError.code, ECANCELED);
}

} // namespace

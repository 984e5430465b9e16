// The free-space figure of the status line: read on a worker thread, never
// while painting, one read per folder at a time, renewed every few seconds.
#include "core/AppState.h"
#include "core/Preferences.h"
#include "core/SelectionStatus.h"
#include "filesystem/FileAccessMemory.h"
#include "support/TestDir.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace std::chrono_literals;
using Background::Pool;

namespace {

class FreeSpace : public ::testing::Test {
protected:
    void SetUp() override {
        FileAccessMemory::attach(&preferences);
        preferences.setValue(QStringLiteral("startupDirectory"), dir.path());
        state = std::make_unique<AppState>(preferences, executor);
    }
    void TearDown() override {
        state.reset();
        FileAccessMemory::attach(nullptr);
    }
    bool labelIsWhole() const {
        static const QRegularExpression form(
            QStringLiteral("^空き:[0-9.]+[KMG]?/[0-9.]+[KMG]?\\(\\d+%\\)$"));
        return form.match(freeSpaceLabel(*state)).hasMatch();
    }

    TestDir dir;
    MemoryPreferences preferences;
    Background::ManualExecutor executor;
    std::unique_ptr<AppState> state;
};

TEST_F(FreeSpace, AListingAsksTheWorkerAndTheLabelWaitsForIt) {
    const qsizetype readsBefore = executor.startedCount(Pool::diskRead);
    state->reloadPane(PaneSide::left, false);
    EXPECT_EQ(freeSpaceLabel(*state), ""); // nothing read on this thread
    executor.runAll();
    EXPECT_TRUE(labelIsWhole()) << freeSpaceLabel(*state).toStdString();
    EXPECT_GE(executor.startedCount(Pool::diskRead), readsBefore + 1);
}

// A hanging mount holds one worker, not one per listing or per tick.
TEST_F(FreeSpace, OneReadPerFolderAtATimeAndAnotherEveryFewSeconds) {
    const qsizetype before = executor.startedCount(Pool::diskRead);
    state->refreshFreeSpace(PaneSide::left);
    state->refreshFreeSpace(PaneSide::left);
    EXPECT_EQ(executor.startedCount(Pool::diskRead), before + 1);
    executor.runAll();
    state->refreshFreeSpace(PaneSide::left);
    EXPECT_EQ(executor.startedCount(Pool::diskRead), before + 2);
    executor.runAll();

    executor.advance(4999ms);
    EXPECT_EQ(executor.startedCount(Pool::diskRead), before + 2);
    executor.advance(1ms);
    EXPECT_EQ(executor.startedCount(Pool::diskRead), before + 3);
}

TEST_F(FreeSpace, AFolderThatCannotBeReadHasNoFigure) {
    state->pane(PaneSide::left).location = FilerLocation::directory(dir.filePath("gone"));
    state->refreshFreeSpace(PaneSide::left);
    executor.runAll();
    EXPECT_EQ(freeSpaceLabel(*state), "");
}

} // namespace

// Long file jobs on the worker thread, stepped by hand: nothing is done on
// the main thread, the count shows once the job has run half a second, the
// closing steps come with the end, and Esc stops a delete, copy or move with
// nothing half done and tells what was done.
#include "core/SystemPath.h"
#include "filesystem/FileFlowSupport.h"
#include "filesystem/FileJob.h"
#include "filesystem/FileOperationSupport.h"
#include "filesystem/HeldSystemCalls.h"

#include "dialogs/DosDialog.h"
#include "filesystem/FileSystemService.h"

#include <QDir>

#include <fcntl.h>

using namespace FileFlowTest;
using FileOperationTest::contents;
using FileOperationTest::exists;
using FileOperationTest::modeOf;
using namespace std::chrono_literals;

namespace {

class FileJobFlow : public FlowTest {
protected:
    void SetUp() override {
        trash = privateTrash();
        FlowTest::SetUp();
        state = std::make_unique<AppState>(preferences, executor);
        manualWork = &executor;
        state->pane(PaneSide::right).location = FilerLocation::directory(dir.filePath("right"));
        state->reloadPane(PaneSide::left, false);
        executor.runAll();
    }
    void escape() { state->handleKeyDown(KeyTest::named(KeyCode::escape)); }
    QString dialogTitle() const {
        const auto dialog = currentDosDialog(*state);
        return dialog ? dialog->title : QString();
    }
    // Everything in the right folder, hidden names included.
    QStringList rightFolder() const {
        return QDir(dir.filePath("right"))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    Background::ManualExecutor executor;
    QString trash;
};

TEST_F(FileJobFlow, TrashingRunsOnTheWorkerTellsItsCountAndEndsWithTheClosingSteps) {
    tagNewFiles({"a.txt", "b.txt", "c.txt"});
    key("d");
    key("y");
    EXPECT_TRUE(state->isFileOperationRunning);
    EXPECT_FALSE(state->pendingDelete);
    EXPECT_TRUE(exists(dir.filePath("left/a.txt"))); // nothing done on the main thread

    executor.advance(499ms);
    EXPECT_EQ(state->fileOperationProgressText, "");
    executor.advance(1ms);
    EXPECT_EQ(state->fileOperationProgressText, "Trash  0 / 3");
    EXPECT_TRUE(state->handleKeyDown(typed("q"))); // keys wait meanwhile
    EXPECT_FALSE(state->pendingQuit);

    executor.runAll();
    EXPECT_FALSE(state->isFileOperationRunning);
    EXPECT_EQ(state->fileOperationProgressText, "");
    for (const QString name : {"a.txt", "b.txt", "c.txt"}) {
        EXPECT_TRUE(exists(trash + "/files/" + name)) << name.toStdString();
    }
    EXPECT_TRUE(state->taggedKeys.isEmpty());
    EXPECT_EQ(state->pane(PaneSide::left).entries.size(), 1); // reloaded: ".." alone
    EXPECT_FALSE(state->errorMessage || state->fileJobStopReport);
}

TEST_F(FileJobFlow, AttributeChangesRunOnTheWorkerAndTellTheirCount) {
    tagNewFiles({"a.txt", "b.txt"});
    dir.setMode("left/a.txt", 0644);
    dir.setMode("left/b.txt", 0644);
    key("a");
    ASSERT_TRUE(state->isOpen(Overlay::attributePrompt));
    state->attributePrompt.newMode = "rwx------";
    state->applyAttributePrompt();
    EXPECT_FALSE(state->isOpen(Overlay::attributePrompt));
    EXPECT_EQ(modeOf(dir.filePath("left/a.txt")), 0644u);

    executor.advance(500ms);
    EXPECT_EQ(state->fileOperationProgressText, "Attributes  0 / 2");
    executor.runAll();
    EXPECT_EQ(modeOf(dir.filePath("left/a.txt")), 0700u);
    EXPECT_EQ(modeOf(dir.filePath("left/b.txt")), 0700u);
    EXPECT_EQ(state->pane(PaneSide::left).entries.last().permissionMode(), "-rwx------");
    EXPECT_EQ(state->fileOperationProgressText, "");
}

// Esc before the worker reaches the first item: nothing goes, the tags stay,
// and the STOPPED dialog says so until Enter.
TEST_F(FileJobFlow, EscStopsADeleteAndTellsWhatWasDone) {
    tagNewFiles({"a.txt", "b.txt", "c.txt"});
    key("d");
    key("y");
    escape();
    executor.runAll();
    EXPECT_FALSE(state->isFileOperationRunning);
    for (const QString name : {"a.txt", "b.txt", "c.txt"}) {
        EXPECT_TRUE(exists(dir.filePath("left/" + name))) << name.toStdString();
    }
    EXPECT_EQ(state->taggedKeys.size(), 3);
    EXPECT_EQ(state->fileJobStopReport, "Stopped: 0 of 3 item(s) moved to the Trash");
    EXPECT_EQ(dialogTitle(), "STOPPED");
    state->handleKeyDown(KeyTest::named(KeyCode::returnKey));
    EXPECT_FALSE(state->fileJobStopReport);
    EXPECT_EQ(dialogTitle(), "");
}

// Esc while the batch looks at the second item's place: the first stays
// carried, the second is never begun.
TEST_F(FileJobFlow, EscStopsACopyBatchAfterTheItemUnderWay) {
    tagNewFiles({"a.txt", "b.txt"});
    useDualFiler();
    key("c");
    key("y");
    while (!exists(dir.filePath("right/a.txt"))) {
        ASSERT_TRUE(executor.runNext());
    }
    ASSERT_TRUE(state->isFileOperationRunning); // the batch went on to b.txt
    escape();
    executor.runAll();
    EXPECT_EQ(rightFolder(), QStringList{"a.txt"});
    EXPECT_EQ(state->fileJobStopReport, "Stopped: 1 of 2 item(s) copied");
    EXPECT_FALSE(state->pendingCopyMove || state->isFileOperationRunning);
    EXPECT_EQ(state->pane(PaneSide::right).entries.size(), 2); // the closing reload: "..", a
}

// Esc once the item's copy has been begun: the part written is removed, the
// source stays, and a move leaves its source where it was.
TEST_F(FileJobFlow, EscDuringAnItemLeavesNoPartOfItAndTheSourceWhole) {
    for (const auto kind : {"c", "m"}) {
        dir.makeFile("left/big.bin", QByteArray(1 << 20, 'b'));
        state->reloadPane(PaneSide::left, false);
        useDualFiler();
        pointAt("big.bin");
        executor.runAll(); // the free-space reads of the listings
        key(kind);
        key("y");
        ASSERT_TRUE(executor.runNext()); // the look at the place; the copy is queued
        ASSERT_EQ(executor.waitingCount(), 1);
        escape();
        executor.runAll();
        EXPECT_EQ(rightFolder(), QStringList()) << kind;
        EXPECT_EQ(contents(dir.filePath("left/big.bin")), QByteArray(1 << 20, 'b')) << kind;
        EXPECT_EQ(state->fileJobStopReport,
                  QString(kind == QLatin1String("c") ? "Stopped: 0 of 1 item(s) copied"
                                                     : "Stopped: 0 of 1 item(s) moved"));
        EXPECT_FALSE(state->errorMessage) << state->errorMessage->toStdString();
        state->fileJobStopReport.reset();
    }
}

// The place of the head is looked at on the worker, not on the main thread.
TEST_F(FileJobFlow, TheConflictIsFoundOnTheWorker) {
    dir.makeFile("right/a.txt", "old");
    tagNewFiles({"a.txt"});
    useDualFiler();
    key("c");
    key("y");
    EXPECT_TRUE(state->isFileOperationRunning);
    EXPECT_TRUE(state->pendingCopyMove == std::nullopt);
    executor.runAll();
    ASSERT_TRUE(state->pendingCopyMove);
    EXPECT_TRUE(
        std::holds_alternative<AppState::PendingCopyMove::Conflict>(state->pendingCopyMove->stage));
}

TEST(FileJobItems, AStopAskedDuringAnItemEndsTheJobAfterIt) {
    std::stop_source stop;
    std::atomic<int> done{0};
    const FileJob::Outcome outcome = FileJob::runItems(
        {"/x/a", "/x/b", "/x/c"},
        [&](const QString& item) {
            if (item == "/x/b") {
                stop.request_stop();
            }
            return item == "/x/a" ? FileJob::ItemError(
                                        FileSystemError::make(FileSystemError::Kind::invalidName))
                                  : FileJob::ItemError();
        },
        stop.get_token(), done);
    EXPECT_TRUE(outcome.stopped);
    EXPECT_EQ(outcome.items.size(), 2);
    EXPECT_EQ(done.load(), 2);
    EXPECT_EQ(outcome.succeeded(), 1);
    EXPECT_EQ(outcome.failureLines(), QStringList{"a: Invalid name"});
}

// A stop that comes while the bytes of a file are under way: the copy ends
// before the next stretch and removes what it wrote. The stop is asked for
// while the first stretch is held in the kernel, as Esc would come.
TEST(StoppedCopy, RemovesThePartWrittenAndLeavesTheSource) {
    TestDir dir;
    const QString source = dir.makeFile("src/big.bin");
    const int fd = ::open(toSystemPath(source).constData(), O_WRONLY);
    ASSERT_EQ(::ftruncate(fd, 96 << 20), 0); // three stretches of the kernel copy
    ::close(fd);
    dir.makeFolder("dest");
    const auto outcome = FileOperationTest::runInChild(
        [&] {
            static std::stop_source stop;
            FileSystemService::CopyProgress progress;
            progress.stop = stop.get_token();
            if (!FileOperationTest::holdSystemCalls(
                    {SYS_copy_file_range}, [](const seccomp_data&) { stop.request_stop(); })) {
                return QStringLiteral("cannot hold calls");
            }
            const auto copied =
                FileSystemService::copyItem(source, dir.filePath("dest"), false, &progress);
            return copied ? QStringLiteral("copied") : copied.error().description();
        },
        FileOperationTest::ChildAccount::same);
    if (outcome.text == "cannot hold calls") {
        GTEST_SKIP() << "the kernel refuses to hold system calls here";
    }
    EXPECT_EQ(outcome.text, "Stopped");
    EXPECT_EQ(QDir(dir.filePath("dest"))
                  .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList());
    EXPECT_EQ(QFileInfo(source).size(), 96 << 20);
}

} // namespace

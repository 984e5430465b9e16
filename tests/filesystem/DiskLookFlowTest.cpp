// Commands whose first step reads the disk, stepped by hand: nothing of
// them shows until the read is back from the worker, the keys typed
// meanwhile run after it in order, Esc drops the command with them, and what
// the read finds (a FIFO, a vanished file, a refused right) is told as
// before.
#include "filesystem/FileFlowSupport.h"
#include "filesystem/FileOperationSupport.h"

#include "filesystem/FileSystemError.h"

#include <cerrno>
#include <functional>
#include <sys/stat.h>

using namespace FileFlowTest;
using FileOperationTest::exists;

namespace {

class DiskLookFlow : public FlowTest {
protected:
    void SetUp() override {
        trash = privateTrash();
        FlowTest::SetUp();
        state = std::make_unique<AppState>(preferences, executor);
        state->pane(PaneSide::right).location = FilerLocation::directory(dir.filePath("right"));
        dir.makeFolder("left/sub");
        dir.makeFile("left/a.txt", "some text");
        state->reloadPane(PaneSide::left, false);
        executor.runAll();
    }
    // A key as typed, with nothing run after it.
    void press(const QString& text, KeyModifiers modifiers = {}) {
        state->handleKeyDown(typed(text, modifiers));
    }
    void listAgain() {
        state->reloadPane(PaneSide::left, false);
        executor.runAll();
    }

    Background::ManualExecutor executor;
    QString trash;
};

// One command each: how it is asked for, and whether what it shows stands.
struct LookingCommand {
    const char* name;
    std::function<void(AppState&, const TestDir&)> ask;
    std::function<bool(const AppState&, const TestDir&)> shows;
};

TEST_F(DiskLookFlow, EachCommandShowsWhatItShowsOnlyOnceTheDiskHasAnswered) {
    const LookingCommand commands[] = {
        {"attributes", [](AppState& s, const TestDir&) { s.openAttributePrompt(); },
         [](const AppState& s, const TestDir&) { return s.isOpen(Overlay::attributePrompt); }},
        {"delete", [](AppState& s, const TestDir&) { s.startDelete(AppState::DeleteKind::files); },
         [](const AppState& s, const TestDir&) { return s.pendingDelete.has_value(); }},
        {"editor", [](AppState& s, const TestDir&) { s.enterEditor(); },
         [](const AppState& s, const TestDir&) { return s.rightMode == RightPaneMode::editor; }},
        {"folder", [](AppState& s, const TestDir& d) { s.goToFolder(d.filePath("left/sub")); },
         [](const AppState& s, const TestDir& d) {
             return s.isListingPending(PaneSide::left) &&
                    !s.pane(PaneSide::left).listing->selectName &&
                    s.pane(PaneSide::left).listing->location ==
                        FilerLocation::directory(d.filePath("left/sub"));
         }},
    };
    for (const LookingCommand& command : commands) {
        SCOPED_TRACE(command.name);
        pointAt("a.txt");
        command.ask(*state, dir);
        EXPECT_TRUE(state->isLookingAtDisk());
        EXPECT_FALSE(command.shows(*state, dir));
        ASSERT_EQ(executor.nextPool(), Background::Pool::listing);
        ASSERT_TRUE(executor.runNext());
        EXPECT_FALSE(state->isLookingAtDisk());
        EXPECT_TRUE(command.shows(*state, dir));
        EXPECT_FALSE(state->errorMessage);

        // Back to the filer on the left folder for the next command.
        if (state->isOpen(Overlay::attributePrompt)) {
            state->cancelAttributePrompt();
        }
        state->pendingDelete.reset();
        state->exitEditorToViewer();
        executor.runAll();
        state->pane(PaneSide::left).location = FilerLocation::directory(dir.filePath("left"));
        state->focusPane(PaneSide::left);
        listAgain();
    }
}

// D then Y typed before the disk answers trash the file, as they do when
// it answers at once; A then Down land in the prompt's date field.
TEST_F(DiskLookFlow, KeysTypedWhileTheDiskIsReadRunAfterTheCommandInOrder) {
    pointAt("a.txt");
    press("d");
    press("y");
    EXPECT_FALSE(state->pendingDelete);
    executor.runNext();
    EXPECT_TRUE(state->isFileOperationRunning) << "Y answered the question";
    executor.runAll();
    EXPECT_TRUE(exists(trash + "/files/a.txt"));

    dir.makeFile("left/b.txt");
    listAgain();
    pointAt("b.txt");
    press("a");
    state->handleKeyDown(KeyTest::named(KeyCode::down));
    executor.runNext();
    ASSERT_TRUE(state->isOpen(Overlay::attributePrompt));
    EXPECT_EQ(state->attributePrompt.focusField, 1);
}

TEST_F(DiskLookFlow, EscDropsTheCommandAndTheKeysHeldForIt) {
    dir.makeFile("left/z.txt");
    listAgain();
    pointAt("a.txt");
    const int cursor = state->pane(PaneSide::left).selection;
    press("d");
    press("y");
    state->handleKeyDown(KeyTest::named(KeyCode::down));
    state->handleKeyDown(KeyTest::named(KeyCode::escape));
    EXPECT_FALSE(state->isLookingAtDisk());
    executor.runAll();
    EXPECT_FALSE(state->pendingDelete || state->isFileOperationRunning);
    EXPECT_EQ(state->pane(PaneSide::left).selection, cursor);
    EXPECT_TRUE(exists(dir.filePath("left/a.txt")));
    // The keys are gone for good: the next command's question stands.
    press("d");
    executor.runAll();
    EXPECT_TRUE(state->pendingDelete);
    EXPECT_FALSE(state->isFileOperationRunning);
    EXPECT_EQ(state->pane(PaneSide::left).selection, cursor);
}

TEST_F(DiskLookFlow, WhatTheReadFindsIsToldWithTheCommandsOwnMessages) {
    const QString fifo = dir.filePath("left/stuck.txt");
    ASSERT_EQ(::mkfifo(QFile::encodeName(fifo).constData(), 0644), 0);
    const QString vanished = dir.makeFile("left/gone.txt");
    listAgain();
    ASSERT_TRUE(QFile::remove(vanished));

    pointAt("stuck.txt");
    state->enterEditor();
    EXPECT_FALSE(state->errorMessage);
    executor.runAll();
    EXPECT_EQ(error(), "This item is not a regular file (not editable as text)");
    state->errorMessage.reset();

    pointAt("gone.txt");
    state->openAttributePrompt();
    executor.runAll();
    EXPECT_EQ(error(), FileSystemError::fromErrno(ENOENT).description());
    EXPECT_FALSE(state->isOpen(Overlay::attributePrompt));
    state->errorMessage.reset();

    state->goToFolder(dir.filePath("left/gone"));
    executor.runAll();
    EXPECT_EQ(error(), "Cannot open:\n" + dir.filePath("left/gone"));
    EXPECT_EQ(state->pane(PaneSide::left).location, FilerLocation::directory(dir.filePath("left")));
    state->errorMessage.reset();

    // The rights the listing met decide; once forgotten, the worker reads
    // them anew from the item, now read-only.
    dir.setMode("left/a.txt", 0444);
    state->taggedKeys.insert(dir.filePath("left/a.txt"));
    state->startDelete(AppState::DeleteKind::files);
    executor.runAll();
    EXPECT_FALSE(state->errorMessage);
    ASSERT_TRUE(state->pendingDelete);
    state->pendingDelete.reset();
    FileAccessMemory::forget(dir.filePath("left/a.txt"));
    state->startDelete(AppState::DeleteKind::files);
    executor.runAll();
    EXPECT_EQ(error(), "Not writable: a.txt");
}

} // namespace

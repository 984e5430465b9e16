// Commands that write to the disk, stepped by hand: a new folder or file, a
// rename and EDITOR's save reach the disk only on the worker, what they show
// comes after it, the keys typed meanwhile wait (Esc and Q too, for a write
// cannot be taken back), and leaving waits for a save under way.
#include "filesystem/FileFlowSupport.h"
#include "filesystem/FileOperationSupport.h"

#include <functional>

using namespace FileFlowTest;
using FileOperationTest::exists;

namespace {

class DiskWriteFlow : public FlowTest {
protected:
    void SetUp() override {
        FlowTest::SetUp();
        manualWork = &executor;
        state = std::make_unique<AppState>(preferences, executor);
        state->pane(PaneSide::right).location = FilerLocation::directory(dir.filePath("right"));
        dir.makeFile("left/b.txt", "bee");
        dir.makeFile("left/c.txt", "sea");
        state->reloadPane(PaneSide::left, false);
        executor.runAll();
    }
    void press(const KeyEvent& key) { state->handleKeyDown(key); }
    QString cursorName() const { return state->currentEntry()->name; }
    // Runs the one write waiting, which must be on the pool for disk waits.
    void runTheWrite() {
        ASSERT_TRUE(state->isWritingToDisk());
        ASSERT_EQ(executor.nextPool(), Background::Pool::listing);
        ASSERT_TRUE(executor.runNext());
        EXPECT_FALSE(state->isWritingToDisk());
    }
    void openInEditor(const char* name) {
        state->openFileInEditor(dir.filePath(QStringLiteral("left/") + QLatin1String(name)));
        executor.runAll();
        ASSERT_EQ(state->rightMode, RightPaneMode::editor);
    }

    Background::ManualExecutor executor;
};

struct NameCommand {
    const char* name;
    std::function<void(AppState&)> commit;
    const char* written;
    const char* gone;
};

TEST_F(DiskWriteFlow, NamePromptsWriteOnTheWorkerAndPutTheCursorOnTheItemAfter) {
    const auto create = [](CreateItemKind kind, const char* name) {
        return [kind, name](AppState& s) {
            s.openCreateItemPrompt(kind);
            s.createItemPrompt.name = QLatin1String(name);
            s.commitCreateItem();
        };
    };
    const NameCommand commands[] = {
        {"folder", create(CreateItemKind::folder, "Reports"), "left/Reports", nullptr},
        {"file", create(CreateItemKind::file, "notes.md"), "left/notes.md", nullptr},
        {"rename",
         [](AppState& s) {
             s.openRenamePrompt();
             s.renamePrompt.name = QStringLiteral("bee.txt");
             s.commitRename();
         },
         "left/bee.txt", "left/b.txt"},
    };
    for (const NameCommand& command : commands) {
        SCOPED_TRACE(command.name);
        executor.runAll();
        pointAt("b.txt");
        command.commit(*state);
        EXPECT_FALSE(exists(dir.filePath(command.written)))
            << "nothing is written before the worker";
        runTheWrite();
        EXPECT_TRUE(exists(dir.filePath(command.written)));
        if (command.gone) {
            EXPECT_FALSE(exists(dir.filePath(command.gone)));
        }
        ASSERT_TRUE(settleListings());
        EXPECT_EQ(cursorName(), QFileInfo(dir.filePath(command.written)).fileName());
        EXPECT_FALSE(state->errorMessage);
    }
}

TEST_F(DiskWriteFlow, ARefusedWriteIsToldWhenTheWorkerIsBack) {
    pointAt("c.txt");
    state->openCreateItemPrompt(CreateItemKind::folder);
    state->createItemPrompt.name = QStringLiteral("b.txt");
    state->commitCreateItem();
    EXPECT_FALSE(state->isOpen(Overlay::createItemPrompt));
    EXPECT_FALSE(state->errorMessage) << "the check for b.txt is on the worker";
    runTheWrite();
    EXPECT_EQ(error(), "Already exists: b.txt");
    state->errorMessage.reset();

    state->openRenamePrompt();
    state->renamePrompt.name = QStringLiteral("b.txt");
    state->commitRename();
    EXPECT_FALSE(state->errorMessage);
    runTheWrite();
    EXPECT_EQ(error(), "Already exists: b.txt");
    EXPECT_TRUE(exists(dir.filePath("left/c.txt")));
}

// Down and Esc typed while the folder is made run after it, in order: the
// folder is there, the cursor went onto it and then one row down.
TEST_F(DiskWriteFlow, KeysTypedDuringAWriteWaitAndEscDoesNotDropIt) {
    pointAt("b.txt");
    state->openCreateItemPrompt(CreateItemKind::folder);
    state->createItemPrompt.name = QStringLiteral("a-folder");
    state->commitCreateItem();
    press(KeyTest::named(KeyCode::down));
    press(KeyTest::named(KeyCode::escape));
    press(KeyTest::typed(QStringLiteral("q")));
    EXPECT_TRUE(state->isWritingToDisk());
    EXPECT_FALSE(state->pendingQuit) << "Q waits for the write";
    runTheWrite();
    ASSERT_TRUE(settleListings());
    EXPECT_TRUE(exists(dir.filePath("left/a-folder")));
    EXPECT_EQ(cursorName(), "b.txt");
    EXPECT_TRUE(state->pendingQuit);
}

TEST_F(DiskWriteFlow, EditorSavesOnTheWorkerWhileItsKeysWait) {
    openInEditor("b.txt");
    state->updateEditorText(QStringLiteral("changed"));
    state->saveEditor();
    EXPECT_TRUE(state->isEditorSaving);
    EXPECT_TRUE(state->isDirty);
    EXPECT_EQ(FileOperationTest::contents(dir.filePath("left/b.txt")), "bee");
    // Typed text and Esc wait; a second save while one runs adds nothing.
    EXPECT_TRUE(state->handleKeyDown(KeyTest::typed(QStringLiteral("x"))));
    press(KeyTest::named(KeyCode::escape));
    state->saveEditor();
    EXPECT_EQ(executor.waitingCount(), 1);
    EXPECT_EQ(state->rightMode, RightPaneMode::editor);
    runTheWrite();
    EXPECT_FALSE(state->isEditorSaving);
    EXPECT_FALSE(state->isDirty);
    EXPECT_EQ(FileOperationTest::contents(dir.filePath("left/b.txt")), "changed");
    // Esc then left the saved text for VIEWER, as it does when typed after the save.
    EXPECT_EQ(state->rightMode, RightPaneMode::viewer);
    executor.runAll();
    openInEditor("b.txt");

    // A save that fails keeps the text and the mark, and says why after the worker.
    state->updateEditorText(QStringLiteral("a 😀 in CP932"));
    state->textEncodingLabel = QStringLiteral("CP932");
    state->saveEditor();
    EXPECT_FALSE(state->errorMessage);
    runTheWrite();
    EXPECT_EQ(error(), "この内容を CP932 で保存できません（未対応の文字があります）");
    EXPECT_TRUE(state->isDirty);
    EXPECT_EQ(FileOperationTest::contents(dir.filePath("left/b.txt")), "changed");
}

// Leaving the program, or anything else that would close the text, waits for
// the save: after a good one nothing is left to ask, after a failed one the
// save question stands.
TEST_F(DiskWriteFlow, LeavingWaitsForTheSaveUnderWay) {
    openInEditor("b.txt");
    for (const bool saves : {true, false}) {
        SCOPED_TRACE(saves);
        executor.runAll();
        state->textEncodingLabel = QString::fromUtf8(saves ? "UTF-8" : "CP932");
        state->updateEditorText(QString::fromUtf8(saves ? "kept" : "😀 lost"));
        state->saveEditor();
        bool left = false;
        state->whenEditorTextIsSafe([&left] { left = true; });
        EXPECT_FALSE(left);
        EXPECT_FALSE(state->pendingExitEditorToViewer);
        runTheWrite();
        EXPECT_EQ(left, saves);
        EXPECT_EQ(state->pendingExitEditorToViewer, !saves);
        state->errorMessage.reset();
    }
}

} // namespace

// While an item of a copy or move is under way nothing can be cancelled: every
// key is taken and none acts, and the keys act again once the item is done.
#include "../core/KeyTestSupport.h"
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"
#include "support/TestDir.h"

#include <gtest/gtest.h>

namespace {

TEST(FileOperationRunningTest, KeysAreSwallowedWhileAnItemRunsAndActAfterwards) {
    MemoryPreferences preferences;
    FileAccessMemory::attach(&preferences);
    TestDir dir;
    dir.makeFile(QStringLiteral("a.txt"), "a");
    preferences.setValue("startupDirectory", dir.path());
    AppState state(preferences);
    state.refreshAll();
    state.setSelection(1, PaneSide::left);

    state.isFileOperationRunning = true;
    const KeyEvent keys[] = {KeyTest::typed("d"), KeyTest::named(KeyCode::escape),
                             KeyTest::named(KeyCode::down), KeyTest::typed("q"),
                             KeyTest::typed("r", KeyModifiers{KeyModifier::command})};
    for (const KeyEvent& key : keys) {
        EXPECT_TRUE(state.handleKeyDown(key));
    }
    EXPECT_FALSE(state.pendingDelete || state.pendingQuit);
    EXPECT_EQ(state.leftSelection, 1);

    state.isFileOperationRunning = false;
    EXPECT_TRUE(state.handleKeyDown(KeyTest::named(KeyCode::up)));
    EXPECT_EQ(state.leftSelection, 0);
    FileAccessMemory::attach(nullptr);
}

} // namespace

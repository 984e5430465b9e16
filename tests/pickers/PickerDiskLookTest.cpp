// The jump to a bookmark and X ask the disk on a worker, stepped here by
// hand: what the worker finds when it runs decides, nothing shows before it,
// and Esc meanwhile drops the command. The kind a choice of application is
// remembered under comes from the row, never from the disk.
#include "../core/KeyTestSupport.h"
#include "pickers/OpenWith.h"
#include "support/PaneRows.h"
#include "support/SteppedStateFixture.h"

#include <QDir>

namespace {

using KeyTest::named;
using KeyTest::typed;

class PickerDiskLook : public SteppedStateFixture {
protected:
    void SetUp() override {
        for (const char* folder : {"alpha", "beta", "pics.d"}) {
            dir.makeFolder(folder);
        }
        dir.makeFile("odd.zzqqx", QByteArray(64, '\0'));
        preferences.setValue("jumpBookmarks",
                             QStringList{dir.filePath("alpha"), dir.filePath("beta")});
        start();
    }
    void jumpTo(int number) {
        state->openJumpDialog();
        state->jumpToNumberedBookmark(number);
    }
    // Runs the one look the command waits for, and nothing after it.
    void runTheLook() {
        ASSERT_TRUE(state->isLookingAtDisk());
        ASSERT_EQ(executor.nextPool(), Background::Pool::listing);
        ASSERT_TRUE(executor.runNext());
    }
    FilerLocation folder(const char* name) const {
        return FilerLocation::directory(dir.filePath(QString::fromUtf8(name)));
    }
    QStringList bookmarks() const { return preferences.stringListElements("jumpBookmarks"); }
};

// The folder is asked about when the worker runs: one removed after the jump
// was asked for is reported and dropped, one made meanwhile is entered.
TEST_F(PickerDiskLook, ABookmarkIsLookedAtOnAWorkerThenEntered) {
    jumpTo(1);
    EXPECT_FALSE(state->isOpen(Overlay::jumpDialog));
    QDir(dir.filePath("alpha")).removeRecursively();
    runTheLook();
    EXPECT_EQ(state->errorMessage, "Folder not found:\n" + dir.filePath("alpha"));
    EXPECT_EQ(bookmarks(), QStringList{dir.filePath("beta")});
    EXPECT_EQ(left().location, FilerLocation::directory(dir.path()));

    state->errorMessage.reset();
    state->jumpBookmarks.prepend(dir.filePath("alpha"));
    jumpTo(1);
    dir.makeFolder("alpha");
    runTheLook();
    EXPECT_FALSE(state->errorMessage);
    ASSERT_TRUE(state->isListingPending(PaneSide::left));
    executor.runAll();
    EXPECT_EQ(left().location, folder("alpha"));
}

TEST_F(PickerDiskLook, EscWhileABookmarkIsLookedAtLeavesThePaneAndTheBookmark) {
    jumpTo(2);
    press(named(KeyCode::escape));
    executor.runAll();
    EXPECT_FALSE(state->errorMessage);
    EXPECT_EQ(left().location, FilerLocation::directory(dir.path()));
    EXPECT_EQ(bookmarks().size(), 2);
}

// What can open the file is found on a worker: nothing shows before it, and
// Esc drops it. The desktop's applications are not looked at here, so no
// application is started.
TEST_F(PickerDiskLook, XFindsTheApplicationsOnAWorkerAndEscDropsIt) {
    PaneRows::putCursorOn(*state, "odd.zzqqx");
    press(typed("x"));
    EXPECT_TRUE(state->isLookingAtDisk()) << "the applications were found on the main thread";
    EXPECT_EQ(executor.nextPool(), Background::Pool::listing);
    EXPECT_FALSE(state->isOpen(Overlay::openWithPicker));
    EXPECT_FALSE(state->errorMessage);
    press(named(KeyCode::escape));
    executor.runAll();
    EXPECT_FALSE(state->isOpen(Overlay::openWithPicker));
    EXPECT_FALSE(state->errorMessage);
    EXPECT_EQ(executor.startedCount(Background::Pool::shared), 0) << "an application was started";
}

// The choice is remembered under the kind the row told, whatever the disk
// holds under that name by then: a row that was a folder files it under "/".
TEST_F(PickerDiskLook, AChoiceIsRememberedUnderTheKindTheRowTold) {
    const QString gone = dir.filePath("gone.desktop");
    const struct {
        const char* name;
        bool isFolder;
        const char* kind;
    } cases[] = {{"odd.zzqqx", true, "/"}, {"pics.d", false, "d"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        state->openWithPicker.apps = {{gone, QStringLiteral("gone"), false, false}};
        state->openWithPicker.fileURL = dir.filePath(QString::fromUtf8(c.name));
        state->openWithPicker.fileIsFolder = c.isFolder;
        state->showOverlay(Overlay::openWithPicker);
        state->confirmOpenWith(0);
        EXPECT_EQ(OpenWith::recentApplications(preferences, c.kind), QStringList{gone});
        executor.runAll();
        EXPECT_EQ(state->errorMessage, "Cannot open application:\n" + gone);
        state->errorMessage.reset();
    }
}

} // namespace

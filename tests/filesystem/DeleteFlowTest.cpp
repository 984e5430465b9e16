// D and Shift+D: what is taken, the remembered rights, and trashing into a
// private trash so that the user's own is never touched.
#include "filesystem/FileFlowSupport.h"
#include "filesystem/FileOperationSupport.h"
#include "support/ListingWait.h"

#include <QTemporaryDir>

using namespace FileFlowTest;
using FileFlowTest::privateTrash;
using FileOperationTest::exists;

namespace {

class DeleteFlow : public FlowTest {
protected:
    void SetUp() override {
        trash = privateTrash();
        FlowTest::SetUp();
    }
    bool inTrash(const QString& name) const { return exists(trash + "/files/" + name); }
    QString trash;
};

TEST_F(DeleteFlow, TheSecondOfThreeFailsTheOthersGoToTheTrash) {
    tagNewFiles({"d1.txt", "d2.txt", "d3.txt"});
    key("d");
    ASSERT_TRUE(state->pendingDelete);
    EXPECT_FALSE(state->pendingDelete->deletingFolders);
    QFile::remove(dir.filePath("left/d2.txt")); // it can no longer be trashed
    state->runPendingDelete();
    waitForFileWork();

    EXPECT_FALSE(state->pendingDelete);
    EXPECT_TRUE(inTrash("d1.txt"));
    EXPECT_TRUE(inTrash("d3.txt"));
    EXPECT_TRUE(exists(trash + "/info/d1.txt.trashinfo")); // the desktop can restore it
    EXPECT_FALSE(exists(dir.filePath("left/d1.txt")));
    EXPECT_TRUE(error().startsWith("d2.txt: "));
    EXPECT_FALSE(error().contains('\n'));
    EXPECT_TRUE(state->taggedKeys.contains(dir.filePath("left/d2.txt")));
    EXPECT_EQ(state->taggedKeys.size(), 1);
    EXPECT_EQ(state->pane(PaneSide::left).entries.size(), 1); // reloaded: ".." alone
}

TEST_F(DeleteFlow, ShiftDTakesTheFolderUnderTheCursorAndNotTheTags) {
    dir.makeFile("left/tagged.txt");
    dir.makeFile("left/gone/inside.txt");
    state->reloadPane(PaneSide::left, false);
    waitForListings(*state);
    tag({"tagged.txt"});
    pointAt("gone");
    key("D", KeyModifiers{KeyModifier::shift});
    ASSERT_TRUE(state->pendingDelete);
    EXPECT_EQ(state->pendingDelete->urls, QStringList{dir.filePath("left/gone")});
    EXPECT_TRUE(state->pendingDelete->deletingFolders);
    state->runPendingDelete();
    waitForFileWork();
    EXPECT_TRUE(inTrash("gone/inside.txt"));
    EXPECT_TRUE(exists(dir.filePath("left/tagged.txt")));
}

TEST_F(DeleteFlow, NoCancelsYesTrashesAndNothingToDeleteSaysWhatIsMissing) {
    dir.makeFile("left/keep.txt");
    dir.makeFolder("left/folder");
    state->reloadPane(PaneSide::left, false);
    waitForListings(*state);
    pointAt("keep.txt");
    key("d");
    key("n");
    EXPECT_FALSE(state->pendingDelete);
    EXPECT_TRUE(exists(dir.filePath("left/keep.txt")));
    key("d");
    key("y");
    waitForFileWork();
    EXPECT_FALSE(exists(dir.filePath("left/keep.txt")));
    EXPECT_TRUE(inTrash("keep.txt"));

    pointAt("folder");
    key("d");
    EXPECT_EQ(error(), "No file to delete (Space to tag, or select a file)");
    state->errorMessage.reset();
    pointAt("..");
    key("D", KeyModifiers{KeyModifier::shift});
    EXPECT_EQ(error(), "No folder to delete (select a folder)");
    EXPECT_FALSE(state->pendingDelete);
}

// The remembered rights decide until the record is forgotten.
TEST_F(DeleteFlow, ARememberedReadOnlyFileIsRefusedUntilForgotten) {
    const QString path = dir.makeFile("left/locked.txt");
    dir.setMode("left/locked.txt", 0444);
    state->reloadPane(PaneSide::left, false);
    waitForListings(*state);
    dir.setMode("left/locked.txt", 0644);
    pointAt("locked.txt");
    key("d");
    EXPECT_EQ(error(), "Not writable: locked.txt");
    state->errorMessage.reset();
    FileAccessMemory::forget(path);
    key("d");
    EXPECT_TRUE(state->pendingDelete);
}

// /dev/shm is a memory file system the desktop keeps no trash for: GIO says
// so, and the file stays where it was.
TEST_F(DeleteFlow, AVolumeWithoutTrashIsReportedAndNothingIsDeleted) {
    QTemporaryDir shm(QStringLiteral("/dev/shm/dorvik-XXXXXX"));
    if (!shm.isValid()) {
        GTEST_SKIP() << "no /dev/shm on this machine";
    }
    const QString path = shm.filePath(QStringLiteral("kept.txt"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    state->pane(PaneSide::left).location = FilerLocation::directory(shm.path());
    state->reloadPane(PaneSide::left, false);
    waitForListings(*state);
    pointAt("kept.txt");
    key("d");
    key("y");
    waitForFileWork();
    EXPECT_TRUE(exists(path));
    EXPECT_TRUE(error().startsWith("kept.txt: ")) << error().toStdString();
    EXPECT_TRUE(error().contains("not supported")) << error().toStdString();
}

} // namespace

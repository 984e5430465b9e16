// The jump dialog: its rows through the filter, walking them, jumping, and
// the bookmarks and start folder it keeps in the settings.
#include "archive/ArchiveLocation.h"
#include "pickers/JumpDialog.h"
#include "support/StateFixture.h"

#include <gtest/gtest.h>

namespace {

TEST(JumpRowsTest, TheFilterIgnoresCaseAndWidthAndAddingPutsInFrontKeepingFifty) {
    const QStringList marks{"/home/u/Projects", "/srv/data", "/home/u/ＰＨＯＴＯＳ"};
    EXPECT_EQ(JumpDialog::jumpRows(marks, " \n"), marks);
    EXPECT_EQ(JumpDialog::jumpRows(marks, "HOME"),
              (QStringList{"/home/u/Projects", "/home/u/ＰＨＯＴＯＳ"}));
    EXPECT_EQ(JumpDialog::jumpRows(marks, " photos "), QStringList{"/home/u/ＰＨＯＴＯＳ"});
    EXPECT_TRUE(JumpDialog::jumpRows(marks, "nowhere").isEmpty());

    QStringList full;
    for (int i = 0; i < 50; ++i) {
        full.append(QStringLiteral("/b/%1").arg(i));
    }
    const QStringList added = JumpDialog::withBookmarkAdded(full, "/b/7/");
    EXPECT_EQ(added.size(), 50);
    EXPECT_EQ(added.first(), "/b/7");
    EXPECT_EQ(added.count("/b/7"), 1);
    EXPECT_EQ(added.last(), "/b/49");
    const QStringList fresh = JumpDialog::withBookmarkAdded(full, "/new");
    EXPECT_EQ(fresh.first(), "/new");
    EXPECT_EQ(fresh.last(), "/b/48");
}

class JumpDialogTest : public StateFixture {
protected:
    void SetUp() override {
        StateFixture::SetUp();
        for (const char* folder : {"alpha", "beta", "gamma", "start"}) {
            dir.makeFolder(folder);
        }
        preferences.setValue("startupDirectory", dir.filePath("start"));
        preferences.setValue(
            "jumpBookmarks",
            QStringList{dir.filePath("alpha"), dir.filePath("beta"), dir.filePath("gamma")});
        makeState().openJumpDialog();
    }

    QStringList stored() const { return preferences.stringListElements("jumpBookmarks"); }
};

TEST_F(JumpDialogTest, WalkingTheRowsAndNotOpeningOverAPicker) {
    const int64_t nonce = state->jumpDialog.focusNonce;
    state->moveJumpSelection(-1); // Up in the filter field stays there
    EXPECT_EQ(state->jumpDialog.selectedPath, std::nullopt);
    state->moveJumpSelection(1);
    EXPECT_EQ(state->jumpDialog.selectedPath, dir.filePath("alpha"));
    state->moveJumpSelection(5); // no wrap at the bottom
    EXPECT_EQ(state->jumpDialog.selectedPath, dir.filePath("gamma"));
    state->setJumpFilterQuery("ALP"); // the selection gives way to the first row
    EXPECT_EQ(state->jumpDialog.selectedPath, dir.filePath("alpha"));
    state->moveJumpSelection(-1); // Up from the first row: back to the field
    EXPECT_EQ(state->jumpDialog.selectedPath, std::nullopt);
    EXPECT_GT(state->jumpDialog.focusNonce, nonce);

    // It does not open over a picker.
    state->closeJumpDialog();
    state->showOverlay(Overlay::sortPicker);
    state->openJumpDialog();
    EXPECT_FALSE(state->isOpen(Overlay::jumpDialog));
}

TEST_F(JumpDialogTest, EnterGoesToTheOnlyRowAFilterLeavesAndDigitsCountTheFilteredRows) {
    state->confirmJumpDialog();     // three rows and none selected: nothing
    state->setJumpFilterQuery("a"); // alpha, beta, gamma: all hold an "a"
    state->jumpToNumberedBookmark(4);
    waitForListings(*state);
    EXPECT_TRUE(state->isOpen(Overlay::jumpDialog));
    state->setJumpFilterQuery("eta");
    state->jumpToNumberedBookmark(1);
    waitForListings(*state);
    EXPECT_EQ(state->pane(PaneSide::left).location, FilerLocation::directory(dir.filePath("beta")));

    state->openJumpDialog();
    state->setJumpFilterQuery("gam");
    state->confirmJumpDialog();
    waitForListings(*state);
    EXPECT_FALSE(state->isOpen(Overlay::jumpDialog));
    EXPECT_EQ(state->pane(PaneSide::left).location,
              FilerLocation::directory(dir.filePath("gamma")));
}

TEST_F(JumpDialogTest, ADeadBookmarkIsReportedAndRemoved) {
    QDir(dir.filePath("beta")).removeRecursively();
    state->jumpToNumberedBookmark(2);
    waitForListings(*state);
    EXPECT_EQ(state->errorMessage, "Folder not found:\n" + dir.filePath("beta"));
    EXPECT_EQ(state->dosDialogActionIndex, 0);
    EXPECT_EQ(stored(), (QStringList{dir.filePath("alpha"), dir.filePath("gamma")}));
    EXPECT_EQ(state->pane(PaneSide::left).location,
              FilerLocation::directory(dir.filePath("start")));
}

TEST_F(JumpDialogTest, RemovingSelectsTheRowThatTakesItsPlace) {
    state->moveJumpSelection(1);
    state->moveJumpSelection(5); // gamma, the last row
    state->removeJumpBookmark();
    EXPECT_EQ(state->jumpDialog.selectedPath, dir.filePath("beta"));
    state->moveJumpSelection(-1); // alpha; beta then takes its place
    state->removeJumpBookmark();
    EXPECT_EQ(state->jumpDialog.selectedPath, dir.filePath("beta"));
    state->removeJumpBookmark();
    EXPECT_EQ(state->jumpDialog.selectedPath, std::nullopt);
    EXPECT_TRUE(stored().isEmpty());
}

TEST_F(JumpDialogTest, PlusRemembersTheFolderUnderTheCursor) {
    state->closeJumpDialog();
    state->openLocation(FilerLocation::directory(dir.path()), PaneSide::left, "start");
    waitForListings(*state);
    state->addJumpBookmark();
    waitForListings(*state);
    EXPECT_EQ(stored().first(), dir.filePath("start"));
    // On the parent row the pane's own folder is remembered.
    state->setSelection(0, PaneSide::left);
    state->addJumpBookmark();
    waitForListings(*state);
    EXPECT_EQ(stored().first(), dir.path());
    EXPECT_EQ(stored().size(), 5);
}

TEST_F(JumpDialogTest, StartFolderFromARowAndFromThePane) {
    state->moveJumpSelection(1);
    state->moveJumpSelection(1);
    state->setStartupFromJumpSelection();
    waitForListings(*state);
    EXPECT_TRUE(state->isOpen(Overlay::jumpDialog));
    EXPECT_EQ(state->startupDirectory, dir.filePath("beta"));
    EXPECT_EQ(preferences.stringValue("startupDirectory"), dir.filePath("beta"));
    state->closeJumpDialog();
    // H takes the pane's folder, not the folder row under the cursor.
    state->openLocation(FilerLocation::directory(dir.path()), PaneSide::left, "gamma");
    waitForListings(*state);
    state->setStartupDirectoryToCurrent();
    waitForListings(*state);
    EXPECT_EQ(state->startupDirectory, dir.path());
    state->goToStartupDirectory();
    waitForListings(*state);
    EXPECT_EQ(state->pane(PaneSide::left).location, FilerLocation::directory(dir.path()));
}

// Names on Linux are the bytes the folder was made with, most often in the
// composed form: a remembered folder must still open by its own name.
TEST_F(JumpDialogTest, AFolderWithVoicedKanaOpensAgainFromItsBookmarkAndAtStart) {
    const QString folder = dir.makeFolder(QStringLiteral("データ"));
    state->closeJumpDialog();
    state->openLocation(FilerLocation::directory(folder), PaneSide::left, std::nullopt);
    waitForListings(*state);
    state->addJumpBookmark();
    state->setStartupDirectoryToCurrent();
    state->goToFolder(dir.path());
    waitForListings(*state);
    state->openJumpDialog();
    state->jumpToNumberedBookmark(1);
    waitForListings(*state);
    EXPECT_EQ(state->errorMessage, std::nullopt);
    EXPECT_EQ(state->pane(PaneSide::left).location, FilerLocation::directory(folder));
    EXPECT_EQ(stored().size(), 4);
    AppState restarted(preferences);
    EXPECT_EQ(restarted.startupDirectory, folder);
    // As an earlier version stored it: decomposed.
    preferences.setValue("startupDirectory", folder.normalized(QString::NormalizationForm_D));
    AppState fromDecomposed(preferences);
    fromDecomposed.startUp();
    ASSERT_TRUE(waitForListings(fromDecomposed));
    EXPECT_EQ(fromDecomposed.startupDirectory, folder);
}

TEST_F(JumpDialogTest, InsideAnArchiveBookmarkAndStartFolderAreRefused) {
    state->closeJumpDialog();
    state->pane(PaneSide::left).location = FilerLocation::zip(dir.filePath("a.zip"), "docs");
    state->addJumpBookmark();
    EXPECT_EQ(state->errorMessage,
              ArchiveLocation::refusalText(ArchiveLocation::ReadOnlyCommand::bookmark));
    state->errorMessage.reset();
    state->setStartupDirectoryToCurrent();
    EXPECT_EQ(state->errorMessage,
              ArchiveLocation::refusalText(ArchiveLocation::ReadOnlyCommand::setStartup));
    EXPECT_EQ(stored().size(), 3);
    EXPECT_EQ(state->startupDirectory, dir.filePath("start"));
}

} // namespace

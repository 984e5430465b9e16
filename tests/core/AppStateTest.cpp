// Which pane filer commands act on, the row under the cursor, and filling the
// panes from disk.
#include "core/AppState.h"
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"
#include "support/TestDir.h"
#include "support/ListingWait.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>

#include <gtest/gtest.h>

namespace {

class AppStateTest : public ::testing::Test {
protected:
    void SetUp() override {
        FileAccessMemory::attach(&preferences);
        preferences.setValue("startupDirectory", dir.path());
        state = std::make_unique<AppState>(preferences);
    }
    void TearDown() override { FileAccessMemory::attach(nullptr); }

    MemoryPreferences preferences;
    TestDir dir;
    std::unique_ptr<AppState> state;
};

TEST_F(AppStateTest, ActiveFilerSideFollowsLayoutAndFocus) {
    struct Case {
        LayoutMode layout;
        RightPaneMode right;
        PaneSide focus;
        std::optional<PaneSide> expected;
    };
    const Case cases[] = {
        {LayoutMode::dualFiler, RightPaneMode::filer, PaneSide::right, PaneSide::right},
        {LayoutMode::dualFiler, RightPaneMode::filer, PaneSide::left, PaneSide::left},
        {LayoutMode::filerGallery, RightPaneMode::gallery, PaneSide::right, PaneSide::left},
        {LayoutMode::filerViewer, RightPaneMode::viewer, PaneSide::left, PaneSide::left},
        {LayoutMode::filerViewer, RightPaneMode::viewer, PaneSide::right, PaneSide::left},
        {LayoutMode::filerViewer, RightPaneMode::editor, PaneSide::right, std::nullopt},
        {LayoutMode::filerViewer, RightPaneMode::editor, PaneSide::left, PaneSide::left},
    };
    for (const Case& c : cases) {
        state->layoutMode = c.layout;
        state->rightMode = c.right;
        state->focusedSide = c.focus;
        EXPECT_EQ(state->activeFilerSide(), c.expected)
            << int(c.layout) << " " << int(c.right) << " " << int(c.focus);
    }
}

TEST_F(AppStateTest, RefreshAllListsTheLeftPaneAndTheRightOnlyAsAFiler) {
    dir.makeFile(QStringLiteral("one.txt"));
    state->refreshAll();
    waitForListings(*state);
    EXPECT_EQ(state->pane(PaneSide::left).entries.size(), 2);
    EXPECT_TRUE(state->pane(PaneSide::right).entries.isEmpty());
    EXPECT_EQ(state->pane(PaneSide::left).listEpoch, 1);

    state->rightMode = RightPaneMode::filer;
    state->layoutMode = LayoutMode::dualFiler;
    state->refreshAll();
    waitForListings(*state);
    EXPECT_EQ(state->pane(PaneSide::right).entries.size(), 2);
    EXPECT_EQ(state->pane(PaneSide::left).listEpoch, 2);
}

TEST_F(AppStateTest, CurrentEntryIsTheVisibleRowUnderTheCursor) {
    dir.makeFile(QStringLiteral("a.txt"));
    dir.makeFile(QStringLiteral("b.txt"));
    state->refreshAll();
    waitForListings(*state);
    state->pane(PaneSide::left).selection = 2;
    ASSERT_TRUE(state->currentEntry());
    EXPECT_EQ(state->currentEntry()->name, QStringLiteral("b.txt"));

    state->isFilterOpen = true;
    state->filterQuery = QStringLiteral("B.TX");
    EXPECT_EQ(state->visibleEntries(PaneSide::left).size(), 2); // ".." and b.txt
    EXPECT_FALSE(state->currentEntry());                        // index 2 is past the filtered list

    state->rightMode = RightPaneMode::editor;
    state->focusedSide = PaneSide::right;
    EXPECT_FALSE(state->currentEntry());
}

TEST_F(AppStateTest, AReloadThatFailsKeepsTheOldListAndSaysWhy) {
    const QString sub = dir.makeFolder(QStringLiteral("sub"));
    dir.makeFile(QStringLiteral("sub/x"));
    state->pane(PaneSide::left).location = FilerLocation::directory(sub);
    state->reloadPane(PaneSide::left, false);
    waitForListings(*state);
    ASSERT_EQ(state->pane(PaneSide::left).entries.size(), 2);
    const int64_t epoch = state->pane(PaneSide::left).listEpoch;

    QDir(sub).removeRecursively();
    state->dosDialogActionIndex = 4;
    state->reloadPane(PaneSide::left, false);
    waitForListings(*state);
    EXPECT_EQ(state->pane(PaneSide::left).entries.size(), 2);
    EXPECT_EQ(state->pane(PaneSide::left).listEpoch, epoch);
    EXPECT_EQ(state->errorMessage, QStringLiteral("Not a directory: ") + sub);
    EXPECT_EQ(state->dosDialogActionIndex, 0);
}

TEST_F(AppStateTest, AReloadKeepsTheCursorByPositionClampedToTheList) {
    for (int i = 0; i < 5; ++i) {
        dir.makeFile(QStringLiteral("f%1").arg(i));
    }
    state->refreshAll();
    waitForListings(*state);
    state->pane(PaneSide::left).selection = 5;
    for (int i = 2; i < 5; ++i) {
        QFile::remove(dir.filePath(QStringLiteral("f%1").arg(i)));
    }
    state->reloadPane(PaneSide::left, false);
    waitForListings(*state);
    EXPECT_EQ(state->pane(PaneSide::left).selection, 2);
}

TEST_F(AppStateTest, AForcedReloadForgetsTheRightsOfThePanesFolderAlone) {
    const QString file = dir.makeFile(QStringLiteral("f"));
    state->refreshAll();
    waitForListings(*state);
    ASSERT_TRUE(FileAccessMemory::rememberedRecord(file));
    FileAccessMemory::remember(
        {true, true, QStringLiteral("drwx------"), QStringLiteral("o"), QStringLiteral("g")},
        dir.path(), false);
    state->reloadPane(PaneSide::left, true);
    waitForListings(*state);
    EXPECT_FALSE(FileAccessMemory::rememberedRecord(dir.path()));
    EXPECT_TRUE(FileAccessMemory::rememberedRecord(file));
}

TEST_F(AppStateTest, ChangesAreAnnouncedOncePerTurnOfTheLoop) {
    state->refreshAll();
    waitForListings(*state);
    QSignalSpy spy(state.get(), &AppState::changed);
    state->setUIFontSize(14);
    state->requestQuit();
    EXPECT_EQ(spy.count(), 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(spy.count(), 1);
}

TEST_F(AppStateTest, ArchiveLocationThatIsGoneSaysSo) {
    auto rows = state->listLocation(FilerLocation::zip(dir.filePath("gone.zip"), QString()));
    ASSERT_FALSE(rows.ok());
    EXPECT_EQ(rows.error(), QStringLiteral("Archive not found: gone.zip"));
}

} // namespace

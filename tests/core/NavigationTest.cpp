// Cursor, folders and layouts in real temporary folders.
#include "core/KeyTestSupport.h"

#include "core/AppState.h"
#include "core/Background.h"
#include "core/PathUtils.h"
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"
#include "support/TestDir.h"
#include "support/ListingWait.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace KeyTest;

namespace {

class NavigationTest : public ::testing::Test {
protected:
    void SetUp() override {
        FileAccessMemory::attach(&preferences);
        dir.makeFolder(QStringLiteral("alpha"));
        dir.makeFolder(QStringLiteral("beta/inner"));
        dir.makeFile(QStringLiteral("c.txt"));
        dir.makeFile(QStringLiteral("d.txt"));
        preferences.setValue(QStringLiteral("startupDirectory"), dir.path());
        state = std::make_unique<AppState>(preferences);
        state->refreshAll();
        waitForListings(*state);
    }
    void TearDown() override { FileAccessMemory::attach(nullptr); }

    QString nameAtCursor(PaneSide side = PaneSide::left) const {
        return state->visibleEntries(side).at(state->pane(side).selection).name;
    }
    FilerLocation folder(const char* relative) const {
        return FilerLocation::directory(dir.filePath(QString::fromUtf8(relative)));
    }

    MemoryPreferences preferences;
    TestDir dir;
    std::unique_ptr<AppState> state;
};

TEST_F(NavigationTest, GoingUpReselectsTheFolderLeftWhenItIsOnShow) {
    state->openLocation(folder("beta/inner"), PaneSide::left, std::nullopt);
    waitForListings(*state);
    state->goToParentDirectory();
    waitForListings(*state);
    EXPECT_EQ(state->pane(PaneSide::left).location, folder("beta"));
    EXPECT_EQ(nameAtCursor(), QStringLiteral("inner"));
    EXPECT_TRUE(state->handleKeyDown(typed("-")));
    waitForListings(*state);
    EXPECT_EQ(state->pane(PaneSide::left).location, FilerLocation::directory(dir.path()));
    EXPECT_EQ(nameAtCursor(), QStringLiteral("beta"));
    // A hidden folder left is not on show: the first row is selected.
    dir.makeFolder(QStringLiteral(".secret/deep"));
    state->openLocation(folder(".secret"), PaneSide::left, std::nullopt);
    waitForListings(*state);
    state->goToParentDirectory();
    waitForListings(*state);
    EXPECT_EQ(state->pane(PaneSide::left).selection, 0);
    // The root is its own parent.
    state->openLocation(FilerLocation::directory("/"), PaneSide::left, std::nullopt);
    waitForListings(*state);
    state->goToParentDirectory();
    waitForListings(*state);
    EXPECT_EQ(state->pane(PaneSide::left).location, FilerLocation::directory("/"));
    EXPECT_EQ(state->pane(PaneSide::left).selection, 0);
}

TEST_F(NavigationTest, CursorMovesClampWithoutWrapping) {
    struct Case {
        std::function<void()> move;
        int expected;
    };
    const Case cases[] = {
        {[&] { state->moveCursor(-1); }, 0},      {[&] { state->moveCursor(2); }, 2},
        {[&] { state->moveCursor(10); }, 4},      {[&] { state->moveCursorByPage(-1); }, 0},
        {[&] { state->moveCursorByPage(1); }, 4}, {[&] { state->moveCursorToTop(); }, 0},
    };
    for (const Case& c : cases) {
        c.move();
        EXPECT_EQ(state->pane(PaneSide::left).selection, c.expected);
    }
    state->pane(PaneSide::left).entries.clear();
    state->moveCursor(1);
    state->moveCursorToBottom();
    EXPECT_EQ(state->pane(PaneSide::left).selection, 0);
}

TEST_F(NavigationTest, PageStepFollowsTheFontSizeOnly) {
    const std::pair<double, int> sizes[] = {{11, 26}, {12, 25}, {13, 23},
                                            {14, 22}, {16, 20}, {18, 18}};
    for (const auto& [size, rows] : sizes) {
        state->uiFontSize = size;
        EXPECT_EQ(state->pageStepForViewport(), rows) << size;
    }
}

TEST_F(NavigationTest, AnUnreadableFolderIsNotEntered) {
    // Rights are what the listing remembered; tests may run as root, for
    // whom no folder is unreadable, so the row says it instead.
    state->pane(PaneSide::left).entries[1].isReadable = false;
    state->setSelection(1, PaneSide::left);
    state->openCursorEntry();
    waitForListings(*state);
    EXPECT_EQ(state->pane(PaneSide::left).location, FilerLocation::directory(dir.path()));
    EXPECT_FALSE(state->errorMessage);
}

// A link to a folder is entered by its own path and left by its parent, as a
// shell's cd does; links to files and dangling links are not entered.
TEST_F(NavigationTest, ALinkToAFolderIsEnteredByItsOwnPathAndLeftByItsParent) {
    dir.makeLink(QStringLiteral("into"), dir.filePath(QStringLiteral("beta")));
    dir.makeLink(QStringLiteral("file-link"), dir.filePath(QStringLiteral("c.txt")));
    dir.makeLink(QStringLiteral("dangling"), dir.filePath(QStringLiteral("gone")));
    state->refreshAll();
    waitForListings(*state);
    const auto rowOf = [&](const QString& name) {
        const QList<FileEntry> rows = state->visibleEntries(PaneSide::left);
        const auto found = std::find_if(rows.begin(), rows.end(),
                                        [&](const FileEntry& e) { return e.name == name; });
        return found == rows.end() ? -1 : int(found - rows.begin());
    };
    const int linkRow = rowOf(QStringLiteral("into"));
    ASSERT_GE(linkRow, 0);
    // The row stays a link among the files, after both folders.
    const FileEntry link = state->visibleEntries(PaneSide::left).at(linkRow);
    EXPECT_TRUE(link.permissionMode().startsWith(QLatin1Char('l')));
    EXPECT_GT(linkRow, rowOf(QStringLiteral("beta")));
    for (const char* name : {"file-link", "dangling"}) {
        state->setSelection(rowOf(QString::fromUtf8(name)), PaneSide::left);
        EXPECT_TRUE(state->handleKeyDown(named(KeyCode::returnKey)));
        waitForListings(*state);
        EXPECT_EQ(state->pane(PaneSide::left).location, FilerLocation::directory(dir.path()))
            << name;
    }
    state->setSelection(linkRow, PaneSide::left);
    EXPECT_TRUE(state->handleKeyDown(named(KeyCode::returnKey)));
    waitForListings(*state);
    EXPECT_EQ(state->pane(PaneSide::left).location, folder("into"));
    EXPECT_GE(rowOf(QStringLiteral("inner")), 0);
    EXPECT_TRUE(state->handleKeyDown(named(KeyCode::deleteBackward)));
    waitForListings(*state);
    EXPECT_EQ(state->pane(PaneSide::left).location, FilerLocation::directory(dir.path()));
    EXPECT_EQ(nameAtCursor(), QStringLiteral("into"));
}

TEST_F(NavigationTest, GoToFolderReportsAMissingFolder) {
    state->goToFolder(dir.filePath(QStringLiteral("gone")));
    waitForListings(*state);
    EXPECT_EQ(state->errorMessage, QStringLiteral("Cannot open:\n") + dir.filePath("gone"));
    EXPECT_EQ(state->pane(PaneSide::left).location, FilerLocation::directory(dir.path()));
    state->errorMessage.reset();
    state->openFilter();
    state->pane(PaneSide::left).treeMode = true;
    state->goToFolder(dir.filePath(QStringLiteral("beta")));
    waitForListings(*state);
    EXPECT_EQ(state->pane(PaneSide::left).location, folder("beta"));
    EXPECT_FALSE(state->isFilterOpen);
    EXPECT_FALSE(state->pane(PaneSide::left).treeMode);
}

TEST_F(NavigationTest, GoingUpFromAnArchiveFolderStaysInTheArchiveUntilItsRoot) {
    const QString archive = dir.makeFile(QStringLiteral("pack.zip"));
    state->pane(PaneSide::left).location = FilerLocation::zip(archive, QStringLiteral("a/b"));
    state->goToParentDirectory();
    waitForListings(*state);
    EXPECT_EQ(state->pane(PaneSide::left).location,
              FilerLocation::zip(archive, QStringLiteral("a")));
    state->goToParentDirectory();
    waitForListings(*state);
    EXPECT_EQ(state->pane(PaneSide::left).location, FilerLocation::zip(archive, QString()));
    state->goToParentDirectory();
    waitForListings(*state);
    EXPECT_EQ(state->pane(PaneSide::left).location, FilerLocation::directory(dir.path()));
    EXPECT_EQ(nameAtCursor(), QStringLiteral("pack.zip"));
}

TEST_F(NavigationTest, SettingsTogglesAreStored) {
    state->toggleHiddenFiles();
    waitForListings(*state);
    state->toggleLocalizedNames();
    waitForListings(*state);
    const auto epoch = state->pane(PaneSide::left).listEpoch;
    state->toggleAllExtensions();
    waitForListings(*state);
    EXPECT_TRUE(preferences.boolValue(QStringLiteral("showHiddenFiles")));
    EXPECT_FALSE(preferences.boolValue(QStringLiteral("showLocalizedNames")));
    EXPECT_TRUE(preferences.boolValue(QStringLiteral("showAllFileExtensions")));
    EXPECT_EQ(state->pane(PaneSide::left).listEpoch, epoch + 1);
}

TEST_F(NavigationTest, LayoutSwitchesKeepTheirRightHalf) {
    state->applyLayoutMode(LayoutMode::dualFiler);
    waitForListings(*state);
    EXPECT_EQ(state->rightMode, RightPaneMode::filer);
    EXPECT_EQ(state->pane(PaneSide::right).entries.size(), 5);
    state->focusedSide = PaneSide::right;
    state->toggleRightPaneMode();
    waitForListings(*state);
    EXPECT_EQ(state->layoutMode, LayoutMode::filerViewer);
    EXPECT_EQ(state->rightMode, RightPaneMode::viewer);
    EXPECT_EQ(state->focusedSide, PaneSide::left);
    // From EDITOR the toggle asks no layout question; unsaved text still gets
    // the save question, and Don't Save lets the toggle go on.
    state->rightMode = RightPaneMode::editor;
    state->isDirty = true;
    state->toggleRightPaneMode();
    waitForListings(*state);
    EXPECT_EQ(state->layoutMode, LayoutMode::filerViewer);
    EXPECT_TRUE(state->pendingExitEditorToViewer);
    state->finishExitEditor(false);
    waitForListings(*state);
    EXPECT_EQ(state->layoutMode, LayoutMode::dualFiler);
    EXPECT_FALSE(state->pendingLayoutMode);
}

TEST_F(NavigationTest, GalleryIsEnteredOnlyWithNothingOpen) {
    state->showOverlay(Overlay::jumpDialog);
    state->enterGalleryLayout();
    waitForListings(*state);
    EXPECT_EQ(state->layoutMode, LayoutMode::filerViewer);
    state->closeOverlay(Overlay::jumpDialog);
    state->enterGalleryLayout();
    waitForListings(*state);
    EXPECT_EQ(state->layoutMode, LayoutMode::filerGallery);
}

// Frames wrap at both ends; frame information left over from a picture does
// not take the arrows from a VIEWER that now shows text: they step to the
// next file.
TEST_F(NavigationTest, ArrowsPageOnlyAPictureOnShowAndWrap) {
    state->focusedSide = PaneSide::right;
    state->viewerKind = ViewerContentKind::preview;
    EXPECT_FALSE(state->pageAnimatedFrame(1));
    state->animatedPreviewInfo = AnimatedImageInfo{3, QStringLiteral("APNG")};
    EXPECT_TRUE(state->pageAnimatedFrame(-1));
    EXPECT_EQ(state->animatedFrameIndex, 2);
    EXPECT_TRUE(state->pageAnimatedFrame(1));
    EXPECT_EQ(state->animatedFrameIndex, 0);

    state->editorURL = dir.filePath(QStringLiteral("c.txt"));
    state->setSelection(3, PaneSide::left);
    state->viewerKind = ViewerContentKind::text;
    state->animatedPreviewInfo = AnimatedImageInfo{2, QStringLiteral("GIF")};
    EXPECT_TRUE(state->handleKeyDown(named(KeyCode::down)));
    waitForListings(*state);
    EXPECT_EQ(state->animatedFrameIndex, 0);
    EXPECT_EQ(nameAtCursor(), QStringLiteral("d.txt"));

    // A picture with frames on show takes the arrows.
    state->viewerKind = ViewerContentKind::preview;
    state->animatedPreviewInfo = AnimatedImageInfo{2, QStringLiteral("GIF")};
    EXPECT_TRUE(state->handleKeyDown(named(KeyCode::down)));
    waitForListings(*state);
    EXPECT_EQ(state->animatedFrameIndex, 1);
    EXPECT_EQ(nameAtCursor(), QStringLiteral("d.txt"));
}

TEST_F(NavigationTest, ViewerStepsOverFoldersAndStopsAtTheEnds) {
    const auto shown = [&](const char* name) {
        return PathUtils::standardizedPath(dir.filePath(QString::fromUtf8(name)));
    };
    state->editorURL = dir.filePath(QStringLiteral("c.txt"));
    state->setSelection(3, PaneSide::left);
    ASSERT_FALSE(state->isViewerLoading);
    EXPECT_TRUE(state->stepViewerFile(-1));
    EXPECT_EQ(nameAtCursor(), QStringLiteral("c.txt"));
    EXPECT_FALSE(state->isViewerLoading) << "nothing new to show";
    EXPECT_TRUE(state->stepViewerFile(1));
    EXPECT_EQ(nameAtCursor(), QStringLiteral("d.txt"));
    EXPECT_EQ(state->focusedSide, PaneSide::right);
    EXPECT_EQ(state->editorURL, shown("d.txt"));
    state->applyLayoutMode(LayoutMode::dualFiler);
    waitForListings(*state);
    EXPECT_FALSE(state->stepViewerFile(1));
}

// The window as it resizes: each step restarts the quiet timer, and the
// layout comes once, when the size has held still.
TEST_F(NavigationTest, AResizeLaysTheWindowOutOnceTheSizeHoldsStill) {
    using namespace std::chrono_literals;
    Background::ManualExecutor executor;
    AppState resized(preferences, executor);
    double now = 100;
    resized.wallClock = [&] { return now; };
    const auto step = [&](std::chrono::milliseconds time) {
        now += std::chrono::duration<double>(time).count();
        executor.advance(time);
    };
    const uint64_t start = resized.windowLayoutEpoch;
    for (const int width : {800, 820, 840}) {
        resized.noteWindowResized(width, 600, AppState::ResizePhase::live);
        step(100ms);
    }
    EXPECT_EQ(resized.windowLayoutEpoch, start) << "the size never held still";
    step(50ms);
    EXPECT_EQ(resized.windowLayoutEpoch, start + 1);
    step(1000ms);
    EXPECT_EQ(resized.windowLayoutEpoch, start + 1) << "earlier steps' timers end nothing";

    resized.noteWindowResized(1, 600, AppState::ResizePhase::live); // a collapsed window
    step(1000ms);
    EXPECT_EQ(resized.windowLayoutEpoch, start + 1);
    resized.noteWindowResized(900, 600, AppState::ResizePhase::live);
    step(150ms);
    EXPECT_EQ(resized.windowLayoutEpoch, start + 2);
}

} // namespace

// The GALLERY's items, the five-column cursor, and the grid and the filer
// keeping each other on the same file, over real folders and a real ZIP.
#include "core/KeyTestSupport.h"

#include "core/Background.h"
#include "preview/Gallery.h"
#include "search/TreeSession.h"
#include "support/ImageBytes.h"
#include "support/PaneRows.h"
#include "support/StateFixture.h"
#include "support/ToolRun.h"


#include <gtest/gtest.h>

using namespace KeyTest;

namespace {

QByteArray pngBytes() {
    return ImageBytes::png(4, 4, Qt::red);
}

class GalleryTest : public StateFixture {
protected:
    // Twelve pictures: rows of 5, 5 and 2 in the grid.
    void makeTwelveImages() {
        for (int i = 1; i <= 12; ++i) {
            dir.makeFile(QStringLiteral("%1.png").arg(i, 2, 10, QLatin1Char('0')), pngBytes());
        }
    }
    QStringList itemNames() const {
        QStringList names;
        for (const auto& item : state->galleryItems) {
            names << item.name;
        }
        return names;
    }
    QString cursorName() const { return state->currentEntry()->name; }
    QString selectedItem() const {
        return state->gallerySelection ? state->galleryItems.at(*state->gallerySelection).name
                                       : QStringLiteral("(none)");
    }
    void putCursorOn(const QString& name) { PaneRows::putCursorOn(*state, name); }
    void press(uint16_t code) {
        EXPECT_TRUE(state->handleKeyDown(named(code)));
        waitForListings(*state);
    }
};

TEST_F(GalleryTest, ItemsAreThePicturesOfTheFolderInItsOrder) {
    dir.makeFolder(QStringLiteral("folder.png"));
    dir.makeFile(QStringLiteral("album.zip"), "PK\x05\x06");
    dir.makeFile(QStringLiteral("b.JPG"), "not really a jpeg");
    dir.makeFile(QStringLiteral("c.ico"), "bytes of no known kind");
    dir.makeFile(QStringLiteral("d.txt"), "plain text\n");
    dir.makeFile(QStringLiteral("e.svg"), "<svg/>");
    dir.makeFile(QStringLiteral("a.webp"), {});
    makeState().enterGalleryLayout();
    EXPECT_EQ(state->layoutMode, LayoutMode::filerGallery);
    EXPECT_EQ(state->rightMode, RightPaneMode::gallery);
    // Unknown bytes keep a picture extension; beyond the list, the kind of
    // the extension decides.
    EXPECT_EQ(itemNames(), (QStringList{"a.webp", "b.JPG", "c.ico", "e.svg"}));
}

TEST_F(GalleryTest, ALargeFolderIsSortedOnAWorkerAndOnlyTheNewestListCounts) {
    for (int i = 0; i < 2000; ++i) {
        dir.makeFile(QStringLiteral("f%1.txt").arg(i, 4, 10, QLatin1Char('0')));
    }
    dir.makeFile(QStringLiteral("a.png"), pngBytes());
    Background::ManualExecutor manual;
    state = std::make_unique<AppState>(preferences, manual);
    state->refreshAll();
    manual.runAll();
    state->enterGalleryLayout();
    EXPECT_TRUE(itemNames().isEmpty());
    EXPECT_EQ(manual.waitingCount(), 1);
    // The folder changes before the list is made: the older list is dropped.
    dir.makeFile(QStringLiteral("b.png"), pngBytes());
    state->reloadPane(PaneSide::left, false);
    state->rebuildGalleryItems();
    ASSERT_TRUE(manual.runNext());
    EXPECT_TRUE(itemNames().isEmpty());
    manual.runAll();
    EXPECT_EQ(itemNames(), (QStringList{"a.png", "b.png"}));
    EXPECT_EQ(selectedItem(), "a.png");
}

TEST_F(GalleryTest, MembersOfAnArchiveAreJudgedByNameAlone) {
    TestDir source;
    source.makeFile(QStringLiteral("a.png"), pngBytes());
    source.makeFile(QStringLiteral("raw"), pngBytes());
    source.makeFile(QStringLiteral("b.txt"), "text");
    source.makeFile(QStringLiteral("sub/c.png"), pngBytes());
    const QString archive = dir.filePath(QStringLiteral("pics.zip"));
    ToolRun::run(source.path(), "zip", {"-qr", archive, "a.png", "raw", "b.txt", "sub"});

    makeState().openLocation(FilerLocation::zip(archive, QString()), PaneSide::left, std::nullopt);
    state->enterGalleryLayout();
    waitForListings(*state);
    EXPECT_EQ(itemNames(), QStringList{"a.png"});

    state->focusPane(PaneSide::right);
    press(KeyCode::returnKey);
    EXPECT_TRUE(state->viewerFromZip);
    EXPECT_EQ(state->viewerZipArchive, archive);
    EXPECT_EQ(state->viewerZipEntry, QStringLiteral("a.png"));
}

TEST_F(GalleryTest, CursorStepsFollowTheFiveColumnGrid) {
    using Gallery::steppedIndex;
    const struct {
        std::optional<int> from;
        int dx, dy;
        std::optional<int> to;
    } cases[] = {
        {4, +1, 0, 5},            // off the right edge: first of the next row
        {5, -1, 0, 4},            // off the left edge: last of the row above
        {std::nullopt, +1, 0, 1}, // no selection counts as the first item
        {7, 0, -1, 2},
        {2, 0, +1, 7},
        {8, 0, +1, 11},  // below the short last row: the last item
        {2, 0, -1, 2},   // past the top stays
        {11, 0, +1, 11}, // past the bottom stays
        {11, +1, 0, 11}, // past the last item stays
        {0, -1, 0, 0},   // past the first item stays
    };
    for (const auto& c : cases) {
        EXPECT_EQ(steppedIndex(c.from, 12, c.dx, c.dy), c.to)
            << c.from.value_or(-1) << " by " << c.dx << "," << c.dy;
    }
    EXPECT_EQ(steppedIndex(std::nullopt, 0, +1, 0), std::nullopt);
    EXPECT_EQ(steppedIndex(0, 1, 0, +1), 0);
    EXPECT_EQ(steppedIndex(9, 10, +1, 0), 9); // a full last row ends the grid too
}

TEST_F(GalleryTest, ArrowKeysMoveTheGridAndTheFilerFollows) {
    makeTwelveImages();
    dir.makeFile(QStringLiteral("zz.txt"));
    makeState().enterGalleryLayout();
    EXPECT_EQ(selectedItem(), "01.png"); // the cursor was on ".."
    state->focusPane(PaneSide::right);
    press(KeyCode::down);
    press(KeyCode::right);
    EXPECT_EQ(selectedItem(), "07.png");
    EXPECT_EQ(cursorName(), "07.png");
    press(KeyCode::down);
    EXPECT_EQ(selectedItem(), "12.png");
    EXPECT_EQ(cursorName(), "12.png");
}

// A reload of the folder, as the watcher makes, brings new pictures into the
// grid, and the grid stays on the filer's file.
TEST_F(GalleryTest, TheGridFollowsTheFilerCursorOntoPicturesOnlyAndThroughAReload) {
    makeTwelveImages();
    dir.makeFile(QStringLiteral("notes.txt"));
    makeState();
    putCursorOn("05.png");
    state->enterGalleryLayout();
    waitForListings(*state);
    EXPECT_EQ(selectedItem(), "05.png");
    putCursorOn("09.png");
    EXPECT_EQ(selectedItem(), "09.png");
    putCursorOn("notes.txt");
    EXPECT_EQ(selectedItem(), "09.png");

    putCursorOn("05.png");
    dir.makeFile(QStringLiteral("00.png"), pngBytes());
    state->reloadPane(PaneSide::left, false);
    waitForListings(*state);
    ASSERT_EQ(state->galleryItems.size(), 13);
    EXPECT_EQ(state->galleryItems.first().name, "00.png");
    EXPECT_EQ(selectedItem(), cursorName());
}

TEST_F(GalleryTest, ARebuildKeepsTheSelectionByName) {
    makeTwelveImages();
    // The filer's cursor stays on ".." throughout, so only the grid moves.
    makeState().enterGalleryLayout();
    state->gallerySelection = 2;
    dir.makeFile(QStringLiteral("00.png"), pngBytes());
    state->reloadPane(PaneSide::left, false);
    waitForListings(*state);
    state->rebuildGalleryItems();
    EXPECT_EQ(state->gallerySelection, 3);
    EXPECT_EQ(selectedItem(), "03.png");

    QFile::remove(dir.filePath(QStringLiteral("03.png")));
    state->reloadPane(PaneSide::left, false);
    waitForListings(*state);
    state->rebuildGalleryItems();
    EXPECT_EQ(selectedItem(), "00.png");
}

TEST_F(GalleryTest, AFolderWithoutPicturesHasNoSelection) {
    dir.makeFile(QStringLiteral("a.txt"));
    dir.makeFolder(QStringLiteral("pictures"));
    makeState().enterGalleryLayout();
    EXPECT_TRUE(state->galleryItems.isEmpty());
    EXPECT_EQ(state->gallerySelection, std::nullopt);
    state->focusPane(PaneSide::right);
    press(KeyCode::right);
    EXPECT_EQ(state->gallerySelection, std::nullopt);
    // Enter without a selection opens the filer's row: "pictures" is a folder.
    putCursorOn("pictures");
    state->focusPane(PaneSide::right);
    press(KeyCode::returnKey);
    EXPECT_TRUE(state->pane(PaneSide::left).location.asDirectory()->url.endsWith("/pictures"));
}

// Enter shows the item in the VIEWER with the focus; Esc leaves the filer
// where the grid left it and asks the VIEWER for nothing.
TEST_F(GalleryTest, EnterShowsTheItemAndEscLeavesTheFilerWhereTheGridLeftIt) {
    makeTwelveImages();
    makeState().enterGalleryLayout();
    state->focusPane(PaneSide::right);
    press(KeyCode::down);
    press(KeyCode::left);
    press(KeyCode::escape);
    EXPECT_EQ(state->layoutMode, LayoutMode::filerViewer);
    EXPECT_EQ(state->focusedSide, PaneSide::left);
    EXPECT_EQ(cursorName(), "05.png");
    EXPECT_TRUE(state->galleryItems.isEmpty());
    EXPECT_EQ(state->editorURL, std::nullopt) << "VIEWER was asked to show something";

    state->enterGalleryLayout();
    waitForListings(*state);
    state->focusPane(PaneSide::right);
    press(KeyCode::left);
    press(KeyCode::returnKey);
    EXPECT_EQ(state->layoutMode, LayoutMode::filerViewer);
    EXPECT_EQ(state->rightMode, RightPaneMode::viewer);
    EXPECT_EQ(state->focusedSide, PaneSide::right);
    EXPECT_EQ(state->editorURL, dir.filePath("04.png"));
    EXPECT_EQ(cursorName(), "04.png");
}

TEST_F(GalleryTest, InTreeModeTheGridShowsTheTreesFilesAndMovesItsFileCursor) {
    dir.makeFile(QStringLiteral("top.png"), pngBytes());
    dir.makeFile(QStringLiteral("a.png"), pngBytes());
    dir.makeFile(QStringLiteral("b.txt"));
    dir.makeFile(QStringLiteral("c.png"), pngBytes());
    makeState().toggleTreeMode();
    waitForListings(*state);
    ASSERT_TRUE(state->pane(PaneSide::left).treeMode);
    state->enterGalleryLayout();
    waitForListings(*state);
    EXPECT_EQ(itemNames(), (QStringList{"a.png", "c.png", "top.png"}));

    state->focusPane(PaneSide::right);
    press(KeyCode::right);
    const auto session = state->pane(PaneSide::left).treeSession;
    EXPECT_TRUE(session->focusOnFiles);
    EXPECT_EQ(cursorName(), "c.png");

    // Back on the tree's file list, its cursor takes the grid along.
    state->focusPane(PaneSide::left);
    press(KeyCode::down);
    EXPECT_EQ(cursorName(), "top.png");
    EXPECT_EQ(selectedItem(), "top.png");
}

} // namespace

// What the GALLERY shows: the empty text, thumbnails that arrive from worker
// threads for files and ZIP members, the failed mark, and the cells in view.
#include "ui/GalleryView.h"

#include "ScreenTestSupport.h"
#include "archive/ZipFixtures.h"
#include "support/ImageBytes.h"
#include "support/ListingWait.h"

using namespace ScreenTest;

namespace {

const QColor kPictureColor(0, 255, 0);

QByteArray greenPng() {
    return ImageBytes::png(40, 30, kPictureColor);
}

class GalleryViewTest : public ScreenFixture {
protected:
    GalleryView& showGallery() {
        if (!state) {
            makeState();
        }
        state->enterGalleryLayout();
        waitForListings(*state);
        view = std::make_unique<GalleryView>(*state);
        view->resize(600, 500);
        view->show();
        QApplication::processEvents();
        return *view;
    }
    // Waits for the cell's thumbnail to be made or to fail.
    GalleryGrid::Thumbnail settledThumbnail(int index) {
        const auto settled = [&] {
            return view->grid().thumbnail(index) != GalleryGrid::Thumbnail::loading;
        };
        EXPECT_TRUE(QTest::qWaitFor(settled, 10000));
        return view->grid().thumbnail(index).value_or(GalleryGrid::Thumbnail::loading);
    }
    QRect cellInView(int index) const {
        const QRect cell = view->grid().cellRect(index);
        return cell.translated(view->grid().viewport()->mapTo(view.get(), QPoint(0, 0)));
    }

    std::unique_ptr<GalleryView> view;
};

TEST_F(GalleryViewTest, AFolderWithoutPicturesSaysSoInPlaceOfTheGrid) {
    dir.makeFile(QStringLiteral("notes.txt"), "text");
    showGallery();
    EXPECT_FALSE(view->grid().isVisible());
    const QImage image = grab(*view);
    const QRect middle(0, view->height() / 3, view->width(), view->height() / 3);
    EXPECT_GT(countColor(image, middle, Palette::dimText()), 20);

    // A picture appears: the grid comes back.
    dir.makeFile(QStringLiteral("a.png"), greenPng());
    state->reloadPane(PaneSide::left, false);
    waitForListings(*state);
    state->rebuildGalleryItems();
    QApplication::processEvents();
    EXPECT_TRUE(view->grid().isVisible());
}

TEST_F(GalleryViewTest, PicturesArriveAsThumbnailsOrTheFailedMarkAndAClickSelects) {
    dir.makeFile(QStringLiteral("a.png"), greenPng());
    dir.makeFile(QStringLiteral("b.png"), greenPng());
    dir.makeFile(QStringLiteral("c.png"), QByteArray("\x89PNG\r\n\x1a\n") + "garbage");
    showGallery();
    EXPECT_EQ(settledThumbnail(0), GalleryGrid::Thumbnail::ready);
    EXPECT_EQ(settledThumbnail(1), GalleryGrid::Thumbnail::ready);
    // A corrupt picture shows the failed mark.
    EXPECT_EQ(settledThumbnail(2), GalleryGrid::Thumbnail::failed);
    const QImage image = grab(*view);
    EXPECT_GT(countColor(image, cellInView(2), Palette::unreadableFileText()), 5);
    const QRect first = cellInView(0);
    EXPECT_GT(countColor(image, first, kPictureColor), 200);
    // The selected cell has the 2-point border, the other 1 point.
    const auto borderWidth = [&](const QRect& cell, const QColor& color) {
        const int y = cell.center().y();
        int width = 0;
        while (countColor(image, QRect(cell.left() + width, y, 1, 1), color) == 1) {
            ++width;
        }
        return width;
    };
    EXPECT_EQ(borderWidth(first, Palette::accentText()), 2);
    EXPECT_EQ(borderWidth(cellInView(1), Palette::hairlineColor()), 1);

    // A click selects the cell and moves the filer cursor.
    QTest::mouseClick(view->grid().viewport(), Qt::LeftButton, {},
                      view->grid().cellRect(1).center());
    EXPECT_EQ(state->gallerySelection, 1);
    EXPECT_EQ(state->currentEntry()->name, QStringLiteral("b.png"));
    EXPECT_EQ(state->focusedSide, PaneSide::right);
}

TEST_F(GalleryViewTest, AMemberOfAZipGetsItsThumbnailFromAnExtractedCopy) {
    TestDir source;
    source.makeFile(QStringLiteral("inside.png"), greenPng());
    const QString archive = dir.filePath(QStringLiteral("album.zip"));
    ZipFixtures::run(source.path(), QStringLiteral("zip"), {"-q", archive, "inside.png"});
    makeState().openLocation(FilerLocation::zip(archive, QString()), PaneSide::left, std::nullopt);
    showGallery();
    ASSERT_EQ(state->galleryItems.size(), 1);
    EXPECT_EQ(settledThumbnail(0), GalleryGrid::Thumbnail::ready);
    EXPECT_GT(countColor(grab(*view), cellInView(0), kPictureColor), 200);
}

TEST_F(GalleryViewTest, OnlyCellsInViewLoadAndTheSelectionIsScrolledIntoView) {
    for (int i = 0; i < 60; ++i) {
        dir.makeFile(QStringLiteral("p%1.png").arg(i, 2, 10, QLatin1Char('0')), greenPng());
    }
    showGallery();
    GalleryGrid& grid = view->grid();
    EXPECT_TRUE(grid.thumbnail(0).has_value());
    EXPECT_EQ(grid.thumbnail(59), std::nullopt);

    state->focusPane(PaneSide::right);
    for (int i = 0; i < 11; ++i) {
        state->moveGalleryCursor(0, +1);
    }
    QApplication::processEvents();
    EXPECT_EQ(state->gallerySelection, 55);
    EXPECT_TRUE(grid.viewport()->rect().contains(grid.cellRect(55)));
    EXPECT_TRUE(grid.thumbnail(55).has_value());
    EXPECT_EQ(grid.thumbnail(0), std::nullopt);
}

} // namespace

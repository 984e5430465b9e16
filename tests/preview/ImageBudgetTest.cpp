// Pictures whose decoded size is out of all proportion to the file: large
// animations load only the frames the budget holds, measured in a child
// process, and a still larger than its place is decoded at that size.
#include "preview/AnimatedImageSupport.h"
#include "preview/GalleryThumbnail.h"
#include "preview/PngRowReading.h"
#include "preview/StillImageReading.h"
#include "support/BoundedChild.h"
#include "support/ImageBytes.h"
#include "support/TestDir.h"

#include <QFile>
#include <QImageReader>
#include <QPainter>
#include <QProcess>

#include <gtest/gtest.h>

using namespace AnimatedImageSupport;
using ImageBytes::be32;

namespace {

QByteArray le16(int value) {
    return QByteArray(1, char(value & 0xFF)) + char((value >> 8) & 0xFF);
}

// A GIF whose frames are each one pixel on a large canvas: a few bytes a
// frame on disk, a whole canvas a frame once decoded.
QByteArray gifOfDots(QSize canvas, int frames) {
    QByteArray gif = "GIF89a" + le16(canvas.width()) + le16(canvas.height());
    gif += QByteArray("\x80\x00\x00", 3);             // a global table of two colours
    gif += QByteArray("\x00\x00\x00\xff\xff\xff", 6); // black, white
    for (int i = 0; i < frames; ++i) {
        gif += '\x2c' + le16(i % canvas.width()) + le16(0) + le16(1) + le16(1) + '\0';
        gif += QByteArray("\x02\x02\x44\x01\x00", 5); // LZW: clear, colour 0, end
    }
    return gif + '\x3b';
}

// An APNG of one-pixel frames on a large canvas, each frame a PNG Qt wrote.
QByteArray apngOfDots(QSize canvas, int frames) {
    const QByteArray dot = ImageBytes::encoded(QImage(1, 1, QImage::Format_ARGB32));
    QByteArray header = firstChunk(dot, "IHDR")->data;
    header.replace(0, 8, be32(canvas.width()) + be32(canvas.height()));
    const QByteArray data = firstChunk(dot, "IDAT")->data;
    QByteArray apng =
        dot.left(8) + chunkBytes("IHDR", header) + chunkBytes("acTL", be32(frames) + be32(0));
    uint32_t sequence = 0;
    for (int i = 0; i < frames; ++i) {
        apng += chunkBytes("fcTL", be32(sequence++) + be32(1) + be32(1) + be32(i) + be32(0) +
                                       QByteArray("\0\1\0\1\0\0", 6));
        apng += i == 0 ? chunkBytes("IDAT", data) : chunkBytes("fdAT", be32(sequence++) + data);
    }
    return apng + chunkBytes("IEND", {});
}

// The count shown is the count loaded, enough to page through, and fewer
// than the file holds.
bool loadsWhatTheBudgetHolds(const QString& path, int inFile) {
    const auto info = animatedImageInfo(path);
    const QList<QImage> frames = loadAllFrames(path);
    std::fprintf(stderr, "%lld frames loaded of %d, %d shown\n",
                 static_cast<long long>(frames.size()), inFile, info ? info->frameCount : 0);
    return info && info->frameCount == frames.size() && frames.size() >= 2 &&
           frames.size() < inFile;
}

TEST(ImageBudget, LargeAnimationsLoadOnlyTheFramesTheBudgetHolds) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    TestDir dir;
    const struct {
        const char* name;
        QByteArray bytes;
        int frames;
    } cases[] = {
        {"hd.gif", gifOfDots({1920, 1080}, 2000), 2000},
        {"square.gif", gifOfDots({4000, 4000}, 100), 100},
        {"square.png", apngOfDots({4096, 4096}, 20), 20},
    };
    // Beside the frames, what decoding itself takes.
    const int64_t budget = FrameBudget{}.maxPixels * 4 + (int64_t(32) << 20);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ASSERT_LT(c.bytes.size(), 100000);
        const QString path = dir.makeFile(c.name, c.bytes);
        EXPECT_EXIT(
            BoundedChild::run(budget, [&] { return loadsWhatTheBudgetHolds(path, c.frames); }),
            ::testing::ExitedWithCode(0), "");
    }
    // A few hundred bytes announcing frames of 8192 x 8192: not even two fit,
    // so the picture is no animation, and what is loaded stays in the budget.
    const QByteArray huge = apngOfDots({8192, 8192}, 8);
    ASSERT_LT(huge.size(), 1000);
    const QString path = dir.makeFile("huge.png", huge);
    EXPECT_EXIT(
        BoundedChild::run(
            budget, [&] { return !animatedImageInfo(path) && loadAllFrames(path).size() <= 1; }),
        ::testing::ExitedWithCode(0), "");
}

// JPEG is lossy: yellow is near enough.
bool isYellow(QRgb pixel) {
    return qRed(pixel) > 200 && qGreen(pixel) > 200 && qBlue(pixel) < 80;
}

// Qt refuses to decode a picture past its allocation limit. Lowered here, the
// limit stands for a photograph too large to decode whole.
TEST(StillImages, APictureLargerThanItsPlaceIsDecodedAtThatSize) {
    TestDir dir;
    QImage photo(2000, 1000, QImage::Format_RGB32);
    photo.fill(Qt::darkCyan);
    QPainter(&photo).fillRect(0, 0, 1000, 1000, Qt::yellow);
    const QString path = dir.filePath("photo.jpg");
    ASSERT_TRUE(photo.save(path));
    // The same picture, stored lying on its side (EXIF orientation 6).
    QBuffer stored;
    stored.open(QIODevice::WriteOnly);
    ASSERT_TRUE(photo.transformed(QTransform().rotate(-90)).save(&stored, "JPEG"));
    const QByteArray orientation = QByteArray("\xff\xe1\x00\x22"
                                              "Exif\0\0"
                                              "MM\0\x2a\0\0\0\x08"
                                              "\0\x01"
                                              "\x01\x12\0\x03\0\0\0\x01\0\x06\0\0"
                                              "\0\0\0\0",
                                              36);
    const QString sideways =
        dir.makeFile("sideways.jpg", stored.data().left(2) + orientation + stored.data().mid(2));

    // A PNG, which Qt's reader holds whole before it scales, is read by rows;
    // an interlaced one (written by ImageMagick) pass by pass.
    const QString png = dir.filePath("photo.png");
    ASSERT_TRUE(photo.save(png));
    const QString interlaced = dir.filePath("interlaced.png");
    ASSERT_EQ(QProcess::execute(QStringLiteral("convert"), {png, QStringLiteral("-interlace"),
                                                            QStringLiteral("PNG"), interlaced}),
              0);

    const int savedLimit = QImageReader::allocationLimit();
    QImageReader::setAllocationLimit(4);
    EXPECT_TRUE(QImageReader(path).read().isNull());
    EXPECT_TRUE(QImageReader(png).read().isNull());
    const QImage shown = StillImageReading::read(path, QSize(800, 800));
    const QImage upright = StillImageReading::read(sideways, QSize(800, 800));
    const QImage fromRows = StillImageReading::read(png, QSize(800, 800));
    const QImage fromPasses = StillImageReading::read(interlaced, QSize(800, 800));
    QImageReader::setAllocationLimit(savedLimit);
    EXPECT_EQ(shown.size(), QSize(800, 400));
    EXPECT_EQ(upright.size(), QSize(800, 400));
    EXPECT_EQ(fromRows.size(), QSize(800, 400));
    EXPECT_EQ(fromPasses.size(), QSize(800, 400));
    for (const QImage& image : {shown, upright, fromRows, fromPasses}) {
        EXPECT_TRUE(isYellow(image.pixel(200, 200)));
        EXPECT_FALSE(isYellow(image.pixel(600, 200)));
    }
    // A PNG cut short gives no picture, and nothing worse.
    QFile whole(png);
    ASSERT_TRUE(whole.open(QIODevice::ReadOnly));
    const QString cut = dir.makeFile("cut.png", whole.readAll().left(4000));
    EXPECT_TRUE(PngRowReading::readScaled(cut, QSize(800, 400)).isNull());
    // A picture that fits its place comes whole.
    EXPECT_EQ(StillImageReading::read(path, QSize(4000, 4000)).size(), QSize(2000, 1000));
}

// A few dozen bytes whose text chunk announces 900 MB: nothing reads them
// into memory, not the still, the thumbnail nor the animation's frames.
TEST(StillImages, APngThatAnnouncesMoreThanItHoldsTakesNothing) {
    TestDir dir;
    // 64 x 40, 8-bit RGB.
    const QByteArray header = be32(64) + be32(40) + QByteArray("\x08\x02\0\0\0", 5);
    QByteArray text = chunkBytes("tEXt", QByteArray("Comment\0short", 13));
    text.replace(0, 4, be32(900u << 20));
    const QByteArray bytes =
        QByteArrayLiteral("\x89PNG\r\n\x1a\n") + chunkBytes("IHDR", header) + text;
    const QString path = dir.makeFile("liar.png", bytes);
    EXPECT_EXIT(
        BoundedChild::run(64 << 20,
                          [&] {
                              return StillImageReading::read(path, QSize(800, 800)).isNull() &&
                                     !GalleryThumbnail::fromFile(path) &&
                                     AnimatedImageSupport::loadAllFrames(path).isEmpty();
                          }),
        ::testing::ExitedWithCode(0), "");
}

} // namespace

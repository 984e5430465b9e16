// Frames of APNG and GIF files: APNGs assembled by apngasm and by hand from
// PNG frames Qt writes, GIFs made by ImageMagick, checked pixel by pixel.
#include "preview/AnimatedImageSupport.h"
#include "core/Background.h"
#include "support/ImageBytes.h"
#include "support/TestDir.h"
#include "support/ToolRun.h"

#include <QPainter>
#include <QTest>

#include <gtest/gtest.h>

using namespace AnimatedImageSupport;
using ImageBytes::be32;
using ImageBytes::filled;
using ToolRun::run;

namespace {

const QRgb red = qRgba(255, 0, 0, 255);
const QRgb green = qRgba(0, 255, 0, 255);
const QRgb blue = qRgba(0, 0, 255, 255);
const QRgb clear = qRgba(0, 0, 0, 0);

// Pixels compared premultiplied, so every fully transparent pixel is equal.
bool samePixels(const QImage& actual, const QImage& expected) {
    return actual.convertToFormat(QImage::Format_ARGB32_Premultiplied) ==
           expected.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

QByteArray pngOf(const QImage& image) {
    return ImageBytes::encoded(image);
}

struct HandFrame {
    QImage image;
    int x = 0, y = 0;
    uint8_t dispose = 0, blend = 0;
};

// An APNG put together from PNGs Qt writes: the first frame's header with the
// canvas size, its other chunks before IDAT, then fcTL and fdAT per frame.
// With defaultImage, the first frame's data stands before any fcTL.
QByteArray handMadeAPNG(QSize canvas, const QList<HandFrame>& frames, bool defaultImage = false) {
    const QByteArray first = pngOf(frames[0].image);
    QByteArray header = firstChunk(first, "IHDR")->data;
    header.replace(0, 8, be32(canvas.width()) + be32(canvas.height()));
    QByteArray apng = first.left(8) + chunkBytes("IHDR", header);
    for (const PNGChunk& chunk : parsePNGChunks(first)) {
        if (chunk.type != "IHDR" && chunk.type != "IDAT" && chunk.type != "IEND") {
            apng += chunkBytes(chunk.type.toLatin1(), chunk.data);
        }
    }
    apng += chunkBytes("acTL", be32(frames.size() - (defaultImage ? 1 : 0)) + be32(0));
    uint32_t sequence = 0;
    for (int i = 0; i < frames.size(); ++i) {
        const HandFrame& f = frames[i];
        const bool asDefault = defaultImage && i == 0;
        if (!asDefault) {
            apng +=
                chunkBytes("fcTL", be32(sequence++) + be32(f.image.width()) +
                                       be32(f.image.height()) + be32(f.x) + be32(f.y) +
                                       QByteArray("\0\1\0\1", 4) + char(f.dispose) + char(f.blend));
        }
        for (const PNGChunk& chunk : parsePNGChunks(pngOf(f.image))) {
            if (chunk.type == "IDAT") {
                apng += asDefault || i == 0 ? chunkBytes("IDAT", chunk.data)
                                            : chunkBytes("fdAT", be32(sequence++) + chunk.data);
            }
        }
    }
    return apng + chunkBytes("IEND", {});
}

QByteArray bytesOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Four 40x30 frames: a square moving over a half-transparent background,
// then a frame with a hole, so the assembler has to use more than one kind
// of disposal and blending.
QList<QImage> movingSquareFrames() {
    QList<QImage> frames;
    for (int i = 0; i < 4; ++i) {
        QImage image = filled(40, 30, clear);
        QPainter painter(&image);
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.fillRect(0, 0, 20, 30, QColor::fromRgba(blue));
        painter.fillRect(5 + 8 * i, 5, 10, 10, QColor::fromRgba(i == 3 ? clear : red));
        painter.end();
        frames.append(image);
    }
    return frames;
}

} // namespace

// libpng refuses a chunk with a wrong CRC, so a standalone frame Qt can decode
// is one whose chunks were written right.
TEST(AnimatedImageFormat, ChunksCarryThePNGCRCAndParsingStopsAtWhatDoesNotFit) {
    EXPECT_EQ(crc32("123456789"), 0xCBF43926u);
    EXPECT_EQ(chunkBytes("IEND", {}).toHex(), "0000000049454e44ae426082");
    const QByteArray apng = handMadeAPNG({2, 2}, {{filled(2, 2, red)}, {filled(2, 2, blue)}});
    EXPECT_TRUE(samePixels(composeAPNGFrames(apng).value(1), filled(2, 2, blue)));

    const QByteArray png = pngOf(filled(3, 3, green));
    const QList<PNGChunk> whole = parsePNGChunks(png);
    ASSERT_GE(whole.size(), 3);
    EXPECT_EQ(whole.first().type, "IHDR");
    EXPECT_EQ(whole.last().type, "IEND");
    // Cut inside the last chunk, and junk after IEND: both ignored.
    EXPECT_EQ(parsePNGChunks(png.chopped(1)), whole.mid(0, whole.size() - 1));
    EXPECT_EQ(parsePNGChunks(png + chunkBytes("tEXt", "after")), whole);
    const QByteArray odd = png.left(8) + chunkBytes("\xC3\xA9xy", "d");
    EXPECT_EQ(parsePNGChunks(odd), (QList<PNGChunk>{{QString(), "d"}}));
    EXPECT_EQ(actlFrameCount(png.left(8) + chunkBytes("acTL", be32(7))), std::nullopt);
    EXPECT_EQ(actlFrameCount(png.left(8) + chunkBytes("acTL", be32(7) + be32(0))), 7u);
}

TEST(AnimatedImageFormat, FramesFollowTheControlChunks) {
    const QByteArray head =
        QByteArray("\x89PNG\r\n\x1a\n", 8) + chunkBytes("IHDR", QByteArray(13, 1));
    const QByteArray control =
        chunkBytes("fcTL", be32(0) + be32(5) + be32(6) + be32(7) + be32(8) + be32(0) + "\x02\x01");
    // The default image before the first fcTL is one more frame; an fdAT of
    // nothing but its sequence number adds no data.
    const auto chunks =
        parsePNGChunks(head + chunkBytes("IDAT", "a") + control + chunkBytes("fdAT", be32(1)) +
                       chunkBytes("fdAT", be32(2) + "b") + control + chunkBytes("fdAT", be32(4)) +
                       chunkBytes("IEND", {}));
    const QList<FrameSpec> frames = frameSpecs(chunks, 100, 50);
    ASSERT_EQ(frames.size(), 2);
    EXPECT_EQ(frames[0], (FrameSpec{100, 50, 0, 0, 0, 0, {"a"}}));
    EXPECT_EQ(frames[1], (FrameSpec{5, 6, 7, 8, 2, 1, {"b"}}));
    // The canvas's origin is at the bottom: a frame in the bottom right corner
    // starts at row 0.
    EXPECT_EQ(bottomUpFrameRect(FrameSpec{10, 4, 90, 46, 0, 0, {}}, 50), QRect(90, 0, 10, 4));
    EXPECT_EQ(bottomUpFrameRect(FrameSpec{10, 4, 0, 0, 0, 0, {}}, 50), QRect(0, 46, 10, 4));
}

// Left to itself apngasm writes a palette whose PLTE stands after acTL; -kc
// keeps the frames RGBA. Both compose back to the source frames.
TEST(AnimatedImageFiles, ApngasmFramesComposeBackToTheSourceFrames) {
    TestDir dir;
    const QList<QImage> source = movingSquareFrames();
    for (int i = 0; i < source.size(); ++i) {
        ASSERT_TRUE(source[i].save(dir.filePath(QString("frame%1.png").arg(i + 1)), "PNG"));
    }
    for (const QStringList& options : {QStringList{"-z0", "-kc"}, QStringList{"-z0"}}) {
        SCOPED_TRACE(options.join(' ').toStdString());
        run(dir.path(), "apngasm",
            QStringList{"anim.png", "frame1.png", "frame2.png", "frame3.png", "frame4.png"} +
                options);
        const QString path = dir.filePath("anim.png");
        EXPECT_EQ(animatedImageInfo(path), (AnimatedImageInfo{4, "APNG"}));
        const QList<QImage> frames = loadAllFrames(path);
        ASSERT_EQ(frames.size(), 4);
        run(dir.path(), "apngdis", {"anim.png", "split"});
        for (int i = 0; i < 4; ++i) {
            EXPECT_TRUE(samePixels(frames[i], source[i])) << "frame " << i;
            const QImage split(dir.filePath(QString("split%1.png").arg(i + 1)));
            EXPECT_TRUE(samePixels(frames[i], split)) << "apngdis frame " << i;
        }
        const QByteArray data = bytesOf(path);
        EXPECT_TRUE(samePixels(apngFrame(data, -1), source[3]));
        EXPECT_TRUE(samePixels(apngFrame(data, 5), source[1]));
        QFile::remove(path);
    }
}

TEST(AnimatedImageFiles, GIFFramesComeWholeAndWrapAndStillsAreNotAnimated) {
    TestDir dir;
    run(dir.path(), "convert", {"-size", "8x6", "xc:red", "xc:lime", "xc:blue", "anim.gif"});
    const QString path = dir.filePath("anim.gif");
    EXPECT_EQ(animatedImageInfo(path), (AnimatedImageInfo{3, "GIF"}));
    const QList<QImage> frames = loadAllFrames(path);
    ASSERT_EQ(frames.size(), 3);
    const QRgb colours[] = {red, green, blue};
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(samePixels(frames[i], filled(8, 6, colours[i]))) << "frame " << i;
    }
    const QByteArray data = bytesOf(path);
    EXPECT_TRUE(samePixels(gifFrame(data, -1), frames[2]));
    EXPECT_TRUE(samePixels(gifFrame(data, 4), frames[1]));

    // Only images of two frames or more are animated; an acTL count of 1 is a
    // still, even with a default image in front.
    run(dir.path(), "convert", {"-size", "8x6", "xc:red", "still.gif"});
    const QString plain = dir.makeFile("plain.png", pngOf(filled(4, 4, red)));
    const QString one = dir.makeFile(
        "one.png", handMadeAPNG({2, 2}, {{filled(2, 2, red)}, {filled(2, 2, blue)}}, true));
    for (const QString& still : {dir.filePath("still.gif"), plain, one}) {
        EXPECT_EQ(animatedImageInfo(still), std::nullopt) << still.toStdString();
    }
    EXPECT_EQ(loadAllFrames(dir.filePath("still.gif")).size(), 1);
    EXPECT_EQ(loadAllFrames(plain).size(), 1);
    EXPECT_EQ(animatedImageInfo(dir.makeFile("empty.png")), std::nullopt);
    EXPECT_EQ(animatedImageInfo(dir.filePath("missing.png")), std::nullopt);
    EXPECT_TRUE(loadAllFrames(dir.makeFile("junk.png", "not an image")).isEmpty());
}

// A file's chunk headers are walked, its image data skipped: the answer is
// the one its whole data gives, with a large chunk before acTL too, and for
// a file cut short.
TEST(AnimatedImageFiles, AFileAnswersAsItsWholeData) {
    TestDir dir;
    const QByteArray apng = handMadeAPNG({2, 2}, {{filled(2, 2, red)}, {filled(2, 2, blue)}});
    const qsizetype afterHeader = 8 + 12 + 13; // the signature and IHDR
    QByteArray padded = apng;
    padded.insert(afterHeader, chunkBytes("tEXt", QByteArray(200000, 'x')));
    const QByteArray cases[] = {apng, padded, apng.left(afterHeader + 10),
                                padded.left(afterHeader + 1000)};
    int serial = 0;
    for (const QByteArray& data : cases) {
        const QString path = dir.makeFile(QString("case%1.png").arg(++serial), data);
        EXPECT_EQ(animatedImageInfo(path), animatedImageInfoForData(data)) << serial;
    }
    EXPECT_EQ(animatedImageInfo(dir.filePath("case2.png")), (AnimatedImageInfo{2, "APNG"}));
}

TEST(AnimatedImageComposition, BlendAndDisposeFollowTheFrameControls) {
    QImage halfBlue = filled(2, 2, clear);
    halfBlue.setPixel(1, 0, blue);
    halfBlue.setPixel(1, 1, blue);
    const QSize canvas(4, 4);
    const auto at = [](const QImage& image, int x, int y) { return image.pixel(x, y); };
    // Over: the transparent half keeps the red below. Source: it clears it.
    for (uint8_t blend : {uint8_t(1), uint8_t(0)}) {
        const auto frames = composeAPNGFrames(handMadeAPNG(
            canvas,
            {{filled(4, 4, red)}, {halfBlue, 2, 2, 0, blend}, {filled(1, 1, green), 0, 0, 0, 1}}));
        ASSERT_EQ(frames.size(), 3);
        EXPECT_EQ(at(frames[1], 2, 2), blend ? red : clear);
        EXPECT_EQ(at(frames[1], 3, 3), blue);
        EXPECT_EQ(at(frames[1], 0, 0), red);
    }
    // Background: the frame is recorded whole, its region is clear for the next.
    const auto cleared =
        composeAPNGFrames(handMadeAPNG(canvas, {{filled(4, 4, red)},
                                                {filled(2, 2, blue), 2, 2, 1, 0},
                                                {filled(1, 1, green), 0, 0, 0, 1}}));
    ASSERT_EQ(cleared.size(), 3);
    EXPECT_EQ(at(cleared[1], 3, 3), blue);
    EXPECT_EQ(at(cleared[2], 3, 3), clear);
    EXPECT_EQ(at(cleared[2], 1, 1), red);
    EXPECT_EQ(at(cleared[2], 0, 0), green);
}

TEST(AnimatedImageComposition, PreviousDisposalRestoresTheCanvasBeforeTheFrame) {
    const QSize canvas(3, 1);
    const auto frames = composeAPNGFrames(handMadeAPNG(canvas, {{filled(3, 1, red)},
                                                                {filled(1, 1, blue), 0, 0, 2, 1},
                                                                {filled(1, 1, green), 1, 0, 2, 1},
                                                                {filled(1, 1, blue), 2, 0, 0, 1}}));
    ASSERT_EQ(frames.size(), 4);
    const auto row = [&](int frame, int width) {
        QList<QRgb> pixels;
        for (int x = 0; x < width; ++x) {
            pixels << frames[frame].pixel(x, 0);
        }
        return pixels;
    };
    // A "previous" frame starts again from the canvas as it stood before the
    // frame ahead of it, and leaves the canvas as it found it.
    EXPECT_EQ(row(1, 2), (QList<QRgb>{blue, clear}));
    EXPECT_EQ(row(2, 3), (QList<QRgb>{red, green, red}));
    EXPECT_EQ(row(3, 3), (QList<QRgb>{red, red, blue}));
}

TEST(AnimatedImageComposition, PaletteAndTransparencyGoWithEveryFrame) {
    QImage first(2, 2, QImage::Format_Indexed8);
    first.setColorTable({red, clear, blue});
    first.fill(0);
    QImage second = first;
    second.fill(1);
    second.setPixel(0, 0, 2);
    const QByteArray apng = handMadeAPNG({2, 2}, {{first}, {second, 0, 0, 0, 0}});
    ASSERT_TRUE(firstChunk(apng, "PLTE"));
    ASSERT_TRUE(firstChunk(apng, "tRNS"));
    const auto frames = composeAPNGFrames(apng);
    ASSERT_EQ(frames.size(), 2);
    EXPECT_TRUE(samePixels(frames[0], filled(2, 2, red)));
    EXPECT_EQ(frames[1].pixel(0, 0), blue);
    EXPECT_EQ(frames[1].pixel(1, 1), clear);
}

TEST(AnimatedImageHostile, AnnouncedSizesAreRefusedBeforeAllocation) {
    TestDir dir;
    QByteArray header = firstChunk(pngOf(filled(1, 1, red)), "IHDR")->data;
    header.replace(0, 8, be32(100000) + be32(100000));
    const QByteArray bomb =
        QByteArray("\x89PNG\r\n\x1a\n", 8) + chunkBytes("IHDR", header) +
        chunkBytes("acTL", be32(1000000) + be32(0)) +
        chunkBytes("fcTL", be32(0) + be32(100000) + be32(100000) + QByteArray(14, 0)) +
        chunkBytes("fdAT", be32(1) + "xx") + chunkBytes("IEND", {});
    EXPECT_TRUE(composeAPNGFrames(bomb).isEmpty());
    EXPECT_TRUE(apngFrame(bomb, 0).isNull());
    const QString path = dir.makeFile("bomb.png", bomb);
    EXPECT_EQ(animatedImageInfo(path), std::nullopt);
    EXPECT_TRUE(loadAllFrames(path).isEmpty());
    // Of many frames of a modest canvas, those past the budget are not made.
    const QByteArray many =
        handMadeAPNG({64, 64}, QList<HandFrame>(8, HandFrame{filled(1, 1, red)}));
    EXPECT_EQ(composeAPNGFrames(many).size(), 8);
    const FrameBudget budget{(5 + apngCanvasesAtWork) * 64 * 64};
    EXPECT_EQ(composeAPNGFrames(many, budget).size(), 5);
    EXPECT_EQ(composeAPNGFrames(many, {(apngCanvasesAtWork)*64 * 64}).size(), 0);
    // A frame larger than its canvas is not decoded; the frame still counts.
    const auto oversized = composeAPNGFrames(
        handMadeAPNG({2, 2}, {{filled(2, 2, red)}, {filled(3, 3, blue), 0, 0, 0, 1}}));
    ASSERT_EQ(oversized.size(), 2);
    EXPECT_TRUE(samePixels(oversized[1], filled(2, 2, red)));
}

TEST(AnimatedImageLoading, FramesLoadOffTheMainThreadAndStopWhenCancelled) {
    TestDir dir;
    const QString path = dir.makeFile(
        "anim.png",
        handMadeAPNG({2, 2}, {{filled(2, 2, red)}, {filled(2, 2, blue)}, {filled(2, 2, green)}}));
    Background::TicketCounter loads;
    QObject context;
    std::optional<QList<QImage>> frames;
    loadAllFramesInBackground(Background::workerThreads(), path, &context, loads.take(),
                              [&](const QList<QImage>& loaded) { frames = loaded; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return frames.has_value(); }, 10000));
    ASSERT_EQ(frames->size(), 3);
    EXPECT_TRUE(samePixels(frames->at(2), filled(2, 2, green)));
    int asked = 0;
    EXPECT_EQ(loadAllFrames(path, [&] { return ++asked > 1; }).size(), 1);
}

#pragma once

#include "core/Model.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QImage>
#include <QList>
#include <QRect>
#include <QString>

#include <cstdint>
#include <functional>
#include <optional>

class QObject;
namespace Background {
class Executor;
class Ticket;
} // namespace Background

// Paging through the frames of APNG and GIF files, one still at a time.
//
// Qt's image reader gives only the default image of an APNG, so the PNG is
// taken apart here: every frame becomes a small standalone PNG of its own,
// which is decoded and composed on a canvas by the rules of the APNG
// format document. GIF frames come from QImageReader. Everything here is free
// of shared state and may run on any thread.
namespace AnimatedImageSupport {

// One chunk of a PNG stream. type is the four ASCII letters (empty if they are
// not ASCII); data excludes the length, the type and the CRC.
struct PNGChunk {
    QString type;
    QByteArray data;
    bool operator==(const PNGChunk&) const = default;
};

// One frame of an APNG as its fcTL describes it, with its compressed data.
struct FrameSpec {
    // As the file gives them: unsigned 32-bit numbers.
    qint64 width = 0;
    qint64 height = 0;
    qint64 xOffset = 0;
    qint64 yOffset = 0;
    uint8_t disposeOp = 0; // 0 none, 1 background, 2 previous
    uint8_t blendOp = 0;   // 0 source, anything else over
    QList<QByteArray> idatPayloads;
    bool operator==(const FrameSpec&) const = default;
};

// What the frames of one animated image may take in memory together, in
// pixels of four bytes: every frame kept is a whole canvas, and decoding
// needs a few canvases more at work. Frames past the budget are not decoded
// and not counted, so a file of a few hundred bytes that announces
// thousands of large frames costs at most this much (384 MiB). Decided from
// the canvas size before anything is allocated.
struct FrameBudget {
    qint64 maxPixels = qint64(96) << 20;
};

// The canvases at work beside the frames kept: APNG composes on a canvas
// with a snapshot, the canvas before it and the decoded frame; Qt's GIF
// reader keeps its own canvas beside the frame it makes.
constexpr int apngCanvasesAtWork = 4;
constexpr int gifCanvasesAtWork = 2;

// How many frames of a canvas fit the budget beside canvasesAtWork more; 0
// for an empty canvas or one too large for even one frame.
int framesWithinBudget(qint64 width, qint64 height, int canvasesAtWork,
                       const FrameBudget& budget = {});

// The frame count and "APNG" or "GIF" for an image of two frames or more:
// the frames within the budget, which are the ones loadAllFrames gives.
std::optional<AnimatedImageInfo> animatedImageInfo(const QString& path);
std::optional<AnimatedImageInfo> animatedImageInfoForData(const QByteArray& data);

bool isPNGData(QByteArrayView data);
bool isGIFData(QByteArrayView data);

// The chunks from the signature on, up to and including IEND, stopping at the
// first chunk that does not fit. CRCs are not checked.
QList<PNGChunk> parsePNGChunks(QByteArrayView data);
std::optional<PNGChunk> firstChunk(QByteArrayView data, const QString& type);
// The frame count of the first acTL chunk.
std::optional<uint32_t> actlFrameCount(QByteArrayView data);

// The frames of the stream in order: the default image when it comes before
// the first fcTL (covering the whole canvas), then one per fcTL with data.
QList<FrameSpec> frameSpecs(const QList<PNGChunk>& chunks, qint64 canvasWidth, qint64 canvasHeight);
// A frame's region with the origin at the bottom left of the canvas.
QRect bottomUpFrameRect(const FrameSpec& frame, int canvasHeight);

// The frames composed on the canvas, each image of the canvas's size, as
// many as the budget holds; empty when the stream cannot be composed.
QList<QImage> composeAPNGFrames(const QByteArray& data, const FrameBudget& budget = {});

// One frame; the index wraps at both ends.
QImage apngFrame(const QByteArray& data, int index);
QImage gifFrame(const QByteArray& data, int index);
QImage imageSourceFrame(const QByteArray& data, int index);

// Every frame a viewer pages through, as many as the budget holds, or a
// single still when the file is not animated; empty when nothing can be
// decoded. Only a regular file is read. isCancelled, when given, is asked
// between frames.
QList<QImage> loadAllFrames(const QString& path, const std::function<bool()>& isCancelled = {});
// loadAllFrames on the executor's disk-read pool. done gets the frames on the
// main thread while context lives and the ticket is current; once the ticket
// is stale the composition stops between frames.
void loadAllFramesInBackground(Background::Executor& executor, const QString& path,
                               QObject* context, const Background::Ticket& ticket,
                               std::function<void(QList<QImage>)> done);

// A chunk as it stands in a file: length, type, data and CRC.
QByteArray chunkBytes(const QByteArray& type, QByteArrayView data);
// The CRC-32 of the PNG standard (ISO 3309), over type and data.
uint32_t crc32(QByteArrayView bytes);

} // namespace AnimatedImageSupport

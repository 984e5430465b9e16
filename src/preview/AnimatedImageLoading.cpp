// The file side of AnimatedImageSupport: what kind of animation a file holds,
// GIF frames from Qt's reader, and every frame of a file for the viewer.
#include "preview/AnimatedImageSupport.h"
#include "preview/PngChunkCheck.h"

#include "core/Background.h"
#include "core/FileDescriptor.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QtEndian>

#include <climits>
#include <limits>

namespace AnimatedImageSupport {

namespace {

// The index taken modulo the count, a negative one wrapping to the end.
int wrapped(int index, int count) {
    return ((index % count) + count) % count;
}

// The number of images Qt's reader finds; 0 when it cannot tell.
int readerImageCount(const QByteArray& data) {
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    if (PngChunkCheck::announcesMoreThanItHolds(buffer)) {
        return 0;
    }
    QImageReader reader(&buffer);
    return std::max(reader.imageCount(), 0);
}

// Image index of the data through Qt's reader. The GIF reader composes each
// frame on the one before, so when it cannot jump it is read up to the index.
QImage readerFrame(const QByteArray& data, int index) {
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    if (PngChunkCheck::announcesMoreThanItHolds(buffer)) {
        return {};
    }
    QImageReader reader(&buffer);
    const int count = std::max(reader.imageCount(), 1);
    const int target = wrapped(index, count);
    if (target == 0 || reader.jumpToImage(target)) {
        return reader.read();
    }
    QImage image;
    for (int i = 0; i <= target; ++i) {
        image = reader.read();
        if (image.isNull()) {
            return {};
        }
    }
    return image;
}

// The canvas Qt's GIF reader draws every frame on, for a reader that has
// read nothing yet: the logical screen of the file's header, or the first
// frame where that is larger. Qt's answer to the size alone names only the
// first frame when it is much smaller than the screen.
QSize gifCanvas(QImageReader& reader) {
    const QByteArray head = reader.device() ? reader.device()->peek(10) : QByteArray();
    QSize screen(0, 0);
    if (head.size() == 10) {
        screen = QSize(qFromLittleEndian<quint16>(head.constData() + 6),
                       qFromLittleEndian<quint16>(head.constData() + 8));
    }
    return screen.expandedTo(reader.size());
}

// The frames of a GIF that fit the budget, of those the reader counts.
int gifFrameCount(QImageReader& reader) {
    const QSize canvas = gifCanvas(reader);
    return std::min(std::max(reader.imageCount(), 0),
                    framesWithinBudget(canvas.width(), canvas.height(), gifCanvasesAtWork));
}

// Every GIF frame in one pass: asking for each index apart would read the
// file from the start again for every frame.
QList<QImage> gifFrames(const QByteArray& data, int count, const std::function<bool()>& cancelled) {
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, "gif");
    count = std::min(count, gifFrameCount(reader));
    QList<QImage> frames;
    while (frames.size() < count && !(cancelled && cancelled())) {
        QImage frame = reader.read();
        if (frame.isNull()) {
            break;
        }
        frames.append(std::move(frame));
    }
    return frames;
}

QList<QImage> apngFrames(const QByteArray& data, int count,
                         const std::function<bool()>& cancelled) {
    const QList<QImage> composed = composeAPNGFrames(data);
    // acTL may announce far more frames than the file holds; past the frames
    // there are, every further index would only repeat one.
    const int available =
        composed.isEmpty() ? std::max(readerImageCount(data), 1) : int(composed.size());
    QList<QImage> frames;
    for (int i = 0; i < std::min(count, available) && !(cancelled && cancelled()); ++i) {
        QImage frame =
            composed.isEmpty() ? imageSourceFrame(data, i) : composed[wrapped(i, composed.size())];
        if (!frame.isNull()) {
            frames.append(std::move(frame));
        }
    }
    return frames;
}

// A file larger than this is read only this far: frames past it would not
// fit the budget anyway.
constexpr qint64 maxFileBytes = qint64(128) << 20;

// The bytes of a regular file: a FIFO or a device named like a picture is
// not read.
QByteArray readFile(const QString& path) {
    const auto file = openRegularQFile(path);
    return file ? (*file)->read(maxFileBytes) : QByteArray();
}

int clampedCount(qint64 count) {
    return int(std::min<qint64>(count, std::numeric_limits<int>::max()));
}

// The frames of an APNG canvas that fit the budget, of those acTL announces.
int apngFrameCount(quint32 announced, qint64 width, qint64 height) {
    return std::min(clampedCount(announced), framesWithinBudget(width, height, apngCanvasesAtWork));
}

// The canvas size of a PNG's IHDR; empty when there is none.
QSize headerSize(QByteArrayView data) {
    if (data.size() < 8) {
        return {};
    }
    const auto width = qFromBigEndian<quint32>(data.data());
    const auto height = qFromBigEndian<quint32>(data.data() + 4);
    return width <= INT_MAX && height <= INT_MAX ? QSize(int(width), int(height)) : QSize();
}

// The frame count of the first acTL of a PNG file that fits the budget,
// found by walking the chunk headers: the image data is skipped, never
// read, so a large picture costs a few small reads on the main thread and
// not a copy of the file.
std::optional<int> fileAPNGFrameCount(QFile& file) {
    const qint64 size = file.size();
    QSize canvas;
    for (qint64 offset = 8; offset + 8 <= size;) {
        if (!file.seek(offset)) {
            return std::nullopt;
        }
        const QByteArray header = file.read(8);
        if (header.size() < 8) {
            return std::nullopt;
        }
        const qint64 length = qFromBigEndian<quint32>(header.constData());
        if (offset + 12 + length > size) {
            return std::nullopt;
        }
        const QByteArrayView type = QByteArrayView(header).sliced(4);
        if (type == "IHDR" && canvas.isEmpty()) {
            canvas = headerSize(file.read(std::min<qint64>(length, 8)));
        }
        if (type == "acTL") {
            const QByteArray data = length >= 8 ? file.read(8) : QByteArray();
            return data.size() == 8
                       ? std::optional(apngFrameCount(qFromBigEndian<quint32>(data.constData()),
                                                      canvas.width(), canvas.height()))
                       : std::nullopt;
        }
        if (type == "IEND") {
            return std::nullopt;
        }
        offset += 12 + length;
    }
    return std::nullopt;
}

} // namespace

std::optional<AnimatedImageInfo> animatedImageInfoForData(const QByteArray& data) {
    if (isPNGData(data)) {
        const auto count = actlFrameCount(data);
        const auto header = firstChunk(data, "IHDR");
        const QSize canvas = header ? headerSize(header->data) : QSize();
        if (count && *count >= 2) {
            const int fitting = apngFrameCount(*count, canvas.width(), canvas.height());
            return fitting >= 2 ? std::optional(AnimatedImageInfo{fitting, "APNG"}) : std::nullopt;
        }
        const int sourceCount = readerImageCount(data);
        if (sourceCount >= 2) {
            return AnimatedImageInfo{sourceCount, "APNG"};
        }
        return std::nullopt;
    }
    if (isGIFData(data)) {
        // Qt's reader is both the image source and the bitmap representation.
        QBuffer buffer;
        buffer.setData(data);
        buffer.open(QIODevice::ReadOnly);
        QImageReader reader(&buffer, "gif");
        const int count = gifFrameCount(reader);
        if (count >= 2) {
            return AnimatedImageInfo{count, "GIF"};
        }
    }
    return std::nullopt;
}

std::optional<AnimatedImageInfo> animatedImageInfo(const QString& path) {
    const auto opened = openRegularQFile(path);
    if (!opened) {
        return std::nullopt;
    }
    QFile& file = **opened;
    // Only PNG and GIF can be animated; anything else is not read past its
    // head. Qt's reader counts at most one image in a PNG, so a PNG is
    // animated exactly when its acTL says so.
    const QByteArray head = file.peek(8);
    if (isPNGData(head)) {
        const auto count = fileAPNGFrameCount(file);
        return count && *count >= 2 ? std::optional(AnimatedImageInfo{*count, "APNG"})
                                    : std::nullopt;
    }
    if (isGIFData(head)) {
        QImageReader reader(&file, "gif");
        const int count = gifFrameCount(reader);
        return count >= 2 ? std::optional(AnimatedImageInfo{count, "GIF"}) : std::nullopt;
    }
    return std::nullopt;
}

QImage apngFrame(const QByteArray& data, int index) {
    const QList<QImage> frames = composeAPNGFrames(data);
    return frames.isEmpty() ? QImage() : frames[wrapped(index, frames.size())];
}

QImage gifFrame(const QByteArray& data, int index) {
    return readerFrame(data, index);
}

QImage imageSourceFrame(const QByteArray& data, int index) {
    return readerFrame(data, index);
}

QList<QImage> loadAllFrames(const QString& path, const std::function<bool()>& isCancelled) {
    const QByteArray data = readFile(path);
    if (data.isEmpty()) {
        return {};
    }
    const auto info = animatedImageInfoForData(data);
    if (!info) {
        QImage still;
        if (isGIFData(data)) {
            still = gifFrame(data, 0);
        } else if (isPNGData(data) && actlFrameCount(data).value_or(0) >= 2) {
            still = apngFrame(data, 0);
        } else {
            still = imageSourceFrame(data, 0);
        }
        return still.isNull() ? QList<QImage>() : QList<QImage>{still};
    }
    if (isGIFData(data)) {
        return gifFrames(data, info->frameCount, isCancelled);
    }
    return apngFrames(data, info->frameCount, isCancelled);
}

void loadAllFramesInBackground(Background::Executor& executor, const QString& path,
                               QObject* context, const Background::Ticket& ticket,
                               std::function<void(QList<QImage>)> done) {
    Background::run(
        executor, Background::Pool::diskRead, context, ticket,
        [path, ticket] { return loadAllFrames(path, [&ticket] { return !ticket.isCurrent(); }); },
        std::move(done));
}

} // namespace AnimatedImageSupport

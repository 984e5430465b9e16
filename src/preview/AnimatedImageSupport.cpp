// The APNG side of AnimatedImageSupport: chunk parsing and frame composition,
// after the PNG standard (W3C) and the APNG extension document (acTL, fcTL, fdAT).
#include "preview/AnimatedImageSupport.h"

#include <QBuffer>
#include <QImageReader>
#include <QPainter>

#include <algorithm>
#include <climits>

namespace AnimatedImageSupport {

namespace {

const QByteArray pngSignature("\x89PNG\r\n\x1a\n", 8);

uint32_t bigEndian32(QByteArrayView data, qsizetype offset) {
    const auto byte = [&](qsizetype i) { return uint32_t(uint8_t(data[offset + i])); };
    return byte(0) << 24 | byte(1) << 16 | byte(2) << 8 | byte(3);
}

void putBigEndian32(QByteArray& data, qsizetype offset, uint32_t value) {
    for (int i = 0; i < 4; ++i) {
        data[offset + i] = char(value >> (24 - 8 * i));
    }
}

QString chunkType(QByteArrayView bytes) {
    for (char c : bytes) {
        if (uchar(c) >= 0x80) {
            return {};
        }
    }
    return QString::fromLatin1(bytes);
}

bool isFrameChunk(const QString& type) {
    return type == "fcTL" || type == "fdAT" || type == "IDAT" || type == "IEND";
}

// The chunks every standalone frame repeats: those before the first frame
// (palette, transparency, colour information), IHDR and acTL aside. Encoders
// such as apngasm write acTL before PLTE, so acTL does not end the search:
// a palette frame without its PLTE cannot be decoded.
QList<PNGChunk> sharedChunks(const QList<PNGChunk>& chunks) {
    QList<PNGChunk> shared;
    for (const PNGChunk& chunk : chunks) {
        if (chunk.type == "IHDR" || chunk.type == "acTL") {
            continue;
        }
        if (isFrameChunk(chunk.type)) {
            break;
        }
        shared.append(chunk);
    }
    return shared;
}

FrameSpec frameSpecFromControl(QByteArrayView data) {
    FrameSpec frame;
    frame.width = bigEndian32(data, 4);
    frame.height = bigEndian32(data, 8);
    frame.xOffset = bigEndian32(data, 12);
    frame.yOffset = bigEndian32(data, 16);
    // The delay at offsets 20 and 22 is of no use: frames are paged by hand.
    frame.disposeOp = uint8_t(data[24]);
    frame.blendOp = uint8_t(data[25]);
    return frame;
}

// A PNG of its own for one frame: the canvas's header with the frame's size,
// the shared chunks, and the frame's data as IDAT.
QByteArray standalonePNG(const QByteArray& header, const QList<PNGChunk>& shared,
                         const FrameSpec& frame) {
    QByteArray frameHeader = header;
    putBigEndian32(frameHeader, 0, uint32_t(frame.width));
    putBigEndian32(frameHeader, 4, uint32_t(frame.height));
    QByteArray png = pngSignature;
    png += chunkBytes("IHDR", frameHeader);
    for (const PNGChunk& chunk : shared) {
        png += chunkBytes(chunk.type.toLatin1(), chunk.data);
    }
    for (const QByteArray& payload : frame.idatPayloads) {
        png += chunkBytes("IDAT", payload);
    }
    png += chunkBytes("IEND", {});
    return png;
}

QImage decodeFrame(const QByteArray& png) {
    QBuffer buffer;
    buffer.setData(png);
    QImageReader reader(&buffer, "png");
    return reader.read();
}

struct Canvas {
    QImage image;
    QList<PNGChunk> shared;
    QByteArray header;
};

// Draws one frame and records the canvas; gives the snapshot taken before it.
QImage composeFrame(Canvas& canvas, const FrameSpec& frame, const QImage& previous) {
    QImage& image = canvas.image;
    const QRect bottomUp = bottomUpFrameRect(frame, image.height());
    // QPainter counts rows from the top.
    const QRect rect(bottomUp.x(), image.height() - bottomUp.y() - bottomUp.height(),
                     bottomUp.width(), bottomUp.height());
    const QImage snapshot = image;
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    // Also done after the previous frame; doing it again here settles runs of
    // several "previous" frames in a row the same way every time.
    if (frame.disposeOp == 2 && !previous.isNull()) {
        painter.drawImage(QPoint(0, 0), previous);
    }
    // A frame larger than the canvas is never decoded, so its size bounds
    // the allocation.
    QImage decoded;
    if (frame.width <= image.width() && frame.height <= image.height()) {
        decoded = decodeFrame(standalonePNG(canvas.header, canvas.shared, frame));
    }
    if (frame.blendOp == 0) {
        painter.fillRect(rect, Qt::transparent);
    }
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    if (!decoded.isNull()) {
        painter.drawImage(rect.topLeft(), decoded);
    }
    painter.end();
    return snapshot;
}

void disposeFrame(QImage& image, const FrameSpec& frame, const QImage& snapshot) {
    // Painting would copy the canvas, which the recorded frame still shares.
    if (frame.disposeOp != 1 && frame.disposeOp != 2) {
        return;
    }
    const QRect bottomUp = bottomUpFrameRect(frame, image.height());
    const QRect rect(bottomUp.x(), image.height() - bottomUp.y() - bottomUp.height(),
                     bottomUp.width(), bottomUp.height());
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    if (frame.disposeOp == 1) {
        painter.fillRect(rect, Qt::transparent);
    } else if (frame.disposeOp == 2) {
        painter.drawImage(QPoint(0, 0), snapshot);
    }
}

} // namespace

bool isPNGData(QByteArrayView data) {
    return data.startsWith(pngSignature);
}

bool isGIFData(QByteArrayView data) {
    return data.size() >= 6 && data.startsWith("GIF8") && (data[4] == '7' || data[4] == '9') &&
           data[5] == 'a';
}

QList<PNGChunk> parsePNGChunks(QByteArrayView data) {
    QList<PNGChunk> chunks;
    qsizetype offset = 8;
    while (offset + 8 <= data.size()) {
        const qint64 length = bigEndian32(data, offset);
        if (offset + 12 + length > data.size()) {
            break;
        }
        PNGChunk chunk{chunkType(data.sliced(offset + 4, 4)),
                       data.sliced(offset + 8, length).toByteArray()};
        const bool last = chunk.type == "IEND";
        chunks.append(std::move(chunk));
        if (last) {
            break;
        }
        offset += 12 + length;
    }
    return chunks;
}

std::optional<PNGChunk> firstChunk(QByteArrayView data, const QString& type) {
    for (PNGChunk& chunk : parsePNGChunks(data)) {
        if (chunk.type == type) {
            return std::move(chunk);
        }
    }
    return std::nullopt;
}

std::optional<uint32_t> actlFrameCount(QByteArrayView data) {
    const auto control = firstChunk(data, "acTL");
    if (!control || control->data.size() < 8) {
        return std::nullopt;
    }
    return bigEndian32(control->data, 0);
}

QList<FrameSpec> frameSpecs(const QList<PNGChunk>& chunks, qint64 canvasWidth,
                            qint64 canvasHeight) {
    QList<FrameSpec> frames;
    std::optional<FrameSpec> pending;
    bool controlSeen = false;
    QList<QByteArray> payloads;
    const auto closeFrame = [&] {
        if (payloads.isEmpty()) {
            return;
        }
        // Data before the first fcTL is the default image, a full-canvas frame.
        FrameSpec frame;
        if (controlSeen && pending) {
            frame = *pending;
        } else {
            frame.width = canvasWidth;
            frame.height = canvasHeight;
        }
        frame.idatPayloads = std::exchange(payloads, {});
        frames.append(std::move(frame));
    };
    for (const PNGChunk& chunk : chunks) {
        if (chunk.type == "fcTL") {
            closeFrame();
            controlSeen = true;
            if (chunk.data.size() >= 26) {
                pending = frameSpecFromControl(chunk.data);
            }
        } else if (chunk.type == "IDAT") {
            payloads.append(chunk.data);
        } else if (chunk.type == "fdAT" && chunk.data.size() > 4) {
            payloads.append(chunk.data.sliced(4));
        } else if (chunk.type == "IEND") {
            closeFrame();
        }
    }
    return frames;
}

QRect bottomUpFrameRect(const FrameSpec& frame, int canvasHeight) {
    // Whatever lies beyond the canvas is never drawn, so clamping to the
    // canvas keeps every number in range without changing what is covered.
    const qint64 limit = std::max(canvasHeight, 0);
    const auto clamp = [&](qint64 value) { return int(std::clamp<qint64>(value, 0, limit)); };
    const int height = clamp(frame.height);
    const int top = clamp(frame.yOffset);
    const int width = int(std::clamp<qint64>(frame.width, 0, INT_MAX / 2));
    const int x = int(std::clamp<qint64>(frame.xOffset, 0, INT_MAX / 2));
    return QRect(x, canvasHeight - top - height, width, height);
}

int framesWithinBudget(qint64 width, qint64 height, int canvasesAtWork, const FrameBudget& budget) {
    // Divided rather than multiplied: two 32-bit sizes overflow a product.
    if (width <= 0 || height <= 0 || height > budget.maxPixels / width) {
        return 0;
    }
    const qint64 canvases = budget.maxPixels / (width * height);
    return int(std::clamp<qint64>(canvases - canvasesAtWork, 0, INT_MAX));
}

QList<QImage> composeAPNGFrames(const QByteArray& data, const FrameBudget& budget) {
    if (!isPNGData(data)) {
        return {};
    }
    const QList<PNGChunk> chunks = parsePNGChunks(data);
    const auto header = std::find_if(chunks.begin(), chunks.end(),
                                     [](const PNGChunk& chunk) { return chunk.type == "IHDR"; });
    if (header == chunks.end() || header->data.size() < 8) {
        return {};
    }
    const qint64 width = bigEndian32(header->data, 0);
    const qint64 height = bigEndian32(header->data, 4);
    const int fitting = framesWithinBudget(width, height, apngCanvasesAtWork, budget);
    if (fitting == 0) {
        return {};
    }
    const QList<FrameSpec> frames = frameSpecs(chunks, width, height).mid(0, fitting);
    if (frames.isEmpty()) {
        return {};
    }
    Canvas canvas{QImage(int(width), int(height), QImage::Format_ARGB32_Premultiplied),
                  sharedChunks(chunks), header->data};
    if (canvas.image.isNull()) {
        return {};
    }
    canvas.image.fill(Qt::transparent);
    QList<QImage> result;
    QImage previous;
    for (const FrameSpec& frame : frames) {
        const QImage snapshot = composeFrame(canvas, frame, previous);
        result.append(canvas.image);
        disposeFrame(canvas.image, frame, snapshot);
        previous = snapshot;
    }
    return result;
}

QByteArray chunkBytes(const QByteArray& type, QByteArrayView data) {
    QByteArray bytes(4, '\0');
    putBigEndian32(bytes, 0, uint32_t(data.size()));
    bytes += type;
    bytes += data;
    QByteArray crc(4, '\0');
    putBigEndian32(crc, 0, crc32(QByteArrayView(bytes).sliced(4)));
    return bytes + crc;
}

uint32_t crc32(QByteArrayView bytes) {
    // Bit by bit, reflected polynomial, no table.
    uint32_t crc = 0xFFFFFFFFu;
    for (char byte : bytes) {
        crc ^= uint8_t(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1) ? (crc >> 1) ^ 0xEDB88320u : crc >> 1;
        }
    }
    return ~crc;
}

} // namespace AnimatedImageSupport

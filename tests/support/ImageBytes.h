#pragma once

// Picture files made in memory: a plain picture of one colour written by Qt,
// and the big-endian numbers the PNG chunks carry.
#include <QBuffer>
#include <QByteArray>
#include <QColor>
#include <QImage>

#include <cstdint>

namespace ImageBytes {

inline QImage filled(int width, int height, QRgb colour) {
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(colour);
    return image;
}

inline QByteArray encoded(const QImage& image, const char* format = "PNG") {
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return buffer.data();
}

// A PNG of the given size in one colour.
inline QByteArray png(int width, int height, QColor colour) {
    return encoded(filled(width, height, colour.rgba()));
}

inline QByteArray be32(uint32_t value) {
    QByteArray bytes(4, '\0');
    for (int i = 0; i < 4; ++i) {
        bytes[i] = char(value >> (24 - 8 * i));
    }
    return bytes;
}

} // namespace ImageBytes

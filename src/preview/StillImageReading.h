#pragma once

#include <QImage>
#include <QSize>
#include <QString>

// A picture of one frame for VIEWER, read upright by its orientation tag.
// A picture larger than the place it is shown in is decoded at that size:
// JPEG scales while it decodes, and a PNG too large for Qt's reader is read
// a row at a time, so a picture too large to decode whole within Qt's
// allocation limit still shows, and memory stays near what is on the screen.
namespace StillImageReading {

// The picture at path, scaled down with its aspect ratio kept to fit within
// bound when it is larger; a null image when it cannot be decoded.
QImage read(const QString& path, const QSize& bound);

} // namespace StillImageReading

#pragma once

#include <QImage>
#include <QSize>
#include <QString>

// A PNG too large for Qt's reader to hold whole, decoded one row at a time
// and averaged down to the size it is shown at: memory stays near the
// output, whatever the picture's size. An interlaced picture is read pass by
// pass, with sums kept for each output pixel.
namespace PngRowReading {

// The picture at path scaled to size (each output pixel the mean of the
// pixels it covers); a null image when it is no PNG or damaged.
QImage readScaled(const QString& path, const QSize& size);

} // namespace PngRowReading

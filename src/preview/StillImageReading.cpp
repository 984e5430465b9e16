#include "preview/StillImageReading.h"

#include <QImageIOHandler>
#include <QImageReader>

namespace StillImageReading {

QImage read(const QString& path, const QSize& bound) {
    QImageReader reader(path);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    // The scaled size is that of the picture as stored, before it is turned
    // upright: a picture turned a quarter fits the bound turned too.
    const QSize fitting = reader.transformation().testFlag(QImageIOHandler::TransformationRotate90)
                              ? bound.transposed()
                              : bound;
    if (size.isValid() && fitting.isValid() &&
        (size.width() > fitting.width() || size.height() > fitting.height())) {
        reader.setScaledSize(size.scaled(fitting, Qt::KeepAspectRatio).expandedTo(QSize(1, 1)));
    }
    return reader.read();
}

} // namespace StillImageReading

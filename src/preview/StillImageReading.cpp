#include "preview/StillImageReading.h"

#include "preview/PngChunkCheck.h"
#include "preview/PngRowReading.h"
#include "core/FileDescriptor.h"

#include <QFileInfo>
#include <QImageIOHandler>
#include <QImageReader>

namespace StillImageReading {

QImage read(const QString& path, const QSize& bound) {
    if (PngChunkCheck::fileAnnouncesMoreThanItHolds(path)) {
        return {};
    }
    // Qt's reader would open a FIFO named like a picture and wait in open().
    const auto file = openRegularQFile(path);
    if (!file) {
        return {};
    }
    QImageReader reader(file->get(), QFileInfo(path).suffix().toLower().toLatin1());
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    // The scaled size is that of the picture as stored, before it is turned
    // upright: a picture turned a quarter fits the bound turned too.
    const QSize fitting = reader.transformation().testFlag(QImageIOHandler::TransformationRotate90)
                              ? bound.transposed()
                              : bound;
    const bool larger = size.isValid() && fitting.isValid() &&
                        (size.width() > fitting.width() || size.height() > fitting.height());
    const QSize scaled = size.scaled(fitting, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
    if (larger) {
        reader.setScaledSize(scaled);
    }
    const QByteArray format = reader.format(); // forgotten when the read fails
    const QImage image = reader.read();
    // Qt's PNG reader holds the whole picture before it scales and refuses
    // one past its allocation limit; such a picture is read a row at a time.
    if (image.isNull() && larger && format == "png") {
        return PngRowReading::readScaled(path, scaled);
    }
    return image;
}

} // namespace StillImageReading

#include "preview/PngChunkCheck.h"

#include "core/FileDescriptor.h"

#include <QFile>
#include <QIODevice>
#include <QtEndian>

namespace PngChunkCheck {

namespace {

const QByteArray kSignature = QByteArrayLiteral("\x89PNG\r\n\x1a\n");

} // namespace

// Walks the chunk headers (length, type, data, CRC) from the start without
// reading their data; the device is left where it was.
bool announcesMoreThanItHolds(QIODevice& device) {
    const qint64 start = device.pos();
    const qint64 size = device.size();
    bool lying = false;
    if (device.seek(0) && device.read(8) == kSignature) {
        qint64 at = 8;
        while (at + 8 <= size && device.seek(at)) {
            const QByteArray header = device.read(8);
            if (header.size() < 8) {
                break;
            }
            const qint64 length = qFromBigEndian<quint32>(header.constData());
            if (length > size - at - 12) {
                lying = true;
                break;
            }
            if (header.mid(4) == "IEND") {
                break;
            }
            at += 12 + length;
        }
    }
    device.seek(start);
    return lying;
}

bool fileAnnouncesMoreThanItHolds(const QString& path) {
    const auto file = openRegularQFile(path);
    return file && announcesMoreThanItHolds(**file);
}

} // namespace PngChunkCheck

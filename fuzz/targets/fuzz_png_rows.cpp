// Reads arbitrary bytes as a PNG by rows, scaled to a small picture: a damaged
// or lying file gives no picture, never a crash, and the output keeps the
// size asked for.
#include "preview/PngRowReading.h"

#include <QFile>
#include <QTemporaryFile>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static QTemporaryFile* file = [] {
        auto* made = new QTemporaryFile;
        (void)made->open();
        return made;
    }();
    file->resize(0);
    file->seek(0);
    file->write(reinterpret_cast<const char*>(data), qint64(size));
    file->flush();
    const QImage image = PngRowReading::readScaled(file->fileName(), QSize(48, 32));
    if (!image.isNull() && image.size() != QSize(48, 32)) {
        __builtin_trap();
    }
    return 0;
}

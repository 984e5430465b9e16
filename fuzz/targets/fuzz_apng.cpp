// Takes arbitrary bytes apart as PNG chunks and composes them as an APNG.
// The canvas is kept small so that every unit runs quickly; the sizes the
// bytes announce must be refused before anything of that size is allocated.
#include "preview/AnimatedImageSupport.h"

#include <QtGlobal>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // libpng reports every broken frame through Qt's warnings.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace AnimatedImageSupport;
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    const QList<PNGChunk> chunks = parsePNGChunks(bytes);
    (void)actlFrameCount(bytes);
    (void)frameSpecs(chunks, 1 << 30, 1 << 30);
    const FrameBudget budget{256 * 256 * 8};
    const QList<QImage> frames = composeAPNGFrames(bytes, budget);
    qint64 pixels = 0;
    for (const QImage& frame : frames) {
        pixels += frame.width() * qint64(frame.height());
    }
    if (pixels > budget.maxPixels) {
        __builtin_trap();
    }
    return 0;
}

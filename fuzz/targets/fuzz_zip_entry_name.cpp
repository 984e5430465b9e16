// Decodes a ZIP member name: the first byte gives the UTF-8 flag and a DOS
// date and time, the rest is the name.
#include "archive/ZipArchiveService.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) {
        return 0;
    }
    const QByteArrayView name(data + 1, qsizetype(size - 1));
    const QString decoded = ZipArchiveService::decodeEntryName(name, (data[0] & 1) != 0);
    // A name is never lost: some text stands for every non-empty byte run.
    if (!name.isEmpty() && decoded.isEmpty()) {
        __builtin_trap();
    }
    if (size >= 5) {
        const auto date = uint16_t(data[1] | (data[2] << 8));
        const auto time = uint16_t(data[3] | (data[4] << 8));
        (void)ZipArchiveService::dosDateTime(date, time);
    }
    return 0;
}

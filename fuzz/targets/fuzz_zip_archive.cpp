// Lists a ZIP from arbitrary bytes and reads every listed member.
#include "archive/ZipArchiveService.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArrayView archive(data, qsizetype(size));
    const auto members = ZipArchiveService::parseArchive(archive);
    if (!members) {
        return 0;
    }
    for (const auto& member : *members) {
        const auto bytes = ZipArchiveService::memberData(archive, member);
        // A stored member is a slice of the input; an inflated one can
        // never be longer than announced.
        if (bytes && bytes->size() > std::max<int64_t>(member.size, member.compressedSize)) {
            __builtin_trap();
        }
        // A head is never longer than asked for, and is the start of the whole.
        const auto head = ZipArchiveService::memberData(archive, member, 100);
        if (head && (head->size() > 100 || (bytes && !bytes->startsWith(*head)))) {
            __builtin_trap();
        }
    }
    return 0;
}

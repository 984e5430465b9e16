// Feeds arbitrary bytes to the reader of `lsar -j` output, as a hostile
// archive could make lsar print them, and to the members made from it.
#include "archive/ArchiveToolOutput.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray json(reinterpret_cast<const char*>(data), qsizetype(size));
    if (const auto listing = ArchiveToolOutput::parseLsarJson(json, QStringLiteral("cp932"))) {
        const auto members = ArchiveToolOutput::membersFromLsar(*listing);
        for (const ArchiveMember& member : members) {
            (void)ArchiveToolOutput::normalizedMemberPath(member.path);
        }
        (void)ArchiveToolOutput::isWesternEncoding(listing->encoding);
    }
    return 0;
}

// Feeds arbitrary bytes to the reader of `lha l` output and of `tar -t`
// output: both are text a hostile archive controls line by line.
#include "archive/ArchiveToolOutput.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray output(reinterpret_cast<const char*>(data), qsizetype(size));
    for (const ArchiveMember& member : ArchiveToolOutput::parseLhaList(output)) {
        (void)ArchiveToolOutput::isPlausibleName(member.path);
    }
    (void)ArchiveToolOutput::parseTarList(output);
    return 0;
}

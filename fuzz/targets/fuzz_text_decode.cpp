// Detects and decodes arbitrary bytes, whole (first byte even) or as a head.
// A whole buffer that decodes must also save back in the encoding found.
#include "text/TextDecoding.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) {
        return 0;
    }
    const bool mayBeTruncated = (data[0] & 1) != 0;
    const QByteArrayView bytes(data + 1, qsizetype(size - 1));
    const auto decoded = TextDecoding::decode(bytes, mayBeTruncated);
    if (!decoded || mayBeTruncated) {
        return 0;
    }
    const auto encoding = TextDecoding::textFileEncoding(decoded->label);
    if (!encoding || !TextDecoding::encodedBytes(decoded->text, *encoding)) {
        __builtin_trap();
    }
    return 0;
}

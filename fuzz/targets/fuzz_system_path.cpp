// Any bytes a file name can hold turn into the text form and back unchanged,
// and the name shown for them never fails to come.
#include "core/SystemPath.h"
#include "text/ShownFileName.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArrayView bytes(data, qsizetype(size));
    const QString text = fromSystemPath(bytes);
    if (toSystemPath(text) != bytes) {
        __builtin_trap();
    }
    (void)ShownFileName::shownName(text);
    return 0;
}

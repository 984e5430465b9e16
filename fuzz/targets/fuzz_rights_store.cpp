// Reads bytes as a rights memory file: the header line, then records. A
// store read from any bytes answers look-ups, takes changes, and compacts to
// a file that reads back whole.
#include "filesystem/RightsStore.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    QByteArray file = RightsStore::header();
    file.append(reinterpret_cast<const char*>(data), qsizetype(size));
    RightsStore store = RightsStore::fromFile(file);
    const auto records = store.records();
    if (store.goodLength() > file.size() || records.size() > store.size()) {
        __builtin_trap();
    }
    RightsStore compacted = store.compacted();
    const QByteArray whole = compacted.takeLog();
    const RightsStore reread = RightsStore::fromFile(whole);
    if (reread.goodLength() != whole.size() || reread.size() != compacted.size()) {
        __builtin_trap();
    }
    if (!records.isEmpty()) {
        const QString path = records.cbegin().key();
        store.remove(path);
        store.insert(path, FileAccessMemory::Record{true, false, QStringLiteral("-r--------"),
                                                    QStringLiteral("o"), QStringLiteral("g")});
        (void)store.find(path);
    }
    return 0;
}

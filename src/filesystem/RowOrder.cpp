// The one row order of the program: FileSystemService::entryPrecedes and the
// sort of whole lists that follows it.
#include "core/EntryDisplay.h"
#include "core/NaturalOrder.h"
#include "filesystem/FileSystemService.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace FileSystemService {

namespace {

const QString& sortName(const FileEntry& entry, bool byLocalized) {
    static const QString parentName = QStringLiteral("..");
    if (entry.isParent) {
        return parentName;
    }
    return byLocalized ? entry.localizedName : EntryDisplay::shownName(entry);
}

// -1 when a stands before b by the mode's own key, 1 after, 0 when the mode
// leaves them to the name.
int modeOrder(const FileEntry& a, const FileEntry& b, FilerSortMode mode) {
    if (mode == FilerSortMode::timestamp) {
        // A missing date counts as the distant past; newest first.
        const qint64 da = a.modificationDate ? a.modificationDate->toMSecsSinceEpoch() : INT64_MIN;
        const qint64 db = b.modificationDate ? b.modificationDate->toMSecsSinceEpoch() : INT64_MIN;
        return da == db ? 0 : (da > db ? -1 : 1);
    }
    if (mode == FilerSortMode::size) {
        // A missing size counts as -1 for a folder and 0 for a file; largest first.
        const int64_t sa = a.size.value_or(a.isDirectory ? -1 : 0);
        const int64_t sb = b.size.value_or(b.isDirectory ? -1 : 0);
        return sa == sb ? 0 : (sa > sb ? -1 : 1);
    }
    return 0;
}

// Steps 1 and 2 of the order: the parent row, then folders above files.
int kindOrder(const FileEntry& a, const FileEntry& b) {
    if (a.isParent != b.isParent) {
        return a.isParent ? -1 : 1;
    }
    if (a.isDirectory != b.isDirectory) {
        return a.isDirectory ? -1 : 1;
    }
    return 0;
}

} // namespace

bool sortNamePrecedes(const FileEntry& a, const FileEntry& b, bool byLocalized) {
    return NaturalOrder::compare(sortName(a, byLocalized), sortName(b, byLocalized)) < 0;
}

bool entryPrecedes(const FileEntry& a, const FileEntry& b, FilerSortMode mode, bool byLocalized) {
    if (const int kind = kindOrder(a, b)) {
        return kind < 0;
    }
    if (const int byMode = modeOrder(a, b, mode)) {
        return byMode < 0;
    }
    return sortNamePrecedes(a, b, byLocalized);
}

void sortEntries(QList<FileEntry>& entries, FilerSortMode mode, bool byLocalized) {
    // Collation keys are computed once per row: comparing keys is several
    // times cheaper than collating the two names at every comparison.
    std::vector<QCollatorSortKey> keys;
    keys.reserve(entries.size());
    for (const FileEntry& entry : std::as_const(entries)) {
        keys.push_back(NaturalOrder::sortKey(sortName(entry, byLocalized)));
    }
    std::vector<qsizetype> order(entries.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](qsizetype i, qsizetype j) {
        const FileEntry& a = entries.at(i);
        const FileEntry& b = entries.at(j);
        if (const int kind = kindOrder(a, b)) {
            return kind < 0;
        }
        if (const int byMode = modeOrder(a, b, mode)) {
            return byMode < 0;
        }
        return keys[i].compare(keys[j]) < 0;
    });
    QList<FileEntry> sorted;
    sorted.reserve(entries.size());
    for (const qsizetype index : order) {
        sorted.append(std::move(entries[index]));
    }
    entries = std::move(sorted);
}

} // namespace FileSystemService

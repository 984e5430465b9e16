// The one row order of the program: FileSystemService::entryPrecedes and the
// sort of whole lists that follows it.
#include "core/EntryDisplay.h"
#include "core/NaturalOrder.h"
#include "filesystem/FileSystemService.h"

#include <algorithm>
#include <thread>
#include <vector>

namespace FileSystemService {

namespace {

const QString& sortName(const FileEntry& entry, bool byLocalized) {
    static const QString parentName = QStringLiteral("..");
    if (entry.isParent) {
        return parentName;
    }
    return byLocalized ? entry.localizedName() : EntryDisplay::shownName(entry);
}

// -1 when a stands before b by the mode's own key, 1 after, 0 when the mode
// leaves them to the name.
int modeOrder(const FileEntry& a, const FileEntry& b, FilerSortMode mode) {
    if (mode == FilerSortMode::timestamp) {
        // A missing date counts as the distant past; newest first.
        const int64_t da = a.modificationTime();
        const int64_t db = b.modificationTime();
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

QCollatorSortKey sortNameKey(const FileEntry& entry, bool byLocalized) {
    return NaturalOrder::sortKey(sortName(entry, byLocalized));
}

void sortEntries(QList<FileEntry>& entries, FilerSortMode mode, bool byLocalized) {
    // Collation keys are computed once per row: comparing keys is several
    // times cheaper than collating the two names at every comparison.
    std::vector<QCollatorSortKey> keys;
    keys.reserve(size_t(entries.size()));
    for (const FileEntry& entry : std::as_const(entries)) {
        keys.push_back(sortNameKey(entry, byLocalized));
    }
    sortEntriesByKeys(entries, keys, mode);
}

namespace {

// What the order looks at of one row, side by side for all rows so that the
// sort reads a small contiguous array rather than the rows themselves.
struct OrderItem {
    int kind = 0; // 0 for the parent row, 1 for a folder, 2 for a file
    // The mode's own key, larger first; 0 for every row when sorting by name.
    int64_t modeValue = 0;
    uint32_t index = 0;
};

// Below this many rows a second thread costs more than it saves.
constexpr size_t kSplitSortThreshold = 4096;

OrderItem orderItem(const FileEntry& entry, FilerSortMode mode, uint32_t index) {
    OrderItem item;
    item.kind = entry.isParent ? 0 : (entry.isDirectory ? 1 : 2);
    item.index = index;
    if (mode == FilerSortMode::timestamp) {
        // A missing date counts as the distant past; newest first.
        item.modeValue = entry.modificationTime();
    } else if (mode == FilerSortMode::size) {
        // A missing size counts as -1 for a folder and 0 for a file; largest first.
        item.modeValue = entry.size.value_or(entry.isDirectory ? -1 : 0);
    }
    return item;
}

} // namespace

void sortEntriesByKeys(QList<FileEntry>& entries, const std::vector<QCollatorSortKey>& keys,
                       FilerSortMode mode) {
    std::vector<OrderItem> order;
    order.reserve(size_t(entries.size()));
    for (qsizetype i = 0; i < entries.size(); ++i) {
        order.push_back(orderItem(entries.at(i), mode, uint32_t(i)));
    }
    const auto precedes = [&](const OrderItem& a, const OrderItem& b) {
        if (a.kind != b.kind) {
            return a.kind < b.kind;
        }
        if (a.modeValue != b.modeValue) {
            return a.modeValue > b.modeValue;
        }
        return keys[a.index].compare(keys[b.index]) < 0;
    };
    if (order.size() < kSplitSortThreshold) {
        std::stable_sort(order.begin(), order.end(), precedes);
    } else {
        // The two halves sort at once on two cores; a stable merge then
        // gives the very order one stable sort of the whole would.
        const auto middle = order.begin() + std::ptrdiff_t(order.size() / 2);
        std::thread helper([&] { std::stable_sort(middle, order.end(), precedes); });
        std::stable_sort(order.begin(), middle, precedes);
        helper.join();
        std::inplace_merge(order.begin(), middle, order.end(), precedes);
    }
    QList<FileEntry> sorted;
    sorted.reserve(entries.size());
    for (const OrderItem& item : order) {
        sorted.append(std::move(entries[item.index]));
    }
    entries = std::move(sorted);
}

} // namespace FileSystemService

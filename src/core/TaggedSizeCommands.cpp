// The tagged size of the status line. It is asked for at every redraw, so it
// is kept until the tags or either pane's list change. A tagged file that no
// pane lists (a file tagged in a tree's file list, say) has its size read on
// a worker, since a read on a dead mount would hold the window; until that
// comes the line keeps what it showed.
#include "core/AppState.h"

#include "core/Formats.h"
#include "core/SystemPath.h"

#include <QHash>

namespace {

const QString kArchiveKeyPrefix = QStringLiteral("zip:");

// The size of each tagged key from the first row that has it, left list
// before right, in one pass over both lists.
QHash<QString, std::optional<int64_t>> listedSizesOfKeys(const QSet<QString>& keys,
                                                         const QList<FileEntry>& left,
                                                         const QList<FileEntry>& right) {
    QHash<QString, std::optional<int64_t>> sizes;
    for (const QList<FileEntry>* list : {&left, &right}) {
        for (const FileEntry& entry : *list) {
            if (sizes.size() == keys.size()) {
                return sizes;
            }
            const QString key = AppState::tagKey(entry);
            if (keys.contains(key) && !sizes.contains(key)) {
                sizes.insert(key, entry.size);
            }
        }
    }
    return sizes;
}

// What the file system says of keys that no list shows; any thread.
QHash<QString, std::optional<int64_t>> sizesOnDisk(const QStringList& paths) {
    QHash<QString, std::optional<int64_t>> sizes;
    for (const QString& path : paths) {
        const auto info = SystemPath::status(path);
        sizes.insert(path, info && info->isRegularFile ? std::optional<int64_t>(info->size)
                                                       : std::nullopt);
    }
    return sizes;
}

} // namespace

QString AppState::taggedSizeLabel() const {
    if (taggedKeys.isEmpty()) {
        return {};
    }
    TaggedSizeMemo& memo = m_taggedSizeMemo;
    const std::array<int64_t, 2> epochs{pane(PaneSide::left).listEpoch,
                                        pane(PaneSide::right).listEpoch};
    if (memo.listEpochs == epochs && memo.keys == taggedKeys) {
        return memo.label;
    }
    // The sizes read from the disk hold for the lists they were read beside.
    if (m_taggedDiskSizes.listEpochs != epochs) {
        m_taggedDiskSizes = {epochs, {}};
    }
    const auto listed =
        listedSizesOfKeys(taggedKeys, pane(PaneSide::left).entries, pane(PaneSide::right).entries);
    int64_t total = 0;
    QStringList unread;
    for (const QString& key : taggedKeys) {
        if (const auto found = listed.constFind(key); found != listed.constEnd()) {
            total += found->value_or(0);
        } else if (const auto read = m_taggedDiskSizes.sizes.constFind(key);
                   read != m_taggedDiskSizes.sizes.constEnd()) {
            total += read->value_or(0);
        } else if (!key.startsWith(kArchiveKeyPrefix)) {
            unread.append(key);
        }
    }
    memo.listEpochs = epochs;
    memo.keys = taggedKeys;
    memo.unread = unread;
    memo.unreadAsked = false;
    if (unread.isEmpty()) {
        memo.label = QStringLiteral("タグ:") + Formats::formatCompactSize(total);
    }
    return memo.label;
}

// Once per change of the state: the sizes the label still lacks are read on
// a worker, and the label is made anew when they come, unless the tags or the
// lists changed meanwhile and asked again.
void AppState::readUnlistedTagSizes() {
    if (taggedKeys.isEmpty()) {
        m_taggedSizeMemo = {};
        return;
    }
    taggedSizeLabel();
    if (m_taggedSizeMemo.unread.isEmpty() || m_taggedSizeMemo.unreadAsked) {
        return;
    }
    m_taggedSizeMemo.unreadAsked = true;
    const std::array<int64_t, 2> epochs = m_taggedSizeMemo.listEpochs;
    Background::run(
        m_executor, Background::Pool::listing, this, m_taggedSizeReads.take(),
        [paths = m_taggedSizeMemo.unread] { return sizesOnDisk(paths); },
        [this, epochs](const QHash<QString, std::optional<int64_t>>& sizes) {
            if (m_taggedDiskSizes.listEpochs != epochs) {
                return;
            }
            m_taggedDiskSizes.sizes.insert(sizes);
            m_taggedSizeMemo.listEpochs = {-1, -1};
            notifyChanged();
        });
}

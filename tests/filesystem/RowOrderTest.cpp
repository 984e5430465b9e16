// The one row order: parent first, folders above files, then name, newest or
// largest first, with natural name order breaking ties.
#include "core/NaturalOrder.h"
#include "filesystem/FileSystemService.h"

#include <QStringList>

#include <algorithm>

#include <gtest/gtest.h>

namespace {

FileEntry row(const QString& name, bool isDirectory = false, std::optional<int64_t> size = {},
              std::optional<qint64> secs = {}) {
    FileEntry entry;
    entry.setId(QStringLiteral("/x/") + name);
    entry.name = name;
    entry.setLocalizedName(entry.name);
    entry.isDirectory = isDirectory;
    entry.size = size;
    if (secs) {
        entry.setModificationDate(QDateTime::fromSecsSinceEpoch(*secs, Qt::UTC));
    }
    return entry;
}

FileEntry parent() {
    FileEntry entry = row(QStringLiteral(".."), true);
    entry.isParent = true;
    return entry;
}

QStringList sortedNames(QList<FileEntry> rows, FilerSortMode mode) {
    FileSystemService::sortEntries(rows, mode, false);
    QStringList names;
    for (const FileEntry& entry : rows) {
        names.append(entry.name);
    }
    return names;
}

TEST(RowOrderTest, NamesFollowNaturalOrderIgnoringCase) {
    const QList<FileEntry> rows = {row("file10"),
                                   row("B"),
                                   row("file2"),
                                   row("a"),
                                   row(QStringLiteral("ファイル10")),
                                   row(QStringLiteral("ファイル2"))};
    const QStringList expected = {
        "a", "B", "file2", "file10", QStringLiteral("ファイル2"), QStringLiteral("ファイル10")};
    EXPECT_EQ(sortedNames(rows, FilerSortMode::name), expected);
}

TEST(RowOrderTest, ParentThenFoldersThenFilesInEveryMode) {
    const QList<FileEntry> rows = {row("zz.txt", false, 999, 900), row("b", true, {}, 100),
                                   parent(), row("a", true, {}, 50)};
    for (auto mode : {FilerSortMode::name, FilerSortMode::timestamp, FilerSortMode::size}) {
        const QStringList names = sortedNames(rows, mode);
        EXPECT_EQ(names.first(), QStringLiteral("..")) << int(mode);
        EXPECT_EQ(names.last(), QStringLiteral("zz.txt")) << int(mode);
    }
}

TEST(RowOrderTest, NewestOrLargestFirstMissingValuesLastAndTiesByName) {
    const QList<FileEntry> dated = {row("old", false, 1, 100), row("none", false, 1),
                                    row("new", false, 1, 300), row("tie-b", false, 1, 200),
                                    row("tie-a", false, 1, 200)};
    EXPECT_EQ(sortedNames(dated, FilerSortMode::timestamp),
              (QStringList{"new", "tie-a", "tie-b", "old", "none"}));
    const QList<FileEntry> sized = {row("small", false, 10), row("big", false, 5000),
                                    row("same-b", false, 100), row("same-a", false, 100),
                                    row("unknown", false)};
    EXPECT_EQ(sortedNames(sized, FilerSortMode::size),
              (QStringList{"big", "same-a", "same-b", "small", "unknown"}));
}

TEST(RowOrderTest, SortedListAgreesWithEntryPrecedesPairwise) {
    QList<FileEntry> rows;
    for (const char* name : {"x9", "X10", "a", "A1", "a01", "Äb", "b", "_u", "1", "10", "2"}) {
        rows.append(row(QString::fromUtf8(name), name[0] == 'b', 3, 7));
    }
    for (auto mode : {FilerSortMode::name, FilerSortMode::timestamp, FilerSortMode::size}) {
        QList<FileEntry> sorted = rows;
        FileSystemService::sortEntries(sorted, mode, false);
        for (qsizetype i = 0; i + 1 < sorted.size(); ++i) {
            EXPECT_FALSE(FileSystemService::entryPrecedes(sorted[i + 1], sorted[i], mode, false))
                << sorted[i].name.toStdString() << " / " << sorted[i + 1].name.toStdString();
        }
    }
}

TEST(RowOrderTest, ALargeListSortsAsOneStableSortByEntryPrecedesWould) {
    // Enough rows to be sorted in two halves at once; names repeat, so that
    // rows the order finds equal must keep the order they came in.
    QList<FileEntry> rows;
    for (int i = 0; i < 6000; ++i) {
        FileEntry entry = row(QStringLiteral("f%1").arg(i % 1500), i % 97 == 0, i % 7, i % 11);
        entry.setId(QString::number(i));
        rows.append(entry);
    }
    for (auto mode : {FilerSortMode::name, FilerSortMode::timestamp, FilerSortMode::size}) {
        QList<FileEntry> expected = rows;
        std::stable_sort(expected.begin(), expected.end(), [mode](const auto& a, const auto& b) {
            return FileSystemService::entryPrecedes(a, b, mode, false);
        });
        QList<FileEntry> sorted = rows;
        FileSystemService::sortEntries(sorted, mode, false);
        ASSERT_EQ(sorted, expected) << rawValue(mode).toStdString();
    }
}

TEST(RowOrderTest, EqualNamesDoNotPrecedeAndLocalizedNamesSortWhenAsked) {
    const FileEntry upper = row("README"), lower = row("readme");
    EXPECT_FALSE(FileSystemService::sortNamePrecedes(upper, lower, false));
    EXPECT_FALSE(FileSystemService::sortNamePrecedes(lower, upper, false));
    FileEntry first = row("zeta"), second = row("alpha");
    first.setLocalizedName(QStringLiteral("aaa"));
    EXPECT_TRUE(FileSystemService::sortNamePrecedes(first, second, true));
    EXPECT_FALSE(FileSystemService::sortNamePrecedes(first, second, false));
}

} // namespace

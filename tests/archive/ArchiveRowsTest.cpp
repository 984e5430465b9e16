// Archives as folders: rows from flat member lists and their identities.
#include "archive/ArchiveRows.h"

#include <QDateTime>

#include <gtest/gtest.h>

namespace {

const QString kArchive = QStringLiteral("/data/a.tar");
const QDateTime kArchiveDate = QDateTime::fromSecsSinceEpoch(1700000000, Qt::UTC);

ArchiveMember file(const QString& path, int64_t size = 1) {
    return {path, false, size, QDateTime::fromSecsSinceEpoch(1600000000, Qt::UTC)};
}
ArchiveMember folder(const QString& path) {
    return {path, true, 0, std::nullopt};
}

QList<FileEntry> rows(const QList<ArchiveMember>& members, const QString& inner,
                      bool hidden = false) {
    return ArchiveRows::entriesFromMembers(kArchive, members, inner, hidden, FilerSortMode::name,
                                           true, kArchiveDate);
}

// The row identities, without the "arch:/data/a.tar!" every one begins with.
QStringList ids(const QList<FileEntry>& entries) {
    QStringList result;
    for (const FileEntry& entry : entries) {
        result << QString(entry.id()).replace(QStringLiteral("arch:/data/a.tar!"), QString());
    }
    return result;
}

TEST(ArchiveRowsTest, DeepPathsMakeFoldersThatNoMemberNames) {
    const QList<ArchiveMember> members = {file(QStringLiteral("a/b/c.txt"), 7)};
    EXPECT_EQ(ids(rows(members, QString())), (QStringList{"arch-parent:/data/a.tar!", "a/"}));
    EXPECT_EQ(ids(rows(members, QStringLiteral("a"))),
              (QStringList{"arch-parent:/data/a.tar!a/", "a/b/"}));
    const QList<FileEntry> inner = rows(members, QStringLiteral("\\a\\b\\"));
    ASSERT_EQ(inner.size(), 2);
    EXPECT_EQ(inner.at(0).id(), QStringLiteral("arch-parent:/data/a.tar!a/b/"));
    EXPECT_TRUE(inner.at(0).isParent && inner.at(0).isDirectory);
    EXPECT_EQ(inner.at(0).zipEntryPath(), QStringLiteral("a/b/"));
    EXPECT_EQ(inner.at(0).modificationDate(), kArchiveDate);

    FileEntry member;
    member.setId(QStringLiteral("arch:/data/a.tar!a/b/c.txt"));
    member.name = QStringLiteral("c.txt");
    member.setLocalizedName(member.name);
    member.setUrl(kArchive);
    member.setZipArchiveURL(kArchive);
    member.isReadable = true;
    member.setZipEntryPath(QStringLiteral("a/b/c.txt"));
    member.size = 7;
    member.setModificationDate(members.first().modificationDate);
    member.setPermissionMode(QStringLiteral("-r--------"));
    member.setGroupName(QStringLiteral("-"));
    member.setOwnerName(QStringLiteral("-"));
    EXPECT_EQ(inner.at(1), member);
    EXPECT_TRUE(inner.at(1).isInsideArchive());

    // At the root the parent row leads out of the archive.
    const QList<FileEntry> root = rows({}, QString());
    ASSERT_EQ(root.size(), 1);
    EXPECT_TRUE(root.first().isParent);
    EXPECT_EQ(root.first().zipEntryPath(), std::nullopt);
}

TEST(ArchiveRowsTest, AFolderWinsOverAFileOfTheSameNameAndTheFirstMemberOtherwise) {
    const QList<FileEntry> root =
        rows({file(QStringLiteral("a"), 3), file(QStringLiteral("a/b.txt")),
              file(QStringLiteral("x"), 1), file(QStringLiteral("x"), 2),
              folder(QStringLiteral("d/")), file(QStringLiteral("d"), 5)},
             QString());
    EXPECT_EQ(ids(root), (QStringList{"arch-parent:/data/a.tar!", "a/", "d/", "x"}));
    EXPECT_TRUE(root.at(1).isDirectory);
    EXPECT_EQ(root.at(1).size, std::nullopt);
    // The made-up folder keeps the date of the member that made it.
    EXPECT_EQ(root.at(1).modificationDate(), file(QString()).modificationDate);
    EXPECT_EQ(root.at(3).size, 1);
}

TEST(ArchiveRowsTest, HiddenMembersStayOutUnlessShownAndRowsFollowTheSortWithFoldersFirst) {
    const QList<ArchiveMember> members = {
        file(QStringLiteral(".x/y")), file(QStringLiteral(".z")), file(QStringLiteral("file10")),
        file(QStringLiteral("file2")), folder(QStringLiteral("zdir/"))};
    EXPECT_EQ(ids(rows(members, QString())),
              (QStringList{"arch-parent:/data/a.tar!", "zdir/", "file2", "file10"}));
    const QList<FileEntry> shown = rows(members, QString(), true);
    EXPECT_EQ(ids(shown),
              (QStringList{"arch-parent:/data/a.tar!", ".x/", "zdir/", ".z", "file2", "file10"}));
    EXPECT_TRUE(shown.at(1).isHidden);
    EXPECT_EQ(shown.at(1).name, QStringLiteral(".x"));
}

TEST(ArchiveRowsTest, DotAndDotDotComponentsNeverBecomeRows) {
    const QList<ArchiveMember> members = {
        file(QStringLiteral("../x"), 4), file(QStringLiteral("./a/../b/./c.txt"), 5),
        folder(QStringLiteral("../")), folder(QStringLiteral("./"))};
    const QList<FileEntry> root = rows(members, QString(), true);
    EXPECT_EQ(ids(root), (QStringList{"arch-parent:/data/a.tar!", "a/", "../x"}));
    ASSERT_EQ(root.size(), 3);
    EXPECT_EQ(root.at(2).name, QStringLiteral("x"));
    // The file is still read by the path the archive gives it.
    EXPECT_EQ(root.at(2).zipEntryPath(), QStringLiteral("../x"));
    const QList<FileEntry> inner = rows(members, QStringLiteral("a/b"), true);
    EXPECT_EQ(ids(inner), (QStringList{"arch-parent:/data/a.tar!a/b/", "./a/../b/./c.txt"}));
    ASSERT_EQ(inner.size(), 2);
    EXPECT_EQ(inner.at(1).name, QStringLiteral("c.txt"));
}

} // namespace

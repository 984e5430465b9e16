// Archives as folders: rows from flat member lists, their identities, the
// listing of an archive location, and what an archive refuses.
#include "archive/ArchiveFixtures.h"
#include "archive/ArchiveLocation.h"
#include "archive/ArchiveRows.h"
#include "support/TestDir.h"

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

QStringList ids(const QList<FileEntry>& entries) {
    QStringList result;
    for (const FileEntry& entry : entries) {
        result << entry.id;
    }
    return result;
}

TEST(ArchiveRowsTest, DeepPathsMakeFoldersThatNoMemberNames) {
    const QList<ArchiveMember> members = {file(QStringLiteral("a/b/c.txt"), 7)};
    EXPECT_EQ(ids(rows(members, QString())),
              (QStringList{QStringLiteral("arch-parent:/data/a.tar!"),
                           QStringLiteral("arch:/data/a.tar!a/")}));
    EXPECT_EQ(ids(rows(members, QStringLiteral("a"))),
              (QStringList{QStringLiteral("arch-parent:/data/a.tar!a/"),
                           QStringLiteral("arch:/data/a.tar!a/b/")}));
    const QList<FileEntry> inner = rows(members, QStringLiteral("\\a\\b\\"));
    ASSERT_EQ(inner.size(), 2);

    FileEntry parent;
    parent.id = QStringLiteral("arch-parent:/data/a.tar!a/b/");
    parent.name = parent.localizedName = QStringLiteral("..");
    parent.url = kArchive;
    parent.isDirectory = parent.isParent = parent.isReadable = true;
    parent.zipArchiveURL = kArchive;
    parent.zipEntryPath = QStringLiteral("a/b/");
    parent.modificationDate = kArchiveDate;
    parent.permissionMode = QStringLiteral("drwx------");
    parent.ownerName = parent.groupName = QStringLiteral("-");
    EXPECT_EQ(inner.at(0), parent);

    FileEntry member = parent;
    member.id = QStringLiteral("arch:/data/a.tar!a/b/c.txt");
    member.name = member.localizedName = QStringLiteral("c.txt");
    member.isDirectory = member.isParent = false;
    member.zipEntryPath = QStringLiteral("a/b/c.txt");
    member.size = 7;
    member.modificationDate = members.first().modificationDate;
    member.permissionMode = QStringLiteral("-r--------");
    EXPECT_EQ(inner.at(1), member);
    EXPECT_TRUE(inner.at(1).isInsideArchive());
}

TEST(ArchiveRowsTest, TheParentRowAtTheRootLeadsOutOfTheArchive) {
    const QList<FileEntry> root = rows({}, QString());
    ASSERT_EQ(root.size(), 1);
    EXPECT_TRUE(root.first().isParent);
    EXPECT_EQ(root.first().zipEntryPath, std::nullopt);
    EXPECT_EQ(root.first().modificationDate, kArchiveDate);
}

TEST(ArchiveRowsTest, AFolderWinsOverAFileOfTheSameNameAndTheFirstMemberOtherwise) {
    const QList<FileEntry> root =
        rows({file(QStringLiteral("a"), 3), file(QStringLiteral("a/b.txt")),
              file(QStringLiteral("x"), 1), file(QStringLiteral("x"), 2),
              folder(QStringLiteral("d/")), file(QStringLiteral("d"), 5)},
             QString());
    ASSERT_EQ(root.size(), 4);
    EXPECT_EQ(root.at(1).id, QStringLiteral("arch:/data/a.tar!a/"));
    EXPECT_TRUE(root.at(1).isDirectory);
    EXPECT_EQ(root.at(1).size, std::nullopt);
    // The made-up folder keeps the date of the member that made it.
    EXPECT_EQ(root.at(1).modificationDate, file(QString()).modificationDate);
    EXPECT_EQ(root.at(2).id, QStringLiteral("arch:/data/a.tar!d/"));
    EXPECT_EQ(root.at(3).size, 1);
}

TEST(ArchiveRowsTest, HiddenMembersAndEverythingUnderThemStayOutUnlessShown) {
    const QList<ArchiveMember> members = {file(QStringLiteral(".x/y")), file(QStringLiteral(".z")),
                                          file(QStringLiteral("v"))};
    EXPECT_EQ(ids(rows(members, QString())),
              (QStringList{QStringLiteral("arch-parent:/data/a.tar!"),
                           QStringLiteral("arch:/data/a.tar!v")}));
    const QList<FileEntry> shown = rows(members, QString(), true);
    ASSERT_EQ(shown.size(), 4);
    EXPECT_TRUE(shown.at(1).isHidden);
    EXPECT_EQ(shown.at(1).name, QStringLiteral(".x"));
}

TEST(ArchiveRowsTest, RowsFollowTheSortModeWithFoldersFirst) {
    const QList<ArchiveMember> members = {file(QStringLiteral("file10"), 1),
                                          file(QStringLiteral("file2"), 9),
                                          folder(QStringLiteral("zdir/"))};
    EXPECT_EQ(ids(rows(members, QString())),
              (QStringList{QStringLiteral("arch-parent:/data/a.tar!"),
                           QStringLiteral("arch:/data/a.tar!zdir/"),
                           QStringLiteral("arch:/data/a.tar!file2"),
                           QStringLiteral("arch:/data/a.tar!file10")}));
}

TEST(ArchiveLocationTest, ListingARealArchiveLocation) {
    TestDir dir;
    dir.makeFile(QStringLiteral("src/docs/readme.txt"), "hello");
    const QString archive = dir.filePath(QStringLiteral("pack.tgz"));
    ASSERT_EQ(
        ArchiveFixtures::run(QStringLiteral("tar"),
                             {QStringLiteral("-czf"), archive, QStringLiteral("docs/readme.txt")},
                             dir.filePath(QStringLiteral("src"))),
        0);
    const auto listed =
        ArchiveLocation::list({dir.path() + QStringLiteral("/./pack.tgz"), QStringLiteral("docs")},
                              false, FilerSortMode::name, true);
    ASSERT_TRUE(listed) << listed.error().description().toStdString();
    ASSERT_EQ(listed->size(), 2);
    EXPECT_EQ(listed->at(1).id,
              QStringLiteral("arch:") + archive + QStringLiteral("!docs/readme.txt"));
    EXPECT_EQ(listed->at(1).size, 0);

    const auto missing = ArchiveLocation::list({dir.filePath(QStringLiteral("gone.tar")), {}},
                                               false, FilerSortMode::name, true);
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.error().description(), QStringLiteral("Archive not found: gone.tar"));
    const QString rar = dir.makeFile(QStringLiteral("x.rar"), "x");
    EXPECT_EQ(
        ArchiveLocation::list({rar, {}}, false, FilerSortMode::name, true).error().description(),
        QStringLiteral("Unsupported archive: x.rar"));
}

TEST(ArchiveLocationTest, EveryChangingCommandIsRefusedInsideAnArchiveOnly) {
    using Command = ArchiveLocation::ReadOnlyCommand;
    const std::pair<Command, const char*> cases[] = {
        {Command::setStartup, "Cannot set startup inside an archive"},
        {Command::treeMode, "Tree mode is not available inside an archive"},
        {Command::bookmark, "Cannot bookmark inside an archive"},
        {Command::createFolder, "Cannot create folder inside an archive"},
        {Command::createFile, "Cannot create file inside an archive"},
        {Command::rename, "Cannot rename inside an archive"},
        {Command::changeAttributes, "Cannot change attributes inside an archive"},
        {Command::move, "Cannot move inside an archive"},
        {Command::copy, "Cannot copy inside an archive"},
        {Command::deleteItems, "Cannot delete inside an archive"},
        {Command::saveInEditor, "Cannot save files inside an archive"},
        {Command::enterEditor, "Cannot edit files inside an archive (read-only)"},
    };
    for (const auto& [command, text] : cases) {
        EXPECT_EQ(ArchiveLocation::refusal(FilerLocation::zip(kArchive, QString()), command),
                  QString::fromUtf8(text));
        EXPECT_EQ(
            ArchiveLocation::refusal(FilerLocation::directory(QStringLiteral("/data")), command),
            std::nullopt);
    }
}

} // namespace

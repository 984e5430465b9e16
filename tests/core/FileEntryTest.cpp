// The compact row: paths made from the folder and the name, a shown name that
// follows the name until given another, shared rights, and copies that change
// alone although they share what they are made from.
#include "core/Model.h"
#include "core/NameBlock.h"

#include <QDateTime>

#include <gtest/gtest.h>

namespace {

FileEntry folderRow(const FileEntry::Folder& folder, const QString& name) {
    FileEntry row;
    row.name = name;
    row.setFolder(folder);
    return row;
}

TEST(FileEntryTest, ARowOfAFolderTakesItsPathFromTheFolderUnlessGivenOne) {
    const FileEntry::Folder folder(QStringLiteral("/data/docs"));
    EXPECT_EQ(folderRow(folder, QStringLiteral("a.txt")).url(), "/data/docs/a.txt");
    EXPECT_EQ(folderRow(folder, QStringLiteral("a.txt")).id(), "/data/docs/a.txt");
    EXPECT_EQ(folderRow(FileEntry::Folder(QStringLiteral("/")), QStringLiteral("etc")).id(),
              "/etc");

    FileEntry given = folderRow(folder, QStringLiteral(".."));
    given.setId(QStringLiteral("parent:/data/docs"));
    given.setUrl(QStringLiteral("/data"));
    EXPECT_EQ(given.id(), "parent:/data/docs");
    EXPECT_EQ(given.url(), "/data");
    EXPECT_TRUE(FileEntry().id().isEmpty() && FileEntry().url().isEmpty());
}

TEST(FileEntryTest, ChangingOneRowLeavesTheOtherRowsOfItsFolderAlone) {
    const FileEntry::Folder folder(QStringLiteral("/data"));
    FileEntry a = folderRow(folder, QStringLiteral("a"));
    const FileEntry b = folderRow(folder, QStringLiteral("b"));
    a.setLocalizedName(QStringLiteral("A shown"));
    a.setUrl(QStringLiteral("/elsewhere/a"));
    EXPECT_EQ(a.localizedName(), "A shown");
    EXPECT_EQ(a.url(), "/elsewhere/a");
    EXPECT_EQ(b.localizedName(), "b");
    EXPECT_EQ(b.url(), "/data/b");

    FileEntry copy = a;
    copy.setZipArchiveURL(QStringLiteral("/pack.zip"));
    copy.setZipEntryPath(QStringLiteral("a"));
    EXPECT_TRUE(copy.isInsideArchive());
    EXPECT_FALSE(a.zipArchiveURL() || a.zipEntryPath() || a.isInsideArchive());
}

TEST(FileEntryTest, TheShownNameFollowsTheNameUntilGivenAnother) {
    FileEntry row;
    row.name = QStringLiteral("x");
    EXPECT_EQ(row.localizedName(), "x");
    row.setLocalizedName(QStringLiteral("y"));
    row.name = QStringLiteral("z");
    EXPECT_EQ(row.localizedName(), "y");
    row.setLocalizedName(QStringLiteral("z"));
    row.name = QStringLiteral("w");
    EXPECT_EQ(row.localizedName(), "w");
}

TEST(FileEntryTest, RowsCompareByWhatTheyHoldNotByHowTheyHoldIt) {
    const QDateTime instant = QDateTime::fromSecsSinceEpoch(1700000000, Qt::UTC);
    FileEntry listed = folderRow(FileEntry::Folder(QStringLiteral("/data")), QStringLiteral("a"));
    listed.setRights(QStringLiteral("-rw-------"), QStringLiteral("me"), QStringLiteral("us"));
    listed.setModificationDate(instant);
    FileEntry given;
    given.name = QStringLiteral("a");
    given.setId(QStringLiteral("/data/a"));
    given.setUrl(QStringLiteral("/data/a"));
    given.setPermissionMode(QStringLiteral("-rw-------"));
    given.setOwnerName(QStringLiteral("me"));
    given.setGroupName(QStringLiteral("us"));
    given.setModificationDate(instant.toLocalTime());
    EXPECT_EQ(listed, given);
    EXPECT_EQ(given.modificationDate(), instant);

    FileEntry otherGroup = given;
    otherGroup.setGroupName(QStringLiteral("them"));
    EXPECT_NE(listed, otherGroup);
    EXPECT_EQ(given.groupName(), "us");
    FileEntry undated = given;
    undated.setModificationDate(std::nullopt);
    EXPECT_NE(listed, undated);
    EXPECT_EQ(undated.modificationDate(), std::nullopt);
    FileEntry otherUrl = given;
    otherUrl.setUrl(QStringLiteral("/data/b"));
    EXPECT_NE(listed, otherUrl);
}

TEST(FileEntryTest, EqualRightsAreKeptOnce) {
    const QString mode = QStringLiteral("drwxr-xr-x");
    const RowRights* first = internedRights(mode, QStringLiteral("me"), QStringLiteral("us"));
    const RowRights* other = internedRights(mode, QStringLiteral("me"), QStringLiteral("them"));
    EXPECT_EQ(internedRights(QString(mode), QStringLiteral("me"), QStringLiteral("us")), first);
    EXPECT_NE(other, first);
    EXPECT_EQ(other->group, "them");
}

TEST(NameBlockTest, NamesShareTheBlockYetChangeAloneAndOutliveIt) {
    QString first;
    QString second;
    QString third;
    {
        NameBlock block(12);
        first = block.add(u"abc");
        second = block.add(u"defg");
        // Only three characters and a NUL are left: this one gets its own.
        third = block.add(u"hijkl");
        // The names hold the block as well as the block itself does.
        EXPECT_FALSE(first.isDetached() || second.isDetached());
        EXPECT_TRUE(third.isDetached());
    }
    EXPECT_EQ(first, "abc");
    EXPECT_EQ(second, "defg");
    EXPECT_EQ(third, "hijkl");
    EXPECT_EQ(first.utf16()[3], 0);
    first.append(QStringLiteral("!"));
    second[0] = QLatin1Char('D');
    EXPECT_EQ(first, "abc!");
    EXPECT_EQ(second, "Defg");
}

} // namespace

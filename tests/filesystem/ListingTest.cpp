// Listing a folder into pane rows: which rows appear, with which rights, in
// which order, and how a failure reads.
#include "core/Preferences.h"
#include "core/SystemPath.h"
#include "filesystem/AccountNames.h"
#include "filesystem/FileAccessMemory.h"
#include "filesystem/FileSystemService.h"
#include "support/ChildProcess.h"
#include "support/TestDir.h"

#include <QFile>
#include <QSet>
#include <QStringList>

#include <gtest/gtest.h>

#include <dirent.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>

namespace {

class ListingTest : public ::testing::Test {
protected:
    void SetUp() override { FileAccessMemory::attach(&preferences); }
    void TearDown() override { FileAccessMemory::attach(nullptr); }

    QList<FileEntry> list(bool showHidden = false, FilerSortMode mode = FilerSortMode::name) {
        auto rows = FileSystemService::listDirectory(dir.path(), showHidden, mode, true);
        EXPECT_TRUE(rows.ok()) << (rows.ok() ? "" : rows.error().description().toStdString());
        return rows.ok() ? rows.value() : QList<FileEntry>{};
    }

    static QStringList names(const QList<FileEntry>& rows) {
        QStringList result;
        for (const FileEntry& row : rows) {
            result.append(row.name);
        }
        return result;
    }

    static const FileEntry* find(const QList<FileEntry>& rows, const QString& name) {
        for (const FileEntry& row : rows) {
            if (row.name == name) {
                return &row;
            }
        }
        return nullptr;
    }

    MemoryPreferences preferences;
    TestDir dir;
};

TEST_F(ListingTest, EmptyFolderGivesTheParentRowAloneAndRootHasNone) {
    const QList<FileEntry> rows = list();
    ASSERT_EQ(rows.size(), 1);
    const FileEntry& parent = rows.first();
    EXPECT_EQ(parent.id(), QStringLiteral("parent:") + dir.path());
    EXPECT_EQ(parent.name, QStringLiteral(".."));
    EXPECT_EQ(parent.localizedName(), QStringLiteral(".."));
    EXPECT_EQ(parent.url(), dir.path().section(QLatin1Char('/'), 0, -2));
    EXPECT_TRUE(parent.isDirectory && parent.isParent && parent.isReadable && parent.isWritable);
    EXPECT_FALSE(parent.isHidden || parent.isZipArchive || parent.size.has_value());
    EXPECT_EQ(parent.permissionMode(), QStringLiteral("drwx------"));
    EXPECT_EQ(parent.ownerName(), QStringLiteral("-"));
    EXPECT_EQ(parent.groupName(), QStringLiteral("-"));
    EXPECT_TRUE(parent.modificationDate().has_value());

    auto root = FileSystemService::listDirectory("/", false, FilerSortMode::name, true);
    ASSERT_TRUE(root.ok());
    ASSERT_FALSE(root->isEmpty());
    for (const FileEntry& row : *root) {
        EXPECT_FALSE(row.isParent);
        EXPECT_TRUE(row.id().startsWith(QLatin1String("/")) &&
                    row.id().count(QLatin1Char('/')) == 1);
    }
}

TEST_F(ListingTest, HiddenItemsAppearOnlyWhenAskedAndLeaveNoTraceOtherwise) {
    dir.makeFile(QStringLiteral(".secret"));
    dir.makeFolder(QStringLiteral(".config"));
    dir.makeFile(QStringLiteral("plain.txt"));
    EXPECT_EQ(names(list(false)), (QStringList{"..", "plain.txt"}));
    EXPECT_FALSE(FileAccessMemory::rememberedRecord(dir.filePath(".secret")).has_value());

    const QList<FileEntry> all = list(true);
    EXPECT_EQ(names(all), (QStringList{"..", ".config", ".secret", "plain.txt"}));
    EXPECT_TRUE(find(all, ".secret")->isHidden);
    EXPECT_FALSE(find(all, "plain.txt")->isHidden);
}

TEST_F(ListingTest, RowOfAFileCarriesItsValues) {
    const QString path = dir.makeFile(QStringLiteral("notes.txt"), QByteArray(1234, 'x'));
    dir.setMode(QStringLiteral("notes.txt"), 0644);
    const QList<FileEntry> rows = list();
    const FileEntry* row = find(rows, "notes.txt");
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->id(), path);
    EXPECT_EQ(row->url(), path);
    EXPECT_EQ(row->size, 1234);
    EXPECT_EQ(row->permissionMode(), QStringLiteral("-rw-r--r--"));
    EXPECT_TRUE(row->isReadable && row->isWritable);
    EXPECT_FALSE(row->isDirectory || row->zipArchiveURL() || row->zipEntryPath());
    EXPECT_NE(row->ownerName(), QStringLiteral("-"));
    ASSERT_TRUE(row->modificationDate().has_value());
    EXPECT_LT(qAbs(row->modificationDate()->secsTo(QDateTime::currentDateTimeUtc())), 60);
}

// Users and groups are numbered apart: 65534 is "nobody" and "nogroup" on
// Debian, and each name must come from its own table.
TEST_F(ListingTest, OwnerAndGroupNamesOfOneNumberAreLookedUpApart) {
    const uid_t id = 65534;
    const struct passwd* user = ::getpwuid(id);
    const struct group* group = ::getgrgid(id);
    EXPECT_EQ(AccountNames::userName(id), user ? QString::fromLocal8Bit(user->pw_name) : "-");
    EXPECT_EQ(AccountNames::groupName(id), group ? QString::fromLocal8Bit(group->gr_name) : "-");
}

TEST_F(ListingTest, OnlyTheOwnersBitsDecideReadableAndWritable) {
    const struct {
        const char* name;
        bool folder;
        int mode;
        bool readable, writable;
        const char* shown;
    } cases[] = {{"noexec", true, 0600, false, true, "drw-------"},
                 {"readonly", false, 0400, true, false, "-r--------"},
                 {"othersonly", true, 0077, false, false, "d---rwxrwx"}};
    for (const auto& c : cases) {
        c.folder ? dir.makeFolder(c.name) : dir.makeFile(c.name);
        dir.setMode(c.name, c.mode);
    }
    const QList<FileEntry> rows = list();
    for (const auto& c : cases) {
        const FileEntry* row = find(rows, c.name);
        ASSERT_NE(row, nullptr) << c.name;
        EXPECT_EQ(row->isReadable, c.readable) << c.name;
        EXPECT_EQ(row->isWritable, c.writable) << c.name;
        EXPECT_EQ(row->permissionMode(), c.shown) << c.name;
    }
}

TEST_F(ListingTest, ALinkIsNeverAFolderAndAnArchiveNameWinsOverTheLinkLetter) {
    dir.makeFolder(QStringLiteral("real"));
    dir.makeLink(QStringLiteral("tofolder"), dir.filePath("real"));
    dir.makeFile(QStringLiteral("data.bin"));
    dir.makeLink(QStringLiteral("bundle.zip"), dir.filePath("data.bin"));
    const QList<FileEntry> rows = list();

    const FileEntry* link = find(rows, "tofolder");
    EXPECT_FALSE(link->isDirectory);
    EXPECT_TRUE(link->permissionMode().startsWith(QLatin1Char('l')));
    EXPECT_TRUE(link->size.has_value());

    const FileEntry* archiveLink = find(rows, "bundle.zip");
    EXPECT_TRUE(archiveLink->isZipArchive);
    EXPECT_TRUE(archiveLink->permissionMode().startsWith(QLatin1Char('-')));
}

TEST_F(ListingTest, ArchiveNamesMarkFilesButNeverFolders) {
    for (const char* name : {"a.zip", "b.TAR", "c.tar.gz", "d.tgz", "e.lzh", "f.lha", "g.7z"}) {
        dir.makeFile(QString::fromLatin1(name));
    }
    dir.makeFolder(QStringLiteral("folder.zip"));
    const QList<FileEntry> rows = list();
    for (const char* name : {"a.zip", "b.TAR", "c.tar.gz", "d.tgz", "e.lzh", "f.lha"}) {
        EXPECT_TRUE(find(rows, QString::fromLatin1(name))->isZipArchive) << name;
    }
    EXPECT_FALSE(find(rows, "g.7z")->isZipArchive);
    EXPECT_FALSE(find(rows, "folder.zip")->isZipArchive);
}

TEST_F(ListingTest, MissingPathOrPlainFileIsNotADirectory) {
    const QString file = dir.makeFile(QStringLiteral("file.txt"));
    for (const QString& path : {dir.filePath("missing"), file}) {
        auto rows = FileSystemService::listDirectory(path, false, FilerSortMode::name, true);
        ASSERT_FALSE(rows.ok());
        EXPECT_EQ(rows.error().kind, FileSystemError::Kind::notADirectory);
        EXPECT_EQ(rows.error().description(), QStringLiteral("Not a directory: ") + path);
    }
}

TEST_F(ListingTest, UnlistableFolderFailsWithTheSystemsText) {
    // Root opens any folder, so the listing runs as an ordinary account.
    ::chmod(toSystemPath(dir.path()).constData(), 0755);
    dir.makeFolder(QStringLiteral("closed"));
    dir.setMode(QStringLiteral("closed"), 0000);
    const QString closed = dir.filePath("closed");
    const int status = runAsUnprivilegedUser([&] {
        auto rows = FileSystemService::listDirectory(closed, false, FilerSortMode::name, true);
        return !rows.ok() && rows.error().kind == FileSystemError::Kind::system &&
               rows.error().description() == QStringLiteral("Permission denied");
    });
    EXPECT_EQ(status, 0);
}

TEST_F(ListingTest, AnItemVanishingMidListingFailsTheWholeListing) {
    dir.makeFile(QStringLiteral("stays"));
    const QString goes = dir.makeFile(QStringLiteral("goes"));
    auto rows = FileSystemService::listDirectory(dir.path(), false, FilerSortMode::name, true,
                                                 [&] { QFile::remove(goes); });
    ASSERT_FALSE(rows.ok());
    EXPECT_EQ(rows.error().description(), QStringLiteral("No such file or directory"));
}

// Large enough that the listing reads it in two halves at once.
constexpr int kLargeFolderCount = 2200;

TEST_F(ListingTest, ALargeFolderListsEveryItemOnceInTheRowOrder) {
    for (int i = 1; i < kLargeFolderCount; ++i) {
        dir.makeFile(QStringLiteral("item%1").arg(i));
    }
    dir.makeFolder(QStringLiteral("item0"));
    dir.makeFile(QStringLiteral(".hidden"));
    const QList<FileEntry> rows = list();
    ASSERT_EQ(rows.size(), kLargeFolderCount + 1);
    const QStringList listed = names(rows);
    EXPECT_EQ(QSet<QString>(listed.begin(), listed.end()).size(), rows.size());
    for (qsizetype i = 1; i < rows.size(); ++i) {
        ASSERT_FALSE(
            FileSystemService::entryPrecedes(rows[i], rows[i - 1], FilerSortMode::name, true))
            << rows[i - 1].name.toStdString() << " / " << rows[i].name.toStdString();
        EXPECT_EQ(rows[i].url(), dir.path() + QLatin1Char('/') + rows[i].name);
    }
    EXPECT_EQ(rows.last().name, QStringLiteral("item2199"));
}

// The names of a folder in the order the system gives them.
QStringList systemOrder(const QString& path) {
    QStringList names;
    DIR* dir = ::opendir(QFile::encodeName(path).constData());
    while (const struct dirent* item = dir ? ::readdir(dir) : nullptr) {
        const QString name = QFile::decodeName(item->d_name);
        if (name != QLatin1String(".") && name != QLatin1String("..")) {
            names.append(name);
        }
    }
    if (dir) {
        ::closedir(dir);
    }
    return names;
}

TEST_F(ListingTest, AnItemVanishingInEitherHalfOfALargeFolderFailsTheWholeListing) {
    for (int i = 0; i < kLargeFolderCount; ++i) {
        dir.makeFile(QStringLiteral("item%1").arg(i));
    }
    const QStringList order = systemOrder(dir.path());
    // One item near the end of the system's order, then one near its start.
    for (const QString& goes : {order.at(order.size() - 2), order.at(1)}) {
        auto rows = FileSystemService::listDirectory(dir.path(), false, FilerSortMode::name, true,
                                                     [&] { QFile::remove(dir.filePath(goes)); });
        ASSERT_FALSE(rows.ok()) << goes.toStdString();
        EXPECT_EQ(rows.error().description(), QStringLiteral("No such file or directory"));
    }
}

} // namespace

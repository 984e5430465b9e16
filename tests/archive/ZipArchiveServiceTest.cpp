// Listing and reading ZIP archives made by Info-ZIP zip and bsdtar.
#include "archive/ZipArchiveService.h"
#include "core/SystemPath.h"

#include "ZipFixtures.h"

#include <QtConcurrent>

#include <gtest/gtest.h>

#include <cerrno>

using namespace ZipFixtures;
using ZipArchiveService::extractMemberData;
using ZipArchiveService::listMembers;

namespace {

QString u(const char* utf8) {
    return QString::fromUtf8(utf8);
}

QByteArray lines(int count) {
    QByteArray text;
    for (int i = 0; i < count; ++i) {
        text += "line " + QByteArray::number(i) + " of a text that deflates well\n";
    }
    return text;
}

QStringList paths(const QList<ArchiveMember>& members) {
    QStringList result;
    for (const ArchiveMember& member : members) {
        result.append(member.path);
    }
    return result;
}

} // namespace

TEST(ZipListing, InfoZipMembersComeInDirectoryOrderWithSizesAndLocalDates) {
    TestDir dir;
    const QByteArray big = lines(3000);
    dir.makeFile("readme.txt", "hello world\n");
    dir.makeFile("docs/big.txt", big);
    const QDateTime when(QDate(2021, 3, 4), QTime(5, 6, 8));
    for (const char* path : {"readme.txt", "docs/big.txt", "docs"}) {
        setModificationTime(dir.filePath(path), when);
    }
    run(dir.path(), "zip", {"-q", "a.zip", "readme.txt", "docs/", "docs/big.txt"});

    const auto members = listMembers(dir.filePath("a.zip"));
    ASSERT_TRUE(members) << members.error().description().toStdString();
    const QList<ArchiveMember> expected = {{"readme.txt", false, 12, when},
                                           {"docs/", true, 0, when},
                                           {"docs/big.txt", false, big.size(), when}};
    EXPECT_EQ(*members, expected);
    // The path is standardised first.
    EXPECT_EQ(listMembers(dir.path() + "/docs/../a.zip").value(), expected);
}

// Members written together share a stamp; one that differs between them
// keeps its own.
TEST(ZipListing, EachMemberKeepsItsOwnDateAmongNeighboursOfAnother) {
    TestDir dir;
    const QDateTime first(QDate(2021, 3, 4), QTime(5, 6, 8));
    const QDateTime second(QDate(2019, 12, 31), QTime(23, 59, 58));
    const QList<QDateTime> dates{first, first, second, first};
    QStringList names;
    for (qsizetype i = 0; i < dates.size(); ++i) {
        names.append(QStringLiteral("m%1.txt").arg(i));
        dir.makeFile(names.last(), "x");
        setModificationTime(dir.filePath(names.last()), dates[i]);
    }
    run(dir.path(), "zip", QStringList{"-q", "d.zip"} + names);
    const auto members = listMembers(dir.filePath("d.zip"));
    ASSERT_TRUE(members);
    QList<QDateTime> listed;
    for (const ArchiveMember& member : *members) {
        listed.append(member.modificationDate.value_or(QDateTime()));
    }
    EXPECT_EQ(listed, dates);
}

TEST(ZipListing, JapaneseNamesWithoutTheUTF8FlagAreCP932) {
    TestDir dir;
    const RemovedWithTheTest rawNames(dir.makeFolder("src"));
    // Names as a Japanese Windows tool leaves them: "ソ表.txt" is 83 5C 95 5C
    // in CP932, both trail bytes 0x5C; "①.txt" is the NEC vendor pair 87 40.
    makeRawNamedFile(dir.filePath("src"), "\x83\x5C\x95\x5C.txt", "sore");
    makeRawNamedFile(dir.filePath("src"), "\x87\x40.txt", "maru");
    // A name from an old Windows tool that used "\" as separator.
    makeRawNamedFile(dir.filePath("src"), "old\\win\\file.txt", "old");
    run(dir.filePath("src"), "sh", {"-c", "zip -q ../names.zip *"});

    const auto members = listMembers(dir.filePath("names.zip"));
    ASSERT_TRUE(members);
    QStringList names = paths(*members);
    names.sort();
    EXPECT_EQ(names, (QStringList{"old/win/file.txt", u("①.txt"), u("ソ表.txt")}));
    EXPECT_EQ(extractMemberData(dir.filePath("names.zip"), u("ソ表.txt")).value(), "sore");
    EXPECT_EQ(extractMemberData(dir.filePath("names.zip"), "old/win/file.txt").value(), "old");
}

TEST(ZipListing, BsdtarArchivesWithUTF8NamesAndDataDescriptors) {
    TestDir dir;
    // Past 64 KiB, so the inflate buffer has to grow.
    const QByteArray big = lines(5000);
    dir.makeFile(u("日本語/ファイル.txt"), big);
    dir.makeFile("empty.txt");
    run(dir.path(), "bsdtar", {"--format", "zip", "-cf", "b.zip", u("日本語"), "empty.txt"});

    const auto members = listMembers(dir.filePath("b.zip"));
    ASSERT_TRUE(members);
    EXPECT_EQ(paths(*members), (QStringList{u("日本語/"), u("日本語/ファイル.txt"), "empty.txt"}));
    EXPECT_EQ(extractMemberData(dir.filePath("b.zip"), u("日本語/ファイル.txt")).value(), big);
    EXPECT_EQ(extractMemberData(dir.filePath("b.zip"), "empty.txt").value(), QByteArray());
}

TEST(ZipExtraction, ATrailingSlashFindsTheFileAndDirectoriesAreNeverReturned) {
    TestDir dir;
    dir.makeFile("notes", "n");
    dir.makeFile("docs/a.txt", "a");
    run(dir.path(), "zip", {"-q", "a.zip", "notes", "docs/", "docs/a.txt"});
    const QString zip = dir.filePath("a.zip");

    EXPECT_EQ(extractMemberData(zip, "notes/").value(), "n");
    for (const char* path : {"docs/", "docs", "missing.txt"}) {
        EXPECT_EQ(extractMemberData(zip, path).error().description(),
                  QString("Cannot read ") + path + " from ZIP: Entry not found");
    }
    // A missing archive gives the system's error.
    for (const auto& error : {listMembers(dir.filePath("none.zip")).error(),
                              extractMemberData(dir.filePath("none.zip"), "a").error()}) {
        EXPECT_EQ(error.kind, ZipArchiveError::Kind::system);
        EXPECT_EQ(error.systemError.code, ENOENT);
    }
}

TEST(ZipListing, TheCacheIsKeptUntilTheArchiveGetsANewDate) {
    TestDir dir;
    dir.makeFile("one.txt", "1");
    dir.makeFile("two.txt", "2");
    run(dir.path(), "zip", {"-q", "first.zip", "one.txt"});
    run(dir.path(), "zip", {"-q", "second.zip", "one.txt", "two.txt"});
    const QString zip = dir.filePath("first.zip");
    const QDateTime stamp = QDateTime::currentDateTime().addSecs(-100);
    setModificationTime(zip, stamp);
    ASSERT_EQ(paths(listMembers(zip).value()), QStringList{"one.txt"});

    // Other content under the same date: the listing comes from the cache.
    writeFile(zip, readFile(dir.filePath("second.zip")));
    setModificationTime(zip, stamp);
    EXPECT_EQ(paths(listMembers(zip).value()), QStringList{"one.txt"});

    setModificationTime(zip, stamp.addSecs(1));
    EXPECT_EQ(paths(listMembers(zip).value()), (QStringList{"one.txt", "two.txt"}));
}

TEST(ZipListing, ManyThreadsListAndReadTheSameArchive) {
    TestDir dir;
    const QByteArray text = lines(1000);
    dir.makeFile("t.txt", text);
    run(dir.path(), "zip", {"-q", "a.zip", "t.txt"});
    const QString zip = dir.filePath("a.zip");
    const QList<int> runs(32, 0);
    const QList<bool> good = QtConcurrent::blockingMapped(runs, [&](int) {
        return listMembers(zip).value().size() == 1 &&
               extractMemberData(zip, "t.txt").value() == text;
    });
    EXPECT_EQ(good, QList<bool>(32, true));
}

TEST(ZipNames, DecodingChainFromFlagToRepair) {
    using ZipArchiveService::decodeEntryName;
    EXPECT_EQ(decodeEntryName("plain/ascii.txt", false), "plain/ascii.txt");
    EXPECT_EQ(decodeEntryName("\xE6\x97\xA5.txt", false), u("日.txt"));
    EXPECT_EQ(decodeEntryName("\xE6\x97\xA5.txt", true), u("日.txt"));
    // Flagged as UTF-8 but not UTF-8: CP932 takes over.
    EXPECT_EQ(decodeEntryName("\x93\xFA.txt", true), u("日.txt"));
    // Structurally UTF-8 yet overlong, so not UTF-8; CP932 reads half-width kana.
    EXPECT_EQ(decodeEntryName("\xC0\xAF", false), u("ﾀｯ"));
    // Neither UTF-8 nor CP932: the bytes are kept, as in a file name on disk.
    EXPECT_EQ(decodeEntryName("a\xFF\x80", false), fromSystemPath("a\xFF\x80"));
    EXPECT_EQ(decodeEntryName("", false), "");
}

TEST(ZipNames, DosDatesRollOverLikeACalendar) {
    using ZipArchiveService::dosDateTime;
    const auto stamp = [](int year, int month, int day, int hour, int minute, int second) {
        return std::make_pair(uint16_t(((year - 1980) << 9) | (month << 5) | day),
                              uint16_t((hour << 11) | (minute << 5) | (second / 2)));
    };
    const struct {
        std::pair<uint16_t, uint16_t> dos;
        QDateTime expected;
    } cases[] = {
        {stamp(2024, 2, 29, 23, 59, 58), {QDate(2024, 2, 29), QTime(23, 59, 58)}},
        {stamp(2023, 13, 1, 0, 0, 0), {QDate(2024, 1, 1), QTime(0, 0)}},
        {stamp(2023, 3, 0, 0, 0, 0), {QDate(2023, 2, 28), QTime(0, 0)}},
        {stamp(2023, 2, 31, 0, 0, 0), {QDate(2023, 3, 3), QTime(0, 0)}},
        {stamp(2023, 5, 5, 31, 63, 62), {QDate(2023, 5, 6), QTime(8, 4, 2)}},
        {{0, 0}, {QDate(1979, 11, 30), QTime(0, 0)}},
    };
    for (const auto& [dos, expected] : cases) {
        EXPECT_EQ(dosDateTime(dos.first, dos.second), expected)
            << expected.toString().toStdString();
    }
}

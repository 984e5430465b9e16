// LHA archives with CP932 names, made by jlha or written byte by byte, read
// through the real lsar, unar and lha.
#include "archive/ArchiveService.h"
#include "archive/ArchiveToolOutput.h"

#include "ZipFixtures.h"

#include <QDirIterator>

#include <gtest/gtest.h>

using ZipFixtures::run;

namespace {

// "表" is 0x95 0x5C in CP932: its trail byte is a backslash.
const QString kKatakana = QStringLiteral("テスト.txt");
const QString kTrailBackslash = QStringLiteral("表/ソ.txt");
const QString kVendor = QStringLiteral("①.txt");

// A level-0 LHA archive of stored members with the given raw name bytes: the
// way to hand the tools names such as "../../x" that no archiver writes.
QByteArray storedLha(const QList<std::pair<QByteArray, QByteArray>>& members) {
    using ZipFixtures::le16;
    using ZipFixtures::le32;
    QByteArray archive;
    for (const auto& [name, data] : members) {
        uint16_t crc = 0; // CRC-16/ARC of the data
        for (const char byte : data) {
            crc ^= uint8_t(byte);
            for (int bit = 0; bit < 8; ++bit) {
                crc = (crc & 1) ? uint16_t((crc >> 1) ^ 0xA001) : uint16_t(crc >> 1);
            }
        }
        // Packed and original size, the DOS date 2020-01-01 00:00, the
        // attribute "archive" and header level 0, the name and the CRC.
        const QByteArray header = "-lh0-" + le32(uint32_t(data.size())) +
                                  le32(uint32_t(data.size())) + le32(0x50210000) +
                                  QByteArray("\x20\x00", 2) + char(name.size()) + name + le16(crc);
        uint8_t sum = 0;
        for (const char byte : header) {
            sum = uint8_t(sum + uint8_t(byte));
        }
        archive.append(char(header.size()));
        archive.append(char(sum));
        archive.append(header + data);
    }
    return archive + '\0';
}

class LhaArchiveTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        fixtures = new TestDir;
        fixtures->makeFile(QStringLiteral("src/") + kKatakana, "katakana\n");
        fixtures->makeFile(QStringLiteral("src/") + kTrailBackslash, "trail byte\n");
        fixtures->makeFile(QStringLiteral("src/") + kVendor, "vendor row\n");
        fixtures->makeFile(QStringLiteral("src/plain.txt"), "ascii\n");
        japanese = fixtures->filePath(QStringLiteral("japanese.lzh"));
        // jlha encodes header names with the Java charset named by lha.encoding.
        run(fixtures->filePath("src"), "env",
            {"JAVA_TOOL_OPTIONS=-Dlha.encoding=MS932", "lha", "a", japanese, kKatakana,
             kTrailBackslash, kVendor, "plain.txt"});
    }
    static void TearDownTestSuite() {
        delete fixtures;
        fixtures = nullptr;
    }
    void SetUp() override { ASSERT_TRUE(QFile::exists(japanese)) << "jlha made no archive"; }

    static inline TestDir* fixtures = nullptr;
    static inline QString japanese;
    TestDir dir;
};

TEST_F(LhaArchiveTest, Cp932NamesListInJapanese) {
    const auto members = ArchiveService::listMembers(japanese);
    ASSERT_TRUE(members) << members.error().description().toStdString();
    QStringList paths;
    for (const ArchiveMember& member : *members) {
        paths << member.path;
        EXPECT_FALSE(member.isDirectory);
        EXPECT_FALSE(member.modificationDate);
    }
    EXPECT_EQ(paths,
              (QStringList{kKatakana, kTrailBackslash, kVendor, QStringLiteral("plain.txt")}));
    EXPECT_EQ(members->first().size, 9);

    // The listing of the lha installed here, as the fallback without lsar reads it.
    const auto listed = ArchiveToolOutput::parseLhaList(run(dir.path(), "lha", {"l", japanese}));
    ASSERT_EQ(listed.size(), 4);
    EXPECT_EQ(listed.last(), (ArchiveMember{QStringLiteral("plain.txt"), false, 0, std::nullopt}));
}

TEST_F(LhaArchiveTest, MembersAreExtractedByTheirJapaneseNames) {
    const std::pair<QString, QByteArray> cases[] = {{kKatakana, "katakana\n"},
                                                    {kTrailBackslash, "trail byte\n"},
                                                    {kVendor, "vendor row\n"},
                                                    {QStringLiteral("./plain.txt"), "ascii\n"},
                                                    {QStringLiteral("ソ.txt"), "trail byte\n"}};
    for (const auto& [member, bytes] : cases) {
        SCOPED_TRACE(member.toStdString());
        const auto data = ArchiveService::extractMemberData(japanese, member);
        ASSERT_TRUE(data) << data.error().description().toStdString();
        EXPECT_EQ(*data, bytes);
    }
    EXPECT_EQ(ArchiveService::extractMemberData(japanese, QStringLiteral("none.txt")).error(),
              ArchiveError::extractFailed(QStringLiteral("none.txt"),
                                          QStringLiteral("lha produced empty output")));
    EXPECT_EQ(ArchiveService::extractMemberData(japanese, QStringLiteral("/")).error(),
              ArchiveError::extractFailed(QStringLiteral("/"), QStringLiteral("Empty path")));
    // A tool that fails without words is reported by its exit status.
    const QString broken = dir.makeFile(QStringLiteral("broken.lzh"), "not an archive at all");
    EXPECT_EQ(ArchiveService::listMembers(broken).error().description(),
              QStringLiteral("Cannot list archive: exit 1"));
}

TEST_F(LhaArchiveTest, HostileNamesNeverLeadOutOfTheExtractionFolder) {
    // The empty member gives no output on the direct ways and so goes
    // through a temporary folder on disk.
    const std::pair<QByteArray, QByteArray> members[] = {
        {"../../up", "UP"}, {"/etc/dorvik-abs", "ABS"}, {"-dash", "DASH"}, {"../../empty", ""}};
    const QString archive = dir.makeFile(QStringLiteral("hostile.lzh"),
                                         storedLha({std::begin(members), std::end(members)}));
    const QString temporary = dir.makeFolder(QStringLiteral("a/b/tmp"));
    const QByteArray savedTmp = qgetenv("TMPDIR");
    qputenv("TMPDIR", temporary.toUtf8());
    {
        const ZipFixtures::InFolder inTemporary(temporary);
        for (const auto& [member, bytes] : members) {
            const auto data = ArchiveService::extractMemberData(archive, QString::fromUtf8(member));
            EXPECT_EQ(data ? *data : data.error().description().toUtf8(), bytes) << member.data();
        }
    }
    qputenv("TMPDIR", savedTmp);

    QStringList written;
    QDirIterator walk(dir.path(), QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                      QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        written << QDir(dir.path()).relativeFilePath(walk.next());
    }
    written.sort();
    // Nothing but what the test made and the private folder, empty again:
    // every extraction folder is gone.
    const QString own = QStringLiteral("a/b/tmp/Dorvik-archive-") + QString::number(::geteuid());
    EXPECT_EQ(written, (QStringList{"a", "a/b", "a/b/tmp", own, "hostile.lzh"}));
    EXPECT_FALSE(QFile::exists(QStringLiteral("/etc/dorvik-abs")));
}

TEST_F(LhaArchiveTest, FoldersListAsFoldersAndLhaPrintsMembersWithoutItsBanner) {
    dir.makeFolder(QStringLiteral("src/empty"));
    dir.makeFile(QStringLiteral("src/n.txt"), "abc");
    const QString archive = dir.filePath(QStringLiteral("folders.lzh"));
    run(dir.filePath("src"), "lha", {"a", archive, "empty", "n.txt"});
    const auto members = ArchiveService::listMembers(archive);
    ASSERT_TRUE(members) << members.error().description().toStdString();
    EXPECT_EQ(*members, (QList<ArchiveMember>{{QStringLiteral("empty/"), true, 0, std::nullopt},
                                              {QStringLiteral("n.txt"), false, 3, std::nullopt}}));
    // What the fallback without unar reads from `lha p`.
    EXPECT_EQ(ArchiveToolOutput::lhaPrintedMember(run(dir.path(), "lha", {"p", archive, "n.txt"})),
              "abc");
}

} // namespace

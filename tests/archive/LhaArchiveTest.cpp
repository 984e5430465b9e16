// LHA archives with CP932 names, made by jlha or written byte by byte, read
// through the real lsar, unar and lha.
#include "archive/ArchiveFixtures.h"
#include "archive/ArchiveService.h"
#include "archive/ArchiveToolOutput.h"
#include "support/TestDir.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>

#include <gtest/gtest.h>

namespace {

// "表" is 0x95 0x5C in CP932: its trail byte is a backslash.
const QString kKatakana = QStringLiteral("テスト.txt");
const QString kTrailBackslash = QStringLiteral("表/ソ.txt");
const QString kVendor = QStringLiteral("①.txt");

class LhaArchiveTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        fixtures = new TestDir;
        fixtures->makeFile(QStringLiteral("src/") + kKatakana, "katakana\n");
        fixtures->makeFile(QStringLiteral("src/") + kTrailBackslash, "trail byte\n");
        fixtures->makeFile(QStringLiteral("src/") + kVendor, "vendor row\n");
        fixtures->makeFile(QStringLiteral("src/plain.txt"), "ascii\n");
        japanese = fixtures->filePath(QStringLiteral("japanese.lzh"));
        made = ArchiveFixtures::makeLha(
            japanese, fixtures->filePath(QStringLiteral("src")),
            {kKatakana, kTrailBackslash, kVendor, QStringLiteral("plain.txt")});
    }
    static void TearDownTestSuite() {
        delete fixtures;
        fixtures = nullptr;
    }
    void SetUp() override { ASSERT_TRUE(made) << "jlha could not make the archive"; }

    static inline TestDir* fixtures = nullptr;
    static inline QString japanese;
    static inline bool made = false;
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
    const auto missing = ArchiveService::extractMemberData(japanese, QStringLiteral("none.txt"));
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.error(),
              ArchiveError::extractFailed(QStringLiteral("none.txt"),
                                          QStringLiteral("lha produced empty output")));
    EXPECT_EQ(ArchiveService::extractMemberData(japanese, QStringLiteral("/")).error(),
              ArchiveError::extractFailed(QStringLiteral("/"), QStringLiteral("Empty path")));
}

TEST_F(LhaArchiveTest, TheLhaListingKeepsTheLastWordOfEachLine) {
    // The listing of the lha installed here, as the fallback without lsar reads it.
    QProcess process;
    process.start(QStringLiteral("lha"), {QStringLiteral("l"), japanese});
    ASSERT_TRUE(process.waitForFinished(60000));
    const auto members = ArchiveToolOutput::parseLhaList(process.readAllStandardOutput());
    ASSERT_EQ(members.size(), 4);
    EXPECT_EQ(members.last(), (ArchiveMember{QStringLiteral("plain.txt"), false, 0, std::nullopt}));
}

TEST_F(LhaArchiveTest, HostileNamesNeverLeadOutOfTheExtractionFolder) {
    // The empty member gives no output on the direct ways and so goes
    // through a temporary folder on disk.
    const QString archive = dir.makeFile(QStringLiteral("hostile.lzh"),
                                         ArchiveFixtures::storedLha({{"../../up", "UP"},
                                                                     {"/etc/dorvik-abs", "ABS"},
                                                                     {"-dash", "DASH"},
                                                                     {"../../empty", ""}}));
    const QString temporary = dir.makeFolder(QStringLiteral("a/b/tmp"));
    const QByteArray savedTmp = qgetenv("TMPDIR");
    qputenv("TMPDIR", temporary.toUtf8());
    const QString previous = QDir::currentPath();
    QDir::setCurrent(temporary);

    const std::pair<QString, QByteArray> cases[] = {{QStringLiteral("../../up"), "UP"},
                                                    {QStringLiteral("/etc/dorvik-abs"), "ABS"},
                                                    {QStringLiteral("-dash"), "DASH"},
                                                    {QStringLiteral("../../empty"), ""}};
    for (const auto& [member, bytes] : cases) {
        SCOPED_TRACE(member.toStdString());
        const auto data = ArchiveService::extractMemberData(archive, member);
        ASSERT_TRUE(data) << data.error().description().toStdString();
        EXPECT_EQ(*data, bytes);
    }
    QDir::setCurrent(previous);
    qputenv("TMPDIR", savedTmp);

    QStringList written;
    QDirIterator walk(dir.path(), QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                      QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        written << QDir(dir.path()).relativeFilePath(walk.next());
    }
    written.sort();
    // Nothing but what the test made: every extraction folder is gone again.
    EXPECT_EQ(written, (QStringList{QStringLiteral("a"), QStringLiteral("a/b"),
                                    QStringLiteral("a/b/tmp"), QStringLiteral("hostile.lzh")}));
    EXPECT_FALSE(QFile::exists(QStringLiteral("/etc/dorvik-abs")));
}

TEST_F(LhaArchiveTest, AFailingToolWithoutWordsReportsItsExitStatus) {
    const QString broken = dir.makeFile(QStringLiteral("broken.lzh"), "not an archive at all");
    const auto members = ArchiveService::listMembers(broken);
    ASSERT_FALSE(members);
    EXPECT_EQ(members.error().description(), QStringLiteral("Cannot list archive: exit 1"));
}

} // namespace

// tar and tar.gz archives through the real tar: listing, the "./" retry, and
// member names that try to pass for options or to leave the folder.
#include "archive/ArchiveRows.h"
#include "archive/ArchiveService.h"
#include "archive/ArchiveTemporaryFolder.h"
#include "core/FileDescriptor.h"
#include "core/SystemPath.h"
#include "text/ShownFileName.h"

#include "ZipFixtures.h"
#include "support/CountingExecutor.h"

#include <QEventLoop>
#include <QFileInfo>
#include <QThread>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

using ZipFixtures::InFolder;

namespace {

class TarArchiveTest : public ::testing::Test {
protected:
    // Makes an archive of files of folder "src" with tar's own options.
    QString makeTar(const QString& name, const QStringList& options, const QStringList& files) {
        ZipFixtures::run(dir.filePath("src"), "tar",
                         options + QStringList{dir.filePath(name), "--"} + files);
        return dir.filePath(name);
    }
    QString alphaTar() {
        dir.makeFile(QStringLiteral("src/a.txt"), "alpha");
        return makeTar(QStringLiteral("a.tar"), {"-cf"}, {"a.txt"});
    }
    static QByteArray extracted(const QString& archive, const QString& member) {
        const auto bytes = ArchiveService::extractMemberData(archive, member);
        return bytes ? *bytes : "(error) " + bytes.error().description().toUtf8();
    }

    TestDir dir;
};

TEST_F(TarArchiveTest, MembersStoredWithDotSlashListWithoutItAndAreFoundByTheRetry) {
    dir.makeFile(QStringLiteral("src/a.txt"), "alpha");
    dir.makeFile(QStringLiteral("src/sub/b.txt"), "beta");
    for (const auto& [name, option] :
         {std::pair{"plain.tar", "-cf"}, std::pair{"packed.tgz", "-czf"},
          std::pair{"PACKED.TAR.GZ", "-czf"}}) {
        SCOPED_TRACE(name);
        const QString archive = makeTar(name, {option}, {"./a.txt", "./sub"});
        const auto members = ArchiveService::listMembers(archive);
        ASSERT_TRUE(members) << members.error().description().toStdString();
        const QList<ArchiveMember> expected = {{"a.txt", false, 0, std::nullopt},
                                               {"sub/", true, 0, std::nullopt},
                                               {"sub/b.txt", false, 0, std::nullopt}};
        EXPECT_EQ(*members, expected);
        EXPECT_EQ(extracted(archive, "sub/b.txt"), "beta");
        // A leading "/" or "./" in the asked path is normalised away first.
        EXPECT_EQ(extracted(archive, "/./a.txt"), "alpha");

        // A missing member reports tar's own words about the last try, as a
        // failure to read that member.
        const auto missing = ArchiveService::extractMemberData(archive, "nothere");
        ASSERT_FALSE(missing);
        EXPECT_EQ(missing.error().kind, ArchiveError::Kind::extractFailed);
        EXPECT_TRUE(missing.error().description().startsWith("Cannot read nothere: "))
            << missing.error().description().toStdString();
        EXPECT_TRUE(missing.error().reason.contains("./nothere"))
            << missing.error().reason.toStdString();
    }
}

TEST_F(TarArchiveTest, NamesComeAsTheirBytesWhateverTheProgramsLocale) {
    // Under the C locale tar would print each byte of a Japanese name, and a
    // tab in any name, as a backslash escape, which the listing would then
    // take for folders.
    const QString japanese = QStringLiteral("日本語のメモ.txt");
    const QString tabbed = QStringLiteral("a\tb.txt");
    dir.makeFile(QStringLiteral("src/") + japanese, "nihongo");
    dir.makeFile(QStringLiteral("src/") + tabbed, "tab");
    const QString archive = makeTar(QStringLiteral("names.tar"), {"-cf"}, {japanese, tabbed});
    const std::optional<QByteArray> savedLocale =
        qEnvironmentVariableIsSet("LC_ALL") ? std::optional(qgetenv("LC_ALL")) : std::nullopt;
    qputenv("LC_ALL", "C");
    const auto members = ArchiveService::listMembers(archive);
    const QByteArray bytes = extracted(archive, japanese);
    savedLocale ? qputenv("LC_ALL", *savedLocale) : qunsetenv("LC_ALL");
    ASSERT_TRUE(members) << members.error().description().toStdString();
    const QList<ArchiveMember> expected = {{japanese, false, 0, std::nullopt},
                                           {tabbed, false, 0, std::nullopt}};
    EXPECT_EQ(*members, expected);
    EXPECT_EQ(bytes, "nihongo");
}

// Members whose names are not UTF-8, stored by tar with the bytes of files
// made with raw names: "bad\xff\xfe.txt" and "bad\xfe\xff.txt" (two names
// that differ only in bytes that are not UTF-8), and "ソフト.txt" in
// Shift_JIS, whose "ソ" ends in 0x5C, a backslash. They list as their
// bytes, stay apart, show as a folder's rows do, and are read and copied
// by those bytes.
TEST_F(TarArchiveTest, NamesThatAreNotUtf8KeepTheirBytesFromListingToCopy) {
    const QByteArray sjis("\x83\x5c\x83\x74\x83\x67.txt");
    const QList<std::pair<QByteArray, QByteArray>> files = {
        {"bad\xff\xfe.txt", "first"}, {"bad\xfe\xff.txt", "second"}, {sjis, "sofuto"}};
    const QByteArray src = toSystemPath(dir.makeFolder(QStringLiteral("src")));
    for (const auto& [name, bytes] : files) {
        TestDir::makeFileAt(src + '/' + name, bytes);
    }
    const QString archive = makeTar(QStringLiteral("names.tar"), {"-cf"}, {"."});
    const auto members = ArchiveService::listMembers(archive);
    ASSERT_TRUE(members) << members.error().description().toStdString();
    QStringList paths;
    for (const ArchiveMember& member : *members) {
        paths.append(member.path);
    }
    for (const auto& [name, bytes] : files) {
        SCOPED_TRACE(name.toHex().toStdString());
        ASSERT_TRUE(paths.contains(fromSystemPath(name)));
        EXPECT_EQ(extracted(archive, fromSystemPath(name)), bytes);
        const auto copy =
            ArchiveService::extractMemberToTemporaryFile(archive, fromSystemPath(name));
        ASSERT_TRUE(copy) << copy.error().description().toStdString();
        EXPECT_TRUE(toSystemPath(*copy).endsWith('-' + name));
        auto file = openRegularQFile(*copy);
        ASSERT_TRUE(file);
        EXPECT_EQ((*file)->readAll(), bytes);
        ArchiveTemporaryFolder::remove(*copy);
    }
    const QList<FileEntry> rows = ArchiveRows::entriesFromMembers(
        archive, *members, {}, true, FilerSortMode::name, true, std::nullopt);
    QStringList shown;
    for (const FileEntry& row : rows) {
        shown.append(row.localizedName());
    }
    const QStringList expected = {"..", "bad\\xFE\\xFF.txt", "bad\\xFF\\xFE.txt",
                                  QStringLiteral("ソフト.txt") + ShownFileName::legacyMark};
    EXPECT_EQ(shown, expected);
}

TEST_F(TarArchiveTest, MemberNamesThatLookLikeOptionsAreReadAsNames) {
    const QString evil = QStringLiteral("--checkpoint-action=exec=touch PWNED");
    const QString sibling = QStringLiteral("--checkpoint=1");
    dir.makeFile(QStringLiteral("src/") + evil, "evil bytes");
    dir.makeFile(QStringLiteral("src/") + sibling, "sibling bytes");
    const QString archive = makeTar(QStringLiteral("hostile.tar"), {"-cf"}, {evil, sibling});
    const auto members = ArchiveService::listMembers(archive);
    ASSERT_TRUE(members);
    ASSERT_EQ(members->size(), 2);
    EXPECT_EQ(members->at(0).path, evil);

    // tar inherits our working folder: that is where "touch PWNED" would land.
    const InFolder work(dir.makeFolder(QStringLiteral("work")));
    EXPECT_EQ(extracted(archive, evil), "evil bytes");
    EXPECT_EQ(extracted(archive, sibling), "sibling bytes");
    EXPECT_FALSE(QFileInfo::exists(dir.filePath(QStringLiteral("work/PWNED"))));
    EXPECT_FALSE(QFileInfo::exists(dir.filePath(QStringLiteral("src/PWNED"))));
}

TEST_F(TarArchiveTest, TraversingNamesComeBackAsBytesAndWriteNothing) {
    // GNU tar strips "../" when creating, so the names are set by a transform.
    dir.makeFile(QStringLiteral("src/x"), "escaped");
    dir.makeFile(QStringLiteral("src/y"), "absolute");
    const QString archive = makeTar(
        QStringLiteral("up.tar"),
        {"--absolute-names", "--transform=s,^x$,../../x,;s,^y$,/etc/dorvik-y,", "-cf"}, {"x", "y"});
    QFile::remove(dir.filePath(QStringLiteral("src/x")));
    const InFolder deep(dir.makeFolder(QStringLiteral("a/b")));
    EXPECT_EQ(extracted(archive, "../../x"), "escaped");
    EXPECT_EQ(extracted(archive, "/etc/dorvik-y"), "absolute");
    EXPECT_FALSE(QFileInfo::exists(dir.filePath(QStringLiteral("x"))));
    EXPECT_FALSE(QFileInfo::exists(dir.filePath(QStringLiteral("src/x"))));
    EXPECT_FALSE(QFileInfo::exists(QStringLiteral("/etc/dorvik-y")));
}

TEST_F(TarArchiveTest, KindsOutsideTheFourAreUnsupportedAndTheTemporaryCopyIsFresh) {
    const QString archive = alphaTar();
    const QString other = dir.makeFile(QStringLiteral("a.tar.bz2"), "x");
    EXPECT_EQ(ArchiveService::listMembers(other).error().description(),
              QStringLiteral("Unsupported archive: a.tar.bz2"));
    EXPECT_EQ(ArchiveService::extractMemberToTemporaryFile(other, "a").error().kind,
              ArchiveError::Kind::unsupported);

    const auto first = ArchiveService::extractMemberToTemporaryFile(archive, "a.txt");
    const auto second = ArchiveService::extractMemberToTemporaryFile(archive, "a.txt");
    ASSERT_TRUE(first && second);
    EXPECT_NE(*first, *second);
    for (const QString& copy : {*first, *second}) {
        EXPECT_EQ(QFileInfo(copy).dir().path(),
                  QDir::tempPath() + "/Dorvik-archive-" + QString::number(::geteuid()));
        EXPECT_TRUE(copy.endsWith(QStringLiteral("-a.txt")));
        EXPECT_EQ(ZipFixtures::readFile(copy), "alpha");
        QFile::remove(copy);
    }
}

TEST_F(TarArchiveTest, BackgroundWorkAnswersOnTheCallersThreadOrNotAtAll) {
    const QString archive = alphaTar();
    CountingExecutor executor;
    QObject context;
    QEventLoop loop;
    std::optional<ArchiveService::ArchiveResult<QByteArray>> answer;
    Qt::HANDLE answeredOn = nullptr;
    ArchiveService::extractMemberDataInBackground(executor, archive, "a.txt", &context,
                                                  [&](auto result) {
                                                      answer = std::move(result);
                                                      answeredOn = QThread::currentThreadId();
                                                      loop.quit();
                                                  });
    loop.exec();
    ASSERT_TRUE(answer && *answer);
    EXPECT_EQ(answer->value(), "alpha");
    EXPECT_EQ(answeredOn, QThread::currentThreadId());

    bool called = false;
    auto* gone = new QObject;
    ArchiveService::listMembersInBackground(executor, archive, gone, [&](auto) { called = true; });
    delete gone;
    ASSERT_TRUE(executor.waitForPosted(2));
    EXPECT_FALSE(called);
}

} // namespace

// tar and tar.gz archives through the real tar: listing, the "./" retry, and
// member names that try to pass for options.
#include "archive/ArchiveFixtures.h"
#include "archive/ArchiveService.h"
#include "support/TestDir.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QThread>
#include <QThreadPool>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

using ArchiveFixtures::run;

namespace {

class TarArchiveTest : public ::testing::Test {
protected:
    // Makes an archive of the given files of folder "src" with tar's own options.
    QString makeTar(const QString& name, const QStringList& options, const QStringList& files) {
        const QString archive = dir.filePath(name);
        EXPECT_EQ(run(QStringLiteral("tar"),
                      options + QStringList{archive, QStringLiteral("--")} + files,
                      dir.filePath(QStringLiteral("src"))),
                  0);
        return archive;
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
        const QString archive = makeTar(QString::fromLatin1(name), {QString::fromLatin1(option)},
                                        {QStringLiteral("./a.txt"), QStringLiteral("./sub")});
        const auto members = ArchiveService::listMembers(archive);
        ASSERT_TRUE(members) << members.error().description().toStdString();
        const QList<ArchiveMember> expected = {
            {QStringLiteral("a.txt"), false, 0, std::nullopt},
            {QStringLiteral("sub/"), true, 0, std::nullopt},
            {QStringLiteral("sub/b.txt"), false, 0, std::nullopt}};
        EXPECT_EQ(*members, expected);

        const auto bytes = ArchiveService::extractMemberData(archive, QStringLiteral("sub/b.txt"));
        ASSERT_TRUE(bytes) << bytes.error().description().toStdString();
        EXPECT_EQ(*bytes, "beta");
        // A leading "/" or "./" in the asked path is normalised away first.
        EXPECT_EQ(ArchiveService::extractMemberData(archive, QStringLiteral("/./a.txt")).value(),
                  "alpha");
    }
}

TEST_F(TarArchiveTest, AMissingMemberReportsTarsOwnWords) {
    dir.makeFile(QStringLiteral("src/a.txt"), "alpha");
    const QString archive =
        makeTar(QStringLiteral("a.tar"), {QStringLiteral("-cf")}, {QStringLiteral("a.txt")});
    const auto bytes = ArchiveService::extractMemberData(archive, QStringLiteral("nothere"));
    ASSERT_FALSE(bytes);
    EXPECT_EQ(bytes.error().kind, ArchiveError::Kind::listFailed);
    EXPECT_TRUE(bytes.error().description().startsWith(QStringLiteral("Cannot list archive: ")));
    EXPECT_TRUE(bytes.error().reason.contains(QStringLiteral("./nothere")))
        << bytes.error().reason.toStdString();
}

TEST_F(TarArchiveTest, MemberNamesThatLookLikeOptionsAreReadAsNames) {
    const QString evil = QStringLiteral("--checkpoint-action=exec=touch PWNED");
    const QString sibling = QStringLiteral("--checkpoint=1");
    dir.makeFile(QStringLiteral("src/") + evil, "evil bytes");
    dir.makeFile(QStringLiteral("src/") + sibling, "sibling bytes");
    dir.makeFolder(QStringLiteral("work"));
    const QString archive =
        makeTar(QStringLiteral("hostile.tar"), {QStringLiteral("-cf")}, {evil, sibling});
    const auto members = ArchiveService::listMembers(archive);
    ASSERT_TRUE(members);
    ASSERT_EQ(members->size(), 2);
    EXPECT_EQ(members->at(0).path, evil);

    // tar inherits our working folder: that is where "touch PWNED" would land.
    const QString previous = QDir::currentPath();
    QDir::setCurrent(dir.filePath(QStringLiteral("work")));
    const auto evilBytes = ArchiveService::extractMemberData(archive, evil);
    const auto siblingBytes = ArchiveService::extractMemberData(archive, sibling);
    QDir::setCurrent(previous);

    ASSERT_TRUE(evilBytes) << evilBytes.error().description().toStdString();
    EXPECT_EQ(*evilBytes, "evil bytes");
    ASSERT_TRUE(siblingBytes);
    EXPECT_EQ(*siblingBytes, "sibling bytes");
    EXPECT_FALSE(QFileInfo::exists(dir.filePath(QStringLiteral("work/PWNED"))));
    EXPECT_FALSE(QFileInfo::exists(dir.filePath(QStringLiteral("src/PWNED"))));
}

TEST_F(TarArchiveTest, TraversingNamesComeBackAsBytesAndWriteNothing) {
    // GNU tar strips "../" when creating, so the names are set by a transform.
    dir.makeFile(QStringLiteral("src/x"), "escaped");
    dir.makeFile(QStringLiteral("src/y"), "absolute");
    const QString archive = dir.filePath(QStringLiteral("up.tar"));
    ASSERT_EQ(run(QStringLiteral("tar"),
                  {QStringLiteral("-cf"), archive, QStringLiteral("--absolute-names"),
                   QStringLiteral("--transform=s,^x$,../../x,;s,^y$,/etc/dorvik-y,"),
                   QStringLiteral("x"), QStringLiteral("y")},
                  dir.filePath(QStringLiteral("src"))),
              0);
    QFile::remove(dir.filePath(QStringLiteral("src/x")));
    dir.makeFolder(QStringLiteral("a/b"));
    const QString previous = QDir::currentPath();
    QDir::setCurrent(dir.filePath(QStringLiteral("a/b")));
    const auto up = ArchiveService::extractMemberData(archive, QStringLiteral("../../x"));
    const auto absolute =
        ArchiveService::extractMemberData(archive, QStringLiteral("/etc/dorvik-y"));
    QDir::setCurrent(previous);
    ASSERT_TRUE(up) << up.error().description().toStdString();
    EXPECT_EQ(*up, "escaped");
    ASSERT_TRUE(absolute) << absolute.error().description().toStdString();
    EXPECT_EQ(*absolute, "absolute");
    EXPECT_FALSE(QFileInfo::exists(dir.filePath(QStringLiteral("x"))));
    EXPECT_FALSE(QFileInfo::exists(dir.filePath(QStringLiteral("src/x"))));
    EXPECT_FALSE(QFileInfo::exists(QStringLiteral("/etc/dorvik-y")));
}

TEST_F(TarArchiveTest, KindsOutsideTheFourAreUnsupportedAndTheTemporaryCopyIsFresh) {
    dir.makeFile(QStringLiteral("src/a.txt"), "alpha");
    const QString archive =
        makeTar(QStringLiteral("a.tar"), {QStringLiteral("-cf")}, {QStringLiteral("a.txt")});
    const QString other = dir.makeFile(QStringLiteral("a.tar.bz2"), "x");
    const auto listing = ArchiveService::listMembers(other);
    ASSERT_FALSE(listing);
    EXPECT_EQ(listing.error().description(), QStringLiteral("Unsupported archive: a.tar.bz2"));
    EXPECT_EQ(ArchiveService::extractMemberToTemporaryFile(other, QStringLiteral("a")).error().kind,
              ArchiveError::Kind::unsupported);

    const auto first =
        ArchiveService::extractMemberToTemporaryFile(archive, QStringLiteral("a.txt"));
    const auto second =
        ArchiveService::extractMemberToTemporaryFile(archive, QStringLiteral("a.txt"));
    ASSERT_TRUE(first && second);
    EXPECT_NE(*first, *second);
    for (const QString& copy : {*first, *second}) {
        EXPECT_EQ(QFileInfo(copy).dir().path(),
                  QDir::tempPath() + QStringLiteral("/Dorvik-archive"));
        EXPECT_TRUE(copy.endsWith(QStringLiteral("-a.txt")));
        QFile file(copy);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        EXPECT_EQ(file.readAll(), "alpha");
        file.remove();
    }
}

TEST_F(TarArchiveTest, BackgroundWorkAnswersOnTheCallersThreadOrNotAtAll) {
    dir.makeFile(QStringLiteral("src/a.txt"), "alpha");
    const QString archive =
        makeTar(QStringLiteral("a.tar"), {QStringLiteral("-cf")}, {QStringLiteral("a.txt")});
    QObject context;
    QEventLoop loop;
    std::optional<ArchiveService::ArchiveResult<QByteArray>> answer;
    Qt::HANDLE answeredOn = nullptr;
    ArchiveService::extractMemberDataInBackground(archive, QStringLiteral("a.txt"), &context,
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
    ArchiveService::listMembersInBackground(archive, gone, [&](auto) { called = true; });
    delete gone;
    QThreadPool::globalInstance()->waitForDone();
    QCoreApplication::processEvents();
    EXPECT_FALSE(called);
}

} // namespace

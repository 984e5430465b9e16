// Copies of members in the temporary folder: readable by the user alone, in
// a folder of the user's own that nobody else may enter, and gone again when
// the program ends.
#include "archive/ArchiveService.h"
#include "archive/ArchiveTemporaryFolder.h"
#include "core/FileDescriptor.h"
#include "core/SystemPath.h"

#include "ZipFixtures.h"

#include <QDir>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace ZipFixtures;

namespace {

struct stat statusOf(const QString& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(toSystemPath(path).constData(), &status), 0) << path.toStdString();
    return status;
}

QString privateFolderIn(const QString& temporary) {
    return temporary + QStringLiteral("/Dorvik-archive-") + QString::number(::geteuid());
}

// Sets TMPDIR for the life of a test and gives the old value back after.
class TemporaryFolderAt {
public:
    explicit TemporaryFolderAt(const QString& path)
        : m_saved(qgetenv("TMPDIR")) {
        qputenv("TMPDIR", toSystemPath(path));
    }
    ~TemporaryFolderAt() {
        if (m_saved.isNull()) {
            qunsetenv("TMPDIR");
        } else {
            qputenv("TMPDIR", m_saved);
        }
    }

private:
    QByteArray m_saved;
};

class ArchiveCopies : public ::testing::Test {
protected:
    // A ZIP and a tar.gz of a member only its owner may read and one that
    // everyone may.
    QStringList makeArchives() {
        dir.makeFile("src/secret.txt", "for my eyes only");
        dir.makeFile("src/open.txt", "for everyone");
        dir.setMode("src/secret.txt", 0600);
        dir.setMode("src/open.txt", 0644);
        run(dir.filePath("src"), "zip", {"-q", dir.filePath("box.zip"), "secret.txt", "open.txt"});
        run(dir.filePath("src"), "tar",
            {"-czf", dir.filePath("box.tgz"), "secret.txt", "open.txt"});
        return {dir.filePath("box.zip"), dir.filePath("box.tgz")};
    }

    TestDir dir;
    const QString temporary = dir.makeFolder("tmp");
    const TemporaryFolderAt inTemporary{temporary};
    const QString privateFolder = privateFolderIn(temporary);
};

TEST_F(ArchiveCopies, AreTheUsersAloneInAFolderOnlyTheUserMayEnter) {
    for (const QString& archive : makeArchives()) {
        for (const auto& [member, bytes] :
             {std::pair{"secret.txt", "for my eyes only"}, std::pair{"open.txt", "for everyone"}}) {
            SCOPED_TRACE(QFileInfo(archive).fileName().toStdString() + " " + member);
            const auto copy = ArchiveService::extractMemberToTemporaryFile(archive, member);
            ASSERT_TRUE(copy) << copy.error().description().toStdString();
            EXPECT_EQ(QFileInfo(*copy).path(), privateFolder);
            EXPECT_EQ(readFile(*copy), bytes);
            const struct stat file = statusOf(*copy);
            EXPECT_TRUE(S_ISREG(file.st_mode));
            EXPECT_EQ(file.st_mode & 07777, 0600u);
            EXPECT_EQ(file.st_uid, ::geteuid());
            ArchiveTemporaryFolder::remove(*copy);
            EXPECT_FALSE(QFileInfo::exists(*copy));
        }
    }
    const struct stat folder = statusOf(privateFolder);
    EXPECT_TRUE(S_ISDIR(folder.st_mode));
    EXPECT_EQ(folder.st_mode & 07777, 0700u);
    EXPECT_EQ(folder.st_uid, ::geteuid());
}

TEST_F(ArchiveCopies, AFolderThatIsALinkOrAnotherUsersIsNeverUsed) {
    const QString archive = makeArchives().first();
    const QString elsewhere = dir.makeFolder("elsewhere");
    ASSERT_TRUE(QFile::link(elsewhere, privateFolder));
    const auto throughLink = ArchiveService::extractMemberToTemporaryFile(archive, "open.txt");
    ASSERT_FALSE(throughLink);
    EXPECT_EQ(throughLink.error().description(),
              "Cannot read open.txt: " + privateFolder + " is not a folder");
    EXPECT_TRUE(QDir(elsewhere).isEmpty());
    ASSERT_TRUE(QFile::remove(privateFolder));

    // Only the superuser can give a folder to another user.
    if (::geteuid() == 0) {
        ASSERT_TRUE(QDir().mkdir(privateFolder));
        ASSERT_EQ(::chown(toSystemPath(privateFolder).constData(), 65534, 65534), 0);
        const auto foreign = ArchiveService::extractMemberToTemporaryFile(archive, "open.txt");
        ASSERT_FALSE(foreign);
        EXPECT_EQ(foreign.error().description(),
                  "Cannot read open.txt: " + privateFolder + " belongs to another user");
        EXPECT_TRUE(QDir(privateFolder).isEmpty());
        ASSERT_TRUE(QDir().rmdir(privateFolder));
    }

    // The user's own folder left open to others is closed before use.
    ASSERT_TRUE(QDir().mkdir(privateFolder));
    ASSERT_EQ(::chmod(toSystemPath(privateFolder).constData(), 0777), 0);
    const auto copy = ArchiveService::extractMemberToTemporaryFile(archive, "open.txt");
    ASSERT_TRUE(copy) << copy.error().description().toStdString();
    EXPECT_EQ(statusOf(privateFolder).st_mode & 07777, 0700u);
    ArchiveTemporaryFolder::remove(*copy);
}

QByteArray readThroughPair(const QString& path) {
    auto file = openRegularQFile(path);
    return file ? (*file)->readAll() : QByteArray("(cannot open)");
}

// Unpacked members and copies whose names are not UTF-8 ("bad\xff\xfe" and
// "ソフト" in Shift_JIS, made with their raw bytes): the walk for an unpacked
// file finds one by its bytes, and removal takes them all, also from a
// folder the tool left closed to writing.
TEST_F(ArchiveCopies, NamesThatAreNotUtf8AreFoundAndRemovedByTheirBytes) {
    const QByteArray sjis("\x83\x5c\x83\x74\x83\x67.txt");
    const auto work = ArchiveTemporaryFolder::createWorkFolder(QStringLiteral("Dorvik-lha-"));
    ASSERT_TRUE(work) << work.error().toStdString();
    const QByteArray root = toSystemPath(*work);
    TestDir::makeFileAt(root + "/bad\xff\xfe.txt", "bad");
    ASSERT_EQ(::mkdir((root + "/sub\xff").constData(), 0700), 0);
    TestDir::makeFileAt(root + "/sub\xff/" + sjis, "sjis");
    ASSERT_EQ(::chmod((root + "/sub\xff").constData(), 0500), 0);
    // A link the tool made to a folder elsewhere is not walked.
    const QString elsewhere = dir.makeFolder("elsewhere");
    TestDir::makeFileAt(toSystemPath(elsewhere) + '/' + sjis, "outside");
    ASSERT_EQ(::symlink(toSystemPath(elsewhere).constData(), (root + "/link").constData()), 0);

    const QStringList found = ArchiveTemporaryFolder::filesNamed(*work, fromSystemPath(sjis));
    ASSERT_EQ(found, QStringList{fromSystemPath(root + "/sub\xff/" + sjis)});
    EXPECT_EQ(readThroughPair(found.first()), "sjis");
    ArchiveTemporaryFolder::remove(*work);
    struct stat gone {};
    EXPECT_NE(::lstat(root.constData(), &gone), 0);
    EXPECT_EQ(readThroughPair(elsewhere + '/' + fromSystemPath(sjis)), "outside");

    const auto copy = ArchiveTemporaryFolder::createFile(fromSystemPath("bad\xff\xfe.txt"));
    ASSERT_TRUE(copy) << copy.error().toStdString();
    ::close(copy->fd);
    EXPECT_TRUE(toSystemPath(copy->path).endsWith("-bad\xff\xfe.txt"));
    ArchiveTemporaryFolder::remove(copy->path);
    EXPECT_NE(::lstat(toSystemPath(copy->path).constData(), &gone), 0);
}

// A child process copies members and exits; what it copied is gone after.
// The child of a death test runs the test again from its start: it takes
// the parent's temporary folder from the environment, so both look at the
// same place.
TEST(ArchiveCopiesAtExit, WhatTheProgramCopiedIsGoneWhenItEnds) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    TestDir dir;
    const char* shared = "DORVIK_TEST_EXIT_TMPDIR";
    if (qEnvironmentVariableIsEmpty(shared)) {
        qputenv(shared, toSystemPath(dir.makeFolder("tmp")));
    }
    const QString temporary = qEnvironmentVariable(shared);
    const TemporaryFolderAt inTemporary(temporary);
    dir.makeFile("src/a.txt", "alpha");
    run(dir.filePath("src"), "zip", {"-q", dir.filePath("a.zip"), "a.txt"});
    const QString archive = dir.filePath("a.zip");

    EXPECT_EXIT(
        {
            const auto first = ArchiveService::extractMemberToTemporaryFile(archive, "a.txt");
            const auto second = ArchiveService::extractMemberToTemporaryFile(archive, "a.txt");
            std::fprintf(stderr, "copied to %s\n", first ? qPrintable(*first) : "nothing");
            std::exit(first && second ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "copied to .*/Dorvik-archive-[0-9]+/[-0-9a-f]+-a\\.txt");
    const QDir folder(privateFolderIn(temporary));
    EXPECT_TRUE(!folder.exists() || folder.isEmpty())
        << folder.entryList(QDir::NoDotAndDotDot | QDir::AllEntries).join(' ').toStdString();
    qunsetenv(shared);
}

} // namespace

// What an archive file on disk can do to the reader: shrink while it is read,
// or be no file at all (a FIFO, a device, a folder). Each ends in an error
// the user reads, at once; none in a signal, a hang or a flood of memory.
#include "archive/ArchiveService.h"
#include "archive/ZipArchiveService.h"
#include "core/SystemPath.h"
#include "support/BoundedChild.h"

#include "ZipFixtures.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

using namespace ZipFixtures;

namespace {

// An Info-ZIP archive of a large stored member and a deflated one behind it.
QString twoMemberZip(TestDir& dir) {
    dir.makeFile("stored.bin", QByteArray(300000, 's'));
    dir.makeFile("packed.txt", QByteArray("packed text\n").repeated(1000));
    run(dir.path(), "zip", {"-q", "-0", "two.zip", "stored.bin"});
    run(dir.path(), "zip", {"-q", "-9", "two.zip", "packed.txt"});
    return dir.filePath("two.zip");
}

void cut(const QString& path, qsizetype size) {
    ASSERT_EQ(::truncate(toSystemPath(path).constData(), off_t(size)), 0);
}

QString readError(const ZipArchiveService::ArchiveFile& file,
                  const ZipArchiveService::ZipMember& member) {
    const auto read = ZipArchiveService::readMember(file, member, ZipArchiveService::wholeMember,
                                                    [](QByteArrayView) { return true; });
    return read ? QStringLiteral("read %1 bytes").arg(*read) : read.error().description();
}

// The archive is opened and listed, then cut short by someone else before
// and while its members are read; and opened, then cut before it is listed.
bool cutWhileReadFailsCleanly(const QString& path) {
    using ZipArchiveService::ArchiveFile;
    const QByteArray whole = readFile(path);
    auto file = ArchiveFile::open(path);
    const auto members = ZipArchiveService::parseArchive(*file);
    if (!members || members->size() != 2) {
        return false;
    }
    const qsizetype storedData = ZipFixtures::memberData(whole, centralHeaders(whole)[0]);
    cut(path, storedData + 1000);
    const QString stored = readError(*file, members->at(0));
    const QString packed = readError(*file, members->at(1));

    writeFile(path, whole);
    auto reopened = ArchiveFile::open(path);
    cut(path, whole.size() / 2);
    const auto listing = ZipArchiveService::parseArchive(*reopened);
    const QString listed = listing ? QStringLiteral("listed") : listing.error().description();
    std::fprintf(stderr, "%s\n%s\n%s\n", qPrintable(stored), qPrintable(packed),
                 qPrintable(listed));
    return stored == "Cannot read stored.bin from ZIP: Truncated compressed data" &&
           packed == "Cannot read packed.txt from ZIP: Invalid local header" &&
           listed == "Cannot list ZIP: EOCD not found";
}

TEST(ArchiveFile, AZipCutShortWhileListedOrReadGivesAnErrorNotASignal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    TestDir dir;
    const QString path = twoMemberZip(dir);
    EXPECT_EXIT(
        BoundedChild::run(int64_t(64) << 20, [&] { return cutWhileReadFailsCleanly(path); }),
        ::testing::ExitedWithCode(0), "");
}

// Every way of reading each of them ends at once in "Not a regular file".
bool specialFilesAreRefused(const QStringList& zips, const QStringList& others) {
    bool refused = true;
    const auto expect = [&](const QString& what, const QString& got, const QString& wanted) {
        if (got != wanted) {
            std::fprintf(stderr, "%s: %s\n", qPrintable(what), qPrintable(got));
            refused = false;
        }
    };
    const auto description = [](const auto& result) {
        return result ? QStringLiteral("read") : result.error().description();
    };
    for (const QString& path : zips + others) {
        const QString wanted = zips.contains(path)
                                   ? QStringLiteral("Cannot list ZIP: Not a regular file")
                                   : QStringLiteral("Cannot list archive: Not a regular file");
        QElapsedTimer clock;
        clock.start();
        expect(path + " list", description(ArchiveService::listMembers(path)), wanted);
        expect(path + " read", description(ArchiveService::extractMemberData(path, "a.txt")),
               wanted);
        expect(path + " head", description(ArchiveService::extractMemberHead(path, "a.txt", 100)),
               wanted);
        expect(path + " copy",
               description(ArchiveService::extractMemberToTemporaryFile(path, "a.txt")), wanted);
        if (clock.elapsed() > 1000) {
            std::fprintf(stderr, "%s took %lld ms\n", qPrintable(path), clock.elapsed());
            refused = false;
        }
    }
    return refused;
}

TEST(ArchiveFile, AFifoADeviceOrAFolderNamedLikeAnArchiveIsRefusedAtOnce) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    TestDir dir;
    qputenv("TMPDIR", dir.makeFolder("tmp").toUtf8());
    QStringList zips, others;
    for (const QString name : {"x.zip", "x.tar", "x.tgz", "x.lzh"}) {
        (name == "x.zip" ? zips : others)
            << dir.makeLink("zero-" + name, "/dev/zero") << dir.makeFolder("folder-" + name)
            << dir.filePath("fifo-" + name);
        ASSERT_EQ(::mkfifo(toSystemPath(dir.filePath("fifo-" + name)).constData(), 0644), 0);
    }
    // A reader that waited on the FIFO is ended by the child's alarm; one
    // that read the device without end, by its memory cap.
    EXPECT_EXIT(BoundedChild::run(
                    int64_t(64) << 20, [&] { return specialFilesAreRefused(zips, others); }, 20),
                ::testing::ExitedWithCode(0), "");
    qunsetenv("TMPDIR");
}

} // namespace

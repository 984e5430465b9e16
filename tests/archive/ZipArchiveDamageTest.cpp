// Damaged, lying and hostile ZIP archives: each fails cleanly or lists what
// was good, and none makes the reader allocate what a size field announces.
#include "archive/ZipArchiveService.h"

#include "ZipFixtures.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

using namespace ZipFixtures;
using ZipArchiveService::extractMemberData;
using ZipArchiveService::listMembers;
using ZipArchiveService::parseArchive;

namespace {

const QByteArray deflatable =
    QByteArray("all work and no play makes a dull archive\n").repeated(500);

// An Info-ZIP archive of three members: a.txt stored, b.txt and c.txt deflated.
QByteArray threeMemberZip(TestDir& dir) {
    dir.makeFile("a.txt", "stored bytes");
    dir.makeFile("b.txt", deflatable);
    dir.makeFile("c.txt", deflatable + "c");
    run(dir.path(), "zip", {"-q", "-0", "three.zip", "a.txt"});
    run(dir.path(), "zip", {"-q", "-9", "three.zip", "b.txt", "c.txt"});
    return readFile(dir.filePath("three.zip"));
}

QStringList listed(const QByteArray& zip) {
    const auto members = parseArchive(zip);
    if (!members) {
        return {members.error().description()};
    }
    QStringList names;
    for (const auto& member : *members) {
        names.append(member.path);
    }
    return names;
}

// Writes the patched bytes and reads one member through the service.
QString extracted(TestDir& dir, const QByteArray& zip, const QString& member) {
    static int serial = 0;
    const QString path = dir.filePath(QString("patched-%1.zip").arg(++serial));
    writeFile(path, zip);
    const auto bytes = extractMemberData(path, member);
    return bytes ? QString::fromLatin1(bytes->left(40)) : bytes.error().description();
}

const QStringList allThree = {"a.txt", "b.txt", "c.txt"};

int readBombWithBoundedMemory(const QString& path) {
    QFile statm("/proc/self/statm");
    if (!statm.open(QIODevice::ReadOnly)) {
        return 2;
    }
    const rlim_t pages = statm.readAll().split(' ').first().toULongLong();
    const rlimit bound{pages * rlim_t(sysconf(_SC_PAGESIZE)) + (rlim_t(1) << 29), RLIM_INFINITY};
    setrlimit(RLIMIT_AS, &bound);
    const bool whole = extractMemberData(path, "b.txt").value() == deflatable;
    const bool failed = extractMemberData(path, "c.txt").error().reason == "inflate failed (-3)";
    return whole && failed ? 0 : 1;
}

} // namespace

TEST(ZipDamage, TheEndRecordIsFoundOnlyWithinTheLongestComment) {
    TestDir dir;
    const QByteArray zip = threeMemberZip(dir);
    for (int comment : {65535, 65536}) {
        QByteArray commented = zip + QByteArray(comment, 'c');
        putLe(commented, endRecord(zip) + 20, 2, uint32_t(std::min(comment, 65535)));
        EXPECT_EQ(listed(commented),
                  comment == 65535 ? allThree : QStringList{"Cannot list ZIP: EOCD not found"});
    }
    // A signature inside the comment stands later, so it wins: this one
    // announces no entries.
    QByteArray decoy = zip + QByteArray("PK\x05\x06", 4) + QByteArray(18, '\0');
    putLe(decoy, endRecord(zip) + 20, 2, 22);
    EXPECT_EQ(listed(decoy), QStringList{});
}

TEST(ZipDamage, TinyFilesHaveNoEndRecordAndTheEmptyArchiveListsNothing) {
    TestDir dir;
    run(dir.path(), "bsdtar", {"--format", "zip", "-cf", "empty.zip", "-T", "/dev/null"});
    const QByteArray empty = readFile(dir.filePath("empty.zip"));
    ASSERT_EQ(empty.size(), 22);
    EXPECT_EQ(listed(empty), QStringList{});
    EXPECT_EQ(listed(empty.left(21)), QStringList{"Cannot list ZIP: EOCD not found"});
    dir.makeFile("zero.zip");
    EXPECT_EQ(listMembers(dir.filePath("zero.zip")).error().description(),
              "Cannot list ZIP: EOCD not found");
}

TEST(ZipDamage, ABrokenCentralDirectoryListsWhatWasGood) {
    TestDir dir;
    const QByteArray zip = threeMemberZip(dir);
    const qsizetype end = endRecord(zip);
    const QList<qsizetype> headers = centralHeaders(zip);
    ASSERT_EQ(headers.size(), 3);

    QByteArray moreAnnounced = zip;
    putLe(moreAnnounced, end + 10, 2, 0xFFFF);
    EXPECT_EQ(listed(moreAnnounced), allThree);

    QByteArray badSignature = zip;
    badSignature[headers[1]] = 'X';
    EXPECT_EQ(listed(badSignature), QStringList{"a.txt"});

    // The directory claims to end inside the third header.
    QByteArray shortDirectory = zip;
    putLe(shortDirectory, end + 12, 4, uint32_t(headers[2] - headers[0] + 45));
    EXPECT_EQ(listed(shortDirectory), (QStringList{"a.txt", "b.txt"}));

    QByteArray nameBeyondFile = zip;
    putLe(nameBeyondFile, headers[2] + 28, 2, 0xFFFF);
    EXPECT_EQ(listed(nameBeyondFile), (QStringList{"a.txt", "b.txt"}));

    QByteArray noEntries = zip;
    putLe(noEntries, end + 10, 2, 0);
    EXPECT_EQ(listed(noEntries), QStringList{});
}

TEST(ZipDamage, ADirectoryBeyondTheFileIsInvalidAndACutFileHasNoEndRecord) {
    TestDir dir;
    const QByteArray zip = threeMemberZip(dir);
    const qsizetype end = endRecord(zip);
    QByteArray lyingSize = zip;
    putLe(lyingSize, end + 12, 4, le(zip, end + 12, 4) + 23);
    EXPECT_EQ(listed(lyingSize), QStringList{"Cannot list ZIP: Invalid central directory"});
    QByteArray lyingOffset = zip;
    putLe(lyingOffset, end + 16, 4, 0xFFFFFFF0);
    EXPECT_EQ(listed(lyingOffset), QStringList{"Cannot list ZIP: Invalid central directory"});
    EXPECT_EQ(listed(zip.left(centralHeaders(zip)[1] + 10)),
              QStringList{"Cannot list ZIP: EOCD not found"});
}

TEST(ZipDamage, LyingSizesAndHeadersFailWithTheirReasons) {
    TestDir dir;
    const QByteArray zip = threeMemberZip(dir);
    const QList<qsizetype> headers = centralHeaders(zip);
    const qsizetype b = headers[1];
    const auto patched = [&](qsizetype at, int width, uint32_t value) {
        QByteArray copy = zip;
        putLe(copy, at, width, value);
        return copy;
    };
    const QByteArray start = deflatable.left(40);
    EXPECT_EQ(extracted(dir, zip, "b.txt"), start);
    // Announced smaller than it inflates to: no cut result, an error.
    EXPECT_EQ(extracted(dir, patched(b + 24, 4, 1000), "b.txt"),
              "Cannot read  from ZIP: inflate failed (-5)");
    // Announced larger: what inflates comes back, shorter and without complaint.
    const auto larger = patched(b + 24, 4, uint32_t(deflatable.size() * 3));
    writeFile(dir.filePath("larger.zip"), larger);
    EXPECT_EQ(extractMemberData(dir.filePath("larger.zip"), "b.txt").value(), deflatable);
    EXPECT_EQ(extracted(dir, patched(b + 20, 4, 0x7FFFFFFF), "b.txt"),
              "Cannot read b.txt from ZIP: Truncated compressed data");
    EXPECT_EQ(extracted(dir, patched(b + 42, 4, 3), "b.txt"),
              "Cannot read b.txt from ZIP: Invalid local header");
    EXPECT_EQ(extracted(dir, patched(b + 42, 4, uint32_t(zip.size() - 20)), "b.txt"),
              "Cannot read b.txt from ZIP: Invalid local header");
    EXPECT_EQ(extracted(dir, patched(b + 10, 2, 12), "b.txt"),
              "Cannot read b.txt from ZIP: Unsupported compression method 12");
    // A deflated member of declared size 0 is empty without inflating.
    EXPECT_EQ(extracted(dir, patched(b + 24, 4, 0), "b.txt"), "");
}

TEST(ZipDamage, CorruptDeflateDataIsAnInflateError) {
    TestDir dir;
    QByteArray zip = threeMemberZip(dir);
    const qsizetype local = le(zip, centralHeaders(zip)[1] + 42, 4);
    const qsizetype data = local + 30 + le(zip, local + 26, 2) + le(zip, local + 28, 2);
    // 0xFF starts a final block of the reserved type 3.
    zip[data] = char(0xFF);
    EXPECT_EQ(extracted(dir, zip, "b.txt"), "Cannot read  from ZIP: inflate failed (-3)");
    EXPECT_EQ(extracted(dir, zip, "a.txt"), "stored bytes");
}

TEST(ZipDamage, ASizeBombDoesNotAllocateWhatItAnnounces) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    TestDir dir;
    QByteArray zip = threeMemberZip(dir);
    const QList<qsizetype> headers = centralHeaders(zip);
    for (qsizetype header : headers.mid(1)) {
        putLe(zip, header + 24, 4, 0xFFFFFFFF); // 4 GiB announced
    }
    const qsizetype local = le(zip, headers[2] + 42, 4);
    zip[local + 30 + le(zip, local + 26, 2) + le(zip, local + 28, 2)] = char(0xFF);
    writeFile(dir.filePath("bomb.zip"), zip);
    const QString path = dir.filePath("bomb.zip");
    // In a child whose address space can grow by 512 MiB only, a 4 GiB
    // buffer would throw and end it with another status.
    EXPECT_EXIT(std::exit(readBombWithBoundedMemory(path)), ::testing::ExitedWithCode(0), "");
}

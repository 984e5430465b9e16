// Damaged, lying and hostile ZIP archives: each fails cleanly or lists what
// was good, and none makes the reader allocate what a size field announces.
#include "archive/ZipArchiveService.h"

#include "ZipFixtures.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

using namespace ZipFixtures;
using ZipArchiveService::extractMemberData;

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

QByteArray patched(QByteArray bytes, qsizetype at, int width, uint32_t value) {
    putLe(bytes, at, width, value);
    return bytes;
}

QStringList listed(const QByteArray& zip) {
    const auto members = ZipArchiveService::parseArchive(zip);
    if (!members) {
        return {members.error().description()};
    }
    QStringList names;
    for (const auto& member : *members) {
        names.append(member.path);
    }
    return names;
}

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

TEST(ZipDamage, ABrokenEndOrDirectoryFailsCleanlyOrListsWhatWasGood) {
    TestDir dir;
    const QByteArray zip = threeMemberZip(dir);
    const qsizetype end = endRecord(zip);
    const QList<qsizetype> headers = centralHeaders(zip);
    ASSERT_EQ(headers.size(), 3);
    run(dir.path(), "bsdtar", {"--format", "zip", "-cf", "empty.zip", "-T", "/dev/null"});
    const QByteArray empty = readFile(dir.filePath("empty.zip"));
    ASSERT_EQ(empty.size(), 22);
    QByteArray badSignature = zip;
    badSignature[headers[1]] = 'X';
    const QStringList all = {"a.txt", "b.txt", "c.txt"};
    const QStringList noEnd = {"Cannot list ZIP: EOCD not found"};
    const QStringList invalid = {"Cannot list ZIP: Invalid central directory"};

    const struct {
        const char* what;
        QByteArray bytes;
        QStringList listed;
    } cases[] = {
        {"longest comment", patched(zip + QByteArray(65535, 'c'), end + 20, 2, 65535), all},
        {"comment too long", patched(zip + QByteArray(65536, 'c'), end + 20, 2, 65535), noEnd},
        // A signature inside the comment stands later, so it wins.
        {"end record in the comment",
         patched(zip + QByteArray("PK\x05\x06", 4) + QByteArray(18, '\0'), end + 20, 2, 22),
         {}},
        {"empty archive of 22 bytes", empty, {}},
        {"21 bytes", empty.left(21), noEnd},
        {"more entries announced", patched(zip, end + 10, 2, 0xFFFF), all},
        {"no entries announced", patched(zip, end + 10, 2, 0), {}},
        {"second header damaged", badSignature, {"a.txt"}},
        {"directory ends inside the third header",
         patched(zip, end + 12, 4, uint32_t(headers[2] - headers[0] + 45)),
         {"a.txt", "b.txt"}},
        {"third name beyond the file",
         patched(zip, headers[2] + 28, 2, 0xFFFF),
         {"a.txt", "b.txt"}},
        {"directory size beyond the file", patched(zip, end + 12, 4, le(zip, end + 12, 4) + 23),
         invalid},
        {"directory offset beyond the file", patched(zip, end + 16, 4, 0xFFFFFFF0), invalid},
        {"cut inside the directory", zip.left(headers[1] + 10), noEnd},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(listed(c.bytes), c.listed) << c.what;
    }
    dir.makeFile("zero.zip");
    EXPECT_EQ(ZipArchiveService::listMembers(dir.filePath("zero.zip")).error().description(),
              noEnd.first());
}

TEST(ZipDamage, LyingSizesHeadersAndDataFailWithTheirReasons) {
    TestDir dir;
    const QByteArray zip = threeMemberZip(dir);
    const qsizetype b = centralHeaders(zip)[1];
    QByteArray corrupt = zip;
    corrupt[memberData(zip, b)] = char(0xFF); // a final block of the reserved type 3
    const struct {
        const char* what;
        QByteArray bytes;
        const char* member;
        QByteArray expected;
    } cases[] = {
        {"true sizes", zip, "b.txt", deflatable},
        // Announced smaller than it inflates to: no cut result, an error.
        {"smaller size", patched(zip, b + 24, 4, 1000), "b.txt",
         "Cannot read b.txt from ZIP: inflate failed (-5)"},
        // Announced larger: what inflates comes back, without complaint.
        {"larger size", patched(zip, b + 24, 4, uint32_t(deflatable.size() * 3)), "b.txt",
         deflatable},
        {"compressed size beyond the file", patched(zip, b + 20, 4, 0x7FFFFFFF), "b.txt",
         "Cannot read b.txt from ZIP: Truncated compressed data"},
        {"local header at 3", patched(zip, b + 42, 4, 3), "b.txt",
         "Cannot read b.txt from ZIP: Invalid local header"},
        {"local header near the end", patched(zip, b + 42, 4, uint32_t(zip.size() - 20)), "b.txt",
         "Cannot read b.txt from ZIP: Invalid local header"},
        {"method 12", patched(zip, b + 10, 2, 12), "b.txt",
         "Cannot read b.txt from ZIP: Unsupported compression method 12"},
        // A deflated member of declared size 0 is empty without inflating.
        {"size 0", patched(zip, b + 24, 4, 0), "b.txt", ""},
        {"corrupt deflate data", corrupt, "b.txt",
         "Cannot read b.txt from ZIP: inflate failed (-3)"},
        {"stored member beside corrupt data", corrupt, "a.txt", "stored bytes"},
    };
    int serial = 0;
    for (const auto& c : cases) {
        const QString path = dir.filePath(QString("patched-%1.zip").arg(++serial));
        writeFile(path, c.bytes);
        const auto bytes = extractMemberData(path, c.member);
        EXPECT_EQ(bytes ? *bytes : bytes.error().description().toUtf8(), c.expected) << c.what;
    }
}

TEST(ZipDamage, ASizeBombDoesNotAllocateWhatItAnnounces) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    TestDir dir;
    QByteArray zip = threeMemberZip(dir);
    const QList<qsizetype> headers = centralHeaders(zip);
    for (qsizetype header : headers.mid(1)) {
        putLe(zip, header + 24, 4, 0xFFFFFFFF); // 4 GiB announced
    }
    zip[memberData(zip, headers[2])] = char(0xFF);
    const QString path = dir.filePath("bomb.zip");
    writeFile(path, zip);
    // In a child whose address space can grow by 512 MiB only, a 4 GiB
    // buffer would throw and end it with another status.
    EXPECT_EXIT(std::exit(readBombWithBoundedMemory(path)), ::testing::ExitedWithCode(0), "");
}

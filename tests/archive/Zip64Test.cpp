// ZIP64 archives (end records and extra fields) made by Python's zipfile
// and byte by byte, hostile ZIP64 values, and encrypted members.
#include "archive/ArchiveService.h"
#include "archive/ZipArchiveService.h"

#include "ZipFixtures.h"

#include <gtest/gtest.h>

using namespace ZipFixtures;

namespace {

void putLe64(QByteArray& bytes, qsizetype at, uint64_t value) {
    bytes.replace(at, 8, le64(value));
}

// A ZIP64 archive as APPNOTE 4.3.14, 4.3.15 and 4.5.3 lay it out, written
// byte by byte: a 5-byte padding, then one stored member "big.txt" whose
// central header carries 0xFFFFFFFF for both sizes and the local header
// offset and the true values in a ZIP64 extra field (behind an unrelated
// extra block), then the ZIP64 end record, its locator, and an end record
// whose count, size and offset are all saturated.
struct Zip64Layout {
    QByteArray bytes;
    qsizetype extraValues = 0; // the three 8-byte values of the extra field
    qsizetype zip64Record = 0;
    qsizetype locator = 0;
};

Zip64Layout handMadeZip64(const QByteArray& data) {
    Zip64Layout zip;
    QByteArray& out = zip.bytes;
    const QByteArray name = "big.txt";
    out = "PAD!!";
    const auto localAt = uint64_t(out.size());
    out += le32(0x04034B50) + le16(45) + le16(0) + le16(0) + le16(0) + le16(0x21) + le32(0) +
           le32(uint32_t(data.size())) + le32(uint32_t(data.size())) + le16(name.size()) + le16(0) +
           name + data;
    const auto directoryAt = uint64_t(out.size());
    const QByteArray unrelated = le16(0x5455) + le16(5) + QByteArray(5, 'u');
    const QByteArray zip64Extra = le16(0x0001) + le16(24) + le64(uint64_t(data.size())) +
                                  le64(uint64_t(data.size())) + le64(localAt);
    out += le32(0x02014B50) + le16(45) + le16(45) + le16(0) + le16(0) + le16(0) + le16(0x21) +
           le32(0) + le32(0xFFFFFFFF) + le32(0xFFFFFFFF) + le16(name.size()) +
           le16(unrelated.size() + zip64Extra.size()) + le16(0) + le16(0) + le16(0) + le32(0) +
           le32(0xFFFFFFFF) + name + unrelated;
    zip.extraValues = out.size() + 4;
    out += zip64Extra;
    const auto directorySize = uint64_t(out.size()) - directoryAt;
    zip.zip64Record = out.size();
    out += le32(0x06064B50) + le64(44) + le16(45) + le16(45) + le32(0) + le32(0) + le64(1) +
           le64(1) + le64(directorySize) + le64(directoryAt);
    zip.locator = out.size();
    out += le32(0x07064B50) + le32(0) + le64(uint64_t(zip.zip64Record)) + le32(1);
    out += le32(0x06054B50) + le16(0xFFFF) + le16(0xFFFF) + le16(0xFFFF) + le16(0xFFFF) +
           le32(0xFFFFFFFF) + le32(0xFFFFFFFF) + le16(0);
    return zip;
}

QString outcome(const QByteArray& zip) {
    const auto members = ZipArchiveService::parseArchive(zip);
    if (!members) {
        return members.error().description();
    }
    QStringList parts;
    for (const auto& member : *members) {
        const auto bytes = ZipArchiveService::memberData(zip, member);
        parts << member.path + "=" +
                     (bytes ? QString::fromLatin1(*bytes) : bytes.error().description());
    }
    return parts.join(';');
}

} // namespace

TEST(Zip64, SeventyThousandMembersAllListAndTheLastReads) {
    TestDir dir;
    // Python's zipfile writes the ZIP64 end records past 65,535 members, as
    // Info-ZIP zip does, without 70,000 files on the disk first.
    run(dir.path(), "python3",
        {"-c", "import zipfile\n"
               "with zipfile.ZipFile('big.zip', 'w') as z:\n"
               "    for i in range(70000):\n"
               "        z.writestr('m/f%d' % i, b'last' if i == 69999 else b'')\n"});
    const QByteArray zip = readFile(dir.filePath("big.zip"));
    ASSERT_NE(zip.indexOf(QByteArray("PK\x06\x07", 4)), -1) << "no ZIP64 locator was written";
    ASSERT_EQ(le(zip, endRecord(zip) + 10, 2), 0xFFFFu);

    const auto members = ZipArchiveService::listMembers(dir.filePath("big.zip"));
    ASSERT_TRUE(members) << members.error().description().toStdString();
    EXPECT_EQ(members->size(), 70000);
    EXPECT_EQ(members->last().path, "m/f69999");
    EXPECT_EQ(ArchiveService::extractMemberData(dir.filePath("big.zip"), "m/f69999").value(),
              "last");
}

TEST(Zip64, ExtraFieldsAndEndRecordsGiveTheTrueSizesAndOffsets) {
    const Zip64Layout zip = handMadeZip64("sixty-four");
    EXPECT_EQ(outcome(zip.bytes), "big.txt=sixty-four");
    const auto members = ZipArchiveService::parseArchive(zip.bytes);
    ASSERT_TRUE(members);
    EXPECT_EQ(members->first().size, 10);
    EXPECT_EQ(members->first().compressedSize, 10);
    EXPECT_EQ(members->first().localHeaderOffset, 5u);
}

TEST(Zip64, HostileValuesAreRefusedCleanly) {
    const Zip64Layout zip = handMadeZip64("sixty-four");
    const auto with = [&](qsizetype at, uint64_t value) {
        QByteArray bytes = zip.bytes;
        putLe64(bytes, at, value);
        return bytes;
    };
    const QString invalid = "Cannot list ZIP: Invalid central directory";
    const qsizetype record = zip.zip64Record;
    const struct {
        const char* what;
        QByteArray bytes;
        QString expected;
    } cases[] = {
        {"record past the file", with(zip.locator + 8, uint64_t(zip.bytes.size()) + 100), invalid},
        {"record offset at the top", with(zip.locator + 8, ~uint64_t(0) - 3), invalid},
        {"record overlapping its locator", with(zip.locator + 8, uint64_t(zip.locator) - 40),
         invalid},
        {"no record where the locator points", with(zip.locator + 8, 0), invalid},
        {"directory past the file", with(record + 48, uint64_t(1) << 40), invalid},
        {"directory size at the top", with(record + 40, ~uint64_t(0)), invalid},
        // More entries announced than the directory holds: what is there lists.
        {"count larger than the directory", with(record + 32, ~uint64_t(0)), "big.txt=sixty-four"},
        {"local header past the file", with(zip.extraValues + 16, ~uint64_t(0) - 10),
         "big.txt=Cannot read big.txt from ZIP: Invalid local header"},
        {"compressed size at the top", with(zip.extraValues + 8, ~uint64_t(0)),
         "big.txt=Cannot read big.txt from ZIP: Truncated compressed data"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(outcome(c.bytes), c.expected) << c.what;
    }
}

TEST(ZipEncryption, EncryptedMembersAreListedButRefusedByName) {
    TestDir dir;
    dir.makeFile("secret.txt", QByteArray("the plain text of the secret\n").repeated(20));
    dir.makeFile("open.txt", "open");
    run(dir.path(), "zip", {"-q", "-P", "password", "mixed.zip", "secret.txt"});
    run(dir.path(), "zip", {"-q", "mixed.zip", "open.txt"});
    const QString archive = dir.filePath("mixed.zip");

    const auto members = ZipArchiveService::listMembers(archive);
    ASSERT_TRUE(members);
    ASSERT_EQ(members->size(), 2);
    EXPECT_EQ(members->first().path, "secret.txt");
    const QString refusal = "Cannot read secret.txt from ZIP: Encrypted member";
    // The VIEWER's head, X's temporary copy and a copy out all refuse it.
    const auto head = ArchiveService::extractMemberHead(archive, "secret.txt", 4096);
    EXPECT_EQ(head ? QString::fromLatin1(head->bytes) : head.error().description(), refusal);
    const auto copy = ArchiveService::extractMemberToTemporaryFile(archive, "secret.txt");
    EXPECT_EQ(copy ? copy.value() : copy.error().description(), refusal);
    EXPECT_EQ(ArchiveService::extractMemberData(archive, "open.txt").value(), "open");
}

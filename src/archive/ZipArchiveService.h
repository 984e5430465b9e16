#pragma once

#include "archive/ArchiveMember.h"
#include "archive/ZipArchiveError.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QDateTime>
#include <QList>
#include <QString>

#include <cstdint>
#include <functional>
#include <limits>
#include <optional>

// Dorvik's own ZIP reader (PKWARE APPNOTE): lists the members from the
// central directory, keeps each listing in a process-wide cache keyed by
// path and modification date, and reads one member. It never writes. ZIP64
// archives (more than 65,535 members, or past 4 GiB) are read through their
// ZIP64 end records and extra fields; there is no multi-disk support, and
// encrypted members are listed but refused. Only raw inflate comes from
// zlib. Callable from any thread.
//
// An archive is read with ordinary reads of the parts needed (the end
// record, the central directory, one member), never mapped into memory: a
// file cut short by someone else while it is read is a failure like any
// other, not a signal that ends the program. What a member inflates to is
// bounded by what the caller asks for and by the size the archive declares.
namespace ZipArchiveService {

// One central-directory entry.
struct ZipMember {
    // The decoded name with every "\" turned into "/".
    QString path;
    bool isDirectory = false;
    int64_t size = 0;
    int64_t compressedSize = 0;
    // 0 stored, 8 deflated; others are listed but cannot be read.
    uint16_t compressionMethod = 0;
    uint64_t localHeaderOffset = 0;
    std::optional<QDateTime> modificationDate;
    // General-purpose flag bit 0: the data is enciphered and is never read.
    bool isEncrypted = false;
    bool operator==(const ZipMember&) const = default;
};

// Where the reader takes an archive's bytes from: an open file or bytes
// already in memory.
class ZipSource {
public:
    virtual ~ZipSource() = default;
    // The size when the archive was opened.
    virtual uint64_t size() const = 0;
    // Exactly length bytes from offset, or none when they cannot all be read
    // (an I/O error, or a file that has shrunk since it was opened).
    virtual std::optional<QByteArray> read(uint64_t offset, qsizetype length) const = 0;
};

// An archive file open for reading. Only a regular file is opened: a FIFO,
// a device or a link to one is refused at once ("Not a regular file"),
// without waiting for a writer and without reading a byte.
class ArchiveFile final : public ZipSource {
public:
    static ZipResult<ArchiveFile> open(const QString& path);
    ArchiveFile(ArchiveFile&& other) noexcept;
    ArchiveFile& operator=(ArchiveFile&&) = delete;
    ~ArchiveFile() override;

    uint64_t size() const override { return m_size; }
    std::optional<QByteArray> read(uint64_t offset, qsizetype length) const override;
    // The modification time in nanoseconds since the epoch.
    int64_t modificationStamp() const { return m_stamp; }

private:
    ArchiveFile(int fd, uint64_t size, int64_t stamp)
        : m_fd(fd)
        , m_size(size)
        , m_stamp(stamp) {}

    int m_fd = -1;
    uint64_t m_size = 0;
    int64_t m_stamp = 0;
};

// Takes a member's bytes piece by piece; answering false stops the read.
using MemberSink = std::function<bool(QByteArrayView)>;

// No limit but the member's own declared size.
constexpr int64_t wholeMember = std::numeric_limits<int64_t>::max();

// The first bytes of a member and the size the archive declares for it.
struct MemberHead {
    QByteArray bytes;
    int64_t size = 0;
    bool operator==(const MemberHead&) const = default;
};

struct CachedIndex {
    // The archive's modification time in nanoseconds since the epoch when
    // it was read.
    std::optional<int64_t> modification;
    QList<ZipMember> members;
};

// The members in central-directory order as the common archive record.
ZipResult<QList<ArchiveMember>> listMembers(const QString& archiveURL);
// The members through the cache: a repeated listing of an unchanged archive
// reads only its modification date.
ZipResult<QList<ZipMember>> cachedMembers(const QString& archiveURL);
// The whole uncompressed bytes of one file member; a trailing "/" on the
// path is ignored and directories are never returned. A member declared
// larger than largest is refused ("Too large to read") before anything is
// inflated.
ZipResult<QByteArray> extractMemberData(const QString& archiveURL, const QString& memberPath,
                                        int64_t largest = wholeMember);
// At most maxBytes of a member from its start: a deflated member is inflated
// only that far.
ZipResult<MemberHead> extractMemberHead(const QString& archiveURL, const QString& memberPath,
                                        int64_t maxBytes);
// The whole member handed to sink piece by piece, never held in memory at
// once; gives the number of bytes handed over.
ZipResult<int64_t> writeMember(const QString& archiveURL, const QString& memberPath,
                               const MemberSink& sink);

// The format itself, over any source of an archive's bytes.
ZipResult<QList<ZipMember>> parseArchive(const ZipSource& archive);
// Hands at most maxBytes of the member to sink. A deflated member that would
// inflate past its declared size, or whose data ends early, is an error, as
// is data that lies beyond the end of the source.
ZipResult<int64_t> readMember(const ZipSource& archive, const ZipMember& member, int64_t maxBytes,
                              const MemberSink& sink);

// The same over bytes in memory.
ZipResult<QList<ZipMember>> parseArchive(QByteArrayView archive);
ZipResult<QByteArray> memberData(QByteArrayView archive, const ZipMember& member,
                                 int64_t maxBytes = wholeMember);
// Never fails: UTF-8 when flagged or well formed, else CP932, Shift_JIS, and
// last the bytes in the lossless text form of SystemPath, as a file name on
// disk that is not UTF-8.
QString decodeEntryName(QByteArrayView name, bool utf8Flag);
// The DOS date and time fields as a local time. Impossible values are
// carried over as a calendar would (month 13 is January of the next year).
std::optional<QDateTime> dosDateTime(uint16_t date, uint16_t time);

} // namespace ZipArchiveService

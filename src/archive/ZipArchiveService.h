#pragma once

#include "archive/ArchiveMember.h"
#include "archive/ZipArchiveError.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QDateTime>
#include <QList>
#include <QString>

#include <cstdint>
#include <optional>

// Dorvik's own ZIP reader (PKWARE APPNOTE): lists the members from the
// central directory, keeps each listing in a process-wide cache keyed by
// path and modification date, and reads one member into memory. It never
// writes. There is no ZIP64 and no multi-disk support; only raw inflate comes
// from zlib. Callable from any thread.
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
    bool operator==(const ZipMember&) const = default;
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
// path is ignored and directories are never returned.
ZipResult<QByteArray> extractMemberData(const QString& archiveURL, const QString& memberPath);

// Pure functions over the archive's bytes.
ZipResult<QList<ZipMember>> parseArchive(QByteArrayView archive);
ZipResult<QByteArray> memberData(QByteArrayView archive, const ZipMember& member);
// Never fails: UTF-8 when flagged or well formed, else CP932, Shift_JIS, and
// last UTF-8 with U+FFFD for each invalid sequence.
QString decodeEntryName(QByteArrayView name, bool utf8Flag);
// The DOS date and time fields as a local time. Impossible values are
// carried over as a calendar would (month 13 is January of the next year).
std::optional<QDateTime> dosDateTime(uint16_t date, uint16_t time);

} // namespace ZipArchiveService

// The ZIP format itself: pure functions over an archive's bytes (PKWARE
// APPNOTE 4.3.7, 4.3.12, 4.3.16). Every offset is checked against the bytes
// before it is read, and no size field decides an allocation by itself.
#include "archive/ZipArchiveService.h"

#include "text/TextDecoding.h"

#include <QHash>

#include <zlib.h>

#include <algorithm>

namespace ZipArchiveService {

namespace {

constexpr uint32_t endOfCentralDirectorySignature = 0x06054B50;
constexpr uint32_t centralHeaderSignature = 0x02014B50;
constexpr uint32_t localHeaderSignature = 0x04034B50;
constexpr qsizetype endRecordSize = 22;
constexpr qsizetype longestComment = 65535;
constexpr qsizetype centralHeaderSize = 46;
constexpr qsizetype localHeaderSize = 30;

uint16_t le16(const uchar* p) {
    return uint16_t(p[0] | (p[1] << 8));
}

uint32_t le32(const uchar* p) {
    return uint32_t(p[0]) | (uint32_t(p[1]) << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24);
}

// The last signature within the reach of the longest comment, searched
// backward. The comment length is not compared with what follows, so a
// signature inside a comment wins when it stands later in the file.
std::optional<qsizetype> findEndRecord(QByteArrayView archive) {
    const qsizetype size = archive.size();
    if (size < endRecordSize) {
        return std::nullopt;
    }
    const auto* p = reinterpret_cast<const uchar*>(archive.data());
    const qsizetype lowest = std::max<qsizetype>(0, size - endRecordSize - longestComment);
    for (qsizetype at = size - endRecordSize; at >= lowest; --at) {
        if (p[at] == 0x50 && le32(p + at) == endOfCentralDirectorySignature) {
            return at;
        }
    }
    return std::nullopt;
}

// Impossible DOS stamps repeat across an archive far less often than good
// ones, and a local time costs a time zone look-up: one per distinct stamp.
class DateCache {
public:
    std::optional<QDateTime> at(uint16_t date, uint16_t time) {
        const uint32_t key = (uint32_t(date) << 16) | time;
        auto found = m_dates.constFind(key);
        if (found == m_dates.constEnd()) {
            found = m_dates.insert(key, dosDateTime(date, time));
        }
        return *found;
    }

private:
    QHash<uint32_t, std::optional<QDateTime>> m_dates;
};

ZipMember readCentralHeader(const uchar* header, QByteArrayView name, DateCache& dates) {
    ZipMember member;
    const bool utf8Flag = (le16(header + 8) & 0x0800) != 0;
    // Old Windows tools wrote "\" as the separator. It is replaced only after
    // decoding, so a CP932 trail byte of 0x5C stays part of its character.
    member.path = decodeEntryName(name, utf8Flag).replace(QLatin1Char('\\'), QLatin1Char('/'));
    member.isDirectory = member.path.endsWith(QLatin1Char('/'));
    member.compressionMethod = le16(header + 10);
    member.modificationDate = dates.at(le16(header + 14), le16(header + 12));
    member.compressedSize = le32(header + 20);
    member.size = le32(header + 24);
    member.localHeaderOffset = le32(header + 42);
    return member;
}

QString zlibFailure(const char* what, int code) {
    return QString::fromLatin1(what) + QStringLiteral(" failed (") + QString::number(code) +
           QLatin1Char(')');
}

// The outcome of one inflate call with Z_FINISH into a buffer of the
// announced size: the stream's end is success, running out of room or of
// input before the end is Z_BUF_ERROR, and a member that inflates to less
// comes back shorter. The buffer grows with what inflate really gives, so a
// few bytes announcing gigabytes never allocate gigabytes.
ZipResult<QByteArray> inflateRaw(QByteArrayView input, int64_t announcedSize) {
    if (announcedSize == 0) {
        return QByteArray();
    }
    z_stream stream{};
    int code = inflateInit2(&stream, -MAX_WBITS);
    if (code != Z_OK) {
        return fail(ZipArchiveError::extractFailed(QString(), zlibFailure("inflateInit", code)));
    }
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(input.data()));
    stream.avail_in = uInt(input.size());
    const int64_t limit = std::max<int64_t>(announcedSize, 1);
    int64_t capacity = std::min<int64_t>(limit, std::max<int64_t>(65536, input.size() * 4));
    QByteArray out;
    for (;;) {
        out.resize(qsizetype(capacity));
        stream.next_out = reinterpret_cast<Bytef*>(out.data()) + stream.total_out;
        stream.avail_out = uInt(capacity - int64_t(stream.total_out));
        code = inflate(&stream, Z_NO_FLUSH);
        if (code != Z_OK && code != Z_BUF_ERROR) {
            break;
        }
        if (stream.avail_out == 0 && capacity < limit) {
            capacity = std::min(limit, capacity * 2);
            continue;
        }
        code = Z_BUF_ERROR;
        break;
    }
    const auto produced = qsizetype(stream.total_out);
    inflateEnd(&stream);
    if (code != Z_STREAM_END) {
        return fail(ZipArchiveError::extractFailed(QString(), zlibFailure("inflate", code)));
    }
    out.resize(produced);
    return out;
}

} // namespace

ZipResult<QList<ZipMember>> parseArchive(QByteArrayView archive) {
    const auto endRecord = findEndRecord(archive);
    const QString placeholder = QStringLiteral("/");
    if (!endRecord) {
        return fail(ZipArchiveError::listFailed(placeholder, QStringLiteral("EOCD not found")));
    }
    const auto* p = reinterpret_cast<const uchar*>(archive.data());
    const uint64_t fileSize = uint64_t(archive.size());
    const uint16_t entryCount = le16(p + *endRecord + 10);
    const uint64_t directorySize = le32(p + *endRecord + 12);
    const uint64_t directoryOffset = le32(p + *endRecord + 16);
    if (directoryOffset + directorySize > fileSize) {
        return fail(
            ZipArchiveError::listFailed(placeholder, QStringLiteral("Invalid central directory")));
    }
    QList<ZipMember> members;
    members.reserve(std::min<qsizetype>(entryCount, qsizetype(directorySize) / centralHeaderSize));
    DateCache dates;
    const uint64_t end = directoryOffset + directorySize;
    uint64_t pos = directoryOffset;
    // A damaged directory ends the listing early with what was good.
    for (int entry = 0; entry < entryCount; ++entry) {
        if (pos + centralHeaderSize > end || le32(p + pos) != centralHeaderSignature) {
            break;
        }
        const uchar* header = p + pos;
        const uint64_t nameLength = le16(header + 28);
        if (pos + centralHeaderSize + nameLength > fileSize) {
            break;
        }
        const QByteArrayView name(header + centralHeaderSize, qsizetype(nameLength));
        members.append(readCentralHeader(header, name, dates));
        pos += centralHeaderSize + nameLength + le16(header + 30) + le16(header + 32);
    }
    return members;
}

ZipResult<QByteArray> memberData(QByteArrayView archive, const ZipMember& member) {
    const auto* p = reinterpret_cast<const uchar*>(archive.data());
    const uint64_t fileSize = uint64_t(archive.size());
    const uint64_t offset = member.localHeaderOffset;
    if (offset + localHeaderSize > fileSize || le32(p + offset) != localHeaderSignature) {
        return fail(
            ZipArchiveError::extractFailed(member.path, QStringLiteral("Invalid local header")));
    }
    // The local header's own lengths decide where the data starts; they may
    // differ from the central directory's.
    const uint64_t start = offset + localHeaderSize + le16(p + offset + 26) + le16(p + offset + 28);
    const uint64_t compressedSize = uint64_t(member.compressedSize);
    if (start + compressedSize > fileSize) {
        return fail(ZipArchiveError::extractFailed(member.path,
                                                   QStringLiteral("Truncated compressed data")));
    }
    const QByteArrayView data(p + start, qsizetype(compressedSize));
    switch (member.compressionMethod) {
    case 0:
        return data.toByteArray();
    case 8:
        return inflateRaw(data, member.size);
    default:
        return fail(ZipArchiveError::extractFailed(
            member.path, QStringLiteral("Unsupported compression method ") +
                             QString::number(member.compressionMethod)));
    }
}

// A name without the UTF-8 flag that is not well-formed UTF-8 is CP932
// first: that is what ZIP files from Japanese Windows hold.
QString decodeEntryName(QByteArrayView name, bool utf8Flag) {
    using TextDecoding::decodeStrict;
    if (utf8Flag || TextDecoding::isStructurallyUTF8(name)) {
        if (auto text = decodeStrict(name, TextFileEncoding::utf8)) {
            return *text;
        }
    }
    for (TextFileEncoding encoding : {TextFileEncoding::cp932, TextFileEncoding::shiftJIS}) {
        if (auto text = decodeStrict(name, encoding)) {
            return *text;
        }
    }
    return TextDecoding::decodeUTF8WithRepair(name);
}

std::optional<QDateTime> dosDateTime(uint16_t date, uint16_t time) {
    const int year = ((date >> 9) & 127) + 1980;
    const int month = (date >> 5) & 15;
    const int day = date & 31;
    const int seconds = ((time >> 11) & 31) * 3600 + ((time >> 5) & 63) * 60 + (time & 31) * 2;
    // Out-of-range components roll over into the next unit, as a lenient
    // calendar does: day 0 is the last day of the month before.
    const QDate calendarDay =
        QDate(year, 1, 1).addMonths(month - 1).addDays(day - 1 + seconds / 86400);
    const QDateTime result(calendarDay, QTime(0, 0).addSecs(seconds % 86400), Qt::LocalTime);
    if (!result.isValid()) {
        return std::nullopt;
    }
    return result;
}

} // namespace ZipArchiveService

// The ZIP format itself: pure functions over an archive's bytes (PKWARE
// APPNOTE 4.3.7, 4.3.12, 4.3.16, and for ZIP64 4.3.14, 4.3.15, 4.5.3). Every
// offset is checked against the bytes before it is read, and no size field
// decides an allocation by itself.
#include "archive/ZipArchiveService.h"

#include "core/SystemPath.h"
#include "text/TextDecoding.h"

#include <QHash>

#include <zlib.h>

#include <algorithm>

namespace ZipArchiveService {

namespace {

constexpr uint32_t endOfCentralDirectorySignature = 0x06054B50;
constexpr uint32_t centralHeaderSignature = 0x02014B50;
constexpr uint32_t localHeaderSignature = 0x04034B50;
constexpr uint32_t zip64EndRecordSignature = 0x06064B50;
constexpr uint32_t zip64LocatorSignature = 0x07064B50;
constexpr qsizetype zip64EndRecordSize = 56;
constexpr qsizetype zip64LocatorSize = 20;
constexpr uint16_t zip64ExtraId = 0x0001;
constexpr uint32_t saturated32 = 0xFFFFFFFF;
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

uint64_t le64(const uchar* p) {
    return uint64_t(le32(p)) | (uint64_t(le32(p + 4)) << 32);
}

// Sizes are signed in the member record; a ZIP64 value past what that holds
// is kept as a size no file reaches, with room for the one byte the
// inflater asks for beyond a declared size.
int64_t signedSize(uint64_t value) {
    return int64_t(std::min<uint64_t>(value, uint64_t(std::numeric_limits<int64_t>::max() - 1)));
}

// Whether length bytes from offset lie inside a file of size bytes, without
// overflowing on hostile values.
bool fits(uint64_t offset, uint64_t length, uint64_t size) {
    return offset <= size && length <= size - offset;
}

// The bytes an archive holds in memory, read as any other source is.
class BytesSource final : public ZipSource {
public:
    explicit BytesSource(QByteArrayView bytes)
        : m_bytes(bytes) {}
    uint64_t size() const override { return uint64_t(m_bytes.size()); }
    std::optional<QByteArray> read(uint64_t offset, qsizetype length) const override {
        if (length < 0 || offset > size() || uint64_t(length) > size() - offset) {
            return std::nullopt;
        }
        return m_bytes.sliced(qsizetype(offset), length).toByteArray();
    }

private:
    QByteArrayView m_bytes;
};

// The last signature within the reach of the longest comment, searched
// backward in the archive's tail. The comment length is not compared with
// what follows, so a signature inside a comment wins when it stands later in
// the file.
std::optional<qsizetype> findEndRecord(QByteArrayView tail) {
    const qsizetype size = tail.size();
    if (size < endRecordSize) {
        return std::nullopt;
    }
    const auto* p = reinterpret_cast<const uchar*>(tail.data());
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
    const std::optional<QDateTime>& at(uint16_t date, uint16_t time) {
        const uint32_t key = (uint32_t(date) << 16) | time;
        // Members written together share their stamp: the last one answers
        // most look-ups.
        if (m_last && key == m_lastKey) {
            return *m_last;
        }
        auto found = m_dates.constFind(key);
        if (found == m_dates.constEnd()) {
            found = m_dates.insert(key, dosDateTime(date, time));
        }
        m_lastKey = key;
        m_last = &*found;
        return *found;
    }

private:
    // QHash keeps a value where it is until the hash grows; the pointer is
    // taken anew after every insertion.
    QHash<uint32_t, std::optional<QDateTime>> m_dates;
    uint32_t m_lastKey = 0;
    const std::optional<QDateTime>* m_last = nullptr;
};

// The ZIP64 extended information of a central header: 8-byte values for
// exactly those of the uncompressed size, the compressed size and the local
// header offset whose 32-bit field is saturated, in that order. A block too
// short for what it must hold gives what it has.
void readZip64Extra(QByteArrayView extra, const uchar* header, ZipMember& member) {
    const auto* p = reinterpret_cast<const uchar*>(extra.data());
    for (qsizetype at = 0; at + 4 <= extra.size();) {
        const qsizetype length = le16(p + at + 2);
        if (le16(p + at) != zip64ExtraId) {
            at += 4 + length;
            continue;
        }
        const qsizetype end = std::min(extra.size(), at + 4 + length);
        qsizetype next = at + 4;
        const auto take = [&](uint32_t field, auto apply) {
            if (field == saturated32 && next + 8 <= end) {
                apply(le64(p + next));
                next += 8;
            }
        };
        take(le32(header + 24), [&](uint64_t v) { member.size = signedSize(v); });
        take(le32(header + 20), [&](uint64_t v) { member.compressedSize = signedSize(v); });
        take(le32(header + 42), [&](uint64_t v) { member.localHeaderOffset = v; });
        return;
    }
}

ZipMember readCentralHeader(const uchar* header, QByteArrayView name, DateCache& dates) {
    ZipMember member;
    const uint16_t flags = le16(header + 8);
    const bool utf8Flag = (flags & 0x0800) != 0;
    member.isEncrypted = (flags & 0x0001) != 0;
    // Old Windows tools wrote "\" as the separator. It is replaced only after
    // decoding, so a CP932 trail byte of 0x5C stays part of its character.
    member.path = decodeEntryName(name, utf8Flag);
    if (name.contains('\\')) {
        member.path.replace(QLatin1Char('\\'), QLatin1Char('/'));
    }
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

ZipArchiveError inflateError(const QString& memberPath, int code) {
    return ZipArchiveError::extractFailed(memberPath, zlibFailure("inflate", code));
}

// How much of a member's compressed data is read at a time, and how much
// inflated output is handed on at a time.
constexpr qsizetype pieceSize = 65536;

// The compressed data of one member, read piece by piece from the source.
class CompressedData {
public:
    CompressedData(const ZipSource& source, uint64_t start, uint64_t size)
        : m_source(source)
        , m_next(start)
        , m_left(size) {}

    bool atEnd() const { return m_left == 0; }
    std::optional<QByteArray> nextPiece() {
        const auto length = qsizetype(std::min<uint64_t>(m_left, pieceSize));
        auto piece = m_source.read(m_next, length);
        if (piece) {
            m_next += uint64_t(length);
            m_left -= uint64_t(length);
        }
        return piece;
    }

private:
    const ZipSource& m_source;
    uint64_t m_next;
    uint64_t m_left;
};

ZipResult<int64_t> copyStored(CompressedData data, const ZipMember& member, int64_t maxBytes,
                              const MemberSink& sink) {
    int64_t handed = 0;
    while (!data.atEnd() && handed < maxBytes) {
        const auto piece = data.nextPiece();
        if (!piece) {
            return fail(ZipArchiveError::extractFailed(
                member.path, QStringLiteral("Truncated compressed data")));
        }
        const auto wanted = qsizetype(std::min<int64_t>(piece->size(), maxBytes - handed));
        if (!sink(QByteArrayView(*piece).first(wanted))) {
            break;
        }
        handed += wanted;
    }
    return handed;
}

struct InflateStream {
    z_stream stream{};
    bool open = false;
    ~InflateStream() {
        if (open) {
            inflateEnd(&stream);
        }
    }
};

// Raw inflate in pieces. The output never runs past the declared size: one
// byte more than declared is already a failure (Z_BUF_ERROR, as a single
// Z_FINISH call into a buffer of the declared size would answer), so a few
// bytes that announce little and inflate to gigabytes cost one piece. Data
// that ends before the deflate stream does fails the same way; a stream
// that ends early gives what it made. Inflating stops without complaint
// once maxBytes have been handed on.
ZipResult<int64_t> inflateMember(CompressedData data, const ZipMember& member, int64_t maxBytes,
                                 const MemberSink& sink) {
    const int64_t declaredSize = member.size;
    if (declaredSize == 0 || maxBytes <= 0) {
        return int64_t(0);
    }
    const auto inflateFailure = [&member](int code) { return inflateError(member.path, code); };
    InflateStream inflater;
    const int init = inflateInit2(&inflater.stream, -MAX_WBITS);
    if (init != Z_OK) {
        return fail(ZipArchiveError::extractFailed(member.path, zlibFailure("inflateInit", init)));
    }
    inflater.open = true;
    z_stream& stream = inflater.stream;
    QByteArray input;
    QByteArray output(pieceSize, Qt::Uninitialized);
    int64_t produced = 0;
    int64_t handed = 0;
    for (;;) {
        if (stream.avail_in == 0 && !data.atEnd()) {
            auto piece = data.nextPiece();
            if (!piece) {
                return fail(inflateFailure(Z_BUF_ERROR));
            }
            input = std::move(*piece);
            stream.next_in = reinterpret_cast<Bytef*>(input.data());
            stream.avail_in = uInt(input.size());
        }
        const int64_t room =
            std::min<int64_t>({pieceSize, declaredSize + 1 - produced, maxBytes - handed});
        stream.next_out = reinterpret_cast<Bytef*>(output.data());
        stream.avail_out = uInt(room);
        const int code = inflate(&stream, Z_NO_FLUSH);
        const int64_t made = room - int64_t(stream.avail_out);
        produced += made;
        if (produced > declaredSize) {
            return fail(inflateFailure(Z_BUF_ERROR));
        }
        if (code != Z_OK && code != Z_STREAM_END && code != Z_BUF_ERROR) {
            return fail(inflateFailure(code));
        }
        const auto wanted = qsizetype(std::min<int64_t>(made, maxBytes - handed));
        if (wanted > 0 && !sink(QByteArrayView(output).first(wanted))) {
            return handed;
        }
        handed += wanted;
        if (code == Z_STREAM_END || handed >= maxBytes) {
            return handed;
        }
        if (code == Z_BUF_ERROR && stream.avail_in == 0 && data.atEnd()) {
            return fail(inflateFailure(Z_BUF_ERROR));
        }
    }
}

// The most of a central directory read, however large it claims to be.
constexpr uint64_t directoryReadLimit = uint64_t(64) << 20;

} // namespace

namespace {

// Where the central directory stands and how many entries it announces.
struct DirectoryPlace {
    uint64_t entryCount = 0;
    uint64_t size = 0;
    uint64_t offset = 0;
};

enum class EndRecords { found, notFound, invalid };

// The ZIP64 end record named by a locator right before the end record. None
// without a locator; a locator or record that is not where it says, or a
// record that does not end before its locator, is invalid.
EndRecords readZip64End(const ZipSource& archive, uint64_t endRecordAt, DirectoryPlace& place) {
    if (endRecordAt < zip64LocatorSize) {
        return EndRecords::notFound;
    }
    const uint64_t locatorAt = endRecordAt - zip64LocatorSize;
    const auto locator = archive.read(locatorAt, zip64LocatorSize);
    const auto* l = locator ? reinterpret_cast<const uchar*>(locator->constData()) : nullptr;
    if (!l || le32(l) != zip64LocatorSignature) {
        return EndRecords::notFound;
    }
    const uint64_t recordAt = le64(l + 8);
    if (!fits(recordAt, zip64EndRecordSize, locatorAt)) {
        return EndRecords::invalid;
    }
    const auto record = archive.read(recordAt, zip64EndRecordSize);
    const auto* r = record ? reinterpret_cast<const uchar*>(record->constData()) : nullptr;
    if (!r || le32(r) != zip64EndRecordSignature) {
        return EndRecords::invalid;
    }
    place = {le64(r + 32), le64(r + 40), le64(r + 48)};
    return EndRecords::found;
}

// The end record, searched in the archive's tail, and the ZIP64 record when
// the archive has one: its counts, sizes and offsets then stand for the
// 16- and 32-bit fields of the end record.
EndRecords findDirectory(const ZipSource& archive, DirectoryPlace& place) {
    const uint64_t fileSize = archive.size();
    const uint64_t tailSize = std::min<uint64_t>(fileSize, endRecordSize + longestComment);
    const auto tail = archive.read(fileSize - tailSize, qsizetype(tailSize));
    const auto endRecord = tail ? findEndRecord(*tail) : std::nullopt;
    if (!endRecord) {
        return EndRecords::notFound;
    }
    const auto* record = reinterpret_cast<const uchar*>(tail->constData()) + *endRecord;
    place = {le16(record + 10), le32(record + 12), le32(record + 16)};
    const EndRecords zip64 =
        readZip64End(archive, fileSize - tailSize + uint64_t(*endRecord), place);
    if (zip64 == EndRecords::invalid) {
        return zip64;
    }
    return fits(place.offset, place.size, fileSize) ? EndRecords::found : EndRecords::invalid;
}

// The central headers of the directory bytes, as many as are announced and
// well formed: a damaged directory ends the listing early with what was good.
QList<ZipMember> readCentralHeaders(QByteArrayView directory, uint64_t end, uint64_t entryCount) {
    const auto* p = reinterpret_cast<const uchar*>(directory.data());
    const auto readSize = uint64_t(directory.size());
    QList<ZipMember> members;
    members.reserve(qsizetype(std::min<uint64_t>(entryCount, end / centralHeaderSize)));
    DateCache dates;
    uint64_t pos = 0;
    for (uint64_t entry = 0; entry < entryCount; ++entry) {
        if (pos + centralHeaderSize > end || le32(p + pos) != centralHeaderSignature) {
            break;
        }
        const uchar* header = p + pos;
        const uint64_t nameLength = le16(header + 28);
        const uint64_t extraLength = le16(header + 30);
        if (pos + centralHeaderSize + nameLength > readSize) {
            break;
        }
        const QByteArrayView name(header + centralHeaderSize, qsizetype(nameLength));
        ZipMember member = readCentralHeader(header, name, dates);
        if (pos + centralHeaderSize + nameLength + extraLength <= readSize) {
            readZip64Extra(
                QByteArrayView(header + centralHeaderSize + nameLength, qsizetype(extraLength)),
                header, member);
        }
        members.append(std::move(member));
        pos += centralHeaderSize + nameLength + extraLength + le16(header + 32);
    }
    return members;
}

} // namespace

ZipResult<QList<ZipMember>> parseArchive(const ZipSource& archive) {
    const QString placeholder = QStringLiteral("/");
    DirectoryPlace place;
    switch (findDirectory(archive, place)) {
    case EndRecords::notFound:
        return fail(ZipArchiveError::listFailed(placeholder, QStringLiteral("EOCD not found")));
    case EndRecords::invalid:
        return fail(
            ZipArchiveError::listFailed(placeholder, QStringLiteral("Invalid central directory")));
    case EndRecords::found:
        break;
    }
    if (place.entryCount == 0) {
        return QList<ZipMember>();
    }
    // The directory and, past its announced end (never more than
    // directoryReadLimit), as much as the last header's name and extra field
    // may reach into.
    const uint64_t end = std::min(place.size, directoryReadLimit);
    const uint64_t readSize =
        std::min(archive.size() - place.offset, end + 2 * uint64_t(longestComment));
    const auto directory = archive.read(place.offset, qsizetype(readSize));
    if (!directory) {
        return fail(
            ZipArchiveError::listFailed(placeholder, QStringLiteral("Invalid central directory")));
    }
    return readCentralHeaders(*directory, end, place.entryCount);
}

ZipResult<int64_t> readMember(const ZipSource& archive, const ZipMember& member, int64_t maxBytes,
                              const MemberSink& sink) {
    if (member.isEncrypted) {
        return fail(
            ZipArchiveError::extractFailed(member.path, QStringLiteral("Encrypted member")));
    }
    const uint64_t fileSize = archive.size();
    const uint64_t offset = member.localHeaderOffset;
    const auto header = fits(offset, localHeaderSize, fileSize)
                            ? archive.read(offset, localHeaderSize)
                            : std::nullopt;
    const auto* p = header ? reinterpret_cast<const uchar*>(header->constData()) : nullptr;
    if (!p || le32(p) != localHeaderSignature) {
        return fail(
            ZipArchiveError::extractFailed(member.path, QStringLiteral("Invalid local header")));
    }
    // The local header's own lengths decide where the data starts; they may
    // differ from the central directory's.
    const uint64_t start = offset + localHeaderSize + le16(p + 26) + le16(p + 28);
    const uint64_t compressedSize = uint64_t(member.compressedSize);
    if (!fits(start, compressedSize, fileSize)) {
        return fail(ZipArchiveError::extractFailed(member.path,
                                                   QStringLiteral("Truncated compressed data")));
    }
    const CompressedData data(archive, start, compressedSize);
    switch (member.compressionMethod) {
    case 0:
        return copyStored(data, member, maxBytes, sink);
    case 8:
        return inflateMember(data, member, maxBytes, sink);
    default:
        return fail(ZipArchiveError::extractFailed(
            member.path, QStringLiteral("Unsupported compression method ") +
                             QString::number(member.compressionMethod)));
    }
}

ZipResult<QList<ZipMember>> parseArchive(QByteArrayView archive) {
    return parseArchive(BytesSource(archive));
}

ZipResult<QByteArray> memberData(QByteArrayView archive, const ZipMember& member,
                                 int64_t maxBytes) {
    QByteArray bytes;
    auto read = readMember(BytesSource(archive), member, maxBytes, [&](QByteArrayView piece) {
        bytes.append(piece);
        return true;
    });
    if (!read) {
        return fail(read.error());
    }
    return bytes;
}

// A name without the UTF-8 flag that is not well-formed UTF-8 is CP932
// first: that is what ZIP files from Japanese Windows hold.
QString decodeEntryName(QByteArrayView name, bool utf8Flag) {
    using TextDecoding::decodeStrict;
    // Plain ASCII reads the same in every encoding below; most names are.
    if (std::all_of(name.begin(), name.end(), [](char c) { return uchar(c) < 0x80; })) {
        return QString::fromLatin1(name);
    }
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
    // Neither: the bytes are kept, as a file name on disk that is not UTF-8.
    return fromSystemPath(name);
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

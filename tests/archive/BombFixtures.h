#pragma once

// Archives that hold far more than they take on disk, made in memory in a
// few milliseconds: a mebibyte of text is compressed once, and the
// compressed piece is repeated.
#include "ZipFixtures.h"

#include <QByteArray>
#include <QString>

#include <zlib.h>

#include <cstdint>

namespace BombFixtures {

constexpr int64_t mebibyte = int64_t(1) << 20;

inline QByteArray textMebibyte() {
    const QByteArray line("all work and no play makes a dull archive\n");
    return line.repeated(int(mebibyte / line.size()) + 1).left(mebibyte);
}

// A ZIP holding one deflated member of the given mebibytes of text lines,
// about a kilobyte a mebibyte. The raw deflate of one mebibyte ends with a
// full flush, so it refers to nothing before it and repeated it stays a
// valid stream; an empty final block ends it. Laid out as Info-ZIP does.
inline QByteArray zipBomb(const QByteArray& name, int mebibytes) {
    const QByteArray unit = textMebibyte();
    z_stream stream{};
    deflateInit2(&stream, 9, Z_DEFLATED, -MAX_WBITS, 9, Z_DEFAULT_STRATEGY);
    QByteArray piece(int(deflateBound(&stream, uLong(unit.size()))) + 64, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(unit.data()));
    stream.avail_in = uInt(unit.size());
    stream.next_out = reinterpret_cast<Bytef*>(piece.data());
    stream.avail_out = uInt(piece.size());
    deflate(&stream, Z_FULL_FLUSH);
    piece.truncate(qsizetype(stream.total_out));
    QByteArray end(64, '\0');
    stream.next_out = reinterpret_cast<Bytef*>(end.data());
    stream.avail_out = uInt(end.size());
    deflate(&stream, Z_FINISH);
    end.truncate(qsizetype(stream.total_out) - piece.size());
    deflateEnd(&stream);
    const QByteArray data = piece.repeated(mebibytes) + end;

    const uLong unitCrc = crc32(0, reinterpret_cast<const Bytef*>(unit.data()), uInt(unit.size()));
    uLong crc = 0;
    for (int i = 0; i < mebibytes; ++i) {
        crc = crc32_combine(crc, unitCrc, z_off_t(mebibyte));
    }
    const auto size = uint32_t(int64_t(mebibytes) * mebibyte);

    using namespace ZipFixtures;
    const QByteArray zero2(2, '\0'), zero4(4, '\0');
    const QByteArray sizes = le32(uint32_t(crc)) + le32(uint32_t(data.size())) + le32(size) +
                             le16(uint16_t(name.size())) + zero2;
    const QByteArray body =
        le32(0x04034B50) + le16(20) + zero2 + le16(8) + zero4 + sizes + name + data;
    const QByteArray central = le32(0x02014B50) + le16(0x031E) + le16(20) + zero2 + le16(8) +
                               zero4 + sizes + zero2 + zero4 + le32(0100644u << 16) + zero4;
    const QByteArray record = le32(0x06054B50) + zero4 + le16(1) + le16(1) +
                              le32(uint32_t(central.size() + name.size())) +
                              le32(uint32_t(body.size())) + zero2;
    return body + central + name + record;
}

// One gzip member of the bytes.
inline QByteArray gzipMember(const QByteArray& bytes) {
    z_stream stream{};
    deflateInit2(&stream, 9, Z_DEFLATED, MAX_WBITS + 16, 9, Z_DEFAULT_STRATEGY);
    QByteArray out(int(deflateBound(&stream, uLong(bytes.size()))) + 64, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = uInt(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = uInt(out.size());
    deflate(&stream, Z_FINISH);
    out.truncate(qsizetype(stream.total_out));
    deflateEnd(&stream);
    return out;
}

// A tar.gz of one member of the given mebibytes of text lines. tar writes
// the header for a one-byte file of that name; its size field and checksum
// are set to the large size. gzip reads a file of several members as the
// joined output of all, so the text is one compressed mebibyte repeated.
inline QByteArray tarGzBomb(const QString& folder, const QString& name, int mebibytes) {
    QFile small(folder + QLatin1Char('/') + name);
    if (!small.open(QIODevice::WriteOnly) || small.write("x") != 1) {
        return {};
    }
    small.close();
    QByteArray header =
        ZipFixtures::run(folder, QStringLiteral("tar"),
                         {QStringLiteral("-cf"), QStringLiteral("-"), QStringLiteral("--"), name})
            .left(512);
    const int64_t size = int64_t(mebibytes) * mebibyte;
    header.replace(124, 12, QByteArray::number(qlonglong(size), 8).rightJustified(11, '0') + '\0');
    header.replace(148, 8, QByteArray(8, ' '));
    unsigned sum = 0;
    for (char byte : header) {
        sum += uchar(byte);
    }
    header.replace(148, 8,
                   QByteArray::number(sum, 8).rightJustified(6, '0') + QByteArray("\0 ", 2));
    const QByteArray unit = gzipMember(textMebibyte());
    return gzipMember(header) + unit.repeated(mebibytes) + gzipMember(QByteArray(1024, '\0'));
}

} // namespace BombFixtures

#include "text/TextDecoding.h"

#include <QLatin1StringView>
#include <QStringDecoder>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <cerrno>
#include <iconv.h>

namespace TextDecoding {

namespace {

constexpr qsizetype sampleSize = 4096;

const uchar* bytesOf(QByteArrayView view) {
    return reinterpret_cast<const uchar*>(view.data());
}

// The bytes a well-formed UTF-8 character may have after its lead, by
// position (Unicode Table 3-7): no overlong forms, no surrogates, nothing
// above U+10FFFF.
struct UTF8Shape {
    int length = 0;
    uchar secondLow = 0x80;
    uchar secondHigh = 0xBF;
};

UTF8Shape utf8Shape(uchar lead) {
    if (lead >= 0xC2 && lead <= 0xDF) {
        return {2};
    }
    if (lead >= 0xE0 && lead <= 0xEF) {
        return {3, uchar(lead == 0xE0 ? 0xA0 : 0x80), uchar(lead == 0xED ? 0x9F : 0xBF)};
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        return {4, uchar(lead == 0xF0 ? 0x90 : 0x80), uchar(lead == 0xF4 ? 0x8F : 0xBF)};
    }
    return {};
}

// How many bytes at i belong to one character (complete == true), or to the
// longest start of one that the bytes break off (complete == false; at least 1).
std::pair<qsizetype, bool> utf8Character(const uchar* p, qsizetype n, qsizetype i) {
    if (p[i] < 0x80) {
        return {1, true};
    }
    const UTF8Shape shape = utf8Shape(p[i]);
    if (shape.length == 0) {
        return {1, false};
    }
    qsizetype k = 1;
    for (; k < shape.length && i + k < n; ++k) {
        const uchar low = k == 1 ? shape.secondLow : 0x80;
        const uchar high = k == 1 ? shape.secondHigh : 0xBF;
        if (p[i + k] < low || p[i + k] > high) {
            return {k, false};
        }
    }
    return {k, k == shape.length};
}

// The length of the longest well-formed UTF-8 start of the bytes.
qsizetype validUTF8Prefix(QByteArrayView bytes) {
    const uchar* p = bytesOf(bytes);
    const qsizetype n = bytes.size();
    qsizetype i = 0;
    while (i < n) {
        if (p[i] < 0x80) {
            ++i;
            continue;
        }
        const auto [length, complete] = utf8Character(p, n, i);
        if (!complete) {
            break;
        }
        i += length;
    }
    return i;
}

bool isValidUTF8(QByteArrayView bytes) {
    return validUTF8Prefix(bytes) == bytes.size();
}

// A byte order mark is an ordinary character here: it is kept in the text so
// that saving writes the file back as it was. QString::fromUtf8 would drop it.
QString utf8ToString(QByteArrayView bytes) {
    if (!bytes.startsWith("\xEF\xBB\xBF")) {
        return QString::fromUtf8(bytes);
    }
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom |
                                                     QStringDecoder::Flag::Stateless);
    return decoder.decode(bytes);
}

const char* iconvName(TextFileEncoding encoding) {
    switch (encoding) {
    case TextFileEncoding::cp932:
        return "CP932";
    case TextFileEncoding::shiftJIS:
        return "SHIFT_JIS";
    case TextFileEncoding::eucJP:
        return "EUC-JP";
    case TextFileEncoding::utf8:
        break;
    }
    return "UTF-8";
}

constexpr const char* hostUTF16 = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? "UTF-16LE" : "UTF-16BE";

enum class Direction { decoding, encoding };

// glibc's converters, opened once per thread and encoding. iconv descriptors
// carry state and must not be shared between threads.
class ConverterCache {
public:
    ~ConverterCache() {
        for (iconv_t cd : m_handles) {
            if (cd != invalid()) {
                iconv_close(cd);
            }
        }
    }

    iconv_t get(TextFileEncoding encoding, Direction direction) {
        const size_t slot = size_t(encoding) * 2 + size_t(direction);
        iconv_t& cd = m_handles[slot];
        if (cd == invalid()) {
            cd = direction == Direction::decoding ? iconv_open(hostUTF16, iconvName(encoding))
                                                  : iconv_open(iconvName(encoding), hostUTF16);
        }
        if (cd != invalid()) {
            iconv(cd, nullptr, nullptr, nullptr, nullptr);
        }
        return cd;
    }

private:
    static iconv_t invalid() { return reinterpret_cast<iconv_t>(-1); }
    std::array<iconv_t, 8> m_handles{invalid(), invalid(), invalid(), invalid(),
                                     invalid(), invalid(), invalid(), invalid()};
};

iconv_t converter(TextFileEncoding encoding, Direction direction) {
    thread_local ConverterCache cache;
    return cache.get(encoding, direction);
}

// Runs one whole conversion, appending to out. An invalid sequence (EILSEQ)
// or a sequence cut by the end of the input (EINVAL) fails the conversion.
template <typename Buffer>
bool appendConverted(iconv_t cd, const char* input, size_t length, Buffer& out, int unitSize,
                     size_t unitsPerByte) {
    if (cd == reinterpret_cast<iconv_t>(-1)) {
        return false;
    }
    char* in = const_cast<char*>(input);
    size_t inLeft = length;
    while (inLeft > 0) {
        const qsizetype before = out.size();
        const size_t room = inLeft * unitsPerByte + 8;
        out.resize(before + qsizetype(room));
        char* outStart = reinterpret_cast<char*>(out.data() + before);
        char* outPtr = outStart;
        size_t outLeft = room * size_t(unitSize);
        const size_t status = iconv(cd, &in, &inLeft, &outPtr, &outLeft);
        const int error = errno;
        out.resize(before + qsizetype(size_t(outPtr - outStart) / size_t(unitSize)));
        if (status == size_t(-1) && error != E2BIG) {
            return false;
        }
    }
    return true;
}

bool isShiftJISLead(uchar byte) {
    return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
}

// The end of a run of non-ASCII characters starting at i. In the Shift_JIS
// family a trail byte may lie below 0x80 (0x83 0x5C is "ソ"), so a lead byte
// takes its follower into the run whatever it is.
qsizetype endOfLegacyRun(const uchar* p, qsizetype n, qsizetype i, TextFileEncoding encoding) {
    const bool shiftJISFamily = encoding != TextFileEncoding::eucJP;
    while (i < n && p[i] >= 0x80) {
        i += shiftJISFamily && isShiftJISLead(p[i]) ? 2 : 1;
    }
    return std::min(i, n);
}

// Bytes below 0x80 are taken as ASCII directly; only runs of the other bytes
// go through glibc, whose SHIFT_JIS would turn 0x5C into a yen sign.
std::optional<QString> decodeLegacy(QByteArrayView bytes, TextFileEncoding encoding) {
    const uchar* p = bytesOf(bytes);
    const qsizetype n = bytes.size();
    QString out;
    out.reserve(n);
    qsizetype i = 0;
    while (i < n) {
        qsizetype j = i;
        if (p[i] < 0x80) {
            while (j < n && p[j] < 0x80) {
                ++j;
            }
            out.append(QLatin1StringView(bytes.data() + i, j - i));
        } else {
            j = endOfLegacyRun(p, n, i, encoding);
            iconv_t cd = converter(encoding, Direction::decoding);
            if (!appendConverted(cd, bytes.data() + i, size_t(j - i), out, 2, 1)) {
                return std::nullopt;
            }
        }
        i = j;
    }
    return out;
}

std::optional<QByteArray> encodeLegacy(const QString& text, TextFileEncoding encoding) {
    QByteArray out;
    out.reserve(text.size() * 2);
    const QChar* p = text.constData();
    const qsizetype n = text.size();
    qsizetype i = 0;
    while (i < n) {
        qsizetype j = i;
        const bool ascii = p[i].unicode() < 0x80;
        while (j < n && (p[j].unicode() < 0x80) == ascii) {
            ++j;
        }
        if (ascii) {
            for (qsizetype k = i; k < j; ++k) {
                out.append(char(p[k].unicode()));
            }
        } else {
            iconv_t cd = converter(encoding, Direction::encoding);
            const auto* run = reinterpret_cast<const char*>(p + i);
            if (!appendConverted(cd, run, size_t(j - i) * 2, out, 1, 2)) {
                return std::nullopt;
            }
        }
        i = j;
    }
    return out;
}

// How many bytes the character whose first byte is lead takes, by the
// structure of each encoding alone.
qsizetype utf8Length(uchar lead) {
    if ((lead & 0xE0) == 0xC0) {
        return 2;
    }
    if ((lead & 0xF0) == 0xE0) {
        return 3;
    }
    return (lead & 0xF8) == 0xF0 ? 4 : 1;
}

qsizetype eucLength(uchar lead) {
    if (lead == 0x8F) {
        return 3;
    }
    return lead == 0x8E || (lead >= 0xA1 && lead <= 0xFE) ? 2 : 1;
}

qsizetype shiftJISLength(uchar lead) {
    return isShiftJISLead(lead) ? 2 : 1;
}

// The sample without the character its end cuts, read character by
// character in one encoding. Whether the characters are valid is left to
// the judgement that follows.
QByteArrayView withoutCutCharacter(QByteArrayView sample, qsizetype (*length)(uchar)) {
    const uchar* p = bytesOf(sample);
    const qsizetype n = sample.size();
    qsizetype i = 0;
    while (i < n) {
        const qsizetype next = i + length(p[i]);
        if (next > n) {
            return sample.first(i);
        }
        i = next;
    }
    return sample;
}

// The bytes without a last character that their end cuts short: up to three
// bytes that begin a well-formed UTF-8 character and stop before its end.
QByteArrayView withoutCutUTF8Character(QByteArrayView bytes) {
    const qsizetype good = validUTF8Prefix(bytes);
    const qsizetype rest = bytes.size() - good;
    if (rest == 0 || rest > 3) {
        return bytes;
    }
    const auto [length, complete] = utf8Character(bytesOf(bytes), bytes.size(), good);
    if (!complete && length == rest && utf8Shape(uchar(bytes[good])).length > rest) {
        return bytes.first(good);
    }
    return bytes;
}

// The kind, judged on three readings of the sample: for each encoding, the
// sample without the character that its end cuts when the buffer goes on
// past it, or the whole sample when it is the whole buffer.
EncodingKind guessKind(QByteArrayView utf8, QByteArrayView euc, QByteArrayView sjis) {
    if (utf8.isEmpty() || isStructurallyUTF8(utf8)) {
        return EncodingKind::utf8;
    }
    const bool eucDecodes = decodeStrict(euc, TextFileEncoding::eucJP).has_value();
    const bool sjisDecodes = decodeStrict(sjis, TextFileEncoding::cp932).has_value() ||
                             decodeStrict(sjis, TextFileEncoding::shiftJIS).has_value();
    if (!eucDecodes && !sjisDecodes) {
        return EncodingKind::unknown;
    }
    if (eucDecodes != sjisDecodes) {
        return eucDecodes ? EncodingKind::eucJP : EncodingKind::shiftJISFamily;
    }
    return scoreAsEUCJP(euc) < scoreAsShiftJIS(sjis) ? EncodingKind::shiftJISFamily
                                                     : EncodingKind::eucJP;
}

std::optional<Decoded> tryDecode(QByteArrayView bytes, TextFileEncoding encoding) {
    if (auto text = decodeStrict(bytes, encoding)) {
        return Decoded{std::move(*text), label(encoding)};
    }
    return std::nullopt;
}

// Where the sample gave no answer, or its answer failed: EUC-JP is tried
// before the Shift_JIS family on this road. A head that ends inside a UTF-8
// character is judged without that character.
Result<Decoded, DecodeError> decodeByFallback(QByteArrayView data, bool mayBeTruncated) {
    const QByteArrayView utf8 = mayBeTruncated ? withoutCutUTF8Character(data) : data;
    if (auto result = tryDecode(utf8, TextFileEncoding::utf8)) {
        return *result;
    }
    const QByteArrayView euc = mayBeTruncated ? trimEUCTail(data) : data;
    if (auto result = tryDecode(euc, TextFileEncoding::eucJP)) {
        return *result;
    }
    const QByteArrayView sjis = mayBeTruncated ? trimShiftJISTail(data) : data;
    if (auto result = tryDecode(sjis, TextFileEncoding::cp932)) {
        return *result;
    }
    if (auto result = tryDecode(sjis, TextFileEncoding::shiftJIS)) {
        return *result;
    }
    return fail(DecodeError::failed);
}

// A head whose sample looks like UTF-8 may still be legacy text whose first
// Japanese character comes after the sample (an HTML or source file with an
// English header): EUC-JP and the Shift_JIS family are tried before UTF-8
// is shown with repair, the last resort.
Decoded decodeUTF8HeadOrLegacy(QByteArrayView head) {
    if (auto text = decodeUTF8HeadStrictly(head)) {
        return Decoded{std::move(*text), label(TextFileEncoding::utf8)};
    }
    if (auto result = decodeByFallback(head, true)) {
        return std::move(*result);
    }
    return Decoded{decodeUTF8WithRepair(head), label(TextFileEncoding::utf8)};
}

} // namespace

QString label(TextFileEncoding encoding) {
    switch (encoding) {
    case TextFileEncoding::cp932:
        return QStringLiteral("CP932");
    case TextFileEncoding::shiftJIS:
        return QStringLiteral("Shift_JIS");
    case TextFileEncoding::eucJP:
        return QStringLiteral("EUC-JP");
    case TextFileEncoding::utf8:
        break;
    }
    return QStringLiteral("UTF-8");
}

std::optional<TextFileEncoding> textFileEncoding(const QString& text) {
    for (TextFileEncoding encoding : {TextFileEncoding::utf8, TextFileEncoding::cp932,
                                      TextFileEncoding::shiftJIS, TextFileEncoding::eucJP}) {
        if (text == label(encoding)) {
            return encoding;
        }
    }
    return std::nullopt;
}

std::optional<QString> decodeStrict(QByteArrayView bytes, TextFileEncoding encoding) {
    if (encoding != TextFileEncoding::utf8) {
        return decodeLegacy(bytes, encoding);
    }
    if (!isValidUTF8(bytes)) {
        return std::nullopt;
    }
    return utf8ToString(bytes);
}

// Each maximal part of an ill-formed sequence becomes one U+FFFD, the
// practice the Unicode standard recommends: "ab" E3 81 gives "ab\uFFFD".
QString decodeUTF8WithRepair(QByteArrayView bytes) {
    const uchar* p = bytesOf(bytes);
    const qsizetype n = bytes.size();
    QString out;
    qsizetype i = 0;
    while (i < n) {
        const qsizetype good = validUTF8Prefix(bytes.sliced(i));
        out.append(utf8ToString(bytes.sliced(i, good)));
        i += good;
        if (i < n) {
            out.append(QChar::ReplacementCharacter);
            i += utf8Character(p, n, i).first;
        }
    }
    return out;
}

// glibc's encoders substitute silently (U+00A5 becomes 0x5C, U+301C becomes
// 0x81 0x60 in CP932), so every result is decoded back and compared: a
// difference means a character that has no representation.
std::optional<QByteArray> encodedBytes(const QString& text, TextFileEncoding encoding) {
    std::optional<QByteArray> bytes;
    if (encoding == TextFileEncoding::utf8) {
        bytes = text.toUtf8();
    } else {
        bytes = encodeLegacy(text, encoding);
    }
    if (!bytes || decodeStrict(*bytes, encoding) != text) {
        return std::nullopt;
    }
    return bytes;
}

Result<Decoded, DecodeError> decode(QByteArrayView data, bool mayBeTruncated) {
    if (data.isEmpty()) {
        return Decoded{QString(), label(TextFileEncoding::utf8)};
    }
    const QByteArrayView sample = data.first(std::min(data.size(), sampleSize));
    switch (guessEncodingKind(sample, data.size() > sampleSize)) {
    case EncodingKind::utf8:
        if (mayBeTruncated) {
            return decodeUTF8HeadOrLegacy(data);
        }
        if (auto result = tryDecode(data, TextFileEncoding::utf8)) {
            return *result;
        }
        break;
    case EncodingKind::shiftJISFamily: {
        const QByteArrayView body = mayBeTruncated ? trimShiftJISTail(data) : data;
        if (auto result = tryDecode(body, TextFileEncoding::cp932)) {
            return *result;
        }
        if (auto result = tryDecode(body, TextFileEncoding::shiftJIS)) {
            return *result;
        }
        break;
    }
    case EncodingKind::eucJP: {
        const QByteArrayView body = mayBeTruncated ? trimEUCTail(data) : data;
        if (auto result = tryDecode(body, TextFileEncoding::eucJP)) {
            return *result;
        }
        break;
    }
    case EncodingKind::unknown:
        break;
    }
    return decodeByFallback(data, mayBeTruncated);
}

EncodingKind guessEncodingKind(QByteArrayView sample, bool sampleIsCut) {
    if (!sampleIsCut) {
        return guessKind(sample, sample, sample);
    }
    return guessKind(withoutCutCharacter(sample, utf8Length),
                     withoutCutCharacter(sample, eucLength),
                     withoutCutCharacter(sample, shiftJISLength));
}

// Looser than a validator (overlong forms and surrogates pass) and stricter
// at the end: a character cut by the end of the bytes counts against UTF-8.
bool isStructurallyUTF8(QByteArrayView bytes) {
    const uchar* p = bytesOf(bytes);
    const qsizetype n = bytes.size();
    qsizetype i = 0;
    while (i < n) {
        const uchar lead = p[i];
        qsizetype length = 1;
        if (lead >= 0x80) {
            if ((lead & 0xE0) == 0xC0) {
                length = 2;
            } else if ((lead & 0xF0) == 0xE0) {
                length = 3;
            } else if ((lead & 0xF8) == 0xF0) {
                length = 4;
            } else {
                return false;
            }
        }
        if (i + length > n) {
            return false;
        }
        for (qsizetype k = 1; k < length; ++k) {
            if ((p[i + k] & 0xC0) != 0x80) {
                return false;
            }
        }
        i += length;
    }
    return true;
}

int scoreAsEUCJP(QByteArrayView bytes) {
    const uchar* p = bytesOf(bytes);
    const qsizetype n = bytes.size();
    const auto high = [](uchar b) { return b >= 0xA1 && b <= 0xFE; };
    int score = 0;
    qsizetype i = 0;
    while (i < n) {
        const uchar b = p[i];
        if (b < 0x80) {
            i += 1;
        } else if (b == 0x8F) {
            if (i + 2 >= n || !high(p[i + 1]) || !high(p[i + 2])) {
                return -1;
            }
            score += 2, i += 3;
        } else if (b == 0x8E) {
            if (i + 1 >= n || p[i + 1] < 0xA1 || p[i + 1] > 0xDF) {
                return -1;
            }
            score += 1, i += 2;
        } else if (high(b)) {
            if (i + 1 >= n || !high(p[i + 1])) {
                return -1;
            }
            score += 2, i += 2;
        } else {
            return -1;
        }
    }
    return score;
}

int scoreAsShiftJIS(QByteArrayView bytes) {
    const uchar* p = bytesOf(bytes);
    const qsizetype n = bytes.size();
    int score = 0;
    qsizetype i = 0;
    while (i < n) {
        const uchar b = p[i];
        if (b < 0x80 || (b >= 0xA1 && b <= 0xDF)) {
            i += 1;
        } else if (isShiftJISLead(b)) {
            const uchar trail = i + 1 < n ? p[i + 1] : 0;
            if (i + 1 >= n || trail < 0x40 || trail == 0x7F || trail > 0xFC) {
                return -1;
            }
            score += 2, i += 2;
        } else {
            return -1;
        }
    }
    return score;
}

QString decodeUTF8Head(QByteArrayView buffer) {
    if (auto text = decodeUTF8HeadStrictly(buffer)) {
        return *text;
    }
    return decodeUTF8WithRepair(buffer);
}

std::optional<QString> decodeUTF8HeadStrictly(QByteArrayView buffer) {
    if (isValidUTF8(buffer)) {
        return utf8ToString(buffer);
    }
    for (qsizetype k = 1; k <= 3 && k <= buffer.size(); ++k) {
        const QByteArrayView head = buffer.first(buffer.size() - k);
        if (isValidUTF8(head)) {
            return utf8ToString(head);
        }
    }
    return std::nullopt;
}

// Removes a last byte that could be a lead, without asking whether it is
// really the trail of a whole character; the decoder then decides.
QByteArrayView trimShiftJISTail(QByteArrayView buffer) {
    if (!buffer.isEmpty() && isShiftJISLead(uchar(buffer.back()))) {
        return buffer.chopped(1);
    }
    return buffer;
}

QByteArrayView trimEUCTail(QByteArrayView buffer) {
    if (buffer.isEmpty()) {
        return buffer;
    }
    const uchar last = uchar(buffer.back());
    if (last == 0x8E || last == 0x8F || (last >= 0xA1 && last <= 0xFE)) {
        return buffer.chopped(1);
    }
    if (buffer.size() >= 2 && uchar(buffer[buffer.size() - 2]) == 0x8F) {
        return buffer.chopped(2);
    }
    return buffer;
}

} // namespace TextDecoding

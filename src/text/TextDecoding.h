#pragma once

#include "core/Result.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

// The four encodings Dorvik reads and writes, in this fixed order. The label
// is the only form in which an encoding is stored or shown.
enum class TextFileEncoding { utf8, cp932, shiftJIS, eucJP };

// Bytes to text and the label of the encoding found, and text back to bytes.
// Japanese legacy text (CP932, Shift_JIS, EUC-JP) is told apart from UTF-8
// without help from the user, also on a head of a file cut at any byte.
// Every function is pure and safe to call from any thread.
namespace TextDecoding {

enum class DecodeError { failed };

struct Decoded {
    QString text;
    QString label;
    bool operator==(const Decoded&) const = default;
};

enum class EncodingKind { utf8, shiftJISFamily, eucJP, unknown };

// Decides the encoding from the first 4096 bytes and decodes the whole
// buffer. mayBeTruncated says the buffer may be the head of something longer,
// so its last bytes may be a cut character. When the buffer goes on past the
// 4096 bytes, a character cut by their end counts against no encoding. A
// head that looks like UTF-8 but is not is tried as EUC-JP and the
// Shift_JIS family before it is shown with U+FFFD.
Result<Decoded, DecodeError> decode(QByteArrayView data, bool mayBeTruncated);

// The label of an encoding: "UTF-8", "CP932", "Shift_JIS", "EUC-JP".
QString label(TextFileEncoding encoding);
// Exact comparison against the four labels; anything else is no encoding.
std::optional<TextFileEncoding> textFileEncoding(const QString& label);

// Strict decoding: invalid sequences and a cut last character give nothing.
// Bytes below 0x80 are ASCII in every legacy encoding, so a backslash and a
// tilde survive Shift_JIS. CP932 accepts the vendor rows (circled digits,
// NEC and IBM extensions) that strict Shift_JIS refuses.
std::optional<QString> decodeStrict(QByteArrayView bytes, TextFileEncoding encoding);
// Each invalid UTF-8 sequence becomes U+FFFD; always gives a text.
QString decodeUTF8WithRepair(QByteArrayView bytes);

// The bytes of the text in that encoding, or nothing when a character has no
// representation there. Nothing is ever substituted and no mark is written.
std::optional<QByteArray> encodedBytes(const QString& text, TextFileEncoding encoding);

// The pieces of detection, exposed for tests.
// sampleIsCut: the buffer goes on past the sample, so the character its end
// cuts is left out of the judgement, for each encoding by its own structure.
EncodingKind guessEncodingKind(QByteArrayView sample, bool sampleIsCut = false);
bool isStructurallyUTF8(QByteArrayView bytes);
int scoreAsEUCJP(QByteArrayView bytes);
int scoreAsShiftJIS(QByteArrayView bytes);
QString decodeUTF8Head(QByteArrayView buffer);
// decodeUTF8Head without its repair: nothing when up to three bytes less are
// still not well-formed UTF-8.
std::optional<QString> decodeUTF8HeadStrictly(QByteArrayView buffer);
QByteArrayView trimShiftJISTail(QByteArrayView buffer);
QByteArrayView trimEUCTail(QByteArrayView buffer);

} // namespace TextDecoding

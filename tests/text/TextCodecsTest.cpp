// The four strict codecs under the detector: what each accepts, refuses and
// gives back when saving.
#include "text/TextDecoding.h"

#include <gtest/gtest.h>

using TextDecoding::decodeStrict;
using TextDecoding::encodedBytes;

namespace {

constexpr TextFileEncoding allEncodings[] = {TextFileEncoding::utf8, TextFileEncoding::cp932,
                                             TextFileEncoding::shiftJIS, TextFileEncoding::eucJP};

QString u(const char* utf8) {
    return QString::fromUtf8(utf8);
}

} // namespace

TEST(TextCodecs, AsciiAndJapaneseTextRoundTripInEveryEncodingByItsExactLabel) {
    QByteArray ascii;
    for (int byte = 0; byte < 0x80; ++byte) {
        ascii.append(char(byte));
    }
    const QString text = u("日本語のテキスト、カタカナ・ｶﾀｶﾅ。\r\nASCII ~\\ line\n");
    for (TextFileEncoding encoding : allEncodings) {
        SCOPED_TRACE(TextDecoding::label(encoding).toStdString());
        EXPECT_EQ(TextDecoding::textFileEncoding(TextDecoding::label(encoding)), encoding);
        EXPECT_EQ(decodeStrict(ascii, encoding), QString::fromLatin1(ascii));
        EXPECT_EQ(encodedBytes(QString::fromLatin1(ascii), encoding), ascii);
        const auto bytes = encodedBytes(text, encoding);
        ASSERT_TRUE(bytes);
        EXPECT_EQ(decodeStrict(*bytes, encoding), text);
    }
    // Labels are matched exactly.
    for (const char* other : {"utf-8", "UTF8", "SJIS", "Shift-JIS", "EUC-JP ", ""}) {
        EXPECT_EQ(TextDecoding::textFileEncoding(QString::fromLatin1(other)), std::nullopt);
    }
}

TEST(TextCodecs, EachCodecReadsAndWritesItsOwnCharacters) {
    const struct {
        TextFileEncoding encoding;
        QByteArray bytes;
        const char* text;
    } cases[] = {
        // glibc's own SHIFT_JIS would read "\" and "~" as a yen sign and an overline.
        {TextFileEncoding::shiftJIS, "C:\\dir~1", "C:\\dir~1"},
        // "ソ" is 0x83 0x5C and "表" 0x95 0x5C: a trail byte below 0x80 stays inside.
        {TextFileEncoding::shiftJIS, "\x83\x5C\x95\x5C\\", "ソ表\\"},
        {TextFileEncoding::cp932, "\x83\x5C\x95\x5C\\", "ソ表\\"},
        // ① (0x87 0x40, NEC row 13) and 髙 (0xFB 0xFC, IBM extension).
        {TextFileEncoding::cp932, "\x87\x40\xFB\xFC", "①髙"},
        // Half-width "ｱ" and 丂 (U+4E02) from JIS X 0212.
        {TextFileEncoding::eucJP, "\x8E\xB1\x8F\xB0\xA1\xC6\xFC", "ｱ丂日"},
        {TextFileEncoding::shiftJIS, "\x81\x60", "〜"},
    };
    for (const auto& [encoding, bytes, text] : cases) {
        SCOPED_TRACE(text);
        EXPECT_EQ(decodeStrict(bytes, encoding), u(text));
        EXPECT_EQ(encodedBytes(u(text), encoding), bytes);
    }
}

TEST(TextCodecs, InvalidAndCutSequencesAreRefusedNotReplaced) {
    const struct {
        TextFileEncoding encoding;
        QByteArray bytes;
    } refused[] = {
        {TextFileEncoding::cp932, QByteArray("ab\x81\x20", 4)},      // trail below 0x40
        {TextFileEncoding::cp932, QByteArray("ab\x82", 3)},          // cut last character
        {TextFileEncoding::cp932, QByteArray("\xFF", 1)},            // no such byte
        {TextFileEncoding::shiftJIS, QByteArray("\x88\x9F\x88", 3)}, // "亜" and a cut lead
        {TextFileEncoding::shiftJIS, QByteArray("\x87\x40", 2)},     // ①, CP932 only
        {TextFileEncoding::eucJP, QByteArray("\xA4\x41", 2)},        // trail below 0xA1
        {TextFileEncoding::eucJP, QByteArray("\xA4\xA2\xA4", 3)},    // cut last character
        {TextFileEncoding::eucJP, QByteArray("\x8F\xB0", 2)},        // cut JIS X 0212
        {TextFileEncoding::utf8, QByteArray("\xC0\xAF", 2)},         // overlong "/"
        {TextFileEncoding::utf8, QByteArray("\xED\xA0\x80", 3)},     // surrogate
        {TextFileEncoding::utf8, QByteArray("\xF4\x90\x80\x80", 4)}, // above U+10FFFF
        {TextFileEncoding::utf8, QByteArray("a\xE3\x81", 3)},        // cut last character
    };
    for (const auto& [encoding, bytes] : refused) {
        EXPECT_EQ(decodeStrict(bytes, encoding), std::nullopt) << bytes.toHex().toStdString();
    }
    EXPECT_EQ(TextDecoding::decodeUTF8WithRepair("ab\xE3\x81"), u("ab\uFFFD"));
    EXPECT_EQ(TextDecoding::decodeUTF8WithRepair("\xFF\xFEx\xC3"), u("\uFFFD\uFFFDx\uFFFD"));
}

TEST(TextCodecs, SaveRefusesCharactersTheEncodingCannotHold) {
    // glibc would write these silently as other characters: ¥ and ‾ as the
    // ASCII 0x5C and 0x7E, 〜 (U+301C) in CP932 as 0x81 0x60, which reads
    // back as ～ (U+FF5E).
    for (TextFileEncoding encoding :
         {TextFileEncoding::cp932, TextFileEncoding::shiftJIS, TextFileEncoding::eucJP}) {
        for (const char* text : {"¥100", "a‾b", "😀", "한국어"}) {
            EXPECT_EQ(encodedBytes(u(text), encoding), std::nullopt) << text;
        }
    }
    EXPECT_EQ(encodedBytes(u("〜"), TextFileEncoding::cp932), std::nullopt);
    EXPECT_EQ(encodedBytes(u("①"), TextFileEncoding::shiftJIS), std::nullopt);
    EXPECT_EQ(encodedBytes(QString(QChar(0xD800)), TextFileEncoding::utf8), std::nullopt);
}

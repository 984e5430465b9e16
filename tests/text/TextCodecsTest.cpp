// The four strict codecs under the detector: what each accepts, refuses and
// gives back when saving.
#include "text/TextDecoding.h"

#include <gtest/gtest.h>

using TextDecoding::decodeStrict;
using TextDecoding::encodedBytes;

namespace {

constexpr TextFileEncoding legacyEncodings[] = {TextFileEncoding::cp932, TextFileEncoding::shiftJIS,
                                                TextFileEncoding::eucJP};
constexpr TextFileEncoding allEncodings[] = {TextFileEncoding::utf8, TextFileEncoding::cp932,
                                             TextFileEncoding::shiftJIS, TextFileEncoding::eucJP};

QString u(const char* utf8) {
    return QString::fromUtf8(utf8);
}

} // namespace

TEST(TextCodecs, AsciiBytesAreAsciiInEveryEncodingBothWays) {
    QByteArray ascii;
    for (int byte = 0; byte < 0x80; ++byte) {
        ascii.append(char(byte));
    }
    for (TextFileEncoding encoding : allEncodings) {
        const auto text = decodeStrict(ascii, encoding);
        ASSERT_TRUE(text) << TextDecoding::label(encoding).toStdString();
        EXPECT_EQ(*text, QString::fromLatin1(ascii));
        EXPECT_EQ(encodedBytes(*text, encoding), ascii);
    }
    // glibc's own SHIFT_JIS would read these two as a yen sign and an overline.
    EXPECT_EQ(decodeStrict("C:\\dir~1", TextFileEncoding::shiftJIS), u("C:\\dir~1"));
}

TEST(TextCodecs, ShiftJISTrailByteBelow0x80StaysInsideItsCharacter) {
    // "ソ" is 0x83 0x5C and "表" 0x95 0x5C in CP932 and Shift_JIS alike.
    const QByteArray bytes("\x83\x5C\x95\x5C\\", 5);
    for (TextFileEncoding encoding : {TextFileEncoding::cp932, TextFileEncoding::shiftJIS}) {
        EXPECT_EQ(decodeStrict(bytes, encoding), u("ソ表\\"));
        EXPECT_EQ(encodedBytes(u("ソ表\\"), encoding), bytes);
    }
}

TEST(TextCodecs, CP932AcceptsVendorCharactersThatShiftJISRefuses) {
    // ① (0x87 0x40, NEC row 13) and 髙 (0xFB 0xFC, IBM extension).
    const QByteArray vendor("\x87\x40\xFB\xFC", 4);
    EXPECT_EQ(decodeStrict(vendor, TextFileEncoding::cp932), u("①髙"));
    EXPECT_EQ(decodeStrict(vendor, TextFileEncoding::shiftJIS), std::nullopt);
    EXPECT_EQ(encodedBytes(u("①"), TextFileEncoding::cp932), QByteArray("\x87\x40"));
    EXPECT_EQ(encodedBytes(u("①"), TextFileEncoding::shiftJIS), std::nullopt);
}

TEST(TextCodecs, EUCJPAcceptsHalfWidthKanaAndJISX0212) {
    // 0x8E 0xB1 is half-width "ｱ"; 0x8F 0xB0 0xA1 is 丂 (U+4E02) from JIS X 0212.
    const QByteArray bytes("\x8E\xB1\x8F\xB0\xA1\xC6\xFC", 7);
    EXPECT_EQ(decodeStrict(bytes, TextFileEncoding::eucJP), u("ｱ丂日"));
    EXPECT_EQ(encodedBytes(u("ｱ丂日"), TextFileEncoding::eucJP), bytes);
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
}

TEST(TextCodecs, SaveRefusesCharactersTheEncodingCannotHold) {
    // glibc would write these silently as other characters: ¥ and ‾ as the
    // ASCII 0x5C and 0x7E, 〜 (U+301C) in CP932 as 0x81 0x60, which reads
    // back as ～ (U+FF5E).
    for (TextFileEncoding encoding : legacyEncodings) {
        EXPECT_EQ(encodedBytes(u("¥100"), encoding), std::nullopt);
        EXPECT_EQ(encodedBytes(u("a‾b"), encoding), std::nullopt);
        EXPECT_EQ(encodedBytes(u("😀"), encoding), std::nullopt);
        EXPECT_EQ(encodedBytes(u("한국어"), encoding), std::nullopt);
    }
    EXPECT_EQ(encodedBytes(u("〜"), TextFileEncoding::cp932), std::nullopt);
    EXPECT_EQ(encodedBytes(u("〜"), TextFileEncoding::shiftJIS), QByteArray("\x81\x60"));
    EXPECT_EQ(encodedBytes(QString(QChar(0xD800)), TextFileEncoding::utf8), std::nullopt);
}

TEST(TextCodecs, JapaneseTextRoundTripsInEveryEncoding) {
    const QString text = u("日本語のテキスト、カタカナ・ｶﾀｶﾅ。\r\nASCII ~\\ line\n");
    for (TextFileEncoding encoding : allEncodings) {
        const auto bytes = encodedBytes(text, encoding);
        ASSERT_TRUE(bytes) << TextDecoding::label(encoding).toStdString();
        EXPECT_EQ(decodeStrict(*bytes, encoding), text);
    }
    // A byte order mark is text like any other and is written back.
    EXPECT_EQ(decodeStrict("\xEF\xBB\xBF"
                           "A",
                           TextFileEncoding::utf8),
              QChar(0xFEFF) + QString("A"));
}

TEST(TextCodecs, RepairReplacesEachIllFormedPartOnce) {
    EXPECT_EQ(TextDecoding::decodeUTF8WithRepair("ab\xE3\x81"), u("ab\uFFFD"));
    EXPECT_EQ(TextDecoding::decodeUTF8WithRepair("\xFF\xFEx\xC3"), u("\uFFFD\uFFFDx\uFFFD"));
    EXPECT_EQ(TextDecoding::decodeUTF8WithRepair("\xE3\x81\x82"), u("あ"));
}

TEST(TextCodecs, LabelsMatchExactly) {
    for (TextFileEncoding encoding : allEncodings) {
        EXPECT_EQ(TextDecoding::textFileEncoding(TextDecoding::label(encoding)), encoding);
    }
    for (const char* other : {"utf-8", "UTF8", "SJIS", "Shift-JIS", "EUC-JP ", ""}) {
        EXPECT_EQ(TextDecoding::textFileEncoding(QString::fromLatin1(other)), std::nullopt);
    }
}

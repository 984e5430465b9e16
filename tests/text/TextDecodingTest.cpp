// Detection of the encoding of a buffer, whole or cut at an arbitrary byte.
#include "text/TextDecoding.h"

#include <gtest/gtest.h>

using TextDecoding::decode;
using TextDecoding::Decoded;
using TextDecoding::EncodingKind;

namespace {

QString u(const char* utf8) {
    return QString::fromUtf8(utf8);
}

QByteArray in(TextFileEncoding encoding, const QString& text) {
    return TextDecoding::encodedBytes(text, encoding).value();
}

Decoded decoded(const QByteArray& bytes, bool mayBeTruncated) {
    auto result = decode(bytes, mayBeTruncated);
    EXPECT_TRUE(result) << bytes.left(40).toHex().toStdString();
    return result ? *result : Decoded{};
}

const QString japanese = u("日本語のテキストです。カタカナとひらがな、漢字。\n");

} // namespace

TEST(TextDecoding, EmptyBufferIsEmptyUTF8Text) {
    for (bool mayBeTruncated : {false, true}) {
        EXPECT_EQ(decoded({}, mayBeTruncated), (Decoded{QString(), "UTF-8"}));
    }
}

TEST(TextDecoding, EachEncodingIsRecognisedWholeAndAsAHead) {
    const struct {
        TextFileEncoding encoding;
        const char* label;
    } cases[] = {{TextFileEncoding::utf8, "UTF-8"},
                 {TextFileEncoding::cp932, "CP932"},
                 {TextFileEncoding::eucJP, "EUC-JP"}};
    const QString text = japanese.repeated(400); // well past the 4096-byte sample
    for (const auto& [encoding, label] : cases) {
        const QByteArray bytes = in(encoding, text);
        EXPECT_EQ(decoded(bytes, false), (Decoded{text, label}));
        EXPECT_EQ(decoded(bytes, true), (Decoded{text, label}));
    }
    EXPECT_EQ(decoded("plain ASCII\n", false).label, "UTF-8");
}

TEST(TextDecoding, VendorCharactersMakeCP932AndShiftJISNeverWinsOverIt) {
    const QString vendor = u("丸数字①②③と髙橋さん\n");
    EXPECT_EQ(decoded(in(TextFileEncoding::cp932, vendor), false), (Decoded{vendor, "CP932"}));
    // Text that strict Shift_JIS also accepts is still labelled CP932.
    EXPECT_EQ(decoded(in(TextFileEncoding::shiftJIS, japanese), false).label, "CP932");
}

TEST(TextDecoding, PairsValidInBothFamiliesGoToEUCJP) {
    // "あいう" in EUC-JP is also six half-width kana in CP932; half-width kana
    // score nothing for Shift_JIS, so EUC-JP wins.
    const QByteArray bytes = in(TextFileEncoding::eucJP, u("あいう"));
    EXPECT_EQ(TextDecoding::guessEncodingKind(bytes), EncodingKind::eucJP);
    EXPECT_EQ(decoded(bytes, false), (Decoded{u("あいう"), "EUC-JP"}));
    // The reverse: EUC-JP refuses 0x93 0xFA, so this is Shift_JIS family.
    EXPECT_EQ(TextDecoding::guessEncodingKind(in(TextFileEncoding::cp932, u("日本"))),
              EncodingKind::shiftJISFamily);
    EXPECT_EQ(TextDecoding::guessEncodingKind("\x80\xFF"), EncodingKind::unknown);
}

TEST(TextDecoding, TheKindComesFromTheSampleAndDecodingFromTheWholeBuffer) {
    // An ASCII sample says UTF-8; the CP932 after it fails UTF-8, and the
    // fallback chain finds CP932 for the whole buffer.
    const QByteArray bytes = QByteArray(4096, 'a') + in(TextFileEncoding::cp932, u("日本"));
    EXPECT_EQ(decoded(bytes, false), (Decoded{QString(4096, 'a') + u("日本"), "CP932"}));
}

TEST(TextDecoding, UTF8CutAtTheEndOfTheSampleIsNotJudgedUTF8BySample) {
    // 4094 ASCII bytes and "あ" (E3 81 82): the sample ends inside "あ", and
    // its last two bytes make one CP932 character.
    const QByteArray head(4094, 'a');
    // E3 81 | 82 0A: CP932 refuses the second pair, so the fallback finds UTF-8.
    EXPECT_EQ(decoded(head + u("あ\n").toUtf8(), false).label, "UTF-8");
    // E3 81 | 82 E3 | 81 84: all valid CP932 pairs, so it is shown as CP932.
    EXPECT_EQ(decoded(head + u("あい").toUtf8(), false).label, "CP932");
}

TEST(TextDecoding, HeadsCutInsideACharacterLoseOnlyThatCharacter) {
    const QByteArray longAscii(5000, 'x');
    EXPECT_EQ(decoded(longAscii + "\xE3\x81", true), (Decoded{QString(5000, 'x'), "UTF-8"}));
    const QByteArray sjis = in(TextFileEncoding::cp932, japanese.repeated(10));
    EXPECT_EQ(decoded(sjis + "\x93", true), (Decoded{japanese.repeated(10), "CP932"}));
    const QByteArray euc = in(TextFileEncoding::eucJP, japanese.repeated(10));
    EXPECT_EQ(decoded(euc + "\xC6", true), (Decoded{japanese.repeated(10), "EUC-JP"}));
}

TEST(TextDecoding, ShiftJISHeadEndingInALeadLikeTrailIsNotSavedByTheTrim) {
    // "＝" is 0x81 0x81: its trail looks like a lead and is cut off, and then
    // no decoder accepts the dangling 0x81.
    const QByteArray bytes = in(TextFileEncoding::cp932, u("日本＝"));
    EXPECT_EQ(decoded(bytes, false).label, "CP932");
    EXPECT_FALSE(decode(bytes, true));
}

TEST(TextDecoding, BinaryFailsUnlessAUTF8HeadIsRepaired) {
    const QByteArray binary("\x00\x80\xFF\xFE\x01\xA0\xFD", 7);
    for (bool mayBeTruncated : {false, true}) {
        const auto result = decode(binary, mayBeTruncated);
        ASSERT_FALSE(result);
        EXPECT_EQ(result.error(), TextDecoding::DecodeError::failed);
    }
    // A UTF-8 sample with damage after it: a head shows U+FFFD, a whole file
    // has no reading at all.
    const QByteArray damaged = QByteArray(4096, 'a') + "\xFF\xFF\xFF\xFF" + "b";
    EXPECT_EQ(decoded(damaged, true).text, QString(4096, 'a') + u("\uFFFD\uFFFD\uFFFD\uFFFDb"));
    EXPECT_FALSE(decode(damaged, false));
}

TEST(TextDecoding, StructuralUTF8CheckIsLooseInsideAndStrictAtTheEnd) {
    EXPECT_TRUE(TextDecoding::isStructurallyUTF8(""));
    EXPECT_TRUE(TextDecoding::isStructurallyUTF8("\xC0\xAF"));     // overlong passes
    EXPECT_TRUE(TextDecoding::isStructurallyUTF8("\xED\xA0\x80")); // surrogate passes
    EXPECT_FALSE(TextDecoding::isStructurallyUTF8("a\xE3\x81"));   // cut character
    EXPECT_FALSE(TextDecoding::isStructurallyUTF8("\x80"));        // stray continuation
    EXPECT_FALSE(TextDecoding::isStructurallyUTF8("\xF8\x80\x80\x80\x80"));
}

TEST(TextDecoding, ScoresFollowTheirByteTables) {
    const struct {
        QByteArray bytes;
        int euc;
        int sjis;
    } cases[] = {
        {"abc", 0, 0},
        {"\xA4\xA2\xA4\xA4", 4, 0},  // two EUC pairs, four half-width kana
        {"\x8E\xB1", 1, 2},          // EUC half-width kana; one SJIS pair
        {"\x8F\xB0\xA1", 2, 2},      // JIS X 0212; SJIS pair and a half-width kana
        {"\x93\xFA\x96\x7B", -1, 4}, // "日本" in Shift_JIS
        {"\x82\xA0\x82", -1, -1},    // cut last character in both readings
        {"\x80", -1, -1},
        {"\xFD", -1, -1},
    };
    for (const auto& [bytes, euc, sjis] : cases) {
        EXPECT_EQ(TextDecoding::scoreAsEUCJP(bytes), euc) << bytes.toHex().toStdString();
        EXPECT_EQ(TextDecoding::scoreAsShiftJIS(bytes), sjis) << bytes.toHex().toStdString();
    }
}

TEST(TextDecoding, TailTrimsLookOnlyAtTheLastBytes) {
    using TextDecoding::trimEUCTail;
    using TextDecoding::trimShiftJISTail;
    EXPECT_EQ(trimShiftJISTail(""), "");
    EXPECT_EQ(trimShiftJISTail("ab\x81"), "ab");
    EXPECT_EQ(trimShiftJISTail("ab\xFC"), "ab");
    EXPECT_EQ(trimShiftJISTail("ab\xA0"), "ab\xA0");
    EXPECT_EQ(trimEUCTail(""), "");
    EXPECT_EQ(trimEUCTail("ab\xA4"), "ab");
    EXPECT_EQ(trimEUCTail("ab\x8E"), "ab");
    EXPECT_EQ(trimEUCTail("ab\x8F\x20"), "ab");
    EXPECT_EQ(trimEUCTail("ab\x8F"), "ab");
    EXPECT_EQ(trimEUCTail("abc"), "abc");
}

// Detection of the encoding of a buffer, whole or cut at an arbitrary byte.
#include "text/TextDecoding.h"

#include <gtest/gtest.h>

using TextDecoding::EncodingKind;

namespace {

QString u(const char* utf8) {
    return QString::fromUtf8(utf8);
}

QByteArray in(TextFileEncoding encoding, const QString& text) {
    return TextDecoding::encodedBytes(text, encoding).value();
}

const QString japanese = u("日本語のテキストです。カタカナとひらがな、漢字。\n");

} // namespace

TEST(TextDecoding, BuffersWholeAndCutGetTheirLabelOrFail) {
    const QString longText = japanese.repeated(400); // well past the 4096-byte sample
    const QString vendor = u("丸数字①②③と髙橋さん\n");
    const QByteArray sample(4096, 'a');
    const QByteArray binary("\x00\x80\xFF\xFE\x01\xA0\xFD", 7);
    const QByteArray damaged = sample + "\xFF\xFF\xFF\xFF" + "b";
    const QByteArray leadLikeTrail = in(TextFileEncoding::cp932, u("日本＝"));
    const QString endsInMaru = japanese.repeated(2).chopped(1); // "。" is E3 80 82
    const struct {
        const char* what;
        QByteArray bytes;
        bool mayBeTruncated;
        const char* label; // nullptr: no reading at all
        std::optional<QString> text;
    } cases[] = {
        {"empty", {}, false, "UTF-8", QString()},
        {"empty head", {}, true, "UTF-8", QString()},
        {"ASCII", "plain ASCII\n", false, "UTF-8", u("plain ASCII\n")},
        {"UTF-8", longText.toUtf8(), false, "UTF-8", longText},
        {"UTF-8 head", longText.toUtf8(), true, "UTF-8", longText},
        {"CP932", in(TextFileEncoding::cp932, longText), false, "CP932", longText},
        {"CP932 head", in(TextFileEncoding::cp932, longText), true, "CP932", longText},
        {"EUC-JP", in(TextFileEncoding::eucJP, longText), false, "EUC-JP", longText},
        {"EUC-JP head", in(TextFileEncoding::eucJP, longText), true, "EUC-JP", longText},
        {"vendor characters", in(TextFileEncoding::cp932, vendor), false, "CP932", vendor},
        // Text that strict Shift_JIS also accepts is still labelled CP932.
        {"strict Shift_JIS", in(TextFileEncoding::shiftJIS, japanese), false, "CP932", japanese},
        // Also six half-width kana in CP932, which score nothing for Shift_JIS.
        {"EUC-JP pairs", in(TextFileEncoding::eucJP, u("あいう")), false, "EUC-JP", u("あいう")},
        // An ASCII sample says UTF-8; the fallback finds CP932 for the whole buffer.
        {"CP932 after an ASCII sample", sample + in(TextFileEncoding::cp932, u("日本")), false,
         "CP932", QString(4096, 'a') + u("日本")},
        // The sample ends inside "あ" (E3 81 | 82). The buffer goes on, so
        // the cut character counts against no encoding: the sample is ASCII,
        // and 82 E3 81 84 are no longer read as CP932 pairs.
        {"UTF-8 cut by the sample", sample.left(4094) + u("あ\n").toUtf8(), false, "UTF-8",
         QString(4094, 'a') + u("あ\n")},
        {"UTF-8 cut by the sample, CP932 pairs", sample.left(4094) + u("あい").toUtf8(), false,
         "UTF-8", QString(4094, 'a') + u("あい")},
        // A head no longer than the sample: the fallback's UTF-8 step drops
        // the cut last character (no encoding accepts these bytes otherwise).
        {"short UTF-8 head cut after one byte", endsInMaru.toUtf8().chopped(2), true, "UTF-8",
         endsInMaru.chopped(1)},
        {"short UTF-8 head cut after two bytes", endsInMaru.toUtf8().chopped(1), true, "UTF-8",
         endsInMaru.chopped(1)},
        // Heads cut inside a character lose only that character.
        {"UTF-8 cut head", sample + "\xE3\x81", true, "UTF-8", QString(4096, 'a')},
        {"CP932 cut head", in(TextFileEncoding::cp932, japanese) + "\x93", true, "CP932", japanese},
        {"EUC-JP cut head", in(TextFileEncoding::eucJP, japanese) + "\xC6", true, "EUC-JP",
         japanese},
        // "＝" is 0x81 0x81: as a head its trail looks like a lead and is cut
        // off, and then no decoder accepts the dangling 0x81.
        {"lead-like trail", leadLikeTrail, false, "CP932", u("日本＝")},
        {"lead-like trail head", leadLikeTrail, true, nullptr, {}},
        {"binary", binary, false, nullptr, {}},
        {"binary head", binary, true, nullptr, {}},
        // Damage after a UTF-8 sample: a head shows U+FFFD, a whole file fails.
        {"damaged head", damaged, true, "UTF-8",
         QString(4096, 'a') + u("\uFFFD\uFFFD\uFFFD\uFFFDb")},
        {"damaged", damaged, false, nullptr, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const auto result = TextDecoding::decode(c.bytes, c.mayBeTruncated);
        if (!c.label) {
            ASSERT_FALSE(result);
            EXPECT_EQ(result.error(), TextDecoding::DecodeError::failed);
            continue;
        }
        ASSERT_TRUE(result);
        EXPECT_EQ(result->label, c.label);
        if (c.text) {
            EXPECT_EQ(result->text, *c.text);
        }
    }
}

TEST(TextDecoding, KindsScoresAndStructureFollowTheirByteTables) {
    const QByteArray eucKana = in(TextFileEncoding::eucJP, u("あいう"));
    EXPECT_EQ(TextDecoding::guessEncodingKind(eucKana), EncodingKind::eucJP);
    // EUC-JP refuses 0x93 0xFA, so this is Shift_JIS family.
    EXPECT_EQ(TextDecoding::guessEncodingKind(in(TextFileEncoding::cp932, u("日本"))),
              EncodingKind::shiftJISFamily);
    EXPECT_EQ(TextDecoding::guessEncodingKind("\x80\xFF"), EncodingKind::unknown);

    const struct {
        QByteArray bytes;
        int euc;
        int sjis;
    } scores[] = {
        {"abc", 0, 0},
        {"\xA4\xA2\xA4\xA4", 4, 0},  // two EUC pairs, four half-width kana
        {"\x8E\xB1", 1, 2},          // EUC half-width kana; one SJIS pair
        {"\x8F\xB0\xA1", 2, 2},      // JIS X 0212; SJIS pair and a half-width kana
        {"\x93\xFA\x96\x7B", -1, 4}, // "日本" in Shift_JIS
        {"\x82\xA0\x82", -1, -1},    // cut last character in both readings
        {"\x80", -1, -1},
        {"\xFD", -1, -1},
    };
    for (const auto& [bytes, euc, sjis] : scores) {
        EXPECT_EQ(TextDecoding::scoreAsEUCJP(bytes), euc) << bytes.toHex().toStdString();
        EXPECT_EQ(TextDecoding::scoreAsShiftJIS(bytes), sjis) << bytes.toHex().toStdString();
    }

    // Loose inside (overlong, surrogate pass), strict at the end.
    for (const char* loose : {"", "\xC0\xAF", "\xED\xA0\x80"}) {
        EXPECT_TRUE(TextDecoding::isStructurallyUTF8(loose)) << loose;
    }
    for (const char* broken : {"a\xE3\x81", "\x80", "\xF8\x80\x80\x80\x80"}) {
        EXPECT_FALSE(TextDecoding::isStructurallyUTF8(broken)) << broken;
    }
}

TEST(TextDecoding, TailTrimsLookOnlyAtTheLastBytes) {
    using TextDecoding::trimEUCTail;
    using TextDecoding::trimShiftJISTail;
    const std::pair<QByteArray, QByteArray> sjis[] = {
        {"", ""}, {"ab\x81", "ab"}, {"ab\xFC", "ab"}, {"ab\xA0", "ab\xA0"}};
    for (const auto& [bytes, trimmed] : sjis) {
        EXPECT_EQ(trimShiftJISTail(bytes), trimmed) << bytes.toHex().toStdString();
    }
    const std::pair<QByteArray, QByteArray> euc[] = {{"", ""},         {"ab\xA4", "ab"},
                                                     {"ab\x8E", "ab"}, {"ab\x8F\x20", "ab"},
                                                     {"ab\x8F", "ab"}, {"abc", "abc"}};
    for (const auto& [bytes, trimmed] : euc) {
        EXPECT_EQ(trimEUCTail(bytes), trimmed) << bytes.toHex().toStdString();
    }
}

// A head of 64 KiB, as the viewer reads, of a 300 KB UTF-8 novel: with 0, 1
// or 2 ASCII bytes in front, the 4096-byte sample and the head end at each
// place inside the three bytes of a character.
TEST(TextDecoding, BigUTF8HeadsAreUTF8AtEveryAlignment) {
    const QString novel = u("吾輩は猫である。名前はまだ無い。どこで生れたかとんと見当がつかぬ。\n");
    const QString body = novel.repeated(300 * 1000 / novel.toUtf8().size() + 1);
    for (int shift = 0; shift < 3; ++shift) {
        SCOPED_TRACE(shift);
        const QByteArray file = QByteArray(shift, '#') + body.toUtf8();
        ASSERT_GT(file.size(), 300000);
        const QByteArray head = file.first(65536);
        const auto result = TextDecoding::decode(head, true);
        ASSERT_TRUE(result);
        EXPECT_EQ(result->label, "UTF-8");
        // Only the character cut by the head's end is lost.
        const QString expected = QString::fromUtf8(head);
        EXPECT_EQ(result->text, expected.left(expected.indexOf(QChar(u'\uFFFD'))));
        EXPECT_FALSE(result->text.contains(QChar(u'\uFFFD')));
        // The sample's cut character counts against UTF-8 for no kind of buffer.
        EXPECT_EQ(TextDecoding::guessEncodingKind(head.first(4096), true), EncodingKind::utf8);
    }
}

// HTML or source with an English header: the sample is ASCII, the Japanese
// comes later. As a head (cut inside a character) it is read in its own
// encoding, not as UTF-8 with U+FFFD; UTF-8 with repair is left for a head
// no encoding accepts.
TEST(TextDecoding, LegacyHeadsBehindAnAsciiSampleAreReadInTheirEncoding) {
    const QByteArray header =
        QByteArray("<!-- an English header of plain ASCII -->\n").repeated(120);
    ASSERT_GT(header.size(), 4096);
    const QString text = japanese.repeated(200);
    const struct {
        TextFileEncoding encoding;
        const char* label;
    } cases[] = {{TextFileEncoding::shiftJIS, "CP932"}, {TextFileEncoding::eucJP, "EUC-JP"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const QByteArray file = header + in(c.encoding, text);
        // Cut after one byte of a two-byte character: the head drops it.
        qsizetype cut = header.size() + 5000;
        ASSERT_LT(cut, file.size());
        while (uchar(file[cut]) < 0x80 ||
               !TextDecoding::decodeStrict(file.first(cut), c.encoding)) {
            --cut;
        }
        const QByteArray head = file.first(cut + 1);
        const auto result = TextDecoding::decode(head, true);
        ASSERT_TRUE(result);
        EXPECT_EQ(result->label, c.label);
        EXPECT_EQ(result->text, TextDecoding::decodeStrict(file.first(cut), c.encoding).value());
        // Whole files keep their road: the fallback finds the same.
        EXPECT_EQ(TextDecoding::decode(file, false)->label, c.label);
    }
    const QByteArray damaged = header + "\xFF\xFE ascii";
    EXPECT_EQ(TextDecoding::decode(damaged, true)->text,
              QString::fromLatin1(header) + u("\uFFFD\uFFFD ascii"));
}

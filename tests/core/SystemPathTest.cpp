// The lossless text form of file names and paths, and how a name that is not
// UTF-8 reads on the screen.
#include "core/SystemPath.h"

#include "core/PathUtils.h"
#include "text/ShownFileName.h"

#include <QRandomGenerator>
#include <QSet>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace {

// Random byte strings, weighted towards the bytes that make and break UTF-8
// sequences, so that every kind of bad sequence turns up.
QByteArray randomBytes(QRandomGenerator& random) {
    static const unsigned char interesting[] = {0x00, 0x2F, 0x41, 0x7F, 0x80, 0x8F, 0x9F,
                                                0xA0, 0xBF, 0xC0, 0xC1, 0xC2, 0xDF, 0xE0,
                                                0xED, 0xEF, 0xF0, 0xF4, 0xF5, 0xFE, 0xFF};
    QByteArray bytes;
    const int length = int(random.bounded(12));
    for (int i = 0; i < length; ++i) {
        const bool pick = random.bounded(2) == 0;
        bytes.append(char(pick ? interesting[random.bounded(int(sizeof interesting))]
                               : random.bounded(256)));
    }
    return bytes;
}

TEST(SystemPath, AnyBytesComeBackExactlyAndDistinctBytesStayDistinctText) {
    QRandomGenerator random(20261124);
    QHash<QString, QByteArray> seen;
    for (int i = 0; i < 200000; ++i) {
        const QByteArray bytes = randomBytes(random);
        const QString text = fromSystemPath(bytes);
        ASSERT_EQ(toSystemPath(text), bytes) << bytes.toHex().constData();
        const auto earlier = seen.constFind(text);
        ASSERT_TRUE(earlier == seen.constEnd() || *earlier == bytes) << bytes.toHex().constData();
        seen.insert(text, bytes);
    }
}

TEST(SystemPath, ValidUtf8IsPlainTextAndEachBadByteItsOwnEscape) {
    for (const QString& text : {QStringLiteral("/home/ユーザー/ファイル.txt"),
                                QStringLiteral("emoji \U0001F600 and \u00e9"), QString()}) {
        EXPECT_EQ(fromSystemPath(text.toUtf8()), text);
        EXPECT_EQ(toSystemPath(text), text.toUtf8());
        EXPECT_FALSE(SystemPath::hasEscapedBytes(text));
    }
    // A lone byte, an overlong form, an encoded surrogate, past U+10FFFF and
    // a cut sequence: every byte of each is escaped on its own.
    const QByteArray bad[] = {"\xff", "\xc0\xaf", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xe3\x81"};
    for (const QByteArray& bytes : bad) {
        const QString text = fromSystemPath(bytes);
        ASSERT_EQ(text.size(), bytes.size()) << bytes.toHex().constData();
        for (qsizetype i = 0; i < bytes.size(); ++i) {
            EXPECT_EQ(text[i].unicode(), 0xDC00 + uchar(bytes[i]));
        }
        EXPECT_TRUE(SystemPath::hasEscapedBytes(text));
    }
    // The supplementary character U+10080 is a surrogate pair whose second
    // half looks like an escape: it stays the character.
    const QString pair = QString::fromUcs4(U"\U00010080");
    EXPECT_FALSE(SystemPath::hasEscapedBytes(pair));
    EXPECT_EQ(toSystemPath(pair), pair.toUtf8());
}

// A relative path is taken from the current folder, whose name may be bytes
// too: a path typed relative to it reaches the very folder.
TEST(SystemPath, ARelativePathKeepsTheBytesOfTheCurrentFolder) {
    QTemporaryDir dir;
    const QByteArray folder = toSystemPath(dir.path()) + "/bad\xff\xfe";
    ASSERT_EQ(::mkdir(folder.constData(), 0755), 0);
    char previous[4096];
    ASSERT_NE(::getcwd(previous, sizeof previous), nullptr);
    ASSERT_EQ(::chdir(folder.constData()), 0);
    const QString inside = PathUtils::standardizedPath(QStringLiteral("inside.txt"));
    const QString here = PathUtils::standardizedPath(QString());
    ASSERT_EQ(::chdir(previous), 0);
    EXPECT_EQ(toSystemPath(inside), folder + "/inside.txt");
    EXPECT_EQ(toSystemPath(here), folder);
}

TEST(ShownFileName, LegacyNamesAreDecodedAndMarkedOtherBadBytesShowAsEscapes) {
    const QString mark = ShownFileName::legacyMark;
    struct Case {
        QByteArray bytes;
        QString shown;
        QString editable;
    };
    const Case cases[] = {
        {"plain.txt", "plain.txt", "plain.txt"},
        {"\xe6\x97\xa5\xe6\x9c\xac.txt", "日本.txt", "日本.txt"},
        // "ソフト.txt" in Shift_JIS, its second byte a backslash in ASCII.
        {"\x83\x5c\x83\x74\x83\x67.txt", "ソフト.txt" + mark, "ソフト.txt"},
        // "日本語.txt" in EUC-JP.
        {"\xc6\xfc\xcb\xdc\xb8\xec.txt", "日本語.txt" + mark, "日本語.txt"},
        {"bad\xff\xfe.txt", "bad\\xFF\\xFE.txt", "bad\\xFF\\xFE.txt"},
        // A cut Shift_JIS character is no legacy name.
        {"x\x83", "x\\x83", "x\\x83"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.bytes.toHex().constData());
        const QString name = fromSystemPath(c.bytes);
        EXPECT_EQ(ShownFileName::shownName(name), c.shown);
        EXPECT_EQ(ShownFileName::editableName(name), c.editable);
    }
}

} // namespace

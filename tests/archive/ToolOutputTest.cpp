// Reading what lsar, lha and tar print: shapes of the JSON, names garbled by
// a Western guess and their repair, and the line formats.
#include "archive/ArchiveToolOutput.h"
#include "core/SystemPath.h"

#include <QJsonArray>
#include <QJsonValue>

#include <gtest/gtest.h>

using namespace ArchiveToolOutput;

namespace {

// "テスト.txt" in CP932 is 83 65 83 58 83 67 2E 74 78 74; Windows-1252 reads
// the lead bytes 0x83 as "ƒ". lsar writes raw name bytes as one character each.
const QByteArray kGarbled = R"({"lsarContents":[
  {"XADFileName":"\u0192e\u0192X\u0192g.txt","XADFileSize":6,"XADIndex":4,
   "LHAExtFileNameData":"\u0083e\u0083X\u0083g.txt"},
  {"XADFileName":"\u0192e\u0192X\u0192g2.txt","LHAExtFileNameData":"g2WDWINnMi50eHQ="},
  {"XADFileName":"\u0192e\u0192X\u0192g3.txt",
   "LHAExtFileNameData":[131,101,131,88,131,103,51,46,116,120,116]},
  {"XADFileName":"\\dir\\","XADIsDirectory":true,"XADFileSize":99},
  {"XADFileName":"inner.lzh","XADIsArchive":true},
  {"XADFileName":"caf\u00e9.txt","LHAExtFileNameData":"\u0083e"},
  {"XADFileName":"readme.txt","LHAExtFileNameData":"\u0083e\u0083X"},
  {"XADFileSize":1},
  {"XADFileName":"///"}
 ],"lsarEncoding":"windows-1252"})";

TEST(ToolOutputTest, GarbledLsarNamesAreRepairedFromTheRawBytesInEachForm) {
    const auto listing = parseLsarJson(kGarbled, QStringLiteral("cp932"));
    ASSERT_TRUE(listing);
    EXPECT_EQ(listing->encoding, QStringLiteral("windows-1252"));
    EXPECT_TRUE(isWesternEncoding(listing->encoding));
    QStringList names;
    for (const auto& entry : listing->entries) {
        names << entry.name;
    }
    EXPECT_EQ(names, (QStringList{QStringLiteral("テスト.txt"), QStringLiteral("テスト2.txt"),
                                  QStringLiteral("テスト3.txt"), QStringLiteral("\\dir\\"),
                                  QStringLiteral("café.txt"), QStringLiteral("readme.txt"),
                                  QStringLiteral("///")}));
    EXPECT_EQ(listing->entries.at(0).index, 4);
    // Without "XADIndex" the place in the listing stands in.
    EXPECT_EQ(listing->entries.at(1).index, 1);

    const QList<ArchiveMember> expected = {{QStringLiteral("テスト.txt"), false, 6, std::nullopt},
                                           {QStringLiteral("テスト2.txt"), false, 0, std::nullopt},
                                           {QStringLiteral("テスト3.txt"), false, 0, std::nullopt},
                                           {QStringLiteral("dir/"), true, 0, std::nullopt},
                                           {QStringLiteral("café.txt"), false, 0, std::nullopt},
                                           {QStringLiteral("readme.txt"), false, 0, std::nullopt}};
    EXPECT_EQ(membersFromLsar(*listing), expected);
    // Name data that is no byte string repairs nothing.
    for (const QJsonValue& value :
         {QJsonValue(QJsonArray{131, 256}), QJsonValue(QStringLiteral("漢")), QJsonValue(3)}) {
        EXPECT_EQ(nameDataBytes(value), std::nullopt);
    }
}

TEST(ToolOutputTest, LsarJsonShapes) {
    const auto array = parseLsarJson(R"([{"XADFileName":"a"}])", QStringLiteral("shift_jis"));
    ASSERT_TRUE(array);
    EXPECT_EQ(array->encoding, QStringLiteral("shift_jis"));
    EXPECT_EQ(array->entries.size(), 1);
    const auto noEncoding = parseLsarJson(R"({"lsarContents":[]})", QStringLiteral("japanese"));
    ASSERT_TRUE(noEncoding);
    EXPECT_EQ(noEncoding->encoding, QStringLiteral("japanese"));
    for (const char* invalid : {R"({"lsarFormatVersion":2,"lsarError":0})",
                                R"({"lsarContents":{}})", "", "not json", "[1,", "42"}) {
        EXPECT_FALSE(parseLsarJson(invalid, QString())) << invalid;
    }
}

TEST(ToolOutputTest, LsarFlagsAndNumbersReadAsBooleansNumbersOrTexts) {
    // lsar 1.10 prints "XADIsDirectory": 1 for LHA folders.
    const auto listing = parseLsarJson(R"({"lsarContents":[
      {"XADFileName":"empty","XADIsDirectory":1,"XADFileSize":0,"XADIndex":0},
      {"XADFileName":"flagged","XADIsDirectory":true},
      {"XADFileName":"file","XADIsDirectory":0,"XADFileSize":"12","XADIndex":"7"},
      {"XADFileName":"inner.lzh","XADIsArchive":1},
      {"XADFileName":"plain","XADIsDirectory":false,"XADIsArchive":0,"XADFileSize":3}
     ]})",
                                       QStringLiteral("cp932"));
    ASSERT_TRUE(listing);
    const QList<ArchiveMember> expected = {{QStringLiteral("empty/"), true, 0, std::nullopt},
                                           {QStringLiteral("flagged/"), true, 0, std::nullopt},
                                           {QStringLiteral("file"), false, 12, std::nullopt},
                                           {QStringLiteral("plain"), false, 3, std::nullopt}};
    EXPECT_EQ(membersFromLsar(*listing), expected);
    EXPECT_EQ(listing->entries.at(2).index, 7);
}

TEST(ToolOutputTest, TheBannerLhaPrintsBeforeAMemberIsNotPartOfIt) {
    const struct {
        QByteArray printed;
        QByteArray member;
    } cases[] = {
        // As the lha installed here prints one member, and an empty one.
        {"::::::::\nn.txt\n::::::::\nabc", "abc"},
        {"::::::::\ne.txt\n::::::::\n", ""},
        // Two members of the same name: only the first.
        {"::::::::\nd/a\n::::::::\nhi\n::::::::\nd/a\n::::::::\nhi again\n", "hi\n"},
        // Bytes that only look like a banner are the member's.
        {"::::::::\nno second rule\n", "::::::::\nno second rule\n"},
        {"plain bytes", "plain bytes"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(lhaPrintedMember(c.printed), c.member) << c.printed.toStdString();
    }
}

TEST(ToolOutputTest, PlausibleNames) {
    const std::pair<QString, bool> cases[] = {
        {QStringLiteral("plain\r\nname.txt"), true},
        {QStringLiteral("ｱｲｳ.txt"), true},
        {QStringLiteral("ひらがな"), true},
        {QStringLiteral("漢字ƒ"), true},
        {QStringLiteral("café"), true},
        {QStringLiteral("•\\.txt"), true},
        {QStringLiteral("ƒeƒXƒg"), false},
        {QStringLiteral("‚ ‚¢"), false},
        {QStringLiteral("„Ÿ"), false},
    };
    for (const auto& [name, plausible] : cases) {
        EXPECT_EQ(isPlausibleName(name), plausible) << name.toStdString();
    }
    EXPECT_FALSE(isWesternEncoding(QStringLiteral("cp932")));
    EXPECT_TRUE(isWesternEncoding(QStringLiteral("ISO-8859-1")));
    EXPECT_TRUE(isWesternEncoding(QStringLiteral("Latin-1")));
}

TEST(ToolOutputTest, LhaListingLines) {
    // The layout of LHa for UNIX, names in Shift_JIS ("表" ends in 0x5C).
    const QByteArray output = "PERMISSION  UID  GID      SIZE  RATIO     STAMP           NAME\n"
                              "---------- ----------- ------- ------ ------------ ----------\n"
                              "drwxr-xr-x  1000/1000       0 ****** Jan  1 2020 sub/\n"
                              "-rw-r--r--  1000/1000       5  80.0% Jan  1 2020 sub/\x95\x5c.txt\n"
                              "[MS-DOS]                    5  80.0% Jan  1 2020 \\win\\path.txt\n"
                              "[generic]                   0 ****** Jan  1 2020 my notes.txt\n"
                              "[generic]   Directory       0 ****** Jan  1 2020 folder\n"
                              "                    NAME\n"
                              "LHa: Warning: something\n"
                              "---------- ----------- ------- ------ ------------ ----------\n"
                              " Total         5 files      10  80.0% Jan  1 2020\n";
    const QList<ArchiveMember> expected = {
        {QStringLiteral("sub/"), true, 0, std::nullopt},
        {fromSystemPath("sub/\x95\x5c.txt"), false, 0, std::nullopt},
        {QStringLiteral("win/path.txt"), false, 0, std::nullopt},
        {QStringLiteral("notes.txt"), false, 0, std::nullopt},
        {QStringLiteral("folder/"), true, 0, std::nullopt}};
    EXPECT_EQ(parseLhaList(output), expected);
    // Names are the printed bytes: UTF-8 reads as it is, anything else keeps its bytes.
    EXPECT_EQ(parseLhaList("[generic] 1 Jan 1 2020 a\xf0\x9f\x98\x80\n").first().path,
              QStringLiteral("a\U0001F600"));
    EXPECT_EQ(parseLhaList("[generic] 1 Jan 1 2020 a\xff\xfe\n").first().path,
              fromSystemPath("a\xff\xfe"));
}

TEST(ToolOutputTest, TarListingAndMemberPaths) {
    // "表" in Shift_JIS is 0x95 0x5C: its backslash is no separator.
    const QByteArray output =
        "./\n./a.txt\r\n/abs/b\n\n  ./././c  \nwin\\d\\\n\x95\x5c\\\x95\x5c.txt\n";
    const QList<ArchiveMember> expected = {
        {QStringLiteral("a.txt"), false, 0, std::nullopt},
        {QStringLiteral("abs/b"), false, 0, std::nullopt},
        {QStringLiteral("././c"), false, 0, std::nullopt},
        {QStringLiteral("win/d/"), true, 0, std::nullopt},
        {fromSystemPath("\x95\x5c/\x95\x5c.txt"), false, 0, std::nullopt}};
    EXPECT_EQ(parseTarList(output), expected);
    EXPECT_EQ(normalizedMemberPath(QStringLiteral("././/a\\b/")), QStringLiteral("a/b"));
    EXPECT_EQ(normalizedMemberPath(fromSystemPath("x/\x95\x5c.txt")),
              fromSystemPath("x/\x95\x5c.txt"));
    EXPECT_EQ(normalizedMemberPath(QStringLiteral("../x")), QStringLiteral("../x"));
}

} // namespace

// Which files the viewer shows as text, as a graphic preview, or not at all.
#include "preview/PreviewSelection.h"
#include "support/TestDir.h"
#include "text/TextDecoding.h"

#include <gtest/gtest.h>

using namespace PreviewSelection;

namespace {

const ViewerContentKind text = ViewerContentKind::text;
const ViewerContentKind preview = ViewerContentKind::preview;
const ViewerContentKind unsupported = ViewerContentKind::unsupported;

const QByteArray prose = "The quick brown fox jumps over the lazy dog.\n";
const QByteArray compoundHeader("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1\0\0\0\0", 12);

QByteArray textOfSize(qsizetype size) {
    return prose.repeated(size / prose.size() + 1).left(size);
}

} // namespace

TEST(PreviewSelection, NamesAloneDecideMembers) {
    const struct {
        const char* name;
        ViewerContentKind kind;
    } cases[] = {{".gitignore", text},     {".env.local", preview},   {"Makefile", text},
                 {"README", text},         {"LICENSE", text},         {"Dockerfile", text},
                 {"README.bak", preview},  {"main.CPP", text},        {"notes.yaml", text},
                 {"report.doc", preview},  {"slides.pages", preview}, {"disk.dmg", unsupported},
                 {"cd.ISO", unsupported},  {"archive.zip", preview},  {"font.woff2", preview},
                 {"photo.png", preview},   {"script.pl", text},       {"styles.rtf", preview},
                 {"unknown.zzq", preview}, {"noextension", preview}};
    for (const auto& c : cases) {
        EXPECT_EQ(classifyFile(c.name, std::nullopt), c.kind) << c.name;
    }
    EXPECT_EQ(pathExtension(".gitignore"), "");
    EXPECT_EQ(pathExtension("archive.tar.GZ"), "gz");
    EXPECT_EQ(pathExtension("trailing."), "");
}

TEST(PreviewSelection, FilesOnDiskAreAlsoJudgedByTheirHead) {
    TestDir dir;
    const struct {
        const char* name;
        QByteArray bytes;
        ViewerContentKind kind;
    } cases[] = {
        // A document that is really plain text is text; real documents are not.
        {"letter.doc", prose, text},
        {"word.doc", compoundHeader + prose, preview},
        {"slides.pages", "PK\x03\x04" + prose, preview},
        {"styled.rtf", "{\\rtf1\\ansi " + prose + "}", preview},
        {"README.bak", "\x01\x02\x03\x04\x05", preview},
        {"notes.bak", prose, text},
        {"disk.dmg", prose, unsupported},
        {"sheet.xlsx", "PK\x03\x04", preview},
        {"empty.zzq", {}, preview},
        {"binary.zzq", QByteArray(200, '\0') + prose, preview},
        {"japanese.zzq",
         *TextDecoding::encodedBytes(QString::fromUtf8("日本語の文章です。かなとカナ。"),
                                     TextFileEncoding::cp932),
         text},
        {"seven.zzq", "abc defg", preview},
        {"eight.zzq", "abcd efgh", text},
    };
    for (const auto& c : cases) {
        const QString path = dir.makeFile(c.name, c.bytes);
        EXPECT_EQ(classifyFile(c.name, path), c.kind) << c.name;
    }
}

TEST(PreviewSelection, OnlyFilesUpToAMillionBytesAreSniffed) {
    TestDir dir;
    const QString exact = dir.makeFile("exact.zzq", textOfSize(1'000'000));
    const QString over = dir.makeFile("over.zzq", textOfSize(1'000'001));
    EXPECT_EQ(classifyFile("exact.zzq", exact), text);
    EXPECT_EQ(classifyFile("over.zzq", over), preview);
    // A binary extension is never sniffed, whatever it holds.
    EXPECT_FALSE(looksLikePlainText(dir.makeFile("text.dat", prose)));
}

TEST(PreviewSelection, HeadsAreToldApart) {
    EXPECT_EQ(sniffHead(compoundHeader), FileHead::compoundDocument);
    EXPECT_EQ(sniffHead("PK"), FileHead::zipContainer);
    EXPECT_EQ(sniffHead("{\\rtf1 hello}"), FileHead::rtf);
    EXPECT_EQ(sniffHead(prose), FileHead::text);
    EXPECT_EQ(sniffHead({}), FileHead::other);
    // One NUL in ten bytes is too many; one in eleven is not.
    EXPECT_EQ(sniffHead(QByteArray("abcdefghi") + '\0'), FileHead::other);
    EXPECT_EQ(sniffHead(QByteArray("abcdefghij") + '\0'), FileHead::text);
    EXPECT_EQ(sniffFileHead("/nonexistent/file.doc"), FileHead::other);
}

TEST(PreviewSelection, PlainTextGatesHoldAtTheirLimits) {
    // NUL bytes must stay under 2 per cent, other control bytes under 5.
    const QByteArray letters = textOfSize(49);
    EXPECT_FALSE(headLooksLikePlainText(letters + '\0'));
    EXPECT_TRUE(headLooksLikePlainText(letters + 'x' + '\0'));
    EXPECT_FALSE(headLooksLikePlainText(letters.left(19) + '\x01'));
    EXPECT_TRUE(headLooksLikePlainText(letters.left(20) + '\x01'));
    EXPECT_TRUE(headLooksLikePlainText(letters.left(20) + "\t\r\n"));
    // Eight characters after trimming, eight of them letters or kana/kanji.
    EXPECT_FALSE(headLooksLikePlainText("  abcdefg \n"));
    EXPECT_FALSE(headLooksLikePlainText("1234 5678 90"));
    EXPECT_TRUE(headLooksLikePlainText(QString::fromUtf8("かなカナ漢字漢字").toUtf8()));
    EXPECT_FALSE(headLooksLikePlainText("\xff\xfe\xfd\xfc abcdefgh"));
}

TEST(PreviewSelection, DiskImagesVideosAndGalleryImagesAreRecognised) {
    TestDir dir;
    EXPECT_TRUE(isDiskImageFile("backup.sparsebundle", std::nullopt));
    EXPECT_TRUE(isDiskImageFile("raw.img", std::nullopt));
    EXPECT_FALSE(isDiskImageFile("archive.zip", std::nullopt));
    EXPECT_FALSE(isDiskImageFile("notes.txt", dir.makeFile("notes.txt", prose)));
    EXPECT_TRUE(isVideoFile("clip.MOV", std::nullopt));
    EXPECT_TRUE(isVideoFile("clip.qt", dir.makeFile("clip.qt", "x")));
    EXPECT_FALSE(isVideoFile("clip.mp4", dir.makeFile("clip.mp4", "x")));
    // Gallery pictures go by extension, then by the type the name gives.
    for (const char* picture : {"icon.ICO", "scan.heif", "drawing.svg"}) {
        EXPECT_TRUE(isGalleryImage(picture, std::nullopt)) << picture;
    }
    for (const char* other : {"notes.txt", "archive.zip", "photo"}) {
        EXPECT_FALSE(isGalleryImage(other, std::nullopt)) << other;
    }
}

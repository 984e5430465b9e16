// The cell grid: wide characters take two cells, so names cut and columns
// line up the same with Japanese text as with Latin.
#include "ui/ScreenText.h"

#include "ui/ScreenFont.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

namespace {

TEST(ScreenTextTest, WideCharactersTakeTwoCellsAndMarksNoneAlsoWhenElided) {
    const ScreenText text(ScreenFont::font(13));
    EXPECT_EQ(text.cellCount(QStringLiteral("abc")), 3);
    EXPECT_EQ(text.cellCount(QStringLiteral("日本a")), 5);
    EXPECT_EQ(text.cellCount(QStringLiteral("ＡＢ")), 4);
    EXPECT_EQ(text.cellCount(QStringLiteral("ｶﾅ")), 2);      // half-width kana
    EXPECT_EQ(text.cellCount(QStringLiteral("e\u0301")), 1); // e and a combining accent
    // A name written decomposed, as macOS writes it: the voiced mark combines
    // with its kana although it is listed as wide.
    EXPECT_EQ(text.cellCount(QStringLiteral("\u30BF\u3099")), 2);
    EXPECT_DOUBLE_EQ(text.width(QStringLiteral("写真")), 4 * text.cellWidth());

    // Eliding counts cells at the head, the middle and the tail.
    const QString name = QStringLiteral("日本語のファイル名.txt"); // 18 + 4 cells
    const int ellipsis = text.cellCount(QStringLiteral("…"));
    const double room = (10 + ellipsis) * text.cellWidth();
    const QString tail = text.elided(name, room, Qt::ElideRight);
    EXPECT_TRUE(tail.startsWith(QStringLiteral("日本語のフ")));
    EXPECT_TRUE(tail.endsWith(QStringLiteral("…")));
    const QString head = text.elided(QStringLiteral("/home/user/写真/2024"), room, Qt::ElideLeft);
    EXPECT_TRUE(head.startsWith(QStringLiteral("…")));
    EXPECT_TRUE(head.endsWith(QStringLiteral("写真/2024")));
    for (const Qt::TextElideMode mode : {Qt::ElideLeft, Qt::ElideMiddle, Qt::ElideRight}) {
        EXPECT_LE(text.width(text.elided(name, room, mode)), room + 0.01);
    }
    EXPECT_EQ(text.elided(name, 100 * text.cellWidth(), Qt::ElideRight), name);
}

TEST(ScreenTextTest, TextEndsAtTheCellItWasGiven) {
    const ScreenText text(ScreenFont::font(16));
    QImage image(400, 40, QImage::Format_RGB32);
    image.fill(Qt::black);
    QPainter painter(&image);
    // Two wide characters then two Latin ones: six cells from x = 10.
    text.draw(painter, QRectF(10, 0, 380, 40), QStringLiteral("日本ab"), Qt::white);
    painter.end();
    int rightmost = 0;
    for (int x = 0; x < image.width(); ++x) {
        for (int y = 0; y < image.height(); ++y) {
            if (qGray(image.pixel(x, y)) > 100) {
                rightmost = x;
            }
        }
    }
    EXPECT_LE(rightmost, 10 + 6 * text.cellWidth());
    EXPECT_GT(rightmost, 10 + 5 * text.cellWidth());
}

} // namespace

// Each line keeps its own ending across an edit in EDITOR's text view.
#include "text/LineBreaks.h"

#include <gtest/gtest.h>

namespace {

const QChar kParagraph = QChar::ParagraphSeparator;

QStringList lines(std::initializer_list<const char*> texts) {
    QStringList result;
    for (const char* text : texts) {
        result << QString::fromUtf8(text);
    }
    return result;
}

TEST(LineBreaksTest, EveryEndingIsFoundAndKept) {
    const QString text = QStringLiteral("a\nb\r\nc\rd") + kParagraph + QStringLiteral("e") +
                         QChar(0xFDD0) + QStringLiteral("f");
    const LineBreaks::Lines split = LineBreaks::split(text);
    EXPECT_EQ(split.lines, lines({"a", "b", "c", "d", "e", "f"}));
    EXPECT_EQ(split.endings,
              (QStringList{"\n", "\r\n", "\r", QString(kParagraph), QString(QChar(0xFDD0))}));
    EXPECT_EQ(LineBreaks::rejoin(text, split.lines), text) << "unchanged lines come back whole";
    EXPECT_EQ(LineBreaks::split(QString()).lines, QStringList{QString()});
}

TEST(LineBreaksTest, AnEditKeepsTheEndingsOfTheLinesAroundIt) {
    const QString before = QStringLiteral("one\r\ntwo\nthree\rfour");
    const struct {
        const char* name;
        QStringList edited;
        QString after;
    } cases[] = {
        {"a line typed into", lines({"one", "twoX", "three", "four"}),
         QStringLiteral("one\r\ntwoX\nthree\rfour")},
        {"a line added under the first", lines({"one", "new", "two", "three", "four"}),
         QStringLiteral("one\r\nnew\r\ntwo\nthree\rfour")},
        {"a line added on top", lines({"new", "one", "two", "three", "four"}),
         QStringLiteral("new\r\none\r\ntwo\nthree\rfour")},
        {"a line taken away", lines({"one", "three", "four"}),
         QStringLiteral("one\r\nthree\rfour")},
        {"a line added at the end", lines({"one", "two", "three", "four", "five"}),
         QStringLiteral("one\r\ntwo\nthree\rfour\rfive")},
        {"everything replaced", lines({"x", "y"}), QStringLiteral("x\r\ny")},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(LineBreaks::rejoin(before, c.edited), c.after) << c.name;
    }
    EXPECT_EQ(LineBreaks::rejoin(QStringLiteral("solo"), lines({"solo", "more"})),
              QStringLiteral("solo\nmore"))
        << "a text without endings gets plain line feeds";
}

} // namespace

#include "text/LineBreaks.h"

#include <algorithm>

namespace LineBreaks {

namespace {

// The text view's document ends a line at these two noncharacters too (its
// frame marks); a file that holds them gets them back as line endings.
constexpr QChar kFrameStart(0xFDD0);
constexpr QChar kFrameEnd(0xFDD1);

} // namespace

Lines split(const QString& text) {
    Lines result;
    qsizetype start = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        qsizetype width = 0;
        if (c == QLatin1Char('\r')) {
            width = i + 1 < text.size() && text.at(i + 1) == QLatin1Char('\n') ? 2 : 1;
        } else if (c == QLatin1Char('\n') || c == QChar::ParagraphSeparator ||
                   c == kFrameStart || c == kFrameEnd) {
            width = 1;
        }
        if (width > 0) {
            result.lines.append(text.mid(start, i - start));
            result.endings.append(text.mid(i, width));
            i += width - 1;
            start = i + 1;
        }
    }
    result.lines.append(text.mid(start));
    return result;
}

namespace {

// The ending of old line index, or of the nearest line that has one.
QString endingNear(const QStringList& endings, qsizetype index) {
    if (endings.isEmpty()) {
        return QStringLiteral("\n");
    }
    return endings.at(std::clamp<qsizetype>(index, 0, endings.size() - 1));
}

} // namespace

// The lines the edit left alone are those of the common head and tail; what
// lies between took the edit. The view hands every keystroke on, so an edit
// is one stretch of lines, and head and tail find every untouched line. The
// last changed line keeps the ending that stood before the tail.
QString rejoin(const QString& before, const QStringList& editedLines) {
    const Lines old = split(before);
    const qsizetype oldCount = old.lines.size();
    const qsizetype newCount = editedLines.size();
    qsizetype head = 0;
    while (head < oldCount && head < newCount && old.lines.at(head) == editedLines.at(head)) {
        ++head;
    }
    qsizetype tail = 0;
    while (tail < oldCount - head && tail < newCount - head &&
           old.lines.at(oldCount - 1 - tail) == editedLines.at(newCount - 1 - tail)) {
        ++tail;
    }
    QString text;
    for (qsizetype i = 0; i < newCount; ++i) {
        text += editedLines.at(i);
        if (i + 1 == newCount) {
            break;
        }
        if (i < head && i < old.endings.size()) {
            text += old.endings.at(i);
        } else if (i >= newCount - tail) {
            text += old.endings.at(oldCount - (newCount - i));
        } else if (i == newCount - tail - 1) {
            text += endingNear(old.endings, oldCount - tail - 1);
        } else {
            text += endingNear(old.endings, head - 1);
        }
    }
    return text;
}

} // namespace LineBreaks

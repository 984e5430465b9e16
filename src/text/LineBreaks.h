#pragma once

#include <QString>
#include <QStringList>

// EDITOR's text view knows lines, not the characters that ended them. These
// keep each line's own ending ("\n", "\r\n", "\r", a paragraph separator, or
// one of the two noncharacters the view's document breaks at)
// across an edit, so that a file with mixed endings keeps them on the lines
// the user did not touch.
namespace LineBreaks {

// A text cut at its line endings: lines.size() == endings.size() + 1.
struct Lines {
    QStringList lines;
    QStringList endings;
    bool operator==(const Lines&) const = default;
};

Lines split(const QString& text);

// The text of the edited lines, each line ending as it did in the text
// before the edit where the line was left as it stood; a new or changed line
// ends as the nearest line above it did (the first line's ending, or "\n",
// at the top).
QString rejoin(const QString& before, const QStringList& editedLines);

} // namespace LineBreaks

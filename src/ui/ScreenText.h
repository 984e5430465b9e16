#pragma once

#include <QFont>
#include <QHash>
#include <QString>

class QColor;
class QPainter;
class QRectF;

// Text on the screen's cell grid. A cell is as wide as "0"; East-Asian wide
// and full-width characters take two cells, and so do the ambiguous ones
// (arrows, "…", "◀") that the face draws full-width. Every character is placed at its
// own cell, so columns stay aligned with Japanese names at any font size,
// whatever the face's own advance of a wide glyph is.
class ScreenText {
public:
    explicit ScreenText(const QFont& font);

    const QFont& font() const { return m_font; }
    double cellWidth() const { return m_cellWidth; }
    // The height of one line of text.
    double lineHeight() const { return m_lineHeight; }

    // The number of cells a text takes.
    int cellCount(const QString& text) const;
    // The cells of one character in this face.
    int cellsOf(char32_t codePoint) const;
    // The width in points of a text on the grid.
    double width(const QString& text) const { return cellCount(text) * m_cellWidth; }
    // The text cut to at most maxWidth with "…" at the head, middle or tail.
    QString elided(const QString& text, double maxWidth, Qt::TextElideMode mode) const;

    // Draws the text with its first cell at x, vertically centred in the rect,
    // clipped to it.
    void draw(QPainter& painter, const QRectF& rect, const QString& text, const QColor& color,
              Qt::Alignment horizontal = Qt::AlignLeft) const;

private:
    QFont m_font;
    double m_cellWidth = 0;
    double m_lineHeight = 0;
    double m_ascent = 0;
    // The ambiguous characters measured so far, by code point.
    mutable QHash<char32_t, int> m_ambiguousCells;
};

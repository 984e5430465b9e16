#include "ui/ScreenText.h"

#include <QFontMetricsF>
#include <QPainter>

#include <unicode/uchar.h>

namespace {

enum class CellClass { zero, narrow, wide, ambiguous };

// Combining marks and other zero-width characters take no cell, also the
// kana voiced marks that are listed as wide; wide and full-width characters
// take two; ambiguous ones depend on the face.
CellClass cellClassOf(char32_t codePoint) {
    const int8_t category = u_charType(UChar32(codePoint));
    if (category == U_NON_SPACING_MARK || category == U_ENCLOSING_MARK ||
        category == U_FORMAT_CHAR || codePoint == 0x200B) {
        return CellClass::zero;
    }
    const auto width =
        UEastAsianWidth(u_getIntPropertyValue(UChar32(codePoint), UCHAR_EAST_ASIAN_WIDTH));
    if (width == U_EA_WIDE || width == U_EA_FULLWIDTH) {
        return CellClass::wide;
    }
    return width == U_EA_AMBIGUOUS ? CellClass::ambiguous : CellClass::narrow;
}

const QString kEllipsis = QStringLiteral("…");

// The leading part of the text that fits in the cells.
QString headOfCells(const ScreenText& grid, const QList<uint>& codePoints, int cells) {
    QString result;
    int used = 0;
    for (const uint cp : codePoints) {
        const int c = grid.cellsOf(cp);
        if (used + c > cells) {
            break;
        }
        used += c;
        result += QString::fromUcs4(reinterpret_cast<const char32_t*>(&cp), 1);
    }
    return result;
}

// The trailing part of the text that fits in the cells.
QString tailOfCells(const ScreenText& grid, const QList<uint>& codePoints, int cells) {
    QString result;
    int used = 0;
    for (auto it = codePoints.crbegin(); it != codePoints.crend(); ++it) {
        const int c = grid.cellsOf(*it);
        if (used + c > cells) {
            break;
        }
        used += c;
        result.prepend(QString::fromUcs4(reinterpret_cast<const char32_t*>(&*it), 1));
    }
    return result;
}

} // namespace

ScreenText::ScreenText(const QFont& font)
    : m_font(font) {
    const QFontMetricsF metrics(font);
    m_cellWidth = metrics.horizontalAdvance(QLatin1Char('0'));
    m_lineHeight = metrics.height();
    m_ascent = metrics.ascent();
}

int ScreenText::cellsOf(char32_t codePoint) const {
    switch (cellClassOf(codePoint)) {
    case CellClass::zero:
        return 0;
    case CellClass::narrow:
        return 1;
    case CellClass::wide:
        return 2;
    case CellClass::ambiguous:
        break;
    }
    auto found = m_ambiguousCells.constFind(codePoint);
    if (found == m_ambiguousCells.constEnd()) {
        const double advance =
            QFontMetricsF(m_font).horizontalAdvance(QString::fromUcs4(&codePoint, 1));
        found = m_ambiguousCells.insert(codePoint, advance > 1.5 * m_cellWidth ? 2 : 1);
    }
    return *found;
}

int ScreenText::cellCount(const QString& text) const {
    int cells = 0;
    for (const uint cp : text.toUcs4()) {
        cells += cellsOf(cp);
    }
    return cells;
}

QString ScreenText::elided(const QString& text, double maxWidth, Qt::TextElideMode mode) const {
    const int available = m_cellWidth > 0 ? int(maxWidth / m_cellWidth + 0.001) : 0;
    if (cellCount(text) <= available || mode == Qt::ElideNone) {
        return text;
    }
    if (available <= 1) {
        return available == 1 ? kEllipsis : QString();
    }
    const QList<uint> codePoints = text.toUcs4();
    const int room = available - 1;
    switch (mode) {
    case Qt::ElideLeft:
        return kEllipsis + tailOfCells(*this, codePoints, room);
    case Qt::ElideMiddle:
        return headOfCells(*this, codePoints, room - room / 2) + kEllipsis +
               tailOfCells(*this, codePoints, room / 2);
    default:
        return headOfCells(*this, codePoints, room) + kEllipsis;
    }
}

void ScreenText::draw(QPainter& painter, const QRectF& rect, const QString& text,
                      const QColor& color, Qt::Alignment horizontal) const {
    double x = rect.left();
    if (horizontal & Qt::AlignRight) {
        x = rect.right() - width(text);
    } else if (horizontal & Qt::AlignHCenter) {
        x = rect.left() + (rect.width() - width(text)) / 2;
    }
    const double baseline = rect.top() + (rect.height() - m_lineHeight) / 2 + m_ascent;
    painter.save();
    painter.setClipRect(rect, Qt::IntersectClip);
    painter.setFont(m_font);
    painter.setPen(color);
    // Runs of ASCII share the face's own advance, which is the cell; every
    // other character, with the marks that combine with it, is placed at its
    // cell one by one.
    QString run;
    double runStart = x;
    QString cluster;
    double clusterX = x;
    const auto flush = [&] {
        if (!run.isEmpty()) {
            painter.drawText(QPointF(runStart, baseline), run);
            run.clear();
        }
        if (!cluster.isEmpty()) {
            painter.drawText(QPointF(clusterX, baseline), cluster);
            cluster.clear();
        }
    };
    for (const uint cp : text.toUcs4()) {
        const int cells = cellsOf(cp);
        const QString character = QString::fromUcs4(reinterpret_cast<const char32_t*>(&cp), 1);
        if (cells == 0) {
            (cluster.isEmpty() ? run : cluster) += character;
            continue;
        }
        if (cp < 0x80 && cluster.isEmpty()) {
            if (run.isEmpty()) {
                runStart = x;
            }
            run += character;
        } else {
            flush();
            if (cp < 0x80) {
                runStart = x;
                run = character;
            } else {
                clusterX = x;
                cluster = character;
            }
        }
        x += cells * m_cellWidth;
    }
    flush();
    painter.restore();
}

#include "ui/PageFlipGlyph.h"

#include "ui/Palette.h"

#include <QPainter>
#include <QPainterPath>

PageFlipGlyph::PageFlipGlyph(int size, QWidget* parent)
    : QWidget(parent)
    , m_size(size)
    , m_color(Palette::titleText()) {
    setFixedSize(size, size);
}

void PageFlipGlyph::setColor(const QColor& color) {
    m_color = color;
    update();
}

void PageFlipGlyph::paint(QPainter& painter, const QRectF& square, const QColor& color) {
    const double s = std::min(square.width(), square.height());
    const QPointF o = square.topLeft();
    const auto at = [&](double x, double y) { return o + QPointF(x * s, y * s); };
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QPen pen(color, std::max(1.0, s / 12));
    pen.setJoinStyle(Qt::RoundJoin);
    painter.setPen(pen);

    // The sheet, its top right corner folded down towards the middle.
    QPainterPath sheet;
    sheet.moveTo(at(0.15, 0.1));
    sheet.lineTo(at(0.6, 0.1));
    sheet.lineTo(at(0.85, 0.35));
    sheet.lineTo(at(0.85, 0.9));
    sheet.lineTo(at(0.15, 0.9));
    sheet.closeSubpath();
    painter.drawPath(sheet);
    QPainterPath fold;
    fold.moveTo(at(0.6, 0.1));
    fold.lineTo(at(0.6, 0.35));
    fold.lineTo(at(0.85, 0.35));
    painter.drawPath(fold);

    // The turn: an arc across the sheet ending in an arrowhead.
    QPainterPath turn;
    turn.moveTo(at(0.3, 0.7));
    turn.quadTo(at(0.35, 0.45), at(0.62, 0.52));
    painter.drawPath(turn);
    QPainterPath head;
    head.moveTo(at(0.5, 0.42));
    head.lineTo(at(0.64, 0.52));
    head.lineTo(at(0.52, 0.64));
    painter.drawPath(head);
    painter.restore();
}

void PageFlipGlyph::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paint(painter, QRectF(rect()), m_color);
}

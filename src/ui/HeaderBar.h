#pragma once

#include <QColor>
#include <QList>
#include <QString>

class QPainter;
class QRectF;
class ScreenText;

// The one-line header of a pane ("FILER", "VIEWER", "EDITOR"): items on the
// left, an elastic space of at least 8 points, items on the right. On the
// focused pane the bar is white and every item is drawn in navy.
namespace HeaderBar {

struct Item {
    QString text;
    QColor color;
    // The one item that gives way when the bar is too narrow, cut at its head.
    bool shrinks = false;
    // Drawn after the page-flip sign, 6 points apart: the frame indicator.
    bool pageFlip = false;
};

// The bar's height for the face: a line and 4 points above and below.
double height(const ScreenText& text);

void paint(QPainter& painter, const QRectF& bar, const ScreenText& text, bool focused,
           const QList<Item>& leading, const QList<Item>& trailing);

} // namespace HeaderBar

#include "ui/RowListArea.h"

#include "ui/Palette.h"

#include <QScrollBar>

#include <cmath>

RowListArea::RowListArea(QWidget* parent)
    : QAbstractScrollArea(parent) {
    styleAsPaneList(*this);
}

void RowListArea::styleAsPaneList(QAbstractScrollArea& area) {
    area.setFrameShape(QFrame::NoFrame);
    area.setFocusPolicy(Qt::NoFocus);
    area.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area.setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    area.verticalScrollBar()->setStyleSheet(Palette::thinScrollBarStyle());
    area.viewport()->setAutoFillBackground(false);
}

double RowListArea::snappedOffset(double value, double rowHeight, double padding) {
    if (rowHeight <= 0) {
        return value;
    }
    const double rows = std::round((value - padding) / rowHeight);
    return rows <= 0 ? 0 : padding + rows * rowHeight;
}

double RowListArea::scrollOffset() const {
    return snappedOffset(verticalScrollBar()->value(), rowHeight());
}

QRect RowListArea::rowRect(int index) const {
    return QRect(0, int(std::floor(index * rowHeight() - scrollOffset())), viewport()->width(),
                 int(rowHeight()));
}

#include "ui/RowListArea.h"

#include "ui/Palette.h"

#include <QScrollBar>

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

QRect RowListArea::rowRect(int index) const {
    return QRect(0, int(index * rowHeight()) - verticalScrollBar()->value(), viewport()->width(),
                 int(rowHeight()));
}

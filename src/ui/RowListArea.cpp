#include "ui/RowListArea.h"

#include "ui/Palette.h"

#include <QScrollBar>

RowListArea::RowListArea(QWidget* parent)
    : QAbstractScrollArea(parent) {
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    verticalScrollBar()->setStyleSheet(Palette::thinScrollBarStyle());
    viewport()->setAutoFillBackground(false);
}

QRect RowListArea::rowRect(int index) const {
    return QRect(0, int(index * rowHeight()) - verticalScrollBar()->value(), viewport()->width(),
                 int(rowHeight()));
}

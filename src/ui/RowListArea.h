#pragma once

#include <QAbstractScrollArea>
#include <QRect>

// A list painted row by row over the pane's own background: no frame, no
// keyboard focus of its own (the keys go through the state), no sideways bar.
class RowListArea : public QAbstractScrollArea {
public:
    explicit RowListArea(QWidget* parent);

    // Gives any scrolling list of the screen this look: no frame, no focus,
    // no sideways bar, the thin bar, the pane showing through.
    static void styleAsPaneList(QAbstractScrollArea& area);

    // Where a row stands in the viewport, after scrolling.
    QRect rowRect(int index) const;

    // The scroll position as the rows are drawn: at a whole row, so that the
    // top row is never cut by the edge above it. The list's own padding
    // above the first row is passed over in one step.
    static double snappedOffset(double value, double rowHeight, double padding = 0);

protected:
    virtual double rowHeight() const = 0;
    double scrollOffset() const;
};

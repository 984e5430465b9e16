#pragma once

#include "ui/RowListArea.h"

class AppState;
class ScreenText;
struct FolderSearchHit;

// The hits of file search, one row each, with the row at the selection filled;
// without hits the one line that says why. A click selects a hit, a double
// click opens it.
class FileSearchResultList : public RowListArea {
public:
    FileSearchResultList(AppState& state, QWidget* parent);

    // Follows the hits and the selection: scroll range and the selected row in view.
    void sync();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    double rowHeight() const override;
    bool selectAt(double y);
    QString emptyMessage() const;
    void paintHit(QPainter& painter, const ScreenText& text, const FolderSearchHit& hit,
                  const QRect& row, bool isCursor) const;

    AppState& m_state;
};

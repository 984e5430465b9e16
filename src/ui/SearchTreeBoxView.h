#pragma once

#include <QWidget>

#include <optional>

class AppState;

// The folder box of file search: a title, the folder tree of the search
// folder with its cursor, and a line of keys. It keeps the cursor row in view
// and turns clicks into the box's commands.
class SearchTreeBoxView : public QWidget {
    Q_OBJECT

public:
    explicit SearchTreeBoxView(AppState& state, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    // Where a row of the tree stands in the box, scrolled as it is.
    QRect rowRect(int index) const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    void followState();
    QRectF listRect() const;
    double rowHeight() const;
    std::optional<int> rowAt(const QPointF& point) const;

    AppState& m_state;
    int m_firstRow = 0;
};

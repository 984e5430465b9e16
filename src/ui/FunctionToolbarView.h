#pragma once

#include <QWidget>

class AppState;
class ScreenText;

// The row at the top of the window: the legend of key caps on the left (the
// Shift set while Shift is held), the mode badges and switches on the right.
// The legend gives way when the window is narrow: it scrolls sideways under
// the wheel, with "◀" and "▶" telling that there is more.
class FunctionToolbarView : public QWidget {
    Q_OBJECT

public:
    explicit FunctionToolbarView(AppState& state, QWidget* parent = nullptr);

    bool canScrollLeft() const { return m_canScrollLeft; }
    bool canScrollRight() const { return m_canScrollRight; }
    // Scrolls the legend by points; positive shows more of its right end.
    void scrollLegend(double delta);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    struct Cell;
    QList<Cell> legendCells() const;
    QList<QPair<QString, QColor>> rightItems() const;
    double legendWidth(const ScreenText& text) const;
    double rightWidth(const ScreenText& text) const;
    double visibleLegendWidth(const ScreenText& text) const;
    int contentEpoch() const;
    void followState();
    void measure();

    AppState& m_state;
    double m_offset = 0;
    int m_contentEpoch = -1;
    bool m_canScrollLeft = false;
    bool m_canScrollRight = false;
};

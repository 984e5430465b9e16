#pragma once

#include <QWidget>

class AppState;

// The SORT box: three numbered rows, the selected one filled. A click on a
// row confirms it, as its digit does.
class SortPickerView : public QWidget {
    Q_OBJECT

public:
    explicit SortPickerView(AppState& state, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QRectF rowRect(int row) const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    AppState& m_state;
};

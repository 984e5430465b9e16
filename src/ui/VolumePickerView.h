#pragma once

#include <QRectF>
#include <QWidget>

class AppState;
class ScreenText;

// The VOLUME box: the mounted volumes, the selected one filled. A click on a
// row selects it; a double click goes there, as Enter does.
class VolumePickerView : public QWidget {
    Q_OBJECT

public:
    explicit VolumePickerView(AppState& state, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    // The volumes shown at once; a longer list scrolls with the selection.
    static constexpr int maxVisibleRows = 12;
    int firstVisibleRow() const { return m_firstRow; }
    // Where the row of a volume stands, or an empty rect when it is scrolled away.
    QRectF rowRect(int index) const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    void followState();
    int visibleRowCount() const;
    int rowAt(const QPointF& point) const;
    void paintRow(QPainter& painter, const ScreenText& text, int index) const;

    AppState& m_state;
    int m_firstRow = 0;
};

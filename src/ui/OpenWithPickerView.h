#pragma once

#include <QRectF>
#include <QStringList>
#include <QWidget>

class AppState;
class ScreenText;

// The OPEN WITH box: the applications that can open the file, the selected
// one filled, the default and the recently chosen ones marked. A click on a
// row opens the file with that application, as Enter does.
class OpenWithPickerView : public QWidget {
    Q_OBJECT

public:
    explicit OpenWithPickerView(AppState& state, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    // The applications shown at once; a longer list scrolls with the selection.
    static constexpr int maxVisibleRows = 12;
    int firstVisibleRow() const { return m_firstRow; }
    // Where the row of an application stands, or an empty rect when it is scrolled away.
    QRectF rowRect(int index) const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    void followState();
    int visibleRowCount() const;
    int rowAt(const QPointF& point) const;
    void paintRow(QPainter& painter, const ScreenText& text, int index) const;
    void paintMarks(QPainter& painter, const ScreenText& text, const QStringList& marks,
                    const QRectF& area, bool selected) const;

    AppState& m_state;
    int m_firstRow = 0;
};

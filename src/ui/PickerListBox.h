#pragma once

#include <QRectF>
#include <QWidget>

class AppState;
class QPainter;
class ScreenText;

// A picker box over the screen: a title, a hairline, a list of rows with the
// selected one filled and marked "▶", and a hint line. The list shows at most
// a dozen rows and scrolls only as far as the selection needs. Each picker
// says what its rows are and draws the text of a row.
class PickerListBox : public QWidget {
    Q_OBJECT

public:
    explicit PickerListBox(AppState& state, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    static constexpr int maxVisibleRows = 12;
    int firstVisibleRow() const { return m_firstRow; }
    // Where a row stands, or an empty rect when it is scrolled away.
    QRectF rowRect(int index) const;

protected:
    static constexpr double kGap = 8;

    virtual int rowCount() const = 0;
    virtual int selectedRow() const = 0;
    virtual QString title() const = 0;
    virtual QString emptyText() const = 0;
    virtual QString hint() const = 0;
    // Draws a row's own text into the part of the row right of the mark.
    virtual void paintRowText(QPainter& painter, const ScreenText& text, int index,
                              const QRectF& area, bool selected) const = 0;

    // Keeps the selected row in view; pickers call it once they are built.
    void followState();
    int rowAt(const QPointF& point) const;
    void paintEvent(QPaintEvent* event) override;

    AppState& m_state;

private:
    int visibleRowCount() const;
    void paintRow(QPainter& painter, const ScreenText& text, int index) const;

    int m_firstRow = 0;
};

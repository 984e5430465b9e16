#pragma once

#include <QRectF>
#include <QWidget>

class AppState;
class ScreenText;

// The ATTR box: the targets' name, their old and new file mode, date and
// time, and owner and group. It is a masked editor: the keys step a cursor
// over the new texts, and the character under it stands on the cursor fill.
class AttributePromptView : public QWidget {
    Q_OBJECT

public:
    explicit AttributePromptView(AppState& state, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    // Where a row of the table stands: -1 for the Old/New header, 0 file
    // mode, 1 date, 2 time, 3 owner and group.
    QRectF rowRect(int row) const;
    // The cell of one character of a new text (field 0 mode, 1 date, 2 time).
    QRectF newCellRect(int field, int index) const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void paintTable(QPainter& painter, const ScreenText& text) const;
    void paintNewText(QPainter& painter, const ScreenText& text, int field) const;
    double labelWidth(const ScreenText& text) const;
    double columnWidth(const ScreenText& text) const;

    AppState& m_state;
};

#pragma once

#include <QRectF>
#include <QWidget>

#include <cstdint>

class AppState;
class QLineEdit;
class ScreenText;

// The JUMP box: the filter field over the remembered folders, numbered for
// the digit keys, the selected one filled. The field has the keyboard while
// no row is selected. A click on a row selects it; a double click goes there.
class JumpDialogView : public QWidget {
    Q_OBJECT

public:
    explicit JumpDialogView(AppState& state, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QLineEdit* field() const { return m_field; }
    // The rows shown at once; a longer list scrolls with the selection.
    static constexpr int maxVisibleRows = 12;
    // Where a row of the filtered list stands, or an empty rect when it is
    // scrolled away.
    QRectF rowRect(int index) const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    struct Layout;
    Layout layout(const ScreenText& text) const;
    void followState();
    void followFocus();
    void scrollToSelection(const QStringList& rows);
    int rowAt(const QPointF& point) const;
    void paintRow(QPainter& painter, const ScreenText& text, const QStringList& rows,
                  int index) const;

    AppState& m_state;
    QLineEdit* m_field = nullptr;
    int m_firstRow = 0;
    int64_t m_seenFocusNonce = -1;
};

#pragma once

#include <QRectF>
#include <QWidget>

class AppState;

// The line at the bottom of the window: mode, owner, group, size, date and
// name of the item under the cursor, then free space, the tagged size and
// the text encoding. The encoding label is the one clickable thing on it.
class StatusBarView : public QWidget {
    Q_OBJECT

public:
    explicit StatusBarView(AppState& state, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    bool event(QEvent* event) override;

private:
    bool showsEncoding() const;

    AppState& m_state;
    // Where the encoding label was last drawn; empty when it is not shown.
    QRectF m_encodingRect;
};

#pragma once

#include "dialogs/DosDialog.h"

#include <QList>
#include <QRectF>
#include <QWidget>

class AppState;
class ScreenText;

// The box of the one DOS dialog: title, message, the buttons with the
// selected one filled, and the key hint. Its content is currentDosDialog();
// a click on a button selects it and runs it.
class DosDialogView : public QWidget {
    Q_OBJECT

public:
    explicit DosDialogView(AppState& state, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    // Where each button stands, for clicks and for tests.
    QList<QRectF> buttonRects() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    struct Layout;
    Layout layoutFor(const DosDialog& dialog, const ScreenText& text) const;

    AppState& m_state;
};

#pragma once

#include "ui/TextEditStyle.h"

#include <QWidget>

class AppState;

// The row of column marks over EDITOR's text: the tens digit at every tenth
// column, "+" at every fifth, "-" between, in the screen face so the marks
// stand over the text's own columns.
class EditorColumnRuler : public QWidget {
    Q_OBJECT

public:
    // The text's first column starts this far in from the left edge.
    static constexpr int kTextInset = TextEditStyle::kTextInset;

    explicit EditorColumnRuler(AppState& state, QWidget* parent = nullptr);

    // How many columns fit in a width for characters "zeroWidth" wide: at
    // least 40, so a narrow pane still shows a useful ruler.
    static int columnCount(double width, double zeroWidth);
    // The marks of columns 1 to count.
    static QString marks(int count);
    // The marks this ruler draws at its present width and font size.
    QString text() const;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    AppState& m_state;
};

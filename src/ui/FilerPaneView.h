#pragma once

#include "core/Model.h"

#include <QWidget>

class AppState;
class FilerRowList;
class FilterBar;

// One filer pane: the FILER header, the rows of the visible list and, while
// the filter is open on this side, the filter bar with its text field. Only
// the rows in view are painted, so a folder of any size costs the same.
class FilerPaneView : public QWidget {
    Q_OBJECT

public:
    FilerPaneView(AppState& state, PaneSide side, QWidget* parent = nullptr);
    ~FilerPaneView() override;

    PaneSide side() const { return m_side; }
    // Whether the filter field has the keyboard.
    bool filterFocused() const;
    // Where a row of the visible list stands in the pane, scrolled as it is.
    QRect rowRect(int index) const;

public slots:
    void refreshFromState();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    void applyFontSize();

    AppState& m_state;
    PaneSide m_side;
    FilerRowList* m_list = nullptr;
    FilterBar* m_filterBar = nullptr;
    double m_fontSize = 0;
};

#pragma once

#include "core/Model.h"

#include <QWidget>

class AppState;
class FilterBar;
class TreeColumnList;
class TreeLoadingBand;

// A pane in tree mode: the TREE header, then the folder tree on the left and
// the files of the folder under the tree cursor on the right, and the filter
// bar below them while the filter is open on this pane. The list that
// has the keys shows its cursor in full; the other one dimmed.
class TreeFilerPaneView : public QWidget {
    Q_OBJECT

public:
    TreeFilerPaneView(AppState& state, PaneSide side, QWidget* parent = nullptr);
    ~TreeFilerPaneView() override;

    PaneSide side() const { return m_side; }
    // Where a visible tree row, or a visible file, stands in the pane.
    QRect treeRowRect(int index) const;
    QRect fileRowRect(int index) const;
    // Whether the filter field has the keyboard.
    bool filterFocused() const;

public slots:
    void refreshFromState();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    void applyFontSize();

    AppState& m_state;
    PaneSide m_side;
    TreeColumnList* m_tree = nullptr;
    TreeColumnList* m_files = nullptr;
    FilterBar* m_filterBar = nullptr;
    TreeLoadingBand* m_loadingBand = nullptr;
    double m_fontSize = 0;
};

#pragma once

#include "core/Model.h"

#include <QWidget>

class AppState;
class QLineEdit;

// The bar below a pane's list while the filter is open on that pane:
// "Filter:", the field bound to the query, and "Esc". Both the flat pane and
// the tree pane carry one; only the focused pane shows it.
class FilterBar : public QWidget {
    Q_OBJECT

public:
    FilterBar(AppState& state, PaneSide side, QWidget* parent);

    // Follows the state: the field's text, and whether the bar stands. A bar
    // that appears takes the keyboard on the next turn of the loop.
    void sync();
    void setScreenFont(const QFont& font);
    bool fieldHasFocus() const;

private:
    AppState& m_state;
    PaneSide m_side;
    QLineEdit* m_field = nullptr;
};

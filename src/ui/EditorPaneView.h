#pragma once

#include "ui/HeaderBar.h"

#include <QWidget>

class AppState;

// The right half in the viewer layout: the VIEWER or EDITOR header above the
// shown file. The file's body is drawn by the preview and editor views.
class EditorPaneView : public QWidget {
    Q_OBJECT

public:
    explicit EditorPaneView(AppState& state, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QList<HeaderBar::Item> leadingItems() const;
    QList<HeaderBar::Item> trailingItems() const;

    AppState& m_state;
};

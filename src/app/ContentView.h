#pragma once

#include <QWidget>

class AppState;
class QHBoxLayout;

// The main window's content: the two halves of the screen, rebuilt to follow
// the layout, and the start-up and re-activation refreshes.
class ContentView : public QWidget {
    Q_OBJECT

public:
    explicit ContentView(AppState& state, QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void followApplicationState(Qt::ApplicationState applicationState);
    void rebuildRightHalf();

    AppState& m_state;
    QHBoxLayout* m_panes = nullptr;
    QWidget* m_rightHalf = nullptr;
    int m_rightHalfLayout = -1;
    bool m_hasAppeared = false;
};

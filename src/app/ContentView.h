#pragma once

#include <QWidget>

class AppMenus;
class AppState;
class OverlayView;
class QHBoxLayout;

// The main window: the function toolbar, the two halves of the screen (the
// right one by layout), the status bar, and over them the one overlay. One
// navy surface under everything; a resize that has settled is reported to
// the state once.
class ContentView : public QWidget {
    Q_OBJECT

public:
    explicit ContentView(AppState& state, QWidget* parent = nullptr);

    OverlayView* overlay() const { return m_overlay; }

protected:
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void followApplicationState(Qt::ApplicationState applicationState);
    void rebuildLeftHalf();
    void rebuildRightHalf();
    void placeInitialFrame();
    QSize withMenuBar(QSize screenSize) const;

    AppState& m_state;
    AppMenus* m_menus = nullptr;
    QHBoxLayout* m_panes = nullptr;
    QWidget* m_leftHalf = nullptr;
    QWidget* m_rightHalf = nullptr;
    OverlayView* m_overlay = nullptr;
    int m_leftHalfKind = -1;
    int m_rightHalfLayout = -1;
    bool m_hasAppeared = false;
};

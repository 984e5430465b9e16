#include "app/ContentView.h"

#include "core/AppState.h"
#include "ui/EditorPaneView.h"
#include "ui/FilerPaneView.h"
#include "ui/Palette.h"

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace {
constexpr QSize kMinimumSize(840, 560);
}

ContentView::ContentView(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state) {
    setWindowTitle(QStringLiteral("Dorvik"));
    setMinimumSize(kMinimumSize);
    setAutoFillBackground(true);
    QPalette navy = palette();
    navy.setColor(QPalette::Window, Palette::paneBackground());
    setPalette(navy);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    m_panes = new QHBoxLayout;
    m_panes->setSpacing(0);
    m_panes->addWidget(new FilerPaneView(m_state, PaneSide::left, this), 1);
    column->addLayout(m_panes, 1);
    rebuildRightHalf();

    connect(&m_state, &AppState::changed, this, &ContentView::rebuildRightHalf);
    connect(qApp, &QGuiApplication::applicationStateChanged, this,
            &ContentView::followApplicationState);
}

void ContentView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (m_hasAppeared) {
        return;
    }
    m_hasAppeared = true;
    m_state.refreshAll();
}

void ContentView::followApplicationState(Qt::ApplicationState applicationState) {
    if (applicationState == Qt::ApplicationActive) {
        // Files may have changed while the program was in the background.
        if (m_hasAppeared) {
            m_state.refreshAll();
        }
    } else if (m_state.isShiftKeyDown) {
        m_state.isShiftKeyDown = false;
        m_state.notifyChanged();
    }
}

void ContentView::rebuildRightHalf() {
    const int layout = int(m_state.layoutMode);
    if (layout == m_rightHalfLayout) {
        return;
    }
    m_rightHalfLayout = layout;
    if (m_rightHalf) {
        m_rightHalf->deleteLater();
    }
    if (m_state.layoutMode == LayoutMode::dualFiler) {
        m_rightHalf = new FilerPaneView(m_state, PaneSide::right, this);
    } else {
        m_rightHalf = new EditorPaneView(m_state, this);
    }
    m_panes->addWidget(m_rightHalf, 1);
}

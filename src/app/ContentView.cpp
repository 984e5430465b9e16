#include "app/ContentView.h"

#include "ui/AppMenus.h"
#include "core/AppState.h"
#include "ui/EditorPaneView.h"
#include "ui/FileSearchPaneView.h"
#include "ui/FilerPaneView.h"
#include "ui/FunctionToolbarView.h"
#include "ui/GalleryView.h"
#include "ui/LanguageLocale.h"
#include "ui/OverlayView.h"
#include "ui/Palette.h"
#include "ui/StatusBarView.h"
#include "ui/TreeFilerPaneView.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QScreen>
#include <QVBoxLayout>

namespace {

// The sizes of the screen below the menu bar, which stands inside the window
// here and adds its own height.
constexpr QSize kMinimumSize(840, 560);
constexpr QSize kDefaultSize(1100, 680);

} // namespace

ContentView::ContentView(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state) {
    setWindowTitle(QStringLiteral("Dorvik"));
    setAutoFillBackground(true);
    QPalette navy = palette();
    navy.setColor(QPalette::Window, Palette::paneBackground());
    setPalette(navy);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    m_menus = new AppMenus(m_state, this);
    column->setMenuBar(m_menus);
    setMinimumSize(withMenuBar(kMinimumSize));
    resize(withMenuBar(kDefaultSize));
    column->addWidget(new FunctionToolbarView(m_state, this));
    m_panes = new QHBoxLayout;
    m_panes->setSpacing(0);
    column->addLayout(m_panes, 1);
    column->addWidget(new StatusBarView(m_state, this));
    rebuildLeftHalf();
    rebuildRightHalf();
    m_overlay = new OverlayView(m_state, this);
    new LanguageLocale(m_state, this);

    connect(&m_state, &AppState::changed, this, &ContentView::rebuildLeftHalf);
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
    placeInitialFrame();
    m_state.startUp();
}

// A window that comes up smaller than the minimum gets the default size,
// centred on its screen.
void ContentView::placeInitialFrame() {
    const QSize minimum = withMenuBar(kMinimumSize);
    if (width() >= minimum.width() && height() >= minimum.height()) {
        return;
    }
    const QSize size = withMenuBar(kDefaultSize);
    resize(size);
    if (const QScreen* screen =
            this->screen() ? this->screen() : QGuiApplication::primaryScreen()) {
        const QRect available = screen->availableGeometry();
        move(available.center() - QPoint(size.width() / 2, size.height() / 2));
    }
}

QSize ContentView::withMenuBar(QSize screenSize) const {
    return screenSize + QSize(0, m_menus->sizeHint().height());
}

void ContentView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    // The menu bar stays usable past every overlay, as a desktop menu bar
    // outside the window would.
    m_overlay->setGeometry(rect().adjusted(0, m_menus->geometry().bottom() + 1, 0, 0));
    m_state.noteWindowResized(width(), height(), AppState::ResizePhase::live);
}

void ContentView::followApplicationState(Qt::ApplicationState applicationState) {
    if (applicationState == Qt::ApplicationActive) {
        // Files may have changed while the program was in the background.
        if (m_hasAppeared) {
            m_state.refreshAll();
        }
    } else {
        m_state.releaseShiftKey();
    }
}

// The form of file search, the tree, or the filer list.
void ContentView::rebuildLeftHalf() {
    const int kind = m_state.isFileSearchMode ? 2 : m_state.pane(PaneSide::left).treeMode ? 1 : 0;
    if (kind == m_leftHalfKind) {
        return;
    }
    m_leftHalfKind = kind;
    if (m_leftHalf) {
        m_leftHalf->deleteLater();
    }
    if (kind == 2) {
        m_leftHalf = new FileSearchPaneView(m_state, this);
    } else if (kind == 1) {
        m_leftHalf = new TreeFilerPaneView(m_state, PaneSide::left, this);
    } else {
        m_leftHalf = new FilerPaneView(m_state, PaneSide::left, this);
    }
    m_panes->insertWidget(0, m_leftHalf, 1);
    if (m_overlay) {
        m_overlay->raise();
    }
}

void ContentView::rebuildRightHalf() {
    const bool rightTree =
        m_state.layoutMode == LayoutMode::dualFiler && m_state.pane(PaneSide::right).treeMode;
    const int layout = int(m_state.layoutMode) * 2 + (rightTree ? 1 : 0);
    if (layout == m_rightHalfLayout) {
        return;
    }
    m_rightHalfLayout = layout;
    if (m_rightHalf) {
        m_rightHalf->deleteLater();
    }
    if (rightTree) {
        m_rightHalf = new TreeFilerPaneView(m_state, PaneSide::right, this);
    } else if (m_state.layoutMode == LayoutMode::dualFiler) {
        m_rightHalf = new FilerPaneView(m_state, PaneSide::right, this);
    } else if (m_state.layoutMode == LayoutMode::filerGallery) {
        m_rightHalf = new GalleryView(m_state, this);
    } else {
        m_rightHalf = new EditorPaneView(m_state, this);
    }
    m_panes->addWidget(m_rightHalf, 1);
    if (m_overlay) {
        m_overlay->raise();
    }
}

// The window's close button leaves the program; unsaved EDITOR text is asked
// about first, and the window stays while the question stands or a write
// (EDITOR's save above all) is under way.
void ContentView::closeEvent(QCloseEvent* event) {
    if ((m_state.rightMode == RightPaneMode::editor && m_state.isDirty) ||
        m_state.isWritingToDisk()) {
        event->ignore();
        m_state.quitNow();
        return;
    }
    QWidget::closeEvent(event);
}

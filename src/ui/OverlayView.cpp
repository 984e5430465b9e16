#include "ui/OverlayView.h"

#include "core/AppState.h"
#include "dialogs/DosDialog.h"
#include "ui/AttributePromptView.h"
#include "ui/DosDialogView.h"
#include "ui/JumpDialogView.h"
#include "ui/OpenWithPickerView.h"
#include "ui/PromptBoxView.h"
#include "ui/PromptBoxes.h"
#include "ui/SearchTreeBoxView.h"
#include "ui/SortPickerView.h"
#include "ui/VolumePickerView.h"

#include <QMouseEvent>
#include <QPainter>

OverlayView::OverlayView(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state) {
    hide();
    connect(&m_state, &AppState::changed, this, &OverlayView::followState);
    followState();
}

OverlayView::Kind OverlayView::kindFor(const AppState& s) {
    if (currentDosDialog(s)) {
        return Kind::dosDialog;
    }
    switch (s.overlay()) {
    case Overlay::none:
        return Kind::none;
    case Overlay::createItemPrompt:
        return Kind::createItemPrompt;
    case Overlay::wildcardPrompt:
        return Kind::wildcardPrompt;
    case Overlay::renamePrompt:
        return Kind::renamePrompt;
    case Overlay::attributePrompt:
        return Kind::attributePrompt;
    case Overlay::copyMovePathPrompt:
        return Kind::copyMovePathPrompt;
    case Overlay::searchTreeBox:
        return Kind::searchTreeBox;
    case Overlay::sortPicker:
        return Kind::sortPicker;
    case Overlay::volumePicker:
        return Kind::volumePicker;
    case Overlay::openWithPicker:
        return Kind::openWithPicker;
    case Overlay::jumpDialog:
        return Kind::jumpDialog;
    }
    return Kind::none;
}

// An overlay whose view is not written yet stands without a box.
QWidget* OverlayView::makeBox(Kind kind) {
    switch (kind) {
    case Kind::dosDialog:
        return new DosDialogView(m_state, this);
    case Kind::searchTreeBox:
        return new SearchTreeBoxView(m_state, this);
    case Kind::sortPicker:
        return new SortPickerView(m_state, this);
    case Kind::jumpDialog:
        return new JumpDialogView(m_state, this);
    case Kind::volumePicker:
        return new VolumePickerView(m_state, this);
    case Kind::openWithPicker:
        return new OpenWithPickerView(m_state, this);
    case Kind::wildcardPrompt:
        return PromptBoxes::wildcardTagPrompt(m_state, this);
    case Kind::createItemPrompt:
        return PromptBoxes::createItemPrompt(m_state, this);
    case Kind::renamePrompt:
        return PromptBoxes::renamePrompt(m_state, this);
    case Kind::attributePrompt:
        return new AttributePromptView(m_state, this);
    case Kind::copyMovePathPrompt:
        return PromptBoxes::copyMovePathPrompt(m_state, this);
    default:
        return nullptr;
    }
}

void OverlayView::followState() {
    const Kind kind = kindFor(m_state);
    if (kind != m_kind) {
        m_kind = kind;
        if (m_box) {
            m_box->hide();
            m_box->deleteLater();
        }
        m_box = makeBox(kind);
        setVisible(m_box != nullptr);
        if (m_box) {
            m_box->installEventFilter(this);
            raise();
            placeBox();
            m_box->show();
        }
    } else if (m_box) {
        placeBox();
    }
    update();
}

void OverlayView::placeBox() {
    if (!m_box) {
        return;
    }
    // A box of fixed width reports a smaller hint than the width it keeps,
    // so its width limits count too; otherwise it would stand off-centre.
    QSize size = m_box->sizeHint().expandedTo(m_box->minimumSizeHint());
    size.setWidth(std::clamp(size.width(), m_box->minimumWidth(), m_box->maximumWidth()));
    const QSize clamped = size.boundedTo(this->size());
    m_box->setGeometry(
        QRect(QPoint((width() - clamped.width()) / 2, (height() - clamped.height()) / 2), clamped));
}

// A box whose layout changes, with a new font size for one, is placed again
// once the layout has taken its new size.
bool OverlayView::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_box && event->type() == QEvent::LayoutRequest) {
        QMetaObject::invokeMethod(this, &OverlayView::placeBox, Qt::QueuedConnection);
    }
    return QWidget::eventFilter(watched, event);
}

void OverlayView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    placeBox();
}

void OverlayView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    QColor backdrop(Qt::black);
    backdrop.setAlphaF(m_kind == Kind::dosDialog ? 0.5 : 0.45);
    painter.fillRect(rect(), backdrop);
}

void OverlayView::mousePressEvent(QMouseEvent* event) {
    if (m_box && m_box->geometry().contains(event->position().toPoint())) {
        return;
    }
    closeAsEsc();
}

void OverlayView::closeAsEsc() {
    switch (m_kind) {
    case Kind::searchTreeBox:
        m_state.closeSearchTreeBox();
        break;
    case Kind::sortPicker:
        m_state.closeSortPicker();
        break;
    case Kind::jumpDialog:
        m_state.closeJumpDialog();
        break;
    case Kind::volumePicker:
        m_state.closeVolumePicker();
        break;
    case Kind::openWithPicker:
        m_state.closeOpenWithPicker();
        break;
    case Kind::wildcardPrompt:
        m_state.cancelWildcardPrompt();
        break;
    case Kind::createItemPrompt:
        m_state.cancelCreateItemPrompt();
        break;
    case Kind::renamePrompt:
        m_state.cancelRenamePrompt();
        break;
    case Kind::attributePrompt:
        m_state.cancelAttributePrompt();
        break;
    case Kind::copyMovePathPrompt:
        m_state.cancelCopyMovePathPrompt();
        break;
    default:
        break; // The DOS dialog is answered by its buttons and keys only.
    }
}

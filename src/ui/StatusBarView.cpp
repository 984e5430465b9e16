#include "ui/StatusBarView.h"

#include "core/AppState.h"
#include "core/SelectionStatus.h"
#include "ui/Palette.h"
#include "ui/ScreenFont.h"
#include "ui/ScreenText.h"

#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

namespace {

constexpr double kPaddingX = 10;
constexpr double kPaddingY = 4;
constexpr double kGap = 12;

} // namespace

StatusBarView::StatusBarView(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    connect(&m_state, &AppState::changed, this, [this] {
        updateGeometry();
        update();
    });
}

QSize StatusBarView::sizeHint() const {
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    return QSize(400, int(std::ceil(text.lineHeight() + 2 * kPaddingY)));
}

QSize StatusBarView::minimumSizeHint() const {
    return QSize(0, sizeHint().height());
}

bool StatusBarView::showsEncoding() const {
    const bool rightShowsFile =
        m_state.rightMode == RightPaneMode::viewer || m_state.rightMode == RightPaneMode::editor;
    return m_state.focusedSide == PaneSide::right && rightShowsFile &&
           !m_state.textEncodingLabel.isEmpty();
}

void StatusBarView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Palette::paneBackground());
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const double top = kPaddingY;
    const double lineHeight = height() - 2 * kPaddingY;

    // The labels on the right never shrink; the name gives way in its middle.
    QList<QPair<QString, QColor>> trailing;
    // A file job that takes a while tells how far it has come.
    if (!m_state.fileOperationProgressText.isEmpty()) {
        trailing.append({m_state.fileOperationProgressText, Palette::titleText()});
    }
    const QString freeSpace = freeSpaceLabel(m_state);
    if (!freeSpace.isEmpty()) {
        trailing.append({freeSpace, Palette::dirText()});
    }
    const QString tagged = m_state.taggedSizeLabel();
    if (!tagged.isEmpty()) {
        trailing.append({tagged, Palette::titleText()});
    }
    m_encodingRect = QRectF();
    if (showsEncoding()) {
        trailing.append({m_state.textEncodingLabel, Palette::titleText()});
    }
    double right = width() - kPaddingX;
    for (auto it = trailing.crbegin(); it != trailing.crend(); ++it) {
        const double w = text.width(it->first);
        const QRectF box(right - w, top, w, lineHeight);
        text.draw(painter, box, it->first, it->second);
        if (it == trailing.crbegin() && showsEncoding()) {
            m_encodingRect = box;
        }
        right -= w + kGap;
    }

    const SelectionStatus status = SelectionStatus::of(m_state);
    double x = kPaddingX;
    for (const QString& item :
         {status.mode, status.owner, status.group, status.size, status.date}) {
        const double w = text.width(item);
        text.draw(painter, QRectF(x, top, w, lineHeight), item, Palette::dirText());
        x += w + kGap;
    }
    const double nameRoom = std::max(0.0, right - x);
    text.draw(painter, QRectF(x, top, nameRoom, lineHeight),
              text.elided(status.name, nameRoom, Qt::ElideMiddle), Palette::fileText());
}

void StatusBarView::mousePressEvent(QMouseEvent* event) {
    if (!m_encodingRect.isEmpty() && m_encodingRect.contains(event->position())) {
        m_state.showEncodingPicker();
    }
}

bool StatusBarView::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        if (!m_encodingRect.isEmpty() && m_encodingRect.contains(help->pos())) {
            QToolTip::showText(
                help->globalPos(),
                m_state.canChangeSaveEncoding()
                    ? QStringLiteral("クリックで保存文字コードを変更")
                    : QStringLiteral("VIEWER 専用（この文字コードでは保存しません）"),
                this);
        } else {
            QToolTip::hideText();
        }
        return true;
    }
    return QWidget::event(event);
}

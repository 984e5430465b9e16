#include "ui/DosDialogView.h"

#include "core/AppState.h"
#include "ui/Palette.h"
#include "ui/ScreenFont.h"
#include "ui/ScreenText.h"

#include <QMouseEvent>
#include <QPainter>

namespace {

constexpr double kMinWidth = 360;
constexpr double kMaxWidth = 560;
constexpr double kPadX = 14;
constexpr double kBorder = 2;
constexpr double kButtonPadX = 8;
constexpr double kButtonPadY = 3;
constexpr double kButtonGap = 10;

QColor destructiveText() {
    return QColor::fromRgbF(1.0, 0.45, 0.45);
}

} // namespace

struct DosDialogView::Layout {
    double width = kMinWidth;
    QStringList lines;
    QRectF title;
    QRectF message;
    QList<QRectF> buttons;
    QRectF hint;
    double height = 0;
};

DosDialogView::DosDialogView(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state) {
    connect(&m_state, &AppState::changed, this, [this] {
        updateGeometry();
        update();
    });
}

DosDialogView::Layout DosDialogView::layoutFor(const DosDialog& dialog,
                                               const ScreenText& text) const {
    Layout layout;
    const double line = text.lineHeight();
    double natural = text.width(dialog.title);
    for (const QString& messageLine : dialog.message.split(QLatin1Char('\n'))) {
        natural = std::max(natural, text.width(messageLine));
    }
    double buttonsWidth = 0;
    for (const DosDialogAction& action : dialog.actions) {
        buttonsWidth += text.width(dosDialogButtonText(action)) + 2 * kButtonPadX + kButtonGap;
    }
    natural = std::max({natural, buttonsWidth - kButtonGap, text.width(dialog.hint)});
    layout.width = std::clamp(natural + 2 * kPadX + 2 * kBorder, kMinWidth, kMaxWidth);
    const double inner = layout.width - 2 * kPadX - 2 * kBorder;
    layout.lines = dosDialogWrappedLines(
        dialog.message, [&text](const QString& part) { return text.width(part); }, inner);

    double y = kBorder;
    layout.title = QRectF(kBorder + kPadX, y + 8, inner, line);
    y += line + 16;
    layout.message = QRectF(kBorder + kPadX, y + 10, inner, line * layout.lines.size());
    y += layout.message.height() + 20;
    double x = kBorder + kPadX;
    for (const DosDialogAction& action : dialog.actions) {
        const double w = text.width(dosDialogButtonText(action)) + 2 * kButtonPadX;
        layout.buttons.append(QRectF(x, y + 8, w, line + 2 * kButtonPadY));
        x += w + kButtonGap;
    }
    y += line + 2 * kButtonPadY + 16;
    layout.hint = QRectF(kBorder + kPadX, y, inner, line);
    layout.height = y + line + 8 + kBorder;
    return layout;
}

QSize DosDialogView::sizeHint() const {
    const std::optional<DosDialog> dialog = currentDosDialog(m_state);
    if (!dialog) {
        return QSize(int(kMinWidth), 100);
    }
    const Layout layout = layoutFor(*dialog, ScreenText(ScreenFont::font(m_state.uiFontSize)));
    return QSize(int(std::ceil(layout.width)), int(std::ceil(layout.height)));
}

QList<QRectF> DosDialogView::buttonRects() const {
    const std::optional<DosDialog> dialog = currentDosDialog(m_state);
    if (!dialog) {
        return {};
    }
    return layoutFor(*dialog, ScreenText(ScreenFont::font(m_state.uiFontSize))).buttons;
}

void DosDialogView::paintEvent(QPaintEvent*) {
    const std::optional<DosDialog> dialog = currentDosDialog(m_state);
    if (!dialog) {
        return;
    }
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const Layout layout = layoutFor(*dialog, text);
    QPainter painter(this);
    painter.fillRect(rect(), Palette::hairlineColor());
    painter.fillRect(rect().adjusted(kBorder, kBorder, -kBorder, -kBorder),
                     Palette::paneBackground());
    text.draw(painter, layout.title, dialog->title, Palette::titleText());
    for (int i = 0; i < layout.lines.size(); ++i) {
        const QRectF line(layout.message.left(), layout.message.top() + i * text.lineHeight(),
                          layout.message.width(), text.lineHeight());
        text.draw(painter, line, layout.lines.at(i), Palette::baseText());
    }
    for (int i = 0; i < dialog->actions.size(); ++i) {
        const DosDialogAction& action = dialog->actions.at(i);
        const QRectF box = layout.buttons.at(i);
        const bool selected = i == m_state.dosDialogActionIndex;
        QColor color = action.isDestructive ? destructiveText() : Palette::baseText();
        if (selected) {
            painter.fillRect(box, Palette::cursorFill());
            color = Palette::fileText();
        }
        text.draw(painter, box.adjusted(kButtonPadX, 0, -kButtonPadX, 0),
                  dosDialogButtonText(action), color);
    }
    text.draw(painter, layout.hint, text.elided(dialog->hint, layout.hint.width(), Qt::ElideRight),
              Palette::dimText());
}

void DosDialogView::mousePressEvent(QMouseEvent* event) {
    const QList<QRectF> buttons = buttonRects();
    for (int i = 0; i < buttons.size(); ++i) {
        if (buttons.at(i).contains(event->position())) {
            m_state.selectDialogButton(i);
            m_state.activateDosDialogAction(false);
            return;
        }
    }
}

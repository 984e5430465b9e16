#include "ui/SortPickerView.h"

#include "core/AppState.h"
#include "ui/Palette.h"
#include "ui/ScreenFont.h"
#include "ui/ScreenText.h"

#include <QMouseEvent>
#include <QPainter>

namespace {

constexpr double kBorder = 2;
constexpr double kPadX = 14;
constexpr double kWidth = 360;
constexpr int kRowCount = 3;

// The rows read the same in both languages.
const QString kRows[kRowCount] = {QStringLiteral("ファイル名"), QStringLiteral("タイムスタンプ"),
                                  QStringLiteral("サイズ")};

double rowHeight(const ScreenText& text) {
    return text.lineHeight() + 6;
}

} // namespace

SortPickerView::SortPickerView(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state) {
    connect(&m_state, &AppState::changed, this, qOverload<>(&QWidget::update));
}

QSize SortPickerView::sizeHint() const {
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const double height = 2 * kBorder + (text.lineHeight() + 16) + kRowCount * rowHeight(text) + 8 +
                          text.lineHeight() + 16;
    return QSize(int(kWidth), int(std::ceil(height)));
}

QRectF SortPickerView::rowRect(int row) const {
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const double top = kBorder + text.lineHeight() + 16 + row * rowHeight(text);
    return QRectF(kBorder + kPadX, top, width() - 2 * (kBorder + kPadX), rowHeight(text));
}

void SortPickerView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Palette::hairlineColor());
    painter.fillRect(rect().adjusted(kBorder, kBorder, -kBorder, -kBorder),
                     Palette::paneBackground());
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const double inner = width() - 2 * (kBorder + kPadX);
    text.draw(painter, QRectF(kBorder + kPadX, kBorder + 8, inner, text.lineHeight()),
              QStringLiteral("SORT"), Palette::titleText());
    for (int row = 0; row < kRowCount; ++row) {
        const QRectF box = rowRect(row);
        const bool selected = row == m_state.sortPicker.selection;
        if (selected) {
            painter.fillRect(box, Palette::cursorFill());
        }
        text.draw(painter, box.adjusted(8, 0, -8, 0),
                  QString::number(row + 1) + QLatin1Char(' ') + kRows[row],
                  selected ? Palette::fileText() : Palette::baseText());
    }
    const double hintTop = rowRect(kRowCount - 1).bottom() + 8;
    text.draw(painter, QRectF(kBorder + kPadX, hintTop, inner, text.lineHeight()),
              QStringLiteral("↑↓ 選択  Enter 決定  Esc 取消"), Palette::dimText());
}

void SortPickerView::mousePressEvent(QMouseEvent* event) {
    for (int row = 0; row < kRowCount; ++row) {
        if (rowRect(row).contains(event->position())) {
            m_state.confirmSortPicker(row);
            return;
        }
    }
}

#include "ui/PickerListBox.h"

#include "core/AppState.h"
#include "ui/Palette.h"
#include "ui/ScreenFont.h"
#include "ui/ScreenText.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kWidth = 520;
constexpr double kBorder = 2;
constexpr double kInsetX = 12;
constexpr double kInsetY = 6;
constexpr double kMarkColumn = 16;

double rowHeight(const ScreenText& text) {
    return text.lineHeight() + 6;
}

double innerWidth() {
    return kWidth - 2 * (kBorder + kInsetX);
}

// The top of the list: below the title and its hairline.
double listTop(const ScreenText& text) {
    return kBorder + kInsetY + text.lineHeight() + kInsetY + 1;
}

} // namespace

PickerListBox::PickerListBox(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state) {
    connect(&m_state, &AppState::changed, this, &PickerListBox::followState);
}

int PickerListBox::visibleRowCount() const {
    return std::min(rowCount(), maxVisibleRows);
}

// The window over the list moves only as far as the selection needs.
void PickerListBox::followState() {
    const int count = rowCount();
    const int visible = visibleRowCount();
    const int selected = std::clamp(selectedRow(), 0, std::max(count - 1, 0));
    if (selected < m_firstRow) {
        m_firstRow = selected;
    } else if (selected >= m_firstRow + visible) {
        m_firstRow = selected - visible + 1;
    }
    m_firstRow = std::clamp(m_firstRow, 0, std::max(count - visible, 0));
    update();
}

QSize PickerListBox::sizeHint() const {
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const double list =
        visibleRowCount() > 0 ? visibleRowCount() * rowHeight(text) + 8 : text.lineHeight() + 20;
    const double height = listTop(text) + list + text.lineHeight() + kInsetY + kBorder + 4;
    return QSize(int(kWidth), int(std::ceil(height)));
}

QRectF PickerListBox::rowRect(int index) const {
    if (index < m_firstRow || index >= m_firstRow + visibleRowCount()) {
        return {};
    }
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const double top = listTop(text) + 4 + (index - m_firstRow) * rowHeight(text);
    return QRectF(kBorder + kInsetX, top, innerWidth(), rowHeight(text));
}

int PickerListBox::rowAt(const QPointF& point) const {
    for (int i = m_firstRow; i < m_firstRow + visibleRowCount(); ++i) {
        if (rowRect(i).contains(point)) {
            return i;
        }
    }
    return -1;
}

void PickerListBox::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Palette::hairlineColor());
    painter.fillRect(rect().adjusted(kBorder, kBorder, -kBorder, -kBorder),
                     Palette::paneBackground());
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const double left = kBorder + kInsetX;
    text.draw(painter, QRectF(left, kBorder + kInsetY, innerWidth(), text.lineHeight()),
              text.elided(title(), innerWidth(), Qt::ElideRight), Palette::titleText());
    painter.fillRect(QRectF(kBorder, listTop(text) - 1, width() - 2 * kBorder, 1),
                     Palette::hairlineColor());
    double listBottom = listTop(text) + text.lineHeight() + 20;
    if (rowCount() == 0) {
        text.draw(painter, QRectF(left, listTop(text) + 10, innerWidth(), text.lineHeight()),
                  emptyText(), Palette::dimText());
    } else {
        for (int i = m_firstRow; i < m_firstRow + visibleRowCount(); ++i) {
            paintRow(painter, text, i);
        }
        listBottom = rowRect(m_firstRow + visibleRowCount() - 1).bottom() + 4;
    }
    text.draw(painter, QRectF(left, listBottom, innerWidth(), text.lineHeight()), hint(),
              Palette::dimText());
}

void PickerListBox::paintRow(QPainter& painter, const ScreenText& text, int index) const {
    const QRectF row = rowRect(index);
    const bool selected = index == selectedRow();
    if (selected) {
        painter.fillRect(row, Palette::cursorFill());
        text.draw(painter, QRectF(row.left(), row.top(), kMarkColumn, row.height()),
                  QStringLiteral("▶"), Palette::fileText());
    }
    const double textLeft = row.left() + kMarkColumn + kGap / 2;
    paintRowText(painter, text, index,
                 QRectF(textLeft, row.top(), row.right() - textLeft, row.height()), selected);
}

#include "ui/VolumePickerView.h"

#include "core/AppState.h"
#include "ui/Palette.h"
#include "ui/ScreenFont.h"
#include "ui/ScreenText.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kWidth = 520;
constexpr double kBorder = 2;
constexpr double kInsetX = 12;
constexpr double kInsetY = 6;
constexpr double kMarkColumn = 16;
constexpr double kGap = 8;

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

QColor selectedPathText() {
    return Palette::rgb(0.55, 0.95, 1);
}

} // namespace

VolumePickerView::VolumePickerView(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state) {
    connect(&m_state, &AppState::changed, this, &VolumePickerView::followState);
    followState();
}

int VolumePickerView::visibleRowCount() const {
    return std::min(int(m_state.volumePickerItems.size()), maxVisibleRows);
}

// The selected row stays in view: the window moves only as far as it must.
void VolumePickerView::followState() {
    const int count = int(m_state.volumePickerItems.size());
    const int visible = visibleRowCount();
    const int selected = std::clamp(m_state.volumePickerSelection, 0, std::max(count - 1, 0));
    if (selected < m_firstRow) {
        m_firstRow = selected;
    } else if (selected >= m_firstRow + visible) {
        m_firstRow = selected - visible + 1;
    }
    m_firstRow = std::clamp(m_firstRow, 0, std::max(count - visible, 0));
    update();
}

QSize VolumePickerView::sizeHint() const {
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const double list =
        visibleRowCount() > 0 ? visibleRowCount() * rowHeight(text) + 8 : text.lineHeight() + 20;
    const double height = listTop(text) + list + text.lineHeight() + kInsetY + kBorder + 4;
    return QSize(int(kWidth), int(std::ceil(height)));
}

QRectF VolumePickerView::rowRect(int index) const {
    if (index < m_firstRow || index >= m_firstRow + visibleRowCount()) {
        return {};
    }
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const double top = listTop(text) + 4 + (index - m_firstRow) * rowHeight(text);
    return QRectF(kBorder + kInsetX, top, innerWidth(), rowHeight(text));
}

void VolumePickerView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Palette::hairlineColor());
    painter.fillRect(rect().adjusted(kBorder, kBorder, -kBorder, -kBorder),
                     Palette::paneBackground());
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const double left = kBorder + kInsetX;
    text.draw(painter, QRectF(left, kBorder + kInsetY, innerWidth(), text.lineHeight()),
              QStringLiteral("VOLUME"), Palette::titleText());
    const double hairline = listTop(text) - 1;
    painter.fillRect(QRectF(kBorder, hairline, width() - 2 * kBorder, 1), Palette::hairlineColor());
    double listBottom = listTop(text) + text.lineHeight() + 20;
    if (m_state.volumePickerItems.isEmpty()) {
        text.draw(painter, QRectF(left, listTop(text) + 10, innerWidth(), text.lineHeight()),
                  QStringLiteral("(マウントなし)"), Palette::dimText());
    } else {
        for (int i = m_firstRow; i < m_firstRow + visibleRowCount(); ++i) {
            paintRow(painter, text, i);
        }
        listBottom = rowRect(m_firstRow + visibleRowCount() - 1).bottom() + 4;
    }
    text.draw(painter, QRectF(left, listBottom, innerWidth(), text.lineHeight()),
              QStringLiteral("↑↓ 選択  Enter 移動  Esc 取消"), Palette::dimText());
}

void VolumePickerView::paintRow(QPainter& painter, const ScreenText& text, int index) const {
    const MountedVolume& volume = m_state.volumePickerItems.at(index);
    const QRectF row = rowRect(index);
    const bool selected = index == m_state.volumePickerSelection;
    if (selected) {
        painter.fillRect(row, Palette::cursorFill());
        text.draw(painter, QRectF(row.left(), row.top(), kMarkColumn, row.height()),
                  QStringLiteral("▶"), Palette::fileText());
    }
    // The name keeps its full width up to half the row; the path has the rest.
    const double nameLeft = row.left() + kMarkColumn + kGap / 2;
    const double nameWidth = std::min(text.width(volume.name), row.width() / 2);
    text.draw(painter, QRectF(nameLeft, row.top(), nameWidth, row.height()),
              text.elided(volume.name, nameWidth, Qt::ElideRight),
              selected ? Palette::titleText() : Palette::fileText());
    const QRectF path(nameLeft + nameWidth + kGap, row.top(),
                      row.right() - (nameLeft + nameWidth + kGap), row.height());
    text.draw(painter, path, text.elided(volume.url, path.width(), Qt::ElideLeft),
              selected ? selectedPathText() : Palette::dimText());
}

int VolumePickerView::rowAt(const QPointF& point) const {
    for (int i = m_firstRow; i < m_firstRow + visibleRowCount(); ++i) {
        if (rowRect(i).contains(point)) {
            return i;
        }
    }
    return -1;
}

void VolumePickerView::mousePressEvent(QMouseEvent* event) {
    const int row = rowAt(event->position());
    if (row >= 0 && row != m_state.volumePickerSelection) {
        m_state.moveVolumePickerSelection(row - m_state.volumePickerSelection);
    }
}

void VolumePickerView::mouseDoubleClickEvent(QMouseEvent* event) {
    const int row = rowAt(event->position());
    if (row >= 0) {
        m_state.confirmVolumePicker(row);
    }
}

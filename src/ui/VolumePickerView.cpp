#include "ui/VolumePickerView.h"

#include "core/AppState.h"
#include "ui/Palette.h"
#include "ui/ScreenText.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

VolumePickerView::VolumePickerView(AppState& state, QWidget* parent)
    : PickerListBox(state, parent) {
    followState();
}

int VolumePickerView::rowCount() const {
    return int(m_state.volumePicker.items.size());
}

int VolumePickerView::selectedRow() const {
    return m_state.volumePicker.selection;
}

QString VolumePickerView::title() const {
    return QStringLiteral("VOLUME");
}

// Nothing stands in the box while the list is still being read.
QString VolumePickerView::emptyText() const {
    return m_state.volumePicker.isLoading ? QString() : QStringLiteral("(マウントなし)");
}

QString VolumePickerView::hint() const {
    return QStringLiteral("↑↓ 選択  Enter 移動  Esc 取消");
}

// The name keeps its full width up to half the row; the path has the rest.
void VolumePickerView::paintRowText(QPainter& painter, const ScreenText& text, int index,
                                    const QRectF& area, bool selected) const {
    const MountedVolume& volume = m_state.volumePicker.items.at(index);
    const double nameWidth = std::min(text.width(volume.name), area.width() / 2);
    text.draw(painter, QRectF(area.left(), area.top(), nameWidth, area.height()),
              text.elided(volume.name, nameWidth, Qt::ElideRight),
              selected ? Palette::titleText() : Palette::fileText());
    const double pathLeft = area.left() + nameWidth + kGap;
    const QRectF path(pathLeft, area.top(), area.right() - pathLeft, area.height());
    text.draw(painter, path, text.elided(volume.url, path.width(), Qt::ElideLeft),
              selected ? Palette::rgb(0.55, 0.95, 1) : Palette::dimText());
}

// One click on a row opens that volume, as Enter on the selected row does.
void VolumePickerView::mousePressEvent(QMouseEvent* event) {
    const int row = rowAt(event->position());
    if (row >= 0) {
        m_state.confirmVolumePicker(row);
    }
}

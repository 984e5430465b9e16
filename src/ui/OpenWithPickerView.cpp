#include "ui/OpenWithPickerView.h"

#include "core/AppState.h"
#include "ui/Palette.h"
#include "ui/ScreenText.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

namespace {

// "(標準)" for the desktop's default, "(最近)" for one chosen before.
QStringList marksOf(const OpenWithApp& app) {
    QStringList marks;
    if (app.isDefault) {
        marks << QStringLiteral("(標準)");
    }
    if (app.isRecent) {
        marks << QStringLiteral("(最近)");
    }
    return marks;
}

} // namespace

OpenWithPickerView::OpenWithPickerView(AppState& state, QWidget* parent)
    : PickerListBox(state, parent) {
    followState();
}

int OpenWithPickerView::rowCount() const {
    return int(m_state.openWithPicker.apps.size());
}

int OpenWithPickerView::selectedRow() const {
    return m_state.openWithPicker.selection;
}

QString OpenWithPickerView::title() const {
    return QStringLiteral("OPEN WITH  ") + m_state.openWithPicker.fileName;
}

QString OpenWithPickerView::emptyText() const {
    return QStringLiteral("(開けるアプリなし)");
}

QString OpenWithPickerView::hint() const {
    return QStringLiteral("↑↓ 選択  Enter 開く  Esc 取消");
}

// The name gives way to the marks when both do not fit.
void OpenWithPickerView::paintRowText(QPainter& painter, const ScreenText& text, int index,
                                      const QRectF& area, bool selected) const {
    const OpenWithApp& app = m_state.openWithPicker.apps.at(index);
    const QStringList marks = marksOf(app);
    double marksWidth = 0;
    for (const QString& mark : marks) {
        marksWidth += kGap + text.width(mark);
    }
    const double nameWidth =
        std::max(std::min(text.width(app.name), area.width() - marksWidth), 0.0);
    text.draw(painter, QRectF(area.left(), area.top(), nameWidth, area.height()),
              text.elided(app.name, nameWidth, Qt::ElideRight),
              selected ? Palette::titleText() : Palette::fileText());
    const double marksLeft = area.left() + nameWidth + kGap;
    paintMarks(
        painter, text, marks,
        QRectF(marksLeft, area.top(), std::max(area.right() - marksLeft, 0.0), area.height()),
        selected);
}

void OpenWithPickerView::paintMarks(QPainter& painter, const ScreenText& text,
                                    const QStringList& marks, const QRectF& area,
                                    bool selected) const {
    const QColor color = selected ? Palette::rgb(0.55, 0.95, 1) : Palette::dimText();
    double x = area.left();
    for (const QString& mark : marks) {
        text.draw(painter, QRectF(x, area.top(), std::max(area.right() - x, 0.0), area.height()),
                  mark, color);
        x += text.width(mark) + kGap;
    }
}

void OpenWithPickerView::mousePressEvent(QMouseEvent* event) {
    const int row = rowAt(event->position());
    if (row >= 0) {
        m_state.confirmOpenWith(row);
    }
}

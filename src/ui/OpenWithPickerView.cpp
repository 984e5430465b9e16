#include "ui/OpenWithPickerView.h"

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

QColor selectedMarkText() {
    return Palette::rgb(0.55, 0.95, 1);
}

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
    : QWidget(parent)
    , m_state(state) {
    connect(&m_state, &AppState::changed, this, &OpenWithPickerView::followState);
    followState();
}

int OpenWithPickerView::visibleRowCount() const {
    return std::min(int(m_state.openWithApps.size()), maxVisibleRows);
}

// The selected row stays in view: the window moves only as far as it must.
void OpenWithPickerView::followState() {
    const int count = int(m_state.openWithApps.size());
    const int visible = visibleRowCount();
    const int selected = std::clamp(m_state.openWithSelection, 0, std::max(count - 1, 0));
    if (selected < m_firstRow) {
        m_firstRow = selected;
    } else if (selected >= m_firstRow + visible) {
        m_firstRow = selected - visible + 1;
    }
    m_firstRow = std::clamp(m_firstRow, 0, std::max(count - visible, 0));
    update();
}

QSize OpenWithPickerView::sizeHint() const {
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const double list =
        visibleRowCount() > 0 ? visibleRowCount() * rowHeight(text) + 8 : text.lineHeight() + 20;
    const double height = listTop(text) + list + text.lineHeight() + kInsetY + kBorder + 4;
    return QSize(int(kWidth), int(std::ceil(height)));
}

QRectF OpenWithPickerView::rowRect(int index) const {
    if (index < m_firstRow || index >= m_firstRow + visibleRowCount()) {
        return {};
    }
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const double top = listTop(text) + 4 + (index - m_firstRow) * rowHeight(text);
    return QRectF(kBorder + kInsetX, top, innerWidth(), rowHeight(text));
}

void OpenWithPickerView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Palette::hairlineColor());
    painter.fillRect(rect().adjusted(kBorder, kBorder, -kBorder, -kBorder),
                     Palette::paneBackground());
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const double left = kBorder + kInsetX;
    const QString title = QStringLiteral("OPEN WITH  ") + m_state.openWithFileName;
    text.draw(painter, QRectF(left, kBorder + kInsetY, innerWidth(), text.lineHeight()),
              text.elided(title, innerWidth(), Qt::ElideRight), Palette::titleText());
    const double hairline = listTop(text) - 1;
    painter.fillRect(QRectF(kBorder, hairline, width() - 2 * kBorder, 1), Palette::hairlineColor());
    double listBottom = listTop(text) + text.lineHeight() + 20;
    if (m_state.openWithApps.isEmpty()) {
        text.draw(painter, QRectF(left, listTop(text) + 10, innerWidth(), text.lineHeight()),
                  QStringLiteral("(開けるアプリなし)"), Palette::dimText());
    } else {
        for (int i = m_firstRow; i < m_firstRow + visibleRowCount(); ++i) {
            paintRow(painter, text, i);
        }
        listBottom = rowRect(m_firstRow + visibleRowCount() - 1).bottom() + 4;
    }
    text.draw(painter, QRectF(left, listBottom, innerWidth(), text.lineHeight()),
              QStringLiteral("↑↓ 選択  Enter 開く  Esc 取消"), Palette::dimText());
}

void OpenWithPickerView::paintRow(QPainter& painter, const ScreenText& text, int index) const {
    const OpenWithApp& app = m_state.openWithApps.at(index);
    const QRectF row = rowRect(index);
    const bool selected = index == m_state.openWithSelection;
    if (selected) {
        painter.fillRect(row, Palette::cursorFill());
        text.draw(painter, QRectF(row.left(), row.top(), kMarkColumn, row.height()),
                  QStringLiteral("▶"), Palette::fileText());
    }
    // The name gives way to the marks when both do not fit.
    const QStringList marks = marksOf(app);
    double marksWidth = 0;
    for (const QString& mark : marks) {
        marksWidth += kGap + text.width(mark);
    }
    const double nameLeft = row.left() + kMarkColumn + kGap / 2;
    const double nameWidth =
        std::max(std::min(text.width(app.name), row.right() - nameLeft - marksWidth), 0.0);
    text.draw(painter, QRectF(nameLeft, row.top(), nameWidth, row.height()),
              text.elided(app.name, nameWidth, Qt::ElideRight),
              selected ? Palette::titleText() : Palette::fileText());
    const double marksLeft = nameLeft + nameWidth + kGap;
    paintMarks(painter, text, marks,
               QRectF(marksLeft, row.top(), std::max(row.right() - marksLeft, 0.0), row.height()),
               selected);
}

void OpenWithPickerView::paintMarks(QPainter& painter, const ScreenText& text,
                                    const QStringList& marks, const QRectF& area,
                                    bool selected) const {
    const QColor color = selected ? selectedMarkText() : Palette::dimText();
    double x = area.left();
    for (const QString& mark : marks) {
        text.draw(painter, QRectF(x, area.top(), std::max(area.right() - x, 0.0), area.height()),
                  mark, color);
        x += text.width(mark) + kGap;
    }
}

int OpenWithPickerView::rowAt(const QPointF& point) const {
    for (int i = m_firstRow; i < m_firstRow + visibleRowCount(); ++i) {
        if (rowRect(i).contains(point)) {
            return i;
        }
    }
    return -1;
}

void OpenWithPickerView::mousePressEvent(QMouseEvent* event) {
    const int row = rowAt(event->position());
    if (row >= 0) {
        m_state.confirmOpenWith(row);
    }
}

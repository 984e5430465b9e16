#include "ui/AttributePromptView.h"

#include "core/AppState.h"
#include "ui/Palette.h"
#include "ui/ScreenFont.h"
#include "ui/ScreenText.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kWidth = 460;
constexpr double kBorder = 2;
constexpr double kPadX = 14;
constexpr int kSummaryCells = 16;
constexpr int kTableRows = 4; // file mode, date, time, owner and group

const QString kHint = QStringLiteral("←→ 桁  Space/0-9  ↑↓ 項目  Enter 適用  Esc 取消");

double rowHeight(const ScreenText& text) {
    return text.lineHeight() + 4;
}

// The head line names exactly sixteen characters, so that the box keeps its
// shape whatever the name.
QString headLine(const QString& summary) {
    return QLatin1Char('[') + summary.leftJustified(kSummaryCells, QLatin1Char(' '), true) +
           QLatin1Char(']');
}

} // namespace

AttributePromptView::AttributePromptView(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state) {
    connect(&m_state, &AppState::changed, this, qOverload<>(&QWidget::update));
}

// Wide enough for "Owner/Group:" and for nine characters with room to spare.
double AttributePromptView::labelWidth(const ScreenText& text) const {
    return text.width(QStringLiteral("Owner/Group:")) + 2 * text.cellWidth();
}

double AttributePromptView::columnWidth(const ScreenText& text) const {
    return 12 * text.cellWidth();
}

QRectF AttributePromptView::rowRect(int row) const {
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const double top = kBorder + 8 + text.lineHeight() + 10 + (row + 1) * rowHeight(text);
    return QRectF(kBorder + kPadX, top, kWidth - 2 * (kBorder + kPadX), rowHeight(text));
}

QRectF AttributePromptView::newCellRect(int field, int index) const {
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const QRectF row = rowRect(field);
    const double left = row.left() + labelWidth(text) + columnWidth(text);
    return QRectF(left + index * text.cellWidth(), row.top(), text.cellWidth(), row.height());
}

QSize AttributePromptView::sizeHint() const {
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const double height = rowRect(kTableRows - 1).bottom() + 10 + text.lineHeight() + 8 + kBorder;
    return QSize(int(kWidth), int(std::ceil(height)));
}

void AttributePromptView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Palette::hairlineColor());
    painter.fillRect(rect().adjusted(kBorder, kBorder, -kBorder, -kBorder),
                     Palette::paneBackground());
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const double inner = kWidth - 2 * (kBorder + kPadX);
    text.draw(painter, QRectF(kBorder + kPadX, kBorder + 8, inner, text.lineHeight()),
              headLine(m_state.attributePrompt.targetSummary), Palette::titleText());
    paintTable(painter, text);
    const QRectF hint(kBorder + kPadX, rowRect(kTableRows - 1).bottom() + 10, inner,
                      text.lineHeight());
    text.draw(painter, hint, text.elided(kHint, inner, Qt::ElideRight), Palette::dimText());
}

void AttributePromptView::paintTable(QPainter& painter, const ScreenText& text) const {
    const double label = labelWidth(text);
    const double column = columnWidth(text);
    const auto cell = [&](int row, int col) {
        const QRectF r = rowRect(row);
        return QRectF(r.left() + (col == 0 ? 0 : label + (col - 1) * column), r.top(),
                      col == 0 ? label : column, r.height());
    };
    text.draw(painter, cell(-1, 1), QStringLiteral("Old"), Palette::dimText());
    text.draw(painter, cell(-1, 2), QStringLiteral("New"), Palette::dimText());
    const QString labels[] = {QStringLiteral("File mode:"), QStringLiteral("Date:"),
                              QStringLiteral("Time:")};
    const QString olds[] = {m_state.attributePrompt.oldMode, m_state.attributePrompt.oldDate,
                            m_state.attributePrompt.oldTime};
    for (int field = 0; field < 3; ++field) {
        text.draw(painter, cell(field, 0), labels[field], Palette::baseText());
        text.draw(painter, cell(field, 1), olds[field], Palette::baseText());
        paintNewText(painter, text, field);
    }
    text.draw(painter, cell(3, 0), QStringLiteral("Owner/Group:"), Palette::baseText());
    // The names may be longer than a column; they have the rest of the row.
    const QRectF owners = rowRect(3).adjusted(label, 0, 0, 0);
    const QString names = QLatin1Char('<') + m_state.attributePrompt.oldOwner +
                          QStringLiteral("> <") + m_state.attributePrompt.oldGroup +
                          QLatin1Char('>');
    text.draw(painter, owners, text.elided(names, owners.width(), Qt::ElideRight),
              Palette::baseText());
}

// Each character at its own cell, so that the cursor can stand on any one.
void AttributePromptView::paintNewText(QPainter& painter, const ScreenText& text, int field) const {
    const QString texts[] = {m_state.attributePrompt.newMode, m_state.attributePrompt.newDate,
                             m_state.attributePrompt.newTime};
    const QString& value = texts[field];
    const bool focused = field == m_state.attributePrompt.focusField;
    const int length = std::max(int(value.size()), field == 0 ? 9 : 8);
    for (int i = 0; i < length; ++i) {
        const QRectF box = newCellRect(field, i);
        const bool cursor = focused && i == m_state.attributePrompt.fieldCursorIndex;
        if (cursor) {
            painter.fillRect(box, Palette::cursorFill());
        }
        if (i < value.size()) {
            text.draw(painter, box, value.at(i), Palette::fileText());
        }
    }
}

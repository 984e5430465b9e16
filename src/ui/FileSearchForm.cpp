#include "ui/FileSearchForm.h"

#include "core/AppState.h"
#include "ui/EntryColors.h"
#include "ui/Palette.h"
#include "ui/ScreenFont.h"
#include "ui/ScreenText.h"

#include <QHBoxLayout>
#include <QPainter>

#include <cmath>
#include <utility>

namespace {

constexpr int kLabelWidth = 100;
constexpr int kLabelGap = 6;
constexpr int kRowPadH = 2;
constexpr int kRowPadV = 1;
constexpr int kChoiceGap = 10;

ScreenText screenText(const AppState& state) {
    return ScreenText(ScreenFont::font(state.uiFontSize));
}

} // namespace

FileSearchFormRow::FileSearchFormRow(AppState& state, QList<FileSearchFocusField> fields,
                                     QString label, QWidget* parent)
    : QWidget(parent)
    , m_state(state)
    , m_fields(std::move(fields))
    , m_label(std::move(label)) {
    m_values = new QHBoxLayout(this);
    m_values->setContentsMargins(kRowPadH + kLabelWidth + kLabelGap, kRowPadV, kRowPadH, kRowPadV);
    m_values->setSpacing(kChoiceGap);
}

void FileSearchFormRow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (holds(m_state.fileSearchFocusField)) {
        painter.fillRect(rect(), EntryColors::overNavy(Palette::cursorFill(), 0.25));
    }
    const QRectF labelRect(kRowPadH, 0, kLabelWidth, height());
    screenText(m_state).draw(painter, labelRect, m_label, Palette::titleText(), Qt::AlignRight);
}

void FileSearchFormRow::mousePressEvent(QMouseEvent*) {
    m_state.setFileSearchFocus(m_fields.first());
}

FileSearchFormText::FileSearchFormText(const AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void FileSearchFormText::setPieces(const QStringList& pieces, int chosen) {
    m_pieces = pieces;
    m_chosen = chosen;
    updateGeometry();
    update();
}

QSize FileSearchFormText::sizeHint() const {
    const ScreenText text = screenText(m_state);
    double width = 0;
    for (const QString& piece : m_pieces) {
        width += text.width(piece) + kChoiceGap;
    }
    return QSize(int(std::ceil(width)), int(std::ceil(text.lineHeight())));
}

QSize FileSearchFormText::minimumSizeHint() const {
    return QSize(0, sizeHint().height());
}

void FileSearchFormText::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const ScreenText text = screenText(m_state);
    double x = 0;
    for (int i = 0; i < m_pieces.size(); ++i) {
        const QString piece = m_pieces.size() == 1
                                  ? text.elided(m_pieces.at(i), width(), Qt::ElideLeft)
                                  : m_pieces.at(i);
        const QRectF cell(x, 0, text.width(piece), height());
        const bool inverted = i == m_chosen;
        if (inverted) {
            painter.fillRect(cell, Palette::baseText());
        }
        text.draw(painter, cell, piece, inverted ? Palette::paneBackground() : Palette::baseText());
        x += cell.width() + kChoiceGap;
    }
}

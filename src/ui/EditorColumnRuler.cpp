#include "ui/EditorColumnRuler.h"

#include "core/AppState.h"
#include "ui/Palette.h"
#include "ui/ScreenFont.h"
#include "ui/ScreenText.h"

#include <QPainter>

#include <cmath>

namespace {

constexpr int kMinimumColumns = 40;

} // namespace

EditorColumnRuler::EditorColumnRuler(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state) {
    connect(&m_state, &AppState::changed, this, qOverload<>(&QWidget::update));
}

int EditorColumnRuler::columnCount(double width, double zeroWidth) {
    const double w = zeroWidth > 1 ? zeroWidth : 1;
    const int fitting = int(std::floor((width - 2 * kTextInset) / w));
    return std::max(kMinimumColumns, fitting);
}

QString EditorColumnRuler::marks(int count) {
    QString line;
    line.reserve(count);
    for (int column = 1; column <= count; ++column) {
        if (column % 10 == 0) {
            line += QChar(u'0' + (column / 10) % 10);
        } else if (column % 5 == 0) {
            line += QLatin1Char('+');
        } else {
            line += QLatin1Char('-');
        }
    }
    return line;
}

QString EditorColumnRuler::text() const {
    const ScreenText screen(ScreenFont::font(m_state.uiFontSize));
    return marks(columnCount(width(), screen.cellWidth()));
}

QSize EditorColumnRuler::sizeHint() const {
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    return QSize(200, int(std::ceil(text.lineHeight())) + 2);
}

void EditorColumnRuler::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const ScreenText screen(ScreenFont::font(m_state.uiFontSize));
    const QRectF row(kTextInset, 0, width() - kTextInset, height());
    screen.draw(painter, row, text(), Palette::dimText());
}

#include "ui/EditorPaneView.h"

#include "core/AppState.h"
#include "ui/Palette.h"
#include "ui/ScreenFont.h"

#include <QPainter>

EditorPaneView::EditorPaneView(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state) {
    connect(&m_state, &AppState::changed, this, qOverload<>(&QWidget::update));
}

void EditorPaneView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Palette::hairlineColor());
    painter.fillRect(rect().adjusted(1, 1, -1, -1), Palette::paneBackground());
    painter.setFont(ScreenFont::font(m_state.uiFontSize));
    const int line = painter.fontMetrics().height() + 8;
    const QRect header(9, 1, width() - 18, line);
    const bool editing = m_state.rightMode == RightPaneMode::editor;
    painter.setPen(Palette::titleText());
    painter.drawText(header, Qt::AlignLeft | Qt::AlignVCenter,
                     editing ? QStringLiteral("EDITOR") : QStringLiteral("VIEWER"));
    painter.setPen(Palette::dimText());
    painter.drawText(rect().adjusted(9, line, -9, 0), Qt::AlignLeft | Qt::AlignTop,
                     QStringLiteral("(no file)"));
}

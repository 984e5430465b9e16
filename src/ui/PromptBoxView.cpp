#include "ui/PromptBoxView.h"

#include "core/AppState.h"
#include "ui/Palette.h"
#include "ui/ScreenFont.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QTimer>
#include <QVBoxLayout>

namespace {

constexpr int kBorder = 2;
constexpr int kWidth = 520;

QLabel* makeLabel(QWidget* parent, const QColor& color) {
    auto* label = new QLabel(parent);
    label->setStyleSheet(QStringLiteral("color: %1; background: transparent;").arg(color.name()));
    label->setTextFormat(Qt::PlainText);
    return label;
}

} // namespace

PromptBoxView::PromptBoxView(AppState& state, Binding binding, QWidget* parent)
    : QWidget(parent)
    , m_state(state)
    , m_binding(std::move(binding)) {
    setFixedWidth(kWidth);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(kBorder + 14, kBorder + 8, kBorder + 14, kBorder + 8);
    column->setSpacing(8);
    m_title = makeLabel(this, Palette::titleText());
    m_lines = makeLabel(this, Palette::baseText());
    m_label = makeLabel(this, Palette::baseText());
    m_hint = makeLabel(this, Palette::dimText());
    m_field = new QLineEdit(this);
    m_field->setStyleSheet(
        QStringLiteral("QLineEdit { background: %1; color: %2; border: 1px solid %3;"
                       " padding: 2px; selection-background-color: %4; }")
            .arg(Palette::paneBackground().name(), Palette::baseText().name(),
                 Palette::hairlineColor().name(), Palette::cursorFill().name()));
    QPalette fieldPalette = m_field->palette();
    fieldPalette.setColor(QPalette::PlaceholderText, Palette::dimText());
    m_field->setPalette(fieldPalette);
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    row->addWidget(m_label);
    row->addWidget(m_field, 1);
    column->addWidget(m_title);
    column->addWidget(m_lines);
    column->addLayout(row);
    column->addWidget(m_hint);

    connect(m_field, &QLineEdit::textEdited, this,
            [this](const QString& text) { m_binding.setText(text); });
    connect(m_field, &QLineEdit::returnPressed, this, [this] { m_binding.submit(); });
    connect(&m_state, &AppState::changed, this, &PromptBoxView::followState);
    followState();
}

void PromptBoxView::followState() {
    // The size can be chosen from the menu while the box stands. The styled
    // children do not take a new font from the box, so each is given it.
    if (const QFont font = ScreenFont::font(m_state.uiFontSize); font != this->font()) {
        const QList<QWidget*> widgets{this, m_title, m_lines, m_label, m_hint, m_field};
        for (QWidget* widget : widgets) {
            widget->setFont(font);
        }
    }
    const Content content = m_binding.content();
    m_title->setText(content.title);
    m_lines->setText(content.lines.join(QLatin1Char('\n')));
    m_lines->setVisible(!content.lines.isEmpty());
    m_label->setText(content.label);
    m_field->setPlaceholderText(content.placeholder);
    m_hint->setText(content.hint);
    const QString text = m_binding.text();
    if (m_field->text() != text) {
        m_field->setText(text);
    }
}

// The field opens with its text selected, as a prompt that starts with the
// last pattern or destination is meant to be typed over.
void PromptBoxView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    m_field->selectAll();
    m_field->setFocus(Qt::OtherFocusReason);
    // The window may take the keyboard back while the box is being shown.
    QTimer::singleShot(0, m_field, [field = m_field] { field->setFocus(Qt::OtherFocusReason); });
}

void PromptBoxView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Palette::hairlineColor());
    painter.fillRect(rect().adjusted(kBorder, kBorder, -kBorder, -kBorder),
                     Palette::paneBackground());
}

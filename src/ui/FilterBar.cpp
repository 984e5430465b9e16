#include "ui/FilterBar.h"

#include "core/AppState.h"
#include "ui/EntryColors.h"
#include "ui/Palette.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QTimer>

FilterBar::FilterBar(AppState& state, PaneSide side, QWidget* parent)
    : QWidget(parent)
    , m_state(state)
    , m_side(side) {
    setAutoFillBackground(true);
    QPalette bar = palette();
    bar.setColor(QPalette::Window, EntryColors::overNavy(Palette::cursorFill(), 0.45));
    bar.setColor(QPalette::Base, Qt::transparent);
    bar.setColor(QPalette::Text, Palette::baseText());
    bar.setColor(QPalette::PlaceholderText, Palette::dimText());
    setPalette(bar);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(8, 4, 8, 4);
    row->setSpacing(6);
    auto* label = new QLabel(QStringLiteral("Filter:"), this);
    label->setStyleSheet(QStringLiteral("color: %1").arg(Palette::titleText().name()));
    m_field = new QLineEdit(this);
    m_field->setFrame(false);
    auto* esc = new QLabel(QStringLiteral("Esc"), this);
    esc->setStyleSheet(QStringLiteral("color: %1").arg(Palette::dimText().name()));
    row->addWidget(label);
    row->addWidget(m_field, 1);
    row->addWidget(esc);
    // The state ignores the field while the filter is closed.
    connect(m_field, &QLineEdit::textEdited, this,
            [this](const QString& text) { m_state.setFilterQuery(text); });
    hide();
}

void FilterBar::setScreenFont(const QFont& font) {
    setFont(font);
    // Styled labels keep their own font; each is given the screen's face.
    for (QWidget* child : findChildren<QWidget*>()) {
        child->setFont(font);
    }
}

bool FilterBar::fieldHasFocus() const {
    return m_field->hasFocus();
}

void FilterBar::sync() {
    const bool shown = m_state.isFilterOpen && m_state.focusedSide == m_side;
    if (m_field->text() != m_state.filterQuery) {
        m_field->setText(m_state.filterQuery);
    }
    if (shown == isVisible()) {
        return;
    }
    setVisible(shown);
    if (shown) {
        QTimer::singleShot(0, m_field, [field = m_field] {
            if (field->isVisible()) {
                field->setFocus(Qt::OtherFocusReason);
            }
        });
    } else if (m_field->hasFocus()) {
        m_field->clearFocus();
        window()->setFocus(Qt::OtherFocusReason);
    }
}

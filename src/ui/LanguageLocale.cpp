#include "ui/LanguageLocale.h"

#include "core/AppState.h"
#include "core/Localization.h"

#include <QApplication>
#include <QLocale>
#include <QWidget>

LanguageLocale::LanguageLocale(AppState& state, QObject* parent)
    : QObject(parent)
    , m_state(state) {
    connect(&m_state, &AppState::changed, this, &LanguageLocale::follow);
    follow();
}

void LanguageLocale::follow() {
    if (m_applied == m_state.appLanguage) {
        return;
    }
    m_applied = m_state.appLanguage;
    const QLocale locale = Localization::appLocale(m_state.appLanguage);
    QLocale::setDefault(locale);
    // A window passes its locale on to every widget in it that has none of its own.
    for (QWidget* window : QApplication::topLevelWidgets()) {
        window->setLocale(locale);
    }
}

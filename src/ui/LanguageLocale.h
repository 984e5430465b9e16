#pragma once

#include "core/Model.h"

#include <QObject>

#include <optional>

class AppState;

// Keeps the locale of the program on the chosen language: Qt's default
// locale, which new widgets take, and the locale of every window standing,
// which its widgets take from it. Number and date fields, the text fields'
// input and the standard dialogs then speak the language of the menus.
class LanguageLocale : public QObject {
    Q_OBJECT

public:
    explicit LanguageLocale(AppState& state, QObject* parent = nullptr);

private:
    void follow();

    AppState& m_state;
    std::optional<AppLanguage> m_applied;
};

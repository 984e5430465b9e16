#pragma once

#include "core/Model.h"

#include <QLocale>
#include <QString>
#include <QStringList>

// Labels of the menus, the function toolbar and the status bar in the chosen
// language. Messages of dialogs and prompts are fixed texts and never pass here.
namespace Localization {

// "ja" or "en", or a code taken from the system's preferred languages.
QString languageCode(AppLanguage language);

// The same rule over an explicit list of preferred languages (testable).
QString languageCodeFrom(const QStringList& preferredLanguages);

// The label for a menu.*, toolbar.* or status.* key; the key itself when no
// table has it.
QString localizedString(const QString& key, AppLanguage language);

// The locale the views use for the language.
QLocale appLocale(AppLanguage language);

} // namespace Localization

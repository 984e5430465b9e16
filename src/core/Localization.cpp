#include "core/Localization.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

// Outside any namespace: the resource's registration function is global.
static void registerLabelTables() {
    Q_INIT_RESOURCE(i18n);
}

namespace Localization {

QString languageCodeFrom(const QStringList& preferredLanguages) {
    const QString first =
        preferredLanguages.isEmpty() ? QStringLiteral("ja") : preferredLanguages.first();
    if (first.startsWith(QLatin1String("en"))) {
        return QStringLiteral("en");
    }
    if (first.startsWith(QLatin1String("ja"))) {
        return QStringLiteral("ja");
    }
    const QString piece = first.split(QLatin1Char('-')).first();
    return piece.isEmpty() ? QStringLiteral("ja") : piece;
}

QString languageCode(AppLanguage language) {
    switch (language) {
    case AppLanguage::japanese:
        return QStringLiteral("ja");
    case AppLanguage::english:
        return QStringLiteral("en");
    case AppLanguage::system:
        break;
    }
    return languageCodeFrom(QLocale::system().uiLanguages());
}

namespace {

// Reads one table from the resources; an empty object when there is none.
QJsonObject readTable(const QString& code) {
    // The tables live in the core library's resources, which a static
    // library must register by name.
    static const bool registered = (registerLabelTables(), true);
    Q_UNUSED(registered);
    QFile file(QStringLiteral(":/i18n/%1.json").arg(code));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return QJsonDocument::fromJson(file.readAll()).object();
}

} // namespace

QString localizedString(const QString& key, AppLanguage language) {
    // A language without a table of its own falls back to the English one,
    // the program's base language.
    QJsonObject table = readTable(languageCode(language));
    if (table.isEmpty()) {
        table = readTable(QStringLiteral("en"));
    }
    return table.value(key).toString(key);
}

QLocale appLocale(AppLanguage language) {
    switch (language) {
    case AppLanguage::japanese:
        return QLocale(QStringLiteral("ja"));
    case AppLanguage::english:
        return QLocale(QStringLiteral("en"));
    case AppLanguage::system:
        break;
    }
    const QStringList preferred = QLocale::system().uiLanguages();
    return preferred.isEmpty() ? QLocale::system() : QLocale(preferred.first());
}

} // namespace Localization

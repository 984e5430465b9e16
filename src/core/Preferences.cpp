#include "core/Preferences.h"

#include <QSettings>

bool Preferences::boolValue(const QString& key) const {
    const auto stored = value(key);
    return stored && stored->canConvert<bool>() && stored->toBool();
}

double Preferences::doubleValue(const QString& key) const {
    const auto stored = value(key);
    if (!stored) {
        return 0;
    }
    bool ok = false;
    const double number = stored->toDouble(&ok);
    return ok ? number : 0;
}

QString Preferences::stringValue(const QString& key) const {
    const auto stored = value(key);
    if (!stored || stored->typeId() != QMetaType::QString) {
        return {};
    }
    return stored->toString();
}

QStringList Preferences::stringListElements(const QString& key) const {
    const auto stored = value(key);
    if (!stored) {
        return {};
    }
    // An INI file gives a one-element list back as a plain text.
    if (stored->typeId() == QMetaType::QString) {
        return {stored->toString()};
    }
    if (stored->typeId() == QMetaType::QStringList) {
        return stored->toStringList();
    }
    QStringList texts;
    if (stored->typeId() == QMetaType::QVariantList) {
        for (const QVariant& element : stored->toList()) {
            if (element.typeId() == QMetaType::QString) {
                texts.append(element.toString());
            }
        }
    }
    return texts;
}

QVariantMap Preferences::mapValue(const QString& key) const {
    const auto stored = value(key);
    return stored && stored->typeId() == QMetaType::QVariantMap ? stored->toMap() : QVariantMap{};
}

QByteArray Preferences::dataValue(const QString& key) const {
    const auto stored = value(key);
    if (!stored) {
        return {};
    }
    if (stored->typeId() == QMetaType::QByteArray) {
        return stored->toByteArray();
    }
    if (stored->typeId() == QMetaType::QString) {
        return stored->toString().toUtf8();
    }
    return {};
}

SettingsPreferences::SettingsPreferences()
    : m_settings(std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope,
                                             QStringLiteral("Dorvik"), QStringLiteral("Dorvik"))) {}

SettingsPreferences::SettingsPreferences(const QString& iniFilePath)
    : m_settings(std::make_unique<QSettings>(iniFilePath, QSettings::IniFormat)) {}

SettingsPreferences::~SettingsPreferences() {
    m_settings->sync();
}

bool SettingsPreferences::contains(const QString& key) const {
    return m_settings->contains(key);
}

std::optional<QVariant> SettingsPreferences::value(const QString& key) const {
    if (!m_settings->contains(key)) {
        return std::nullopt;
    }
    return m_settings->value(key);
}

void SettingsPreferences::setValue(const QString& key, const QVariant& value) {
    m_settings->setValue(key, value);
}

void SettingsPreferences::remove(const QString& key) {
    m_settings->remove(key);
}

QString SettingsPreferences::fileName() const {
    return m_settings->fileName();
}

std::optional<QVariant> MemoryPreferences::value(const QString& key) const {
    const auto found = m_values.constFind(key);
    if (found == m_values.constEnd()) {
        return std::nullopt;
    }
    return *found;
}

void MemoryPreferences::setValue(const QString& key, const QVariant& value) {
    m_values.insert(key, value);
    ++m_writeCount;
}

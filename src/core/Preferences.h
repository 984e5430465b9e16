#pragma once

#include <QHash>
#include <QString>
#include <QVariant>

#include <memory>
#include <optional>

class QSettings;

// The user's settings store: values by key. The program keeps its settings in
// a QSettings file; tests use the in-memory store.
class Preferences {
public:
    virtual ~Preferences() = default;

    virtual bool contains(const QString& key) const = 0;
    // The stored value, none when the key is absent.
    virtual std::optional<QVariant> value(const QString& key) const = 0;
    virtual void setValue(const QString& key, const QVariant& value) = 0;
    virtual void remove(const QString& key) = 0;

    // Typed reads. A missing key or a value of an unusable type gives the
    // empty form (false, 0, empty text, empty list, empty data).
    bool boolValue(const QString& key) const;
    double doubleValue(const QString& key) const;
    QString stringValue(const QString& key) const;
    // The text elements of a stored list, in order; others are dropped.
    QStringList stringListElements(const QString& key) const;
    QVariantMap mapValue(const QString& key) const;
    QByteArray dataValue(const QString& key) const;
};

// Settings in an INI file under $XDG_CONFIG_HOME/Dorvik/.
class SettingsPreferences final : public Preferences {
public:
    SettingsPreferences();
    explicit SettingsPreferences(const QString& iniFilePath);
    ~SettingsPreferences() override;

    bool contains(const QString& key) const override;
    std::optional<QVariant> value(const QString& key) const override;
    void setValue(const QString& key, const QVariant& value) override;
    void remove(const QString& key) override;

    QString fileName() const;

private:
    std::unique_ptr<QSettings> m_settings;
};

// Settings that live as long as the object: for tests and for dorvik-tool.
class MemoryPreferences final : public Preferences {
public:
    bool contains(const QString& key) const override { return m_values.contains(key); }
    std::optional<QVariant> value(const QString& key) const override;
    void setValue(const QString& key, const QVariant& value) override;
    void remove(const QString& key) override { m_values.remove(key); }

    // How many times a value was written: lets tests tell "wrote nothing".
    int writeCount() const { return m_writeCount; }

private:
    QHash<QString, QVariant> m_values;
    int m_writeCount = 0;
};

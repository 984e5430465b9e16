#include "core/StoredPath.h"

#include "core/Preferences.h"
#include "core/SystemPath.h"

#include <QByteArray>

namespace StoredPath {

namespace {

constexpr char16_t firstEscape = 0xDC80;
constexpr char16_t lastEscape = 0xDCFF;

void appendByte(QString& out, unsigned byte) {
    static const char digits[] = "0123456789ABCDEF";
    out += QLatin1Char('%');
    out += QLatin1Char(digits[byte >> 4]);
    out += QLatin1Char(digits[byte & 0xF]);
}

} // namespace

QString encoded(QStringView path) {
    QString stored;
    stored.reserve(path.size());
    for (const QChar c : path) {
        const char16_t unit = c.unicode();
        if (unit >= firstEscape && unit <= lastEscape) {
            appendByte(stored, unit - 0xDC00);
        } else if (unit == u'%') {
            appendByte(stored, '%');
        } else {
            stored += c;
        }
    }
    return stored;
}

QString decoded(QStringView stored) {
    return fromSystemPath(QByteArray::fromPercentEncoding(stored.toUtf8()));
}

QString readPath(const Preferences& preferences, const QString& key, const QString& storedKey) {
    if (preferences.contains(storedKey)) {
        return decoded(preferences.stringValue(storedKey));
    }
    return preferences.stringValue(key);
}

void writePath(Preferences& preferences, const QString& key, const QString& storedKey,
               const QString& path) {
    preferences.setValue(key, path);
    preferences.setValue(storedKey, encoded(path));
}

QStringList readPathList(const Preferences& preferences, const QString& key,
                         const QString& storedKey) {
    if (!preferences.contains(storedKey)) {
        return preferences.stringListElements(key);
    }
    QStringList paths;
    for (const QString& stored : preferences.stringListElements(storedKey)) {
        paths.append(decoded(stored));
    }
    return paths;
}

void writePathList(Preferences& preferences, const QString& key, const QString& storedKey,
                   const QStringList& paths) {
    QStringList stored;
    stored.reserve(paths.size());
    for (const QString& path : paths) {
        stored.append(encoded(path));
    }
    preferences.setValue(key, paths);
    preferences.setValue(storedKey, stored);
}

} // namespace StoredPath

#include "core/PathUtils.h"

#include <QDir>

namespace PathUtils {

QString standardizedPath(const QString& path) {
    if (path.isEmpty()) {
        return QDir::cleanPath(QDir::currentPath());
    }
    const QString absolute =
        path.startsWith(QLatin1Char('/')) ? path : QDir::currentPath() + QLatin1Char('/') + path;
    return QDir::cleanPath(absolute);
}

QString parentPath(const QString& path) {
    const QString standard = standardizedPath(path);
    const qsizetype slash = standard.lastIndexOf(QLatin1Char('/'));
    if (slash <= 0) {
        return QStringLiteral("/");
    }
    return standard.left(slash);
}

QString lastPathComponent(const QString& path) {
    const QString standard = standardizedPath(path);
    if (standard == QLatin1String("/")) {
        return standard;
    }
    return standard.mid(standard.lastIndexOf(QLatin1Char('/')) + 1);
}

QString appendingPathComponent(const QString& folder, const QString& name) {
    return standardizedPath(folder + QLatin1Char('/') + name);
}

QString homeDirectory() {
    return standardizedPath(QDir::homePath());
}

} // namespace PathUtils

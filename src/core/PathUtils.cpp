#include "core/PathUtils.h"

#include "core/SystemPath.h"

#include <QDir>

namespace PathUtils {

namespace {

// True when the path is already in standard form, the common case, which
// then costs no copy.
bool isStandard(const QString& path) {
    if (!path.startsWith(QLatin1Char('/'))) {
        return false;
    }
    if (path.size() == 1) {
        return true;
    }
    if (path.endsWith(QLatin1Char('/')) || path.contains(QLatin1String("//"))) {
        return false;
    }
    // "/." starts every "." or ".." component, and also hidden names: only
    // those are told apart the slow way.
    qsizetype at = path.indexOf(QLatin1String("/."));
    while (at >= 0) {
        const qsizetype next = at + 2;
        if (next == path.size() || path[next] == QLatin1Char('/')) {
            return false;
        }
        if (path[next] == QLatin1Char('.') &&
            (next + 1 == path.size() || path[next + 1] == QLatin1Char('/'))) {
            return false;
        }
        at = path.indexOf(QLatin1String("/."), next);
    }
    return true;
}

} // namespace

QString standardizedPath(const QString& path) {
    if (isStandard(path)) {
        return path;
    }
    if (path.isEmpty()) {
        return QDir::cleanPath(SystemPath::currentFolder());
    }
    const QString absolute = path.startsWith(QLatin1Char('/'))
                                 ? path
                                 : SystemPath::currentFolder() + QLatin1Char('/') + path;
    QString clean = QDir::cleanPath(absolute);
    // There is nothing above the root: "/../x" is "/x".
    while (clean == QLatin1String("/..") || clean.startsWith(QLatin1String("/../"))) {
        clean = clean.size() == 3 ? QStringLiteral("/") : clean.mid(3);
    }
    return clean;
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

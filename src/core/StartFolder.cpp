#include "core/StartFolder.h"

#include "core/PathUtils.h"
#include "core/SystemPath.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace StartFolder {

namespace {

QString refusal(const QString& folder, const QString& reason) {
    return QStringLiteral("cannot open %1: %2").arg(folder, reason);
}

} // namespace

Result<QString, QString> fromArgument(const QString& argument) {
    const QString folder = PathUtils::standardizedPath(argument);
    const QByteArray encoded = toSystemPath(folder);
    struct stat st;
    if (::stat(encoded.constData(), &st) != 0) {
        return fail(refusal(folder, QString::fromLocal8Bit(std::strerror(errno))));
    }
    if (!S_ISDIR(st.st_mode)) {
        return fail(refusal(folder, QStringLiteral("Not a folder")));
    }
    // A folder is listed only when it can be both read and searched.
    if (::access(encoded.constData(), R_OK | X_OK) != 0) {
        return fail(refusal(folder, QString::fromLocal8Bit(std::strerror(errno))));
    }
    return folder;
}

} // namespace StartFolder

#include "archive/ZipArchiveError.h"

#include "core/PathUtils.h"

QString ZipArchiveError::description() const {
    switch (kind) {
    case Kind::notFound:
        return QStringLiteral("ZIP not found: ") + PathUtils::lastPathComponent(payload);
    case Kind::listFailed:
        return QStringLiteral("Cannot list ZIP: ") + reason;
    case Kind::extractFailed:
        return QStringLiteral("Cannot read ") + payload + QStringLiteral(" from ZIP: ") + reason;
    case Kind::unreadableText:
        return QStringLiteral("Cannot decode text: ") + payload;
    case Kind::system:
        break;
    }
    return systemError.description();
}

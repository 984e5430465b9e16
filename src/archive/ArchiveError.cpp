#include "archive/ArchiveError.h"

#include "core/PathUtils.h"

QString ArchiveError::description() const {
    switch (kind) {
    case Kind::notFound:
        return QStringLiteral("Archive not found: ") + PathUtils::lastPathComponent(subject);
    case Kind::unsupported:
        return QStringLiteral("Unsupported archive: ") + PathUtils::lastPathComponent(subject);
    case Kind::listFailed:
        return QStringLiteral("Cannot list archive: ") + reason;
    case Kind::extractFailed:
        return QStringLiteral("Cannot read ") + subject + QStringLiteral(": ") + reason;
    case Kind::toolMissing:
        return QStringLiteral("Required tool not found: ") + subject +
               QStringLiteral("\n(install via Homebrew: brew install ") + subject +
               QStringLiteral(")");
    case Kind::timedOut:
        return subject + QStringLiteral(" timed out (no progress for ") + reason +
               QStringLiteral(" s)");
    case Kind::cancelled:
        return QStringLiteral("Cancelled");
    case Kind::zip:
        break;
    }
    return reason;
}

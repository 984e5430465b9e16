#include "filesystem/FileSystemError.h"

#include "core/PathUtils.h"
#include "text/ShownFileName.h"

QString FileSystemError::description() const {
    switch (kind) {
    case Kind::notADirectory:
        return QStringLiteral("Not a directory: ") + payload;
    case Kind::unreadableText:
        return QStringLiteral("Cannot read as text: ") +
               ShownFileName::shownName(PathUtils::lastPathComponent(payload));
    case Kind::encodeFailed:
        return QStringLiteral("この内容を ") + payload +
               QStringLiteral(" で保存できません（未対応の文字があります）");
    case Kind::alreadyExists:
        return QStringLiteral("Already exists: ") +
               ShownFileName::shownName(PathUtils::lastPathComponent(payload));
    case Kind::createFailed:
        return QStringLiteral("Cannot create: ") +
               ShownFileName::shownName(PathUtils::lastPathComponent(payload));
    case Kind::invalidName:
        return QStringLiteral("Invalid name");
    case Kind::sameDirectory:
        return QStringLiteral("Source and destination are the same directory");
    case Kind::invalidDestination:
        return QStringLiteral("Destination is not an existing folder");
    case Kind::invalidMode:
        return QStringLiteral("Invalid mode (use rwxr-xr-x or octal 644)");
    case Kind::invalidAttributeDate:
        return QStringLiteral("Invalid date/time (yy-MM-dd HH:mm:ss)");
    case Kind::sameItem:
        return QStringLiteral("Cannot overwrite an item with itself");
    case Kind::holdsSource:
        return QStringLiteral("Cannot overwrite a folder that holds the source");
    case Kind::intoItself:
        return QStringLiteral("Cannot put a folder inside itself");
    case Kind::itemChanged:
        return QStringLiteral("Changed while being copied: ") +
               ShownFileName::shownName(PathUtils::lastPathComponent(payload));
    case Kind::stopped:
        return QStringLiteral("Stopped");
    case Kind::system:
        break;
    }
    return systemError.description();
}

#include "archive/ArchiveLocation.h"

#include "archive/ArchiveRows.h"
#include "archive/ArchiveService.h"
#include "core/PathUtils.h"
#include "core/SystemPath.h"

namespace ArchiveLocation {

Result<QList<FileEntry>, ArchiveError> list(const FilerLocation::Zip& location,
                                            bool showHiddenFiles, FilerSortMode sortMode,
                                            bool showLocalizedNames, std::stop_token stopToken) {
    const QString archive = PathUtils::standardizedPath(location.archive);
    const auto info = SystemPath::status(archive);
    if (!info) {
        return fail(ArchiveError::notFound(archive));
    }
    auto members = ArchiveService::listMembers(archive, std::move(stopToken));
    if (!members) {
        return fail(members.error());
    }
    return ArchiveRows::entriesFromMembers(archive, *members, location.innerPath, showHiddenFiles,
                                           sortMode, showLocalizedNames, info->modified);
}

QString refusalText(ReadOnlyCommand command) {
    switch (command) {
    case ReadOnlyCommand::setStartup:
        return QStringLiteral("Cannot set startup inside an archive");
    case ReadOnlyCommand::treeMode:
        return QStringLiteral("Tree mode is not available inside an archive");
    case ReadOnlyCommand::bookmark:
        return QStringLiteral("Cannot bookmark inside an archive");
    case ReadOnlyCommand::createFolder:
        return QStringLiteral("Cannot create folder inside an archive");
    case ReadOnlyCommand::createFile:
        return QStringLiteral("Cannot create file inside an archive");
    case ReadOnlyCommand::rename:
        return QStringLiteral("Cannot rename inside an archive");
    case ReadOnlyCommand::changeAttributes:
        return QStringLiteral("Cannot change attributes inside an archive");
    case ReadOnlyCommand::move:
        return QStringLiteral("Cannot move inside an archive");
    case ReadOnlyCommand::copy:
        return QStringLiteral("Cannot copy inside an archive");
    case ReadOnlyCommand::deleteItems:
        return QStringLiteral("Cannot delete inside an archive");
    case ReadOnlyCommand::saveInEditor:
        return QStringLiteral("Cannot save files inside an archive");
    case ReadOnlyCommand::enterEditor:
        return QStringLiteral("Cannot edit files inside an archive (read-only)");
    }
    return {};
}

std::optional<QString> refusal(const FilerLocation& location, ReadOnlyCommand command) {
    if (location.asZip() == nullptr) {
        return std::nullopt;
    }
    return refusalText(command);
}

} // namespace ArchiveLocation

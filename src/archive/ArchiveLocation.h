#pragma once

#include "archive/ArchiveError.h"
#include "core/Model.h"
#include "core/Result.h"

#include <QList>
#include <QString>

#include <optional>
#include <stop_token>

// A pane standing inside an archive: its listing, and the commands that an
// archive, being read-only, refuses.
namespace ArchiveLocation {

// The rows of a folder inside an archive of any kind. Runs the archive tools
// and so blocks for as long as they take; once stop is requested it gives up
// at its next step.
Result<QList<FileEntry>, ArchiveError> list(const FilerLocation::Zip& location,
                                            bool showHiddenFiles, FilerSortMode sortMode,
                                            bool showLocalizedNames, std::stop_token stop = {});

// The commands that would change something and therefore refuse inside an archive.
enum class ReadOnlyCommand {
    setStartup,
    treeMode,
    bookmark,
    createFolder,
    createFile,
    rename,
    changeAttributes,
    move,
    copy,
    deleteItems,
    saveInEditor,
    enterEditor,
};

// What the user reads when the command is refused inside an archive.
QString refusalText(ReadOnlyCommand command);

// The refusal for a command on a pane at this location: none on disk.
std::optional<QString> refusal(const FilerLocation& location, ReadOnlyCommand command);

} // namespace ArchiveLocation

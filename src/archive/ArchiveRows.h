#pragma once

#include "archive/ArchiveMember.h"
#include "core/Model.h"

#include <QDateTime>
#include <QList>
#include <QString>

#include <optional>

// Rows of a pane standing inside an archive, made from the archive's flat
// member list. Folders that no member names are made up from deeper paths, so
// a walk through the archive looks like a walk through folders. Pure.
namespace ArchiveRows {

// "arch:" + archive + "!" + member path (with its "/" for a folder).
QString memberRowId(const QString& archive, const QString& memberPath);
// "arch-parent:" + archive + "!" + the prefix of the folder listed.
QString parentRowId(const QString& archive, const QString& folderPrefix);

// The folder's member prefix: "\" as "/", no leading "/", a trailing "/"
// unless it is the archive's root (the empty text).
QString folderPrefix(const QString& innerPath);

// The rows of one folder of the archive: the ".." row first (also at the
// archive's root, where it leads out), then one row per child, sorted like a
// directory listing. archiveDate is the archive file's modification date,
// shown on the ".." row.
QList<FileEntry> entriesFromMembers(const QString& archive, const QList<ArchiveMember>& members,
                                    const QString& innerPath, bool showHiddenFiles,
                                    FilerSortMode sortMode, bool showLocalizedNames,
                                    const std::optional<QDateTime>& archiveDate);

} // namespace ArchiveRows

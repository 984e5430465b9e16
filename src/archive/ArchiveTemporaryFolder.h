#pragma once

#include "core/Result.h"

#include <QString>
#include <QStringList>

// The folder where copies of archive members live while something shows or
// opens them, and where LHA members are unpacked: "Dorvik-archive-" + the
// user id in the temporary folder. It belongs to the user and only the user
// may enter it (0700), and every copy is readable by the user alone (0600),
// whatever the member's own mode: a member may hold what its owner keeps
// private. Copies are removed when they are no longer shown, and whatever
// this process made is removed when it exits.
namespace ArchiveTemporaryFolder {

// Why the folder or a file in it could not be made; the text is shown.
using FolderResult = Result<QString, QString>;

// The folder's path, made with mode 0700 when it is not there. Refused when
// what stands at that name is a link, anything but a folder, or a folder of
// someone else; a folder of the user's own that others may enter is closed
// to them first.
FolderResult folder();

// A new empty file (0600) in the folder, named by a fresh UUID + "-" + memberName,
// and open for writing. The caller writes and closes it; it is removed at
// exit unless removed before.
struct NewFile {
    int fd = -1;
    QString path;
};
Result<NewFile, QString> createFile(const QString& memberName);

// A new empty folder (0700) in the folder, named prefix + a fresh UUID.
FolderResult createWorkFolder(const QString& prefix);

// Removes a file or work folder this process made in the folder. Anything
// else, and an empty path, is left alone.
void remove(const QString& path);

// The regular files named name in a work folder and the folders below it,
// found by the exact bytes of their names; links are not followed.
QStringList filesNamed(const QString& folder, const QString& name);

// Removes every file and work folder this process made; done at exit too.
void removeAll();

} // namespace ArchiveTemporaryFolder

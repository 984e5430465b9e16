#pragma once

#include "core/Model.h"
#include "filesystem/FileAccessMemory.h"
#include "filesystem/FileSystemError.h"

#include <QList>
#include <QString>

#include <cstdint>
#include <functional>

struct stat;

// Synchronous operations on the disk. Listing a folder turns it into the rows
// a pane shows, sorted by the one row order of the program.
namespace FileSystemService {

// The rows of a folder: the ".." row first (none at "/"), hidden items only
// when asked, links never followed. One item that can't be read fails the
// whole listing with the system's text.
FsResult<QList<FileEntry>> listDirectory(const QString& url, bool showHidden,
                                         FilerSortMode sortMode, bool sortByLocalizedName);
// The same, calling afterEnumeration between reading the names and reading
// the items, where the system may change the folder under the listing.
FsResult<QList<FileEntry>> listDirectory(const QString& url, bool showHidden,
                                         FilerSortMode sortMode, bool sortByLocalizedName,
                                         const std::function<void()>& afterEnumeration);

// The row order: the parent row first, folders above files, then by mode.
bool entryPrecedes(const FileEntry& a, const FileEntry& b, FilerSortMode mode, bool byLocalized);
bool sortNamePrecedes(const FileEntry& a, const FileEntry& b, bool byLocalized);
// Sorts rows by entryPrecedes, comparing names through precomputed keys.
void sortEntries(QList<FileEntry>& entries, FilerSortMode mode, bool byLocalized);

// The rights shown for an item: from the memory when it has the path,
// otherwise read from the item and remembered. Never fails.
FileAccessMemory::Record accessRights(const QString& url, bool isDirectory, bool isArchive);
// The same, with the item's lstat() already at hand (nullptr when it failed).
FileAccessMemory::Record accessRights(const QString& url, bool isDirectory, bool isArchive,
                                      const struct stat* itemStat);

// "rwxr-xr-x" for the low nine bits of a mode.
QString permissionBits(uint16_t mode);

// The comparison key of a folder path: standardized, no trailing "/" (but
// "/" stays), in canonical decomposition (NFD).
QString normalizedPathKey(const QString& url);

// Whether the desktop asks for every file extension to be shown. Linux has no
// such global setting, so this is false.
bool systemShowsAllExtensions();

} // namespace FileSystemService

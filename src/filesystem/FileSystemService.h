#pragma once

#include "core/Model.h"
#include "filesystem/FileAccessMemory.h"
#include "filesystem/FileSystemError.h"
#include "text/TextDecoding.h"

#include <QCollator>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <stop_token>
#include <vector>

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

// What a pane's listing is told and tells while it runs on a worker: once
// stop is requested the listing ends early with ECANCELED, and readCount,
// when given, counts the items read so far.
struct ListingControl {
    std::stop_token stop;
    std::atomic<qsizetype>* readCount = nullptr;
};
FsResult<QList<FileEntry>> listDirectory(const QString& url, bool showHidden,
                                         FilerSortMode sortMode, bool sortByLocalizedName,
                                         const ListingControl& control);

// The row order: the parent row first, folders above files, then by mode.
bool entryPrecedes(const FileEntry& a, const FileEntry& b, FilerSortMode mode, bool byLocalized);
bool sortNamePrecedes(const FileEntry& a, const FileEntry& b, bool byLocalized);
// Sorts rows by entryPrecedes, comparing names through precomputed keys.
void sortEntries(QList<FileEntry>& entries, FilerSortMode mode, bool byLocalized);
// The key sortEntries compares a row's name by.
QCollatorSortKey sortNameKey(const FileEntry& entry, bool byLocalized);
// Sorts rows whose keys are at hand: keys[i] is the key of entries[i].
void sortEntriesByKeys(QList<FileEntry>& entries, const std::vector<QCollatorSortKey>& keys,
                       FilerSortMode mode);

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

// --- Naming and creating items (FileOperations.cpp)

// The name with surrounding blanks and line breaks removed; invalidName when
// that is empty, ".", "..", or holds "/" or ":".
FsResult<QString> validatedItemName(const QString& text);
// Creates an empty folder or file named name inside the folder parent and
// gives its path. An item already there is refused with alreadyExists.
FsResult<QString> createFolder(const QString& name, const QString& parent);
FsResult<QString> createFile(const QString& name, const QString& parent);
// Renames the item in its folder and gives the new path. The same name gives
// the item back unchanged; a name taken by another item is refused, also one
// taken at the very moment of the rename.
FsResult<QString> renameItem(const QString& url, const QString& newName);

// --- Copying and moving (CopyMove.cpp)

// Bytes carried so far by a running copy, read by another thread for the
// progress text. Folders, links and empty files add nothing. A stop asked
// for by another thread ends the copy before its next stretch of bytes: the
// half made copy is removed as after any failure, and the item fails as
// stopped.
struct CopyProgress {
    std::atomic<int64_t> bytesDone{0};
    // The job's stop request, when it can be stopped.
    std::stop_token stop;
    bool isStopRequested() const { return stop.stop_requested(); }
};

// Where an item lands inside a folder: the folder with the item's name, standardized.
QString destinationItemURL(const QString& source, const QString& folder);
// Whether two paths lead to one item on the disk, the same device and inode,
// whatever links or mounts lie on the way.
bool isSameItem(const QString& a, const QString& b);
// Whether the folder is the item or lies anywhere inside it, on the disk,
// whatever links or mounts lie on the way. Nothing to look at gives false.
bool isInsideItem(const QString& folder, const QString& item);
// Whether the item at the source's place in the folder may be overwritten by
// the source: never the source itself (sameItem), nor a folder that holds it
// (holdsSource). Nothing there, or nothing to look at, passes.
FsResult<Done> checkOverwrite(const QString& source, const QString& folder);
// Copies an item into a folder: folders with everything in them, keeping
// modes and modification times; links are copied as links. An item already
// at the target is refused, or with overwrite replaced, unless checkOverwrite
// refuses it; a folder is never copied into itself. The copy is written
// beside the target under a hidden name and takes the target's place only
// once it is whole and on the disk, so the target holds the old or the new
// item at every moment, even when the program is killed. A copy that fails
// leaves the target as it was; the source is never touched.
FsResult<Done> copyItem(const QString& source, const QString& folder, bool overwrite,
                        CopyProgress* progress = nullptr);
// Moves an item into a folder by renaming it, with the refusals of copyItem
// and sameDirectory for the folder the source is in. Across file systems the
// item is copied as copyItem does, and the source is removed only after the
// whole copy stands at the target.
FsResult<Done> moveItem(const QString& source, const QString& folder, bool overwrite,
                        CopyProgress* progress = nullptr);
// The bytes a copy of the item carries: the sizes of its plain files.
int64_t copyByteCount(const QString& source);
// The folder named by the text of the copy/move path prompt: "~" forms as the
// shell expands them, absolute paths, and relative ones from base (or the
// current folder). The folder must exist; it is never created.
FsResult<QString> resolveDestinationFolder(const QString& text, const std::optional<QString>& base);
// The shell's tilde expansion of "~", "~/x", "~user" and "~user/x"; any other
// text, and an unknown user, come back unchanged.
QString expandTilde(const QString& text);

// --- Trash (Trash.cpp)

// Moves an item to the Trash of its volume, where the desktop can restore it.
// A volume without a usable trash is refused with the system's text, and
// nothing is deleted.
FsResult<Done> trashItem(const QString& url);

// --- Writing text (TextWriting.cpp)

// Writes the text in the encoding beside the file, flushes it to the disk and
// renames it over the file, so a reader sees the old or the new content, never
// a part. An existing file keeps its mode. Text that the encoding can't hold
// leaves the file untouched.
FsResult<Done> writeText(const QString& text, const QString& url, TextFileEncoding encoding);

// --- Attributes (ItemAttributes.cpp)

struct ItemAttributes {
    uint16_t mode = 0;
    QString modeText;
    QString dateText;
    QString timeText;
    QString owner;
    QString group;
    bool operator==(const ItemAttributes&) const = default;
};
FsResult<ItemAttributes> readItemAttributes(const QString& url);
// "rwxr-xr-x" (or with a leading "d", "l" or "-") to its mode bits.
FsResult<uint16_t> parseModeText(const QString& text);
// "yy-MM-dd" and "HH:mm:ss" in local time.
FsResult<QDateTime> parseDateTime(const QString& date, const QString& time);
// Both forget the item's remembered rights after success.
FsResult<Done> setPosixPermissions(const QString& url, uint16_t mode);
FsResult<Done> setModificationDate(const QString& url, const QDateTime& date);

// --- Volumes (MountedVolumes.cpp)

// A mounted file system as the system's mount table describes it.
struct MountRecord {
    QString rootPath;
    QString device;
    QString fileSystemType;
    QString name;
    bool operator==(const MountRecord&) const = default;
};
// The disks a user would name: the root first, then by name. Never fails; the
// list always holds a root. Reads the mount table and looks into the media
// folders, which can hang on a dead mount: call it on a worker thread.
QList<MountedVolume> mountedVolumes();
// The mounts of a table in the form of /proc/self/mountinfo, without names.
QList<MountRecord> parseMountTable(const QByteArray& mountInfo);
// The name of a share in the desktop's GVfs folder, whose folder names read
// "smb-share:server=nas,share=music": "music on nas", or the host alone;
// other names stay as they are.
QString gvfsShareName(const QString& folderName);
// The same from given sources: mount records, and the folders whose children
// are media mounts or remote shares (such as /media/$USER and the desktop's
// /run/user/UID/gvfs). Real disks count in the usual places of a user's
// disks, one row per device; network and user FUSE mounts count wherever the
// system keeps none of its own.
QList<MountedVolume> collectVolumes(const QList<MountRecord>& mounts,
                                    const QStringList& mediaFolders);

} // namespace FileSystemService

#pragma once

// Items reached through open folders instead of paths. Each step names an
// item relative to a folder held open, so a folder swapped for a link while
// the work runs can't lead it anywhere else; and an item is put in place by a
// rename that never replaces what it was not meant to replace.
#include "core/FileDescriptor.h"
#include "filesystem/FileSystemService.h"

#include <QByteArray>

#include <sys/stat.h>
#include <sys/types.h>
#include <utility>

namespace ItemTree {

using Descriptor = FileDescriptor;

// Which item a path leads to, whatever links or mounts lie on the way.
struct Identity {
    dev_t device = 0;
    ino_t inode = 0;
    static Identity of(const struct stat& st) { return {st.st_dev, st.st_ino}; }
    bool operator==(const Identity&) const = default;
};

// A folder held open for the steps below; links on its path are followed,
// as the user chose the path.
FsResult<Descriptor> openFolder(const QByteArray& path);
// What stands at the name in the folder; a link is not followed.
FsResult<struct stat> itemAt(int folder, const QByteArray& name);
// Whether the open folder is the item or lies somewhere inside it, found by
// climbing ".." to the root, so links and mounts on the way don't hide it.
FsResult<bool> isWithin(int folder, const Identity& item);

// A hidden name beside target for an item that is not whole yet.
QByteArray temporaryName(const QByteArray& target);

// Renames as rename() does but never over an item: -1 with EEXIST when
// something stands at the target, however late it came. Where the file
// system lacks the kernel's no-replace rename, a file is linked and
// unlinked, a folder checked right before.
int renameNoReplace(int fromFolder, const QByteArray& from, int toFolder, const QByteArray& to);

// Copies the item at name (as st describes it) to the free name toName:
// folders with everything in them, modes and modification times kept, links
// as links. The copy is on the disk when this returns; one that fails is
// removed again. An item that is no longer what st describes when it is
// opened is refused as itemChanged.
FsResult<Done> copy(int fromFolder, const QByteArray& name, const struct stat& st, int toFolder,
                    const QByteArray& toName, FileSystemService::CopyProgress* progress);

// Removes the item for good, a folder with everything in it.
FsResult<Done> remove(int folder, const QByteArray& name);
// The same for an item the program made itself (a copy, an unpacked
// archive): a folder in it that its owner may not change is opened to the
// owner first, as it is the program's own.
FsResult<Done> removeMade(int folder, const QByteArray& name);

// Puts the item at from in the place of the one at to. Plain items change
// places in one rename; where a folder is involved the two are exchanged and
// the old one, then at from, is removed last. The target holds the old or
// the new item at every moment. A failure before the exchange leaves both as
// they were.
FsResult<Done> replace(int fromFolder, const QByteArray& from, int toFolder, const QByteArray& to);

// Flushes a folder's entries (a rename into it) to the disk. A folder that
// can't be opened for it is left as it is.
FsResult<Done> syncFolder(int folder);

} // namespace ItemTree

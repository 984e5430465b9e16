#include "filesystem/ItemTree.h"
#include "core/SystemPath.h"
#include "filesystem/FolderNames.h"

#include <QRandomGenerator>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

namespace ItemTree {

namespace {

using FileSystemService::CopyProgress;
using Kind = FileSystemError::Kind;

// Large enough that the kernel copies big files in few calls, small enough
// that the progress text moves.
constexpr size_t kCopyChunk = 32 * 1024 * 1024;
// How much of the target's name a temporary name keeps, leaving room for the
// rest within the system's limit of 255 bytes.
constexpr qsizetype kTemporaryStem = 200;

FileSystemError lastError() {
    return FileSystemError::fromErrno(errno);
}

FileSystemError changed(const QByteArray& name) {
    return FileSystemError::make(Kind::itemChanged, fromSystemPath(name));
}

// The kernel or the file system lacks a flag of renameat2.
bool renameFlagUnsupported() {
    return errno == EINVAL || errno == ENOSYS;
}

// Whether the data of a file is flushed to the disk at once, or with the
// whole file system when the folder it belongs to is complete: one sync for
// a tree of many small files instead of one each.
enum class Sync { now, withFolder };

// Whether a folder is removed as it is found, or, being a half made copy of
// our own, made writable first so that no read-only folder of it stays.
enum class Removal { asFound, ownCopy };

// Plain read and write, for file systems where the kernel copy is refused.
ssize_t copyChunkByHand(int in, int out) {
    static thread_local std::vector<char> buffer(1024 * 1024);
    const ssize_t got = ::read(in, buffer.data(), buffer.size());
    for (ssize_t written = 0; got > 0 && written < got;) {
        const ssize_t step = ::write(out, buffer.data() + written, size_t(got - written));
        if (step < 0) {
            if (errno == EINTR) {
                continue;
            }
            return -1;
        }
        written += step;
    }
    return got;
}

FsResult<Done> copyBytes(int in, int out, CopyProgress* progress) {
    bool inKernel = true;
    for (;;) {
        if (progress && progress->isStopRequested()) {
            return fail(FileSystemError::make(Kind::stopped));
        }
        ssize_t carried = inKernel ? ::copy_file_range(in, nullptr, out, nullptr, kCopyChunk, 0)
                                   : copyChunkByHand(in, out);
        if (carried < 0 && inKernel &&
            (errno == EXDEV || errno == ENOSYS || errno == EINVAL || errno == EOPNOTSUPP)) {
            inKernel = false;
            continue;
        }
        if (carried < 0 && errno == EINTR) {
            continue;
        }
        if (carried < 0) {
            return fail(lastError());
        }
        if (carried == 0) {
            return Done{};
        }
        if (progress) {
            progress->bytesDone.fetch_add(carried, std::memory_order_relaxed);
        }
    }
}

// The names in an open folder, read through a descriptor of its own so the
// folder's stays usable for the *at calls.
FsResult<std::vector<QByteArray>> namesIn(int folder) {
    const int own = ::fcntl(folder, F_DUPFD_CLOEXEC, 0);
    if (own < 0) {
        return fail(lastError());
    }
    DIR* dir = ::fdopendir(own);
    if (!dir) {
        ::close(own);
        return fail(lastError());
    }
    auto names = FileSystemService::readNames(dir);
    ::closedir(dir);
    return names;
}

// Opens the folder at name, refusing anything that is not the folder st
// describes: a link put in its place is not followed.
FsResult<Descriptor> openInnerFolder(int folder, const QByteArray& name, const struct stat& st) {
    Descriptor inner(
        ::openat(folder, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!inner.isOpen()) {
        return fail(errno == ELOOP || errno == ENOTDIR ? changed(name) : lastError());
    }
    struct stat opened;
    if (::fstat(inner.get(), &opened) != 0) {
        return fail(lastError());
    }
    if (Identity::of(opened) != Identity::of(st)) {
        return fail(changed(name));
    }
    return inner;
}

FsResult<Done> copyNode(int fromFolder, const QByteArray& name, const struct stat& st, int toFolder,
                        const QByteArray& toName, CopyProgress* progress, Sync sync);

FsResult<Done> copyFile(int fromFolder, const QByteArray& name, const struct stat& st, int toFolder,
                        const QByteArray& toName, CopyProgress* progress, Sync sync) {
    // A link put in its place is not followed, a pipe not waited on.
    Descriptor in(
        ::openat(fromFolder, name.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!in.isOpen()) {
        return fail(errno == ELOOP ? changed(name) : lastError());
    }
    struct stat opened;
    if (::fstat(in.get(), &opened) != 0) {
        return fail(lastError());
    }
    if (!S_ISREG(opened.st_mode) || Identity::of(opened) != Identity::of(st)) {
        return fail(changed(name));
    }
    Descriptor out(::openat(toFolder, toName.constData(),
                            O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!out.isOpen()) {
        return fail(lastError());
    }
    if (auto copied = copyBytes(in.get(), out.get(), progress); !copied) {
        return copied;
    }
    const struct timespec times[2] = {st.st_atim, st.st_mtim};
    if (::fchmod(out.get(), st.st_mode & 07777) != 0 || ::futimens(out.get(), times) != 0 ||
        (sync == Sync::now && ::fsync(out.get()) != 0) || !out.close()) {
        return fail(lastError());
    }
    return Done{};
}

FsResult<Done> copyFolder(int fromFolder, const QByteArray& name, const struct stat& st,
                          int toFolder, const QByteArray& toName, CopyProgress* progress,
                          Sync sync) {
    auto in = openInnerFolder(fromFolder, name, st);
    if (!in) {
        return fail(in.error());
    }
    if (::mkdirat(toFolder, toName.constData(), 0700) != 0) {
        return fail(lastError());
    }
    Descriptor out(
        ::openat(toFolder, toName.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!out.isOpen()) {
        return fail(lastError());
    }
    auto names = namesIn(in->get());
    if (!names) {
        return fail(names.error());
    }
    for (const QByteArray& child : *names) {
        if (progress && progress->isStopRequested()) {
            return fail(FileSystemError::make(Kind::stopped));
        }
        auto childStat = itemAt(in->get(), child);
        if (!childStat) {
            return fail(childStat.error());
        }
        auto copied =
            copyNode(in->get(), child, *childStat, out.get(), child, progress, Sync::withFolder);
        if (!copied) {
            return copied;
        }
    }
    // A folder's times are set after its content, which would change them.
    const struct timespec times[2] = {st.st_atim, st.st_mtim};
    if (::fchmod(out.get(), st.st_mode & 07777) != 0 || ::futimens(out.get(), times) != 0 ||
        (sync == Sync::now && ::syncfs(out.get()) != 0)) {
        return fail(lastError());
    }
    return Done{};
}

FsResult<Done> copyLink(int fromFolder, const QByteArray& name, const struct stat& st, int toFolder,
                        const QByteArray& toName) {
    std::vector<char> destination(size_t(st.st_size > 0 ? st.st_size : PATH_MAX) + 1);
    const ssize_t length =
        ::readlinkat(fromFolder, name.constData(), destination.data(), destination.size());
    if (length < 0) {
        return fail(errno == EINVAL ? changed(name) : lastError());
    }
    if (size_t(length) >= destination.size()) {
        return fail(changed(name)); // a longer link took its place
    }
    destination[size_t(length)] = 0;
    if (::symlinkat(destination.data(), toFolder, toName.constData()) != 0) {
        return fail(lastError());
    }
    const struct timespec times[2] = {st.st_atim, st.st_mtim};
    ::utimensat(toFolder, toName.constData(), times, AT_SYMLINK_NOFOLLOW);
    return Done{};
}

FsResult<Done> copyNode(int fromFolder, const QByteArray& name, const struct stat& st, int toFolder,
                        const QByteArray& toName, CopyProgress* progress, Sync sync) {
    switch (st.st_mode & S_IFMT) {
    case S_IFDIR:
        return copyFolder(fromFolder, name, st, toFolder, toName, progress, sync);
    case S_IFLNK:
        return copyLink(fromFolder, name, st, toFolder, toName);
    case S_IFREG:
        return copyFile(fromFolder, name, st, toFolder, toName, progress, sync);
    default:
        if (::mknodat(toFolder, toName.constData(), st.st_mode, st.st_rdev) != 0) {
            return fail(lastError());
        }
        return Done{};
    }
}

FsResult<Done> removeTree(int folder, const QByteArray& name, Removal removal);

FsResult<Done> removeContent(int inner, const QByteArray& name, const struct stat& st,
                             Removal removal) {
    struct stat opened;
    if (::fstat(inner, &opened) != 0) {
        return fail(lastError());
    }
    if (Identity::of(opened) != Identity::of(st)) {
        return fail(changed(name));
    }
    if (removal == Removal::ownCopy && (st.st_mode & 0700) != 0700) {
        ::fchmod(inner, (st.st_mode | 0700) & 07777);
    }
    auto names = namesIn(inner);
    if (!names) {
        return fail(names.error());
    }
    for (const QByteArray& child : *names) {
        if (auto removed = removeTree(inner, child, removal); !removed) {
            return removed;
        }
    }
    return Done{};
}

FsResult<Done> removeTree(int folder, const QByteArray& name, Removal removal) {
    struct stat st;
    if (::fstatat(folder, name.constData(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
        return fail(lastError());
    }
    if (S_ISDIR(st.st_mode)) {
        Descriptor inner(
            ::openat(folder, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (inner.isOpen()) {
            if (auto emptied = removeContent(inner.get(), name, st, removal); !emptied) {
                return emptied;
            }
            if (::unlinkat(folder, name.constData(), AT_REMOVEDIR) != 0) {
                return fail(lastError());
            }
            return Done{};
        }
        if (errno != ELOOP && errno != ENOTDIR) {
            return fail(lastError());
        }
        // No longer a folder: the entry itself goes, never what a link leads to.
    }
    if (::unlinkat(folder, name.constData(), 0) != 0) {
        return fail(lastError());
    }
    return Done{};
}

} // namespace

FsResult<Descriptor> openFolder(const QByteArray& path) {
    Descriptor folder(::open(path.constData(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen()) {
        return fail(lastError());
    }
    return folder;
}

FsResult<struct stat> itemAt(int folder, const QByteArray& name) {
    struct stat st;
    if (::fstatat(folder, name.constData(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
        return fail(lastError());
    }
    return st;
}

FsResult<bool> isWithin(int folder, const Identity& item) {
    Descriptor current(::openat(folder, ".", O_PATH | O_DIRECTORY | O_CLOEXEC));
    struct stat st;
    if (!current.isOpen() || ::fstat(current.get(), &st) != 0) {
        return fail(lastError());
    }
    for (;;) {
        if (Identity::of(st) == item) {
            return true;
        }
        Descriptor parent(::openat(current.get(), "..", O_PATH | O_DIRECTORY | O_CLOEXEC));
        struct stat up;
        if (!parent.isOpen() || ::fstat(parent.get(), &up) != 0) {
            return fail(lastError());
        }
        if (Identity::of(up) == Identity::of(st)) {
            return false; // the root is its own parent
        }
        current = std::move(parent);
        st = up;
    }
}

QByteArray temporaryName(const QByteArray& target) {
    return '.' + target.left(kTemporaryStem) + ".dorvik-" +
           QByteArray::number(QRandomGenerator::global()->generate64(), 16);
}

int renameNoReplace(int fromFolder, const QByteArray& from, int toFolder, const QByteArray& to) {
    if (::renameat2(fromFolder, from.constData(), toFolder, to.constData(), RENAME_NOREPLACE) ==
        0) {
        return 0;
    }
    if (!renameFlagUnsupported()) {
        return -1;
    }
    struct stat st;
    if (::fstatat(fromFolder, from.constData(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
        return -1;
    }
    if (!S_ISDIR(st.st_mode)) {
        // A second name can't be made over an existing one: link, then unlink.
        if (::linkat(fromFolder, from.constData(), toFolder, to.constData(), 0) == 0) {
            if (::unlinkat(fromFolder, from.constData(), 0) == 0) {
                return 0;
            }
            const int error = errno;
            ::unlinkat(toFolder, to.constData(), 0);
            errno = error;
            return -1;
        }
        if (errno != EPERM && errno != EOPNOTSUPP && errno != EMLINK) {
            return -1;
        }
    }
    // A folder, or a file system without hard links: looked at right before.
    if (::fstatat(toFolder, to.constData(), &st, AT_SYMLINK_NOFOLLOW) == 0) {
        errno = EEXIST;
        return -1;
    }
    if (errno != ENOENT) {
        return -1;
    }
    return ::renameat(fromFolder, from.constData(), toFolder, to.constData());
}

FsResult<Done> copy(int fromFolder, const QByteArray& name, const struct stat& st, int toFolder,
                    const QByteArray& toName, CopyProgress* progress) {
    // What already stands at the name is not the copy's to remove on failure.
    if (itemAt(toFolder, toName)) {
        return fail(FileSystemError::fromErrno(EEXIST));
    }
    auto copied = copyNode(fromFolder, name, st, toFolder, toName, progress, Sync::now);
    if (!copied) {
        (void)removeTree(toFolder, toName, Removal::ownCopy);
    }
    return copied;
}

FsResult<Done> remove(int folder, const QByteArray& name) {
    return removeTree(folder, name, Removal::asFound);
}

FsResult<Done> removeMade(int folder, const QByteArray& name) {
    return removeTree(folder, name, Removal::ownCopy);
}

FsResult<Done> replace(int fromFolder, const QByteArray& from, int toFolder, const QByteArray& to) {
    auto fresh = itemAt(fromFolder, from);
    if (!fresh) {
        return fail(fresh.error());
    }
    struct stat old;
    if (::fstatat(toFolder, to.constData(), &old, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno != ENOENT || renameNoReplace(fromFolder, from, toFolder, to) != 0) {
            return fail(lastError());
        }
        return Done{}; // gone meanwhile: the item went in as a new one
    }
    if (!S_ISDIR(fresh->st_mode) && !S_ISDIR(old.st_mode)) {
        if (::renameat(fromFolder, from.constData(), toFolder, to.constData()) != 0) {
            return fail(lastError());
        }
        return Done{};
    }
    if (::renameat2(fromFolder, from.constData(), toFolder, to.constData(), RENAME_EXCHANGE) == 0) {
        return remove(fromFolder, from);
    }
    if (!renameFlagUnsupported()) {
        return fail(lastError());
    }
    // Without the exchange the old item steps aside first, and comes back if
    // the new one can't take its place.
    const QByteArray aside = temporaryName(to);
    if (renameNoReplace(toFolder, to, toFolder, aside) != 0) {
        return fail(lastError());
    }
    if (renameNoReplace(fromFolder, from, toFolder, to) != 0) {
        const FileSystemError error = lastError();
        (void)renameNoReplace(toFolder, aside, toFolder, to);
        return fail(error);
    }
    return remove(toFolder, aside);
}

FsResult<Done> syncFolder(int folder) {
    Descriptor readable(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (readable.isOpen() && ::fsync(readable.get()) != 0 && errno != EINVAL) {
        return fail(lastError());
    }
    return Done{};
}

} // namespace ItemTree

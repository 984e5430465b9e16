// Copying and moving items, and the folder the copy/move path prompt names.
#include "core/SystemPath.h"
#include "filesystem/FileSystemService.h"
#include "filesystem/FolderNames.h"
#include "filesystem/ItemTree.h"

#include "core/PathUtils.h"

#include <QDir>

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace FileSystemService {

namespace {

using Kind = FileSystemError::Kind;
using ItemTree::Descriptor;
using ItemTree::Identity;

FileSystemError lastError() {
    return FileSystemError::fromErrno(errno);
}

// The names inside a folder, "." and ".." left out.
FsResult<std::vector<QByteArray>> childNames(const QByteArray& folder) {
    DIR* dir = ::opendir(folder.constData());
    if (!dir) {
        return fail(lastError());
    }
    auto names = readNames(dir);
    ::closedir(dir);
    return names;
}

// An item held by its open folder, as it was when it was looked at.
struct HeldItem {
    Descriptor folder;
    QByteArray name;
    struct stat st;
};

FsResult<HeldItem> holdItem(const QString& path) {
    const QString standardized = PathUtils::standardizedPath(path);
    auto folder = ItemTree::openFolder(toSystemPath(PathUtils::parentPath(standardized)));
    if (!folder) {
        return fail(folder.error());
    }
    const QByteArray name = toSystemPath(PathUtils::lastPathComponent(standardized));
    auto st = ItemTree::itemAt(folder->get(), name);
    if (!st) {
        return fail(st.error());
    }
    return HeldItem{std::move(*folder), name, *st};
}

FsResult<Descriptor> openDestination(const QString& folder) {
    return ItemTree::openFolder(toSystemPath(PathUtils::standardizedPath(folder)));
}

FsResult<Identity> identityOf(int folder) {
    struct stat st;
    if (::fstat(folder, &st) != 0) {
        return fail(lastError());
    }
    return Identity::of(st);
}

// Refuses to replace an item whose removal would destroy the source: the
// source itself by another path, or a folder that holds it.
FsResult<Done> checkReplaceable(const HeldItem& source, const struct stat& existing) {
    if (Identity::of(existing) == Identity::of(source.st)) {
        return fail(FileSystemError::make(Kind::sameItem));
    }
    if (S_ISDIR(existing.st_mode)) {
        const auto holds = ItemTree::isWithin(source.folder.get(), Identity::of(existing));
        if (!holds) {
            return fail(holds.error());
        }
        if (*holds) {
            return fail(FileSystemError::make(Kind::holdsSource));
        }
    }
    return Done{};
}

// Whether an item stands at the target, once it is clear that the source may
// go there: a folder never into itself, an item never over another unless
// overwriting, and never over what its replacement would destroy.
FsResult<bool> targetTaken(const HeldItem& source, int into, const QString& target,
                           bool overwrite) {
    if (S_ISDIR(source.st.st_mode)) {
        const auto inside = ItemTree::isWithin(into, Identity::of(source.st));
        if (!inside) {
            return fail(inside.error());
        }
        if (*inside) {
            return fail(FileSystemError::make(Kind::intoItself));
        }
    }
    const auto existing =
        ItemTree::itemAt(into, toSystemPath(PathUtils::lastPathComponent(target)));
    if (!existing) {
        if (existing.error().systemError.code == ENOENT) {
            return false;
        }
        return fail(existing.error());
    }
    if (!overwrite) {
        return fail(FileSystemError::make(Kind::alreadyExists, target));
    }
    if (auto replaceable = checkReplaceable(source, *existing); !replaceable) {
        return fail(replaceable.error());
    }
    return true;
}

// Puts a finished item in its place: at a free name by a rename that refuses
// an item come meanwhile, over an item by replacing it.
FsResult<Done> putInPlace(int fromFolder, const QByteArray& from, int into, const QString& target,
                          bool taken) {
    const QByteArray name = toSystemPath(PathUtils::lastPathComponent(target));
    if (taken) {
        return ItemTree::replace(fromFolder, from, into, name);
    }
    if (ItemTree::renameNoReplace(fromFolder, from, into, name) == 0) {
        return Done{};
    }
    if (errno == EEXIST) {
        return fail(FileSystemError::make(Kind::alreadyExists, target));
    }
    return fail(lastError());
}

// Copies beside the target under a temporary name and puts the copy in its
// place once it is whole and on the disk. A failure leaves the target as it
// was and no temporary item.
FsResult<Done> copyInto(const HeldItem& source, int into, const QString& target, bool taken,
                        CopyProgress* progress) {
    const QByteArray temporary =
        ItemTree::temporaryName(toSystemPath(PathUtils::lastPathComponent(target)));
    auto copied =
        ItemTree::copy(source.folder.get(), source.name, source.st, into, temporary, progress);
    if (!copied) {
        return copied;
    }
    if (auto placed = putInPlace(into, temporary, into, target, taken); !placed) {
        (void)ItemTree::remove(into, temporary);
        return placed;
    }
    return ItemTree::syncFolder(into);
}

// The source of a move between file systems, once its copy stands: removed
// only while it is still the item that was copied.
FsResult<Done> removeMovedSource(const HeldItem& source) {
    const auto now = ItemTree::itemAt(source.folder.get(), source.name);
    if (!now) {
        return fail(now.error());
    }
    if (Identity::of(*now) != Identity::of(source.st)) {
        return fail(FileSystemError::make(Kind::itemChanged, fromSystemPath(source.name)));
    }
    return ItemTree::remove(source.folder.get(), source.name);
}

int64_t countBytes(const QByteArray& path) {
    struct stat st;
    if (::lstat(path.constData(), &st) != 0) {
        return 0;
    }
    if (S_ISREG(st.st_mode)) {
        return int64_t(st.st_size);
    }
    int64_t total = 0;
    if (S_ISDIR(st.st_mode)) {
        if (auto names = childNames(path)) {
            for (const QByteArray& name : *names) {
                total += countBytes(path + '/' + name);
            }
        }
    }
    return total;
}

std::optional<QString> homeOfUser(const QString& user) {
    std::vector<char> buffer(16384);
    struct passwd entry;
    struct passwd* found = nullptr;
    const QByteArray name = user.toLocal8Bit();
    const int status =
        name.isEmpty()
            ? ::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found)
            : ::getpwnam_r(name.constData(), &entry, buffer.data(), buffer.size(), &found);
    if (status != 0 || !found || !found->pw_dir) {
        return std::nullopt;
    }
    return fromSystemPath(found->pw_dir);
}

} // namespace

QString destinationItemURL(const QString& source, const QString& folder) {
    return PathUtils::appendingPathComponent(PathUtils::standardizedPath(folder),
                                             PathUtils::lastPathComponent(source));
}

bool isSameItem(const QString& a, const QString& b) {
    if (PathUtils::standardizedPath(a) == PathUtils::standardizedPath(b)) {
        return true;
    }
    struct stat first, second;
    return ::stat(toSystemPath(a).constData(), &first) == 0 &&
           ::stat(toSystemPath(b).constData(), &second) == 0 &&
           Identity::of(first) == Identity::of(second);
}

bool isInsideItem(const QString& folder, const QString& item) {
    struct stat st;
    if (::stat(toSystemPath(item).constData(), &st) != 0 || !S_ISDIR(st.st_mode)) {
        return false;
    }
    const auto into = openDestination(folder);
    if (!into) {
        return false;
    }
    const auto within = ItemTree::isWithin(into->get(), Identity::of(st));
    return within && *within;
}

FsResult<Done> checkOverwrite(const QString& source, const QString& folder) {
    const auto from = holdItem(source);
    const auto into = openDestination(folder);
    if (!from || !into) {
        return Done{}; // the copy or move itself tells why it can't begin
    }
    const QString target = destinationItemURL(source, folder);
    const auto existing =
        ItemTree::itemAt(into->get(), toSystemPath(PathUtils::lastPathComponent(target)));
    return existing ? checkReplaceable(*from, *existing) : FsResult<Done>(Done{});
}

// Both ends of a copy or move, held open: the source item by its folder and
// the destination folder, with the path the item takes there.
struct CarryEnds {
    HeldItem from;
    Descriptor into;
    QString target;
};

FsResult<CarryEnds> openCarryEnds(const QString& source, const QString& folder) {
    auto from = holdItem(source);
    if (!from) {
        return fail(from.error());
    }
    auto into = openDestination(folder);
    if (!into) {
        return fail(into.error());
    }
    return CarryEnds{std::move(*from), std::move(*into), destinationItemURL(source, folder)};
}

FsResult<Done> copyItem(const QString& source, const QString& folder, bool overwrite,
                        CopyProgress* progress) {
    auto ends = openCarryEnds(source, folder);
    if (!ends) {
        return fail(ends.error());
    }
    const auto taken = targetTaken(ends->from, ends->into.get(), ends->target, overwrite);
    if (!taken) {
        return fail(taken.error());
    }
    return copyInto(ends->from, ends->into.get(), ends->target, *taken, progress);
}

FsResult<Done> moveItem(const QString& source, const QString& folder, bool overwrite,
                        CopyProgress* progress) {
    auto ends = openCarryEnds(source, folder);
    if (!ends) {
        return fail(ends.error());
    }
    HeldItem& from = ends->from;
    const Descriptor& into = ends->into;
    const QString& target = ends->target;
    const auto fromFolder = identityOf(from.folder.get());
    const auto intoFolder = identityOf(into.get());
    if (!fromFolder || !intoFolder) {
        return fail(!fromFolder ? fromFolder.error() : intoFolder.error());
    }
    if (*fromFolder == *intoFolder) {
        return fail(FileSystemError::make(Kind::sameDirectory));
    }
    const auto taken = targetTaken(from, into.get(), target, overwrite);
    if (!taken) {
        return fail(taken.error());
    }
    auto moved = putInPlace(from.folder.get(), from.name, into.get(), target, *taken);
    if (moved) {
        if (progress) {
            progress->bytesDone.fetch_add(countBytes(toSystemPath(target)),
                                          std::memory_order_relaxed);
        }
        return ItemTree::syncFolder(into.get());
    }
    if (moved.error().systemError.code != EXDEV) {
        return moved;
    }
    // Another file system: the source goes only once its copy stands whole
    // at the target and on the disk.
    if (auto copied = copyInto(from, into.get(), target, *taken, progress); !copied) {
        return copied;
    }
    return removeMovedSource(from);
}

int64_t copyByteCount(const QString& source) {
    return countBytes(toSystemPath(PathUtils::standardizedPath(source)));
}

QString expandTilde(const QString& text) {
    if (!text.startsWith(QLatin1Char('~'))) {
        return text;
    }
    const qsizetype slash = text.indexOf(QLatin1Char('/'));
    const QString user = text.mid(1, slash < 0 ? -1 : slash - 1);
    const QString rest = slash < 0 ? QString() : text.mid(slash);
    std::optional<QString> home;
    if (user.isEmpty() && !qEnvironmentVariableIsEmpty("HOME")) {
        home = fromSystemPath(qgetenv("HOME"));
    } else {
        home = homeOfUser(user);
    }
    return home ? *home + rest : text;
}

FsResult<QString> resolveDestinationFolder(const QString& text,
                                           const std::optional<QString>& base) {
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty()) {
        return fail(FileSystemError::make(Kind::invalidDestination));
    }
    const QString expanded = expandTilde(trimmed);
    QString path;
    if (expanded.startsWith(QLatin1Char('/'))) {
        path = expanded;
    } else if (base) {
        path = *base + QLatin1Char('/') + expanded;
    } else {
        path = SystemPath::currentFolder() + QLatin1Char('/') + expanded;
    }
    path = PathUtils::standardizedPath(path);
    struct stat st;
    if (::stat(toSystemPath(path).constData(), &st) != 0) {
        return fail(FileSystemError::make(Kind::invalidDestination));
    }
    if (!S_ISDIR(st.st_mode)) {
        return fail(FileSystemError::make(Kind::notADirectory, path));
    }
    return path;
}

} // namespace FileSystemService

// The primitives that change the disk on behalf of the name prompts and the
// copy and move flows. Each is one system call or a short sequence of them;
// none asks the user anything.
#include "filesystem/FileSystemService.h"

#include "core/PathUtils.h"
#include "core/SystemPath.h"
#include "filesystem/ItemTree.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Anything at the path, a dangling link included.
bool somethingExistsAt(const QString& path) {
    struct stat info {};
    return ::lstat(toSystemPath(path).constData(), &info) == 0;
}

} // namespace

namespace FileSystemService {

// --- Naming and creating items

FsResult<QString> validatedItemName(const QString& text) {
    const QString name = text.trimmed();
    const bool invalid = name.isEmpty() || name.contains(QLatin1Char('/')) ||
                         name.contains(QLatin1Char(':')) || name == QLatin1String(".") ||
                         name == QLatin1String("..");
    if (invalid) {
        return fail(FileSystemError::make(FileSystemError::Kind::invalidName));
    }
    return name;
}

// The path a new item of that name takes in the folder, refused when the
// name is not valid or something already stands there.
FsResult<QString> newItemPath(const QString& name, const QString& parent) {
    const auto valid = validatedItemName(name);
    if (!valid) {
        return fail(valid.error());
    }
    const QString target = PathUtils::appendingPathComponent(parent, *valid);
    if (somethingExistsAt(target)) {
        return fail(FileSystemError::make(FileSystemError::Kind::alreadyExists, target));
    }
    return target;
}

FsResult<QString> createFolder(const QString& name, const QString& parent) {
    const auto target = newItemPath(name, parent);
    if (!target) {
        return target;
    }
    if (::mkdir(toSystemPath(*target).constData(), 0777) != 0) {
        return fail(FileSystemError::fromErrno(errno));
    }
    return target;
}

FsResult<QString> createFile(const QString& name, const QString& parent) {
    const auto target = newItemPath(name, parent);
    if (!target) {
        return target;
    }
    const int fd =
        ::open(toSystemPath(*target).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) {
        // The system's reason is not shown for an empty file: the name is.
        return fail(FileSystemError::make(FileSystemError::Kind::createFailed, *target));
    }
    ::close(fd);
    return target;
}

FsResult<QString> renameItem(const QString& url, const QString& newName) {
    const auto valid = validatedItemName(newName);
    if (!valid) {
        return fail(valid.error());
    }
    const QString source = PathUtils::standardizedPath(url);
    const QString target = PathUtils::appendingPathComponent(PathUtils::parentPath(source), *valid);
    if (target == source) {
        return source;
    }
    if (ItemTree::renameNoReplace(AT_FDCWD, toSystemPath(source), AT_FDCWD, toSystemPath(target)) !=
        0) {
        if (errno == EEXIST) {
            return fail(FileSystemError::make(FileSystemError::Kind::alreadyExists, target));
        }
        return fail(FileSystemError::fromErrno(errno));
    }
    return target;
}

} // namespace FileSystemService

// Copying and moving items, and the folder the copy/move path prompt names.
#include "filesystem/FileSystemService.h"
#include "filesystem/FolderNames.h"

#include "core/PathUtils.h"

#include <QDir>
#include <QFile>

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

// Large enough that the kernel copies big files in few calls, small enough
// that the progress text moves.
constexpr size_t kCopyChunk = 32 * 1024 * 1024;

FileSystemError lastError() {
    return FileSystemError::fromErrno(errno);
}

class FileHandle {
public:
    explicit FileHandle(int fd)
        : m_fd(fd) {}
    ~FileHandle() {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;
    int get() const { return m_fd; }
    // Closes now, so that a late write error is not lost.
    int release() {
        const int result = ::close(m_fd);
        m_fd = -1;
        return result;
    }

private:
    int m_fd;
};

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

FsResult<Done> copyFile(const QByteArray& source, const QByteArray& target, const struct stat& st,
                        CopyProgress* progress) {
    FileHandle in(::open(source.constData(), O_RDONLY | O_CLOEXEC));
    if (in.get() < 0) {
        return fail(lastError());
    }
    FileHandle out(::open(target.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (out.get() < 0) {
        return fail(lastError());
    }
    if (auto copied = copyBytes(in.get(), out.get(), progress); !copied) {
        return copied;
    }
    const struct timespec times[2] = {st.st_atim, st.st_mtim};
    if (::fchmod(out.get(), st.st_mode & 07777) != 0 || ::futimens(out.get(), times) != 0 ||
        out.release() != 0) {
        return fail(lastError());
    }
    return Done{};
}

FsResult<Done> copyTree(const QByteArray& source, const QByteArray& target, CopyProgress* progress);

// A folder's times are set after its content, which would change them.
FsResult<Done> copyFolder(const QByteArray& source, const QByteArray& target, const struct stat& st,
                          CopyProgress* progress) {
    if (::mkdir(target.constData(), 0700) != 0) {
        return fail(lastError());
    }
    auto names = childNames(source);
    if (!names) {
        return fail(names.error());
    }
    for (const QByteArray& name : *names) {
        auto copied = copyTree(source + '/' + name, target + '/' + name, progress);
        if (!copied) {
            return copied;
        }
    }
    const struct timespec times[2] = {st.st_atim, st.st_mtim};
    if (::chmod(target.constData(), st.st_mode & 07777) != 0 ||
        ::utimensat(AT_FDCWD, target.constData(), times, 0) != 0) {
        return fail(lastError());
    }
    return Done{};
}

FsResult<Done> copyLink(const QByteArray& source, const QByteArray& target, const struct stat& st) {
    std::vector<char> destination(size_t(st.st_size > 0 ? st.st_size : PATH_MAX) + 1);
    const ssize_t length = ::readlink(source.constData(), destination.data(), destination.size());
    if (length < 0) {
        return fail(lastError());
    }
    destination[size_t(length)] = 0;
    if (::symlink(destination.data(), target.constData()) != 0) {
        return fail(lastError());
    }
    const struct timespec times[2] = {st.st_atim, st.st_mtim};
    ::utimensat(AT_FDCWD, target.constData(), times, AT_SYMLINK_NOFOLLOW);
    return Done{};
}

FsResult<Done> copyTree(const QByteArray& source, const QByteArray& target,
                        CopyProgress* progress) {
    struct stat st;
    if (::lstat(source.constData(), &st) != 0) {
        return fail(lastError());
    }
    switch (st.st_mode & S_IFMT) {
    case S_IFDIR:
        return copyFolder(source, target, st, progress);
    case S_IFLNK:
        return copyLink(source, target, st);
    case S_IFREG:
        return copyFile(source, target, st, progress);
    default:
        if (::mknod(target.constData(), st.st_mode, st.st_rdev) != 0) {
            return fail(lastError());
        }
        return Done{};
    }
}

bool itemExists(const QByteArray& path) {
    struct stat st;
    return ::lstat(path.constData(), &st) == 0;
}

// Removes an item for good, a folder with everything in it.
FsResult<Done> removeItem(const QByteArray& path) {
    struct stat st;
    if (::lstat(path.constData(), &st) != 0) {
        return fail(lastError());
    }
    if (S_ISDIR(st.st_mode)) {
        auto names = childNames(path);
        if (!names) {
            return fail(names.error());
        }
        for (const QByteArray& name : *names) {
            if (auto removed = removeItem(path + '/' + name); !removed) {
                return removed;
            }
        }
        if (::rmdir(path.constData()) != 0) {
            return fail(lastError());
        }
    } else if (::unlink(path.constData()) != 0) {
        return fail(lastError());
    }
    return Done{};
}

// A copy that failed leaves nothing half made behind at the target.
FsResult<Done> copyWhole(const QByteArray& source, const QByteArray& target,
                         CopyProgress* progress) {
    if (target.startsWith(source + '/')) {
        return fail(FileSystemError::fromErrno(EINVAL)); // a folder into itself
    }
    auto copied = copyTree(source, target, progress);
    if (!copied && copied.error().systemError.code != EEXIST && itemExists(target)) {
        (void)removeItem(target);
    }
    return copied;
}

// The target is free, or made free when overwriting.
FsResult<Done> clearTarget(const QString& target, bool overwrite) {
    const QByteArray path = QFile::encodeName(target);
    if (!itemExists(path)) {
        return Done{};
    }
    if (!overwrite) {
        return fail(FileSystemError::make(Kind::alreadyExists, target));
    }
    return removeItem(path);
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
    return QFile::decodeName(found->pw_dir);
}

} // namespace

QString destinationItemURL(const QString& source, const QString& folder) {
    return PathUtils::appendingPathComponent(PathUtils::standardizedPath(folder),
                                             PathUtils::lastPathComponent(source));
}

FsResult<Done> copyItem(const QString& source, const QString& folder, bool overwrite,
                        CopyProgress* progress) {
    const QString target = destinationItemURL(source, folder);
    if (auto cleared = clearTarget(target, overwrite); !cleared) {
        return cleared;
    }
    return copyWhole(QFile::encodeName(PathUtils::standardizedPath(source)),
                     QFile::encodeName(target), progress);
}

FsResult<Done> moveItem(const QString& source, const QString& folder, bool overwrite,
                        CopyProgress* progress) {
    const QString from = PathUtils::standardizedPath(source);
    const QString into = PathUtils::standardizedPath(folder);
    const QString target = destinationItemURL(from, into);
    if (from == target || PathUtils::parentPath(from) == into) {
        return fail(FileSystemError::make(Kind::sameDirectory));
    }
    if (auto cleared = clearTarget(target, overwrite); !cleared) {
        return cleared;
    }
    const QByteArray fromPath = QFile::encodeName(from);
    const QByteArray targetPath = QFile::encodeName(target);
    if (::rename(fromPath.constData(), targetPath.constData()) == 0) {
        if (progress) {
            progress->bytesDone.fetch_add(countBytes(targetPath), std::memory_order_relaxed);
        }
        return Done{};
    }
    if (errno != EXDEV) {
        return fail(lastError());
    }
    // Another file system: the source goes only once its copy is whole.
    if (auto copied = copyWhole(fromPath, targetPath, progress); !copied) {
        return copied;
    }
    return removeItem(fromPath);
}

int64_t copyByteCount(const QString& source) {
    return countBytes(QFile::encodeName(PathUtils::standardizedPath(source)));
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
        home = QFile::decodeName(qgetenv("HOME"));
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
        path = QDir::currentPath() + QLatin1Char('/') + expanded;
    }
    path = PathUtils::standardizedPath(path);
    struct stat st;
    if (::stat(QFile::encodeName(path).constData(), &st) != 0) {
        return fail(FileSystemError::make(Kind::invalidDestination));
    }
    if (!S_ISDIR(st.st_mode)) {
        return fail(FileSystemError::make(Kind::notADirectory, path));
    }
    return path;
}

} // namespace FileSystemService

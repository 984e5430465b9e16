#include "archive/ArchiveTemporaryFolder.h"

#include "core/FileDescriptor.h"
#include "core/SystemPath.h"
#include "filesystem/FolderNames.h"
#include "filesystem/ItemTree.h"

#include <QDir>
#include <QMutex>
#include <QMutexLocker>
#include <QSet>
#include <QUuid>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ArchiveTemporaryFolder {

namespace {

// The longest file name most Linux file systems take, in bytes.
constexpr qsizetype longestFileName = 255;

// What this process made, to be removed at exit. Never destroyed: a worker
// may still be making a copy while the program ends.
struct Made {
    QMutex lock;
    QSet<QString> paths;
};

Made& made() {
    static Made* const instance = [] {
        auto* made = new Made;
        std::atexit(removeAll);
        return made;
    }();
    return *instance;
}

void remember(const QString& path) {
    Made& state = made();
    QMutexLocker locker(&state.lock);
    state.paths.insert(path);
}

QString folderPath() {
    return QDir::tempPath() + QStringLiteral("/Dorvik-archive-") + QString::number(::geteuid());
}

QString failure(const QString& what, int code) {
    return what + QStringLiteral(": ") + SystemError::fromErrno(code).text;
}

// The folder open as a directory once it is known to be the user's own and
// closed to everyone else. It is made atomically by mkdir, and what stands
// at its name is looked at without following a link (lstat); the folder
// then opened must be that same one.
Result<int, QString> openFolder(const QString& path) {
    const QByteArray name = toSystemPath(path);
    if (::mkdir(name.constData(), 0700) != 0 && errno != EEXIST) {
        return fail(failure(QStringLiteral("Cannot make ") + path, errno));
    }
    struct stat standing {};
    if (::lstat(name.constData(), &standing) != 0) {
        return fail(failure(path, errno));
    }
    if (!S_ISDIR(standing.st_mode)) {
        return fail(path + QStringLiteral(" is not a folder"));
    }
    if (standing.st_uid != ::geteuid()) {
        return fail(path + QStringLiteral(" belongs to another user"));
    }
    const int fd = ::open(name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) {
        return fail(failure(path, errno));
    }
    struct stat opened {};
    if (::fstat(fd, &opened) != 0 || opened.st_dev != standing.st_dev ||
        opened.st_ino != standing.st_ino) {
        ::close(fd);
        return fail(path + QStringLiteral(" changed while it was checked"));
    }
    // A folder of the user's own that others may enter is closed to them.
    if ((opened.st_mode & 077) != 0 && ::fchmod(fd, 0700) != 0) {
        const int code = errno;
        ::close(fd);
        return fail(failure(path, code));
    }
    return fd;
}

QString uuid() {
    return QUuid::createUuid().toString(QUuid::WithoutBraces);
}

// head + tail, where a tail too long for the file system loses its
// beginning: its end keeps the extension.
QString fileName(const QString& head, QString tail) {
    while (!tail.isEmpty() && toSystemPath(head + tail).size() > longestFileName) {
        tail.remove(0, 1);
    }
    return head + tail;
}

// Removed by the exact bytes of every name in it: an unpacked member's name
// need not be UTF-8.
void removePath(const QString& path) {
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    if (slash <= 0) {
        return;
    }
    if (auto parent = ItemTree::openFolder(toSystemPath(path.first(slash)))) {
        (void)ItemTree::removeMade(parent->get(), toSystemPath(path.mid(slash + 1)));
    }
}

// How deep the walk for an unpacked file goes: far beyond any archive's folders.
constexpr int deepestFolder = 64;

// The paths of the regular files named name in the folder and the folders
// below it, by their exact bytes; links are not followed.
void collectFilesNamed(int folder, const QString& path, const QByteArray& name, int depth,
                       QStringList& found) {
    const int own = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* dir = own < 0 ? nullptr : ::fdopendir(own);
    if (!dir) {
        if (own >= 0) {
            ::close(own);
        }
        return;
    }
    const auto names = FileSystemService::readNames(dir);
    if (!names) {
        ::closedir(dir);
        return;
    }
    for (const QByteArray& child : *names) {
        struct stat st {};
        if (::fstatat(::dirfd(dir), child.constData(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
            continue;
        }
        const QString childPath = path + QLatin1Char('/') + fromSystemPath(child);
        if (S_ISREG(st.st_mode) && child == name) {
            found.append(childPath);
        } else if (S_ISDIR(st.st_mode) && depth < deepestFolder) {
            const int inner = ::openat(::dirfd(dir), child.constData(),
                                       O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
            if (inner >= 0) {
                collectFilesNamed(inner, childPath, name, depth + 1, found);
                ::close(inner);
            }
        }
    }
    ::closedir(dir);
}

} // namespace

FolderResult folder() {
    const QString path = folderPath();
    auto fd = openFolder(path);
    if (!fd) {
        return fail(fd.error());
    }
    ::close(*fd);
    return path;
}

Result<NewFile, QString> createFile(const QString& memberName) {
    const QString path = folderPath();
    auto opened = openFolder(path);
    if (!opened) {
        return fail(opened.error());
    }
    const FileDescriptor directory(*opened);
    const QString name = fileName(uuid() + QLatin1Char('-'), memberName);
    const int fd = ::openat(directory.get(), toSystemPath(name).constData(),
                            O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0) {
        return fail(failure(QStringLiteral("Cannot make a copy in ") + path, errno));
    }
    const QString filePath = path + QLatin1Char('/') + name;
    remember(filePath);
    return NewFile{fd, filePath};
}

FolderResult createWorkFolder(const QString& prefix) {
    const QString path = folderPath();
    auto opened = openFolder(path);
    if (!opened) {
        return fail(opened.error());
    }
    const FileDescriptor directory(*opened);
    const QString name = prefix + uuid();
    if (::mkdirat(directory.get(), toSystemPath(name).constData(), 0700) != 0) {
        return fail(failure(QStringLiteral("Cannot make a folder in ") + path, errno));
    }
    const QString work = path + QLatin1Char('/') + name;
    remember(work);
    return work;
}

void remove(const QString& path) {
    {
        Made& state = made();
        QMutexLocker locker(&state.lock);
        if (!state.paths.remove(path)) {
            return;
        }
    }
    removePath(path);
}

QStringList filesNamed(const QString& folder, const QString& name) {
    QStringList found;
    const FileDescriptor root(
        ::open(toSystemPath(folder).constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (root.isOpen()) {
        collectFilesNamed(root.get(), folder, toSystemPath(name), 0, found);
    }
    return found;
}

void removeAll() {
    QSet<QString> paths;
    {
        Made& state = made();
        QMutexLocker locker(&state.lock);
        paths.swap(state.paths);
    }
    for (const QString& path : paths) {
        removePath(path);
    }
    // Left in place while another instance of the program still keeps copies there.
    ::rmdir(toSystemPath(folderPath()).constData());
}

} // namespace ArchiveTemporaryFolder

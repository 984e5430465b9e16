// The disks a user would name, from the mount table and the media folders.
#include "filesystem/FileSystemService.h"

#include "core/NaturalOrder.h"
#include "core/PathUtils.h"
#include "core/SystemPath.h"
#include "filesystem/FolderNames.h"
#include "text/ShownFileName.h"

#include <QFile>
#include <QMap>
#include <QSet>
#include <QUrl>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace FileSystemService {

namespace {

// The label of a nameless start-up volume, kept as the program's fixed word.
const QString kRootName = QStringLiteral("Macintosh HD");

bool isSystemInternalType(const QString& type) {
    static const QSet<QString> internal = {
        QStringLiteral("tmpfs"),       QStringLiteral("devtmpfs"),    QStringLiteral("ramfs"),
        QStringLiteral("overlay"),     QStringLiteral("squashfs"),    QStringLiteral("proc"),
        QStringLiteral("sysfs"),       QStringLiteral("devpts"),      QStringLiteral("autofs"),
        QStringLiteral("fuse.portal"), QStringLiteral("mqueue"),      QStringLiteral("debugfs"),
        QStringLiteral("tracefs"),     QStringLiteral("securityfs"),  QStringLiteral("pstore"),
        QStringLiteral("bpf"),         QStringLiteral("configfs"),    QStringLiteral("fusectl"),
        QStringLiteral("hugetlbfs"),   QStringLiteral("binfmt_misc"),
    };
    return internal.contains(type) || type.startsWith(QLatin1String("cgroup"));
}

bool isNetworkType(const QString& type) {
    static const QSet<QString> network = {
        QStringLiteral("nfs"),   QStringLiteral("nfs4"),      QStringLiteral("cifs"),
        QStringLiteral("smb3"),  QStringLiteral("smbfs"),     QStringLiteral("9p"),
        QStringLiteral("afs"),   QStringLiteral("ceph"),      QStringLiteral("glusterfs"),
        QStringLiteral("davfs"), QStringLiteral("fuse.davfs")};
    return network.contains(type);
}

// Mounts made through FUSE by the user: sshfs, rclone, bindfs, the desktop's
// GVfs folder and the like. The system's own FUSE mounts are among the
// internal types.
bool isUserFuseType(const QString& type) {
    return type == QLatin1String("fuse") || type == QLatin1String("fuseblk") ||
           type.startsWith(QLatin1String("fuse."));
}

bool isUnder(const QString& path, const QString& folder) {
    return path == folder || path.startsWith(folder + QLatin1Char('/'));
}

bool isUserPlace(const QString& path) {
    return path == QLatin1String("/") || path.startsWith(QLatin1String("/home")) ||
           isUnder(path, QStringLiteral("/media")) || isUnder(path, QStringLiteral("/run/media")) ||
           isUnder(path, QStringLiteral("/mnt"));
}

// The desktop's per-user GVfs folder, /run/user/UID/gvfs.
bool isGvfsFolder(const QString& path) {
    const QStringList parts = path.split(QLatin1Char('/'));
    return parts.size() == 5 && parts[1] == QLatin1String("run") &&
           parts[2] == QLatin1String("user") && parts[4] == QLatin1String("gvfs");
}

// Where the system keeps mounts of its own; a remote mount is a user's
// anywhere else.
bool isSystemPlace(const QString& path) {
    static const QStringList system = {QStringLiteral("/proc"), QStringLiteral("/sys"),
                                       QStringLiteral("/dev"),  QStringLiteral("/boot"),
                                       QStringLiteral("/snap"), QStringLiteral("/var/lib"),
                                       QStringLiteral("/usr"),  QStringLiteral("/etc")};
    for (const QString& folder : system) {
        if (isUnder(path, folder)) {
            return true;
        }
    }
    return isUnder(path, QStringLiteral("/run")) && !isUnder(path, QStringLiteral("/run/media")) &&
           !isGvfsFolder(path);
}

bool isRemoteOrFuse(const MountRecord& mount) {
    return isNetworkType(mount.fileSystemType) || isUserFuseType(mount.fileSystemType);
}

bool isUserDisk(const MountRecord& mount) {
    const QString path = PathUtils::standardizedPath(mount.rootPath);
    if (isUnder(path, QStringLiteral("/System/Volumes")) ||
        isSystemInternalType(mount.fileSystemType)) {
        return false;
    }
    if (isRemoteOrFuse(mount)) {
        return !isSystemPlace(path);
    }
    return mount.device.startsWith(QLatin1Char('/')) && isUserPlace(path);
}

MountedVolume volumeAt(const QString& path, const QString& label) {
    const bool isRoot = path == QLatin1String("/");
    QString name = label.trimmed();
    if (name.isEmpty()) {
        name = isRoot ? kRootName : ShownFileName::shownName(PathUtils::lastPathComponent(path));
    }
    return {name, path, isRoot};
}

// The path with every link resolved; empty when it leads nowhere. Mount
// points, media folders and device links are named by bytes like any other
// path, so they are read and resolved through the SystemPath pair.
QString resolvedPath(const QString& path) {
    char buffer[PATH_MAX];
    return ::realpath(toSystemPath(path).constData(), buffer) ? fromSystemPath(buffer) : QString();
}

// The names in a folder, sorted by their bytes; none when it can't be read.
std::vector<QByteArray> sortedNamesIn(const QString& folder) {
    const int fd = ::open(toSystemPath(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* dir = fd < 0 ? nullptr : ::fdopendir(fd);
    if (!dir) {
        if (fd >= 0) {
            ::close(fd);
        }
        return {};
    }
    auto names = readNames(dir);
    ::closedir(dir);
    if (!names) {
        return {};
    }
    std::sort(names->begin(), names->end());
    return std::move(*names);
}

// The children of the media folders, hidden ones left out and links
// resolved; what the mount table already gave is not repeated.
void addMediaChildren(const QStringList& mediaFolders, const QMap<QString, QString>& labels,
                      QMap<QString, MountedVolume>& byPath) {
    for (const QString& folder : mediaFolders) {
        for (const QByteArray& bytes : sortedNamesIn(folder)) {
            const QString name = fromSystemPath(bytes);
            if (name.startsWith(QLatin1Char('.')) ||
                name.startsWith(QLatin1String("com.apple.TimeMachine"))) {
                continue;
            }
            const QString resolved = resolvedPath(folder + QLatin1Char('/') + name);
            if (resolved.isEmpty() || !SystemPath::isDirectory(resolved)) {
                continue;
            }
            const QString path = PathUtils::standardizedPath(resolved);
            if (isUnder(path, QStringLiteral("/System/Volumes")) || byPath.contains(path)) {
                continue;
            }
            const QString label =
                labels.value(path, isGvfsFolder(folder) ? gvfsShareName(name) : QString());
            byPath.insert(path, volumeAt(path, label));
        }
    }
}

} // namespace

QList<MountedVolume> collectVolumes(const QList<MountRecord>& mounts,
                                    const QStringList& mediaFolders) {
    QMap<QString, MountedVolume> byPath;
    QMap<QString, QString> labels;
    QSet<QString> devices;
    for (const MountRecord& mount : mounts) {
        const QString path = PathUtils::standardizedPath(mount.rootPath);
        labels.insert(path, mount.name);
        // A disk mounted again elsewhere is one disk; remote and FUSE sources
        // are told apart by where they are mounted.
        const bool sameDisk = !isRemoteOrFuse(mount) && devices.contains(mount.device);
        if (!isUserDisk(mount) || byPath.contains(path) || sameDisk) {
            continue;
        }
        devices.insert(mount.device);
        byPath.insert(path, volumeAt(path, mount.name));
    }
    addMediaChildren(mediaFolders, labels, byPath);
    if (!byPath.contains(QStringLiteral("/"))) {
        byPath.insert(QStringLiteral("/"), {kRootName, QStringLiteral("/"), true});
    }
    QList<MountedVolume> volumes = byPath.values();
    std::stable_sort(volumes.begin(), volumes.end(),
                     [](const MountedVolume& a, const MountedVolume& b) {
                         if (a.isRoot != b.isRoot) {
                             return a.isRoot;
                         }
                         return NaturalOrder::compare(a.name, b.name) < 0;
                     });
    return volumes;
}

namespace {

// The mount table escapes blanks, tabs, line breaks and backslashes in paths
// as three octal digits after a backslash.
QString unescapedField(const QByteArray& field) {
    QByteArray plain;
    plain.reserve(field.size());
    for (qsizetype i = 0; i < field.size(); ++i) {
        const QByteArray digits = field.mid(i + 1, 3);
        bool isOctal = field[i] == '\\' && digits.size() == 3;
        for (const char digit : digits) {
            isOctal = isOctal && digit >= '0' && digit <= '7';
        }
        if (isOctal) {
            plain.append(char(digits.toInt(nullptr, 8)));
            i += 3;
        } else {
            plain.append(field[i]);
        }
    }
    return fromSystemPath(plain);
}

// The labels of block devices by their device path, as udev names them in
// /dev/disk/by-label ("\x20" stands for a blank).
QMap<QString, QString> deviceLabels() {
    const QString folder = QStringLiteral("/dev/disk/by-label");
    QMap<QString, QString> labels;
    for (const QByteArray& bytes : sortedNamesIn(folder)) {
        const QString name = fromSystemPath(bytes);
        const QString device = resolvedPath(folder + QLatin1Char('/') + name);
        if (!device.isEmpty()) {
            labels.insert(device,
                          QString(name).replace(QLatin1String("\\x20"), QLatin1String(" ")));
        }
    }
    return labels;
}

} // namespace

QList<MountRecord> parseMountTable(const QByteArray& mountInfo) {
    QList<MountRecord> mounts;
    for (const QByteArray& line : mountInfo.split('\n')) {
        const QList<QByteArray> fields = line.split(' ');
        // id, parent, device number, root, mount point, options, optional
        // fields up to "-", then type, source and the file system's options.
        const qsizetype separator = fields.indexOf("-", 6);
        if (fields.size() < 6 || separator < 0 || separator + 2 >= fields.size()) {
            continue;
        }
        mounts.append({unescapedField(fields[4]), unescapedField(fields[separator + 2]),
                       QString::fromLatin1(fields[separator + 1]), QString()});
    }
    return mounts;
}

QString gvfsShareName(const QString& folderName) {
    const qsizetype colon = folderName.indexOf(QLatin1Char(':'));
    if (colon < 0) {
        return folderName;
    }
    QMap<QString, QString> keys;
    for (const QString& pair : folderName.mid(colon + 1).split(QLatin1Char(','))) {
        const qsizetype equals = pair.indexOf(QLatin1Char('='));
        if (equals > 0) {
            keys.insert(pair.left(equals),
                        QUrl::fromPercentEncoding(pair.mid(equals + 1).toUtf8()));
        }
    }
    const QString host = keys.value(QStringLiteral("server"), keys.value(QStringLiteral("host")));
    const QString share = keys.value(QStringLiteral("share"));
    if (host.isEmpty()) {
        return folderName;
    }
    return share.isEmpty() ? host : share + QStringLiteral(" on ") + host;
}

QList<MountedVolume> mountedVolumes() {
    QFile table(QStringLiteral("/proc/self/mountinfo"));
    QList<MountRecord> mounts;
    if (table.open(QIODevice::ReadOnly)) {
        mounts = parseMountTable(table.readAll());
    }
    // The shortest path of a device comes first, so its main mount names it.
    std::stable_sort(mounts.begin(), mounts.end(), [](const auto& a, const auto& b) {
        return a.rootPath.size() < b.rootPath.size();
    });
    const QMap<QString, QString> labels = deviceLabels();
    for (MountRecord& mount : mounts) {
        if (mount.device.startsWith(QLatin1Char('/'))) {
            mount.name = labels.value(resolvedPath(mount.device));
        }
    }
    const QString user = QString::fromLocal8Bit(qgetenv("USER"));
    QStringList mediaFolders;
    if (!user.isEmpty()) {
        mediaFolders << QStringLiteral("/media/") + user << QStringLiteral("/run/media/") + user;
    }
    mediaFolders << QStringLiteral("/run/user/%1/gvfs").arg(::getuid());
    return collectVolumes(mounts, mediaFolders);
}

} // namespace FileSystemService

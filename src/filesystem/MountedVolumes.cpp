// The disks a user would name, from the mount table and the media folders.
#include "filesystem/FileSystemService.h"

#include "core/NaturalOrder.h"
#include "core/PathUtils.h"

#include <QDir>
#include <QFileInfo>
#include <QMap>
#include <QSet>
#include <QStorageInfo>

#include <algorithm>
#include <unistd.h>

namespace FileSystemService {

namespace {

// The label of a nameless start-up volume, kept as the program's fixed word.
const QString kRootName = QStringLiteral("Macintosh HD");

bool isSystemInternalType(const QString& type) {
    static const QSet<QString> internal = {
        QStringLiteral("tmpfs"),       QStringLiteral("devtmpfs"),
        QStringLiteral("ramfs"),       QStringLiteral("overlay"),
        QStringLiteral("squashfs"),    QStringLiteral("proc"),
        QStringLiteral("sysfs"),       QStringLiteral("devpts"),
        QStringLiteral("autofs"),      QStringLiteral("fuse.gvfsd-fuse"),
        QStringLiteral("fuse.portal"), QStringLiteral("mqueue"),
        QStringLiteral("debugfs"),     QStringLiteral("tracefs"),
        QStringLiteral("securityfs"),  QStringLiteral("pstore"),
        QStringLiteral("bpf"),         QStringLiteral("configfs"),
        QStringLiteral("fusectl"),     QStringLiteral("hugetlbfs"),
        QStringLiteral("binfmt_misc"),
    };
    return internal.contains(type) || type.startsWith(QLatin1String("cgroup"));
}

bool isNetworkType(const QString& type) {
    static const QSet<QString> network = {QStringLiteral("nfs"), QStringLiteral("nfs4"),
                                          QStringLiteral("cifs"), QStringLiteral("smb3"),
                                          QStringLiteral("fuse.sshfs")};
    return network.contains(type);
}

bool isUnder(const QString& path, const QString& folder) {
    return path == folder || path.startsWith(folder + QLatin1Char('/'));
}

bool isUserPlace(const QString& path) {
    return path == QLatin1String("/") || path.startsWith(QLatin1String("/home")) ||
           isUnder(path, QStringLiteral("/media")) || isUnder(path, QStringLiteral("/run/media")) ||
           isUnder(path, QStringLiteral("/mnt"));
}

bool isUserDisk(const MountRecord& mount) {
    const QString path = PathUtils::standardizedPath(mount.rootPath);
    if (isUnder(path, QStringLiteral("/System/Volumes")) ||
        isSystemInternalType(mount.fileSystemType)) {
        return false;
    }
    const bool realDevice = mount.device.startsWith(QLatin1Char('/'));
    return (realDevice || isNetworkType(mount.fileSystemType)) && isUserPlace(path);
}

MountedVolume volumeAt(const QString& path, const QString& label) {
    const bool isRoot = path == QLatin1String("/");
    QString name = label.trimmed();
    if (name.isEmpty()) {
        name = isRoot ? kRootName : PathUtils::lastPathComponent(path);
    }
    return {name, path, isRoot};
}

// The children of the media folders, links resolved; what the mount table
// already gave is not repeated.
void addMediaChildren(const QStringList& mediaFolders, const QMap<QString, QString>& labels,
                      QMap<QString, MountedVolume>& byPath) {
    for (const QString& folder : mediaFolders) {
        const QFileInfoList children =
            QDir(folder).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
        for (const QFileInfo& child : children) {
            if (child.fileName().startsWith(QLatin1String("com.apple.TimeMachine"))) {
                continue;
            }
            const QString resolved = child.canonicalFilePath();
            if (resolved.isEmpty() || !QFileInfo(resolved).isDir()) {
                continue;
            }
            const QString path = PathUtils::standardizedPath(resolved);
            if (isUnder(path, QStringLiteral("/System/Volumes")) || byPath.contains(path)) {
                continue;
            }
            byPath.insert(path, volumeAt(path, labels.value(path)));
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
        if (!isUserDisk(mount) || byPath.contains(path) || devices.contains(mount.device)) {
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

QList<MountedVolume> mountedVolumes() {
    QList<MountRecord> mounts;
    QList<QStorageInfo> storages = QStorageInfo::mountedVolumes();
    // The shortest path of a device comes first, so its main mount names it.
    std::stable_sort(storages.begin(), storages.end(), [](const auto& a, const auto& b) {
        return a.rootPath().size() < b.rootPath().size();
    });
    for (const QStorageInfo& storage : storages) {
        if (storage.isValid() && storage.isReady()) {
            mounts.append({storage.rootPath(), QString::fromLocal8Bit(storage.device()),
                           QString::fromLatin1(storage.fileSystemType()), storage.name()});
        }
    }
    const QString user = QString::fromLocal8Bit(qgetenv("USER"));
    QStringList mediaFolders;
    if (!user.isEmpty()) {
        mediaFolders << QStringLiteral("/media/") + user << QStringLiteral("/run/media/") + user;
    }
    return collectVolumes(mounts, mediaFolders);
}

} // namespace FileSystemService

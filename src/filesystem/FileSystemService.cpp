#include "filesystem/FileSystemService.h"
#include "filesystem/FolderNames.h"

#include "archive/ArchiveKind.h"
#include "core/NaturalOrder.h"
#include "core/PathUtils.h"
#include "core/SystemPath.h"
#include "filesystem/AccountNames.h"
#include "text/ShownFileName.h"

#include <algorithm>
#include <vector>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace FileSystemService {

namespace {

QDateTime dateFromStat(const struct stat& st) {
    const qint64 msecs = qint64(st.st_mtim.tv_sec) * 1000 + st.st_mtim.tv_nsec / 1000000;
    return QDateTime::fromMSecsSinceEpoch(msecs, Qt::UTC);
}

FileEntry parentRow(const QString& folder, const QString& parent) {
    FileEntry row;
    row.id = QStringLiteral("parent:") + folder;
    row.name = row.localizedName = QStringLiteral("..");
    row.url = parent;
    row.isDirectory = row.isParent = true;
    row.isReadable = row.isWritable = true;
    row.permissionMode = QStringLiteral("drwx------");
    row.ownerName = row.groupName = QStringLiteral("-");
    struct stat st;
    if (::stat(toSystemPath(parent).constData(), &st) == 0) {
        row.modificationDate = dateFromStat(st);
    }
    return row;
}

FileEntry itemRow(const QString& path, const QString& name, const struct stat& st) {
    FileEntry row;
    row.id = path;
    row.name = name;
    row.localizedName = ShownFileName::shownName(name);
    row.url = path;
    row.isDirectory = S_ISDIR(st.st_mode);
    row.isHidden = name.startsWith(QLatin1Char('.'));
    row.isZipArchive = !row.isDirectory && ArchiveService::archiveKind(name) != ArchiveKind::other;
    if (!row.isDirectory) {
        row.size = int64_t(st.st_size);
    }
    row.modificationDate = dateFromStat(st);
    const auto rights = accessRights(path, row.isDirectory, row.isZipArchive, &st);
    row.isReadable = rights.readable;
    row.isWritable = rights.writable;
    row.permissionMode = rights.mode;
    row.ownerName = rights.owner;
    row.groupName = rights.group;
    return row;
}

// Follows a link once more, only for links, so that listing plain files
// costs nothing extra.
bool linksToFolder(int dirFd, const QByteArray& name) {
    struct stat target;
    return ::fstatat(dirFd, name.constData(), &target, 0) == 0 && S_ISDIR(target.st_mode);
}

struct DirCloser {
    void operator()(DIR* dir) const { ::closedir(dir); }
};

// How many items are read between two looks at the stop request.
constexpr qsizetype kStopCheckInterval = 256;

// Reads every named item; the first item that can't be read ends the listing.
FsResult<QList<FileEntry>> readItems(int dirFd, const std::vector<QByteArray>& names,
                                     const QString& folder, bool showHidden,
                                     const ListingControl& control) {
    QList<FileEntry> rows;
    rows.reserve(qsizetype(names.size()) + 1);
    const QString prefix = folder == QLatin1String("/") ? folder : folder + QLatin1Char('/');
    qsizetype read = 0;
    for (const QByteArray& raw : names) {
        if (++read % kStopCheckInterval == 0) {
            if (control.stop.stop_requested()) {
                return fail(FileSystemError::fromErrno(ECANCELED));
            }
            if (control.readCount) {
                control.readCount->store(read, std::memory_order_relaxed);
            }
        }
        struct stat st;
        if (::fstatat(dirFd, raw.constData(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
            return fail(FileSystemError::fromErrno(errno));
        }
        const QString name = fromSystemPath(raw);
        if (!showHidden && name.startsWith(QLatin1Char('.'))) {
            continue;
        }
        rows.append(itemRow(prefix + name, name, st));
        rows.last().isLinkToFolder = S_ISLNK(st.st_mode) && linksToFolder(dirFd, raw);
    }
    return rows;
}

QString typeLetter(bool isDirectory, bool isArchive, const struct stat& st) {
    if (isDirectory) {
        return QStringLiteral("d");
    }
    if (isArchive) {
        return QStringLiteral("-");
    }
    return S_ISLNK(st.st_mode) ? QStringLiteral("l") : QStringLiteral("-");
}

FileAccessMemory::Record rightsFromStat(bool isDirectory, bool isArchive, const struct stat& st) {
    const auto mode = uint16_t(st.st_mode);
    FileAccessMemory::Record record;
    record.mode = typeLetter(isDirectory, isArchive, st) + permissionBits(mode);
    record.owner = AccountNames::userName(st.st_uid);
    record.group = AccountNames::groupName(st.st_gid);
    // Only the owner's bits count; a folder needs read and search.
    record.readable = isDirectory ? (mode & 0500) == 0500 : (mode & 0400) != 0;
    record.writable = (mode & 0200) != 0;
    return record;
}

} // namespace

FsResult<std::vector<QByteArray>> readNames(DIR* dir) {
    std::vector<QByteArray> names;
    errno = 0;
    while (const struct dirent* item = ::readdir(dir)) {
        const char* raw = item->d_name;
        if (raw[0] == '.' && (raw[1] == 0 || (raw[1] == '.' && raw[2] == 0))) {
            continue;
        }
        names.emplace_back(raw);
        errno = 0;
    }
    if (errno != 0) {
        return fail(FileSystemError::fromErrno(errno));
    }
    return names;
}

namespace {

FsResult<QList<FileEntry>> listFolder(const QString& url, bool showHidden, FilerSortMode sortMode,
                                      bool sortByLocalizedName,
                                      const std::function<void()>& afterEnumeration,
                                      const ListingControl& control) {
    const QString folder = PathUtils::standardizedPath(url);
    const QByteArray encoded = toSystemPath(folder);
    struct stat st;
    if (::stat(encoded.constData(), &st) != 0 || !S_ISDIR(st.st_mode)) {
        return fail(FileSystemError::make(FileSystemError::Kind::notADirectory, folder));
    }
    std::unique_ptr<DIR, DirCloser> dir(::opendir(encoded.constData()));
    if (!dir) {
        return fail(FileSystemError::fromErrno(errno));
    }
    auto names = readNames(dir.get());
    if (!names) {
        return fail(names.error());
    }
    if (afterEnumeration) {
        afterEnumeration();
    }
    auto items = readItems(::dirfd(dir.get()), *names, folder, showHidden, control);
    if (!items) {
        return items;
    }
    if (control.readCount) {
        control.readCount->store(qsizetype(names->size()), std::memory_order_relaxed);
    }
    if (control.stop.stop_requested()) {
        return fail(FileSystemError::fromErrno(ECANCELED));
    }
    QList<FileEntry> rows;
    rows.reserve(items->size() + 1);
    const QString parent = PathUtils::parentPath(folder);
    if (parent != folder) {
        rows.append(parentRow(folder, parent));
    }
    rows.append(std::move(*items));
    sortEntries(rows, sortMode, sortByLocalizedName);
    FileAccessMemory::persist();
    return rows;
}

} // namespace

FsResult<QList<FileEntry>> listDirectory(const QString& url, bool showHidden,
                                         FilerSortMode sortMode, bool sortByLocalizedName) {
    return listFolder(url, showHidden, sortMode, sortByLocalizedName, {}, {});
}

FsResult<QList<FileEntry>> listDirectory(const QString& url, bool showHidden,
                                         FilerSortMode sortMode, bool sortByLocalizedName,
                                         const std::function<void()>& afterEnumeration) {
    return listFolder(url, showHidden, sortMode, sortByLocalizedName, afterEnumeration, {});
}

FsResult<QList<FileEntry>> listDirectory(const QString& url, bool showHidden,
                                         FilerSortMode sortMode, bool sortByLocalizedName,
                                         const ListingControl& control) {
    return listFolder(url, showHidden, sortMode, sortByLocalizedName, {}, control);
}

FileAccessMemory::Record accessRights(const QString& url, bool isDirectory, bool isArchive) {
    if (auto remembered = FileAccessMemory::rememberedRecord(url)) {
        return *remembered;
    }
    struct stat st;
    const bool readOk = ::lstat(toSystemPath(url).constData(), &st) == 0;
    return accessRights(url, isDirectory, isArchive, readOk ? &st : nullptr);
}

FileAccessMemory::Record accessRights(const QString& url, bool isDirectory, bool isArchive,
                                      const struct stat* itemStat) {
    if (auto remembered = FileAccessMemory::rememberedRecord(url)) {
        return *remembered;
    }
    FileAccessMemory::Record record;
    if (itemStat) {
        record = rightsFromStat(isDirectory, isArchive, *itemStat);
    } else {
        record.mode =
            isDirectory || isArchive ? QStringLiteral("d---------") : QStringLiteral("----------");
        record.owner = record.group = QStringLiteral("-");
    }
    FileAccessMemory::remember(record, url, false);
    return record;
}

QString permissionBits(uint16_t mode) {
    static const char letters[] = "rwxrwxrwx";
    QString bits(9, QLatin1Char('-'));
    for (int i = 0; i < 9; ++i) {
        if (mode & (0400 >> i)) {
            bits[i] = QLatin1Char(letters[i]);
        }
    }
    return bits;
}

QString normalizedPathKey(const QString& url) {
    QString path = PathUtils::standardizedPath(url);
    while (path.size() >= 2 && path.endsWith(QLatin1Char('/'))) {
        path.chop(1);
    }
    return path.normalized(QString::NormalizationForm_D);
}

bool systemShowsAllExtensions() {
    return false;
}

} // namespace FileSystemService

#include "filesystem/FileSystemService.h"
#include "filesystem/FolderNames.h"

#include "archive/ArchiveKind.h"
#include "core/NameBlock.h"
#include "core/NaturalOrder.h"
#include "core/PathUtils.h"
#include "core/SystemPath.h"
#include "filesystem/AccountNames.h"
#include "text/ShownFileName.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace FileSystemService {

namespace {

// The name of a listed item as the rows keep it, from the bytes the system
// gives: the one place where the listing decodes a name.
QString itemName(const QByteArray& raw) {
    return fromSystemPath(raw);
}

int64_t msecsOf(const struct timespec& time) {
    return int64_t(time.tv_sec) * 1000 + time.tv_nsec / 1000000;
}

FileEntry parentRow(const QString& folder, const QString& parent) {
    FileEntry row;
    row.setId(QStringLiteral("parent:") + folder);
    row.name = QStringLiteral("..");
    row.setUrl(parent);
    row.isDirectory = row.isParent = true;
    row.isReadable = row.isWritable = true;
    static const RowRights* const rights =
        internedRights(QStringLiteral("drwx------"), QStringLiteral("-"), QStringLiteral("-"));
    row.setRights(rights);
    struct stat st;
    if (::stat(toSystemPath(parent).constData(), &st) == 0) {
        row.setModificationTime(msecsOf(st.st_mtim));
    }
    return row;
}

// Follows a link once more, only for links, so that listing plain files
// costs nothing extra.
bool linksToFolder(int dirFd, const char* name) {
    struct stat target;
    return ::fstatat(dirFd, name, &target, 0) == 0 && S_ISDIR(target.st_mode);
}

// What the rows of one folder share while they are read.
struct FolderRows {
    int dirFd = -1;
    QString prefix;
    FileEntry::Folder folder;
    bool showHidden = false;
    bool byLocalized = false;
    const ListingControl& control;
    // Items read so far by all the readers of the folder.
    std::atomic<qsizetype>& read;
};

// The rows read from a run of names, each with the key it sorts by.
struct ReadRows {
    QList<FileEntry> rows;
    std::vector<QCollatorSortKey> keys;
};

FileEntry itemRow(const FolderRows& folder, const QString& name, const struct stat& st) {
    FileEntry row;
    row.name = name;
    row.setLocalizedName(ShownFileName::shownName(name));
    row.setFolder(folder.folder);
    row.isDirectory = S_ISDIR(st.st_mode);
    row.isHidden = name.startsWith(QLatin1Char('.'));
    row.isZipArchive = !row.isDirectory && ArchiveService::archiveKind(name) != ArchiveKind::other;
    if (!row.isDirectory) {
        row.size = int64_t(st.st_size);
    }
    row.setModificationTime(msecsOf(st.st_mtim));
    const auto rights = accessRights(folder.prefix + name, row.isDirectory, row.isZipArchive, &st);
    row.isReadable = rights.readable;
    row.isWritable = rights.writable;
    row.setRights(rights.mode, rights.owner, rights.group);
    return row;
}

// How many items are read between two looks at the stop request.
constexpr qsizetype kStopCheckInterval = 256;

bool stopCheck(const FolderRows& folder) {
    const qsizetype read = folder.read.fetch_add(kStopCheckInterval) + kStopCheckInterval;
    if (folder.control.readCount) {
        folder.control.readCount->store(read, std::memory_order_relaxed);
    }
    return folder.control.stop.stop_requested();
}

// Reads the named items from first to last; the first item that can't be
// read ends the listing.
FsResult<ReadRows> readItems(const FolderRows& folder, const std::vector<QByteArray>& names,
                             size_t first, size_t last) {
    qsizetype nameBytes = 0;
    for (size_t i = first; i < last; ++i) {
        nameBytes += names[i].size() + 1;
    }
    // A decoded name has no more UTF-16 units than it has bytes.
    NameBlock block(nameBytes);
    ReadRows read;
    read.rows.reserve(qsizetype(last - first));
    read.keys.reserve(last - first);
    for (size_t i = first; i < last; ++i) {
        if ((i - first + 1) % kStopCheckInterval == 0 && stopCheck(folder)) {
            return fail(FileSystemError::fromErrno(ECANCELED));
        }
        const char* raw = names[i].constData();
        struct stat st;
        if (::fstatat(folder.dirFd, raw, &st, AT_SYMLINK_NOFOLLOW) != 0) {
            return fail(FileSystemError::fromErrno(errno));
        }
        const QString decoded = itemName(names[i]);
        if (!folder.showHidden && decoded.startsWith(QLatin1Char('.'))) {
            continue;
        }
        const QString name = block.add(decoded);
        read.rows.append(itemRow(folder, name, st));
        read.rows.last().isLinkToFolder = S_ISLNK(st.st_mode) && linksToFolder(folder.dirFd, raw);
        read.keys.push_back(sortNameKey(read.rows.last(), folder.byLocalized));
    }
    return read;
}

// Below this many items a second reader costs more than it saves.
constexpr size_t kSplitThreshold = 2048;

// Reads all items, the second half on a thread of its own for a large
// folder: the stats and the sort keys of a hundred thousand items take long
// enough for the second core to pay. The halves join in the system's order.
FsResult<ReadRows> readAllItems(const FolderRows& folder, const std::vector<QByteArray>& names) {
    if (names.size() < kSplitThreshold) {
        return readItems(folder, names, 0, names.size());
    }
    const size_t middle = names.size() / 2;
    std::optional<FsResult<ReadRows>> second;
    std::thread helper([&] { second.emplace(readItems(folder, names, middle, names.size())); });
    auto first = readItems(folder, names, 0, middle);
    helper.join();
    if (!first) {
        return first;
    }
    if (!*second) {
        return std::move(*second);
    }
    first->rows.append(std::move((*second)->rows));
    first->keys.insert(first->keys.end(), std::make_move_iterator((*second)->keys.begin()),
                       std::make_move_iterator((*second)->keys.end()));
    return first;
}

struct DirCloser {
    void operator()(DIR* dir) const { ::closedir(dir); }
};

// The type letter of a mode: "d" for a folder, "-" for an archive and a
// plain file, "l" for a link.
char typeLetter(bool isDirectory, bool isArchive, const struct stat& st) {
    if (isDirectory) {
        return 'd';
    }
    if (isArchive) {
        return '-';
    }
    return S_ISLNK(st.st_mode) ? 'l' : '-';
}

// The ten letters of a mode, one shared text per distinct value: the
// memory and the rows of a folder then hold the same few texts.
const QString& modeText(char letter, uint16_t bits) {
    static const std::array<char, 3> letters{'d', '-', 'l'};
    static const std::vector<QString> texts = [] {
        std::vector<QString> all;
        all.reserve(letters.size() * 512);
        for (const char type : letters) {
            for (uint16_t value = 0; value < 512; ++value) {
                all.push_back(QLatin1Char(type) + permissionBits(value));
            }
        }
        return all;
    }();
    const auto row = size_t(std::find(letters.begin(), letters.end(), letter) - letters.begin());
    return texts[row * 512 + (bits & 0777)];
}

FileAccessMemory::Record rightsFromStat(bool isDirectory, bool isArchive, const struct stat& st) {
    const auto mode = uint16_t(st.st_mode);
    FileAccessMemory::Record record;
    record.mode = modeText(typeLetter(isDirectory, isArchive, st), mode);
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

// The folder opened once: its items are then read relative to it, with no
// walk of the whole path per item.
FsResult<std::unique_ptr<DIR, DirCloser>> openFolder(const QString& folder) {
    const QByteArray encoded = toSystemPath(folder);
    const auto notADirectory = [&] {
        return fail(FileSystemError::make(FileSystemError::Kind::notADirectory, folder));
    };
    const int fd = ::open(encoded.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
        const int error = errno;
        struct stat st;
        if (::stat(encoded.constData(), &st) != 0 || !S_ISDIR(st.st_mode)) {
            return notADirectory();
        }
        return fail(FileSystemError::fromErrno(error));
    }
    std::unique_ptr<DIR, DirCloser> dir(::fdopendir(fd));
    if (!dir) {
        const int error = errno;
        ::close(fd);
        return fail(FileSystemError::fromErrno(error));
    }
    return dir;
}

FsResult<QList<FileEntry>> listFolder(const QString& url, bool showHidden, FilerSortMode sortMode,
                                      bool sortByLocalizedName,
                                      const std::function<void()>& afterEnumeration,
                                      const ListingControl& control) {
    const QString folder = PathUtils::standardizedPath(url);
    auto dir = openFolder(folder);
    if (!dir) {
        return fail(dir.error());
    }
    auto names = readNames(dir->get());
    if (!names) {
        return fail(names.error());
    }
    if (afterEnumeration) {
        afterEnumeration();
    }
    std::atomic<qsizetype> read = 0;
    const FolderRows rows{::dirfd(dir->get()),
                          folder == QLatin1String("/") ? folder : folder + QLatin1Char('/'),
                          FileEntry::Folder(folder),
                          showHidden,
                          sortByLocalizedName,
                          control,
                          read};
    auto items = readAllItems(rows, *names);
    if (!items) {
        return fail(items.error());
    }
    if (control.readCount) {
        control.readCount->store(qsizetype(names->size()), std::memory_order_relaxed);
    }
    if (control.stop.stop_requested()) {
        return fail(FileSystemError::fromErrno(ECANCELED));
    }
    const QString parent = PathUtils::parentPath(folder);
    if (parent != folder) {
        items->rows.prepend(parentRow(folder, parent));
        items->keys.insert(items->keys.begin(), sortNameKey(items->rows.first(), false));
    }
    sortEntriesByKeys(items->rows, items->keys, sortMode);
    FileAccessMemory::persist();
    return std::move(items->rows);
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

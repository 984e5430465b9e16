#include "archive/ZipArchiveService.h"

#include "core/PathUtils.h"
#include "core/SystemPath.h"

#include <QHash>
#include <QMutex>
#include <QMutexLocker>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace ZipArchiveService {

namespace {

ZipArchiveError systemFailure(int code) {
    return ZipArchiveError::fromSystem(SystemError::fromErrno(code));
}

// The process-wide index cache. The lock is held for a look-up or a store,
// never while a file is read or parsed, so two threads may parse the same
// archive at once; the last store wins.
struct IndexCache {
    QMutex lock;
    QHash<QString, CachedIndex> indexes;
};

IndexCache& indexCache() {
    static IndexCache cache;
    return cache;
}

std::optional<QList<ZipMember>> lookUp(const QString& path, std::optional<int64_t> stamp) {
    IndexCache& cache = indexCache();
    QMutexLocker locker(&cache.lock);
    const auto found = cache.indexes.constFind(path);
    if (found == cache.indexes.constEnd() || found->modification != stamp) {
        return std::nullopt;
    }
    return found->members;
}

void store(const QString& path, CachedIndex index) {
    IndexCache& cache = indexCache();
    QMutexLocker locker(&cache.lock);
    cache.indexes.insert(path, std::move(index));
}

ArchiveMember archiveMember(const ZipMember& member) {
    return ArchiveMember{member.path, member.isDirectory, member.size, member.modificationDate};
}

} // namespace

ArchiveFile::~ArchiveFile() {
    if (m_fd >= 0) {
        ::close(m_fd);
    }
}

ArchiveFile::ArchiveFile(ArchiveFile&& other) noexcept
    : m_fd(std::exchange(other.m_fd, -1))
    , m_size(other.m_size)
    , m_stamp(other.m_stamp) {}

ZipResult<ArchiveFile> ArchiveFile::open(const QString& path) {
    // O_NONBLOCK: opening a FIFO would otherwise wait for a writer. It has no
    // effect on the reads of a regular file, the only kind kept open.
    const int fd =
        ::open(toSystemPath(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) {
        return fail(systemFailure(errno));
    }
    struct stat info {};
    if (::fstat(fd, &info) != 0) {
        const int code = errno;
        ::close(fd);
        return fail(systemFailure(code));
    }
    if (!S_ISREG(info.st_mode)) {
        ::close(fd);
        return fail(ZipArchiveError::listFailed(path, QStringLiteral("Not a regular file")));
    }
    const int64_t stamp = int64_t(info.st_mtim.tv_sec) * 1'000'000'000 + info.st_mtim.tv_nsec;
    return ArchiveFile(fd, uint64_t(info.st_size), stamp);
}

std::optional<QByteArray> ArchiveFile::read(uint64_t offset, qsizetype length) const {
    if (length < 0 || offset > m_size || uint64_t(length) > m_size - offset) {
        return std::nullopt;
    }
    QByteArray bytes(length, Qt::Uninitialized);
    qsizetype filled = 0;
    while (filled < length) {
        const ssize_t got = ::pread(m_fd, bytes.data() + filled, size_t(length - filled),
                                    off_t(offset + uint64_t(filled)));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        // An error, or the end of a file that has shrunk since it was opened.
        if (got <= 0) {
            return std::nullopt;
        }
        filled += got;
    }
    return bytes;
}

namespace {

// The members of an open archive, through the cache.
ZipResult<QList<ZipMember>> indexOf(const QString& path, const ArchiveFile& file) {
    const int64_t stamp = file.modificationStamp();
    if (auto members = lookUp(path, stamp)) {
        return *members;
    }
    auto members = parseArchive(file);
    if (members) {
        store(path, CachedIndex{stamp, *members});
    }
    return members;
}

// The first file member of the path without a trailing "/", else of the
// path as given; directories are never chosen.
const ZipMember* chosenMember(const QList<ZipMember>& members, const QString& memberPath) {
    const QString wanted =
        memberPath.endsWith(QLatin1Char('/')) ? memberPath.chopped(1) : memberPath;
    for (const QString& candidate : {wanted, memberPath}) {
        for (const ZipMember& member : members) {
            if (!member.isDirectory && member.path == candidate) {
                return &member;
            }
        }
    }
    return nullptr;
}

// Opens the archive once and reads the member from that same opening, so
// the index and the bytes come from one version of the file.
template <typename Read>
auto withMember(const QString& archiveURL, const QString& memberPath, Read read)
    -> decltype(read(std::declval<const ArchiveFile&>(), std::declval<const ZipMember&>())) {
    const QString path = PathUtils::standardizedPath(archiveURL);
    auto file = ArchiveFile::open(path);
    if (!file) {
        return fail(file.error());
    }
    const auto members = indexOf(path, *file);
    if (!members) {
        return fail(members.error());
    }
    const ZipMember* member = chosenMember(*members, memberPath);
    if (!member) {
        return fail(ZipArchiveError::extractFailed(memberPath, QStringLiteral("Entry not found")));
    }
    return read(*file, *member);
}

ZipResult<QByteArray> readIntoMemory(const ArchiveFile& file, const ZipMember& member,
                                     int64_t maxBytes) {
    QByteArray bytes;
    // Reserved up to what can really come: the declared size of a deflated
    // member is bounded by the inflater, a stored member by the file.
    const int64_t expected = member.compressionMethod == 0 ? member.compressedSize : member.size;
    bytes.reserve(qsizetype(std::min<int64_t>({maxBytes, expected, int64_t(1) << 20})));
    auto read = readMember(file, member, maxBytes, [&](QByteArrayView piece) {
        bytes.append(piece);
        return true;
    });
    if (!read) {
        return fail(read.error());
    }
    return bytes;
}

} // namespace

ZipResult<QList<ArchiveMember>> listMembers(const QString& archiveURL) {
    auto members = cachedMembers(PathUtils::standardizedPath(archiveURL));
    if (!members) {
        return fail(members.error());
    }
    QList<ArchiveMember> result;
    result.reserve(members->size());
    for (const ZipMember& member : *members) {
        result.append(archiveMember(member));
    }
    return result;
}

ZipResult<QList<ZipMember>> cachedMembers(const QString& archiveURL) {
    const QString path = PathUtils::standardizedPath(archiveURL);
    auto file = ArchiveFile::open(path);
    if (!file) {
        return fail(file.error());
    }
    return indexOf(path, *file);
}

ZipResult<QByteArray> extractMemberData(const QString& archiveURL, const QString& memberPath,
                                        int64_t largest) {
    return withMember(
        archiveURL, memberPath,
        [largest](const ArchiveFile& file, const ZipMember& member) -> ZipResult<QByteArray> {
            const int64_t declared =
                member.compressionMethod == 0 ? member.compressedSize : member.size;
            if (declared > largest) {
                return fail(ZipArchiveError::extractFailed(member.path,
                                                           QStringLiteral("Too large to read")));
            }
            return readIntoMemory(file, member, wholeMember);
        });
}

ZipResult<MemberHead> extractMemberHead(const QString& archiveURL, const QString& memberPath,
                                        int64_t maxBytes) {
    return withMember(
        archiveURL, memberPath,
        [maxBytes](const ArchiveFile& file, const ZipMember& member) -> ZipResult<MemberHead> {
            auto bytes = readIntoMemory(file, member, maxBytes);
            if (!bytes) {
                return fail(bytes.error());
            }
            return MemberHead{std::move(*bytes), member.size};
        });
}

ZipResult<int64_t> writeMember(const QString& archiveURL, const QString& memberPath,
                               const MemberSink& sink) {
    return withMember(archiveURL, memberPath,
                      [&sink](const ArchiveFile& file, const ZipMember& member) {
                          return readMember(file, member, wholeMember, sink);
                      });
}

} // namespace ZipArchiveService

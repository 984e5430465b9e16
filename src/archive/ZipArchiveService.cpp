#include "archive/ZipArchiveService.h"

#include "core/PathUtils.h"

#include <QFile>
#include <QHash>
#include <QMutex>
#include <QMutexLocker>

#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace ZipArchiveService {

namespace {

// An archive's bytes through a read-only memory map, so that listing a
// multi-gigabyte archive reads only the pages of its central directory and
// extracting a member only that member's pages. Where the file cannot be
// mapped (an empty file, a special file) it is read whole instead.
class ArchiveBytes {
public:
    static ZipResult<ArchiveBytes> open(const QString& path) {
        const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) {
            return fail(ZipArchiveError::fromSystem(SystemError::fromErrno(errno)));
        }
        ArchiveBytes bytes;
        struct stat info {};
        if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && info.st_size > 0) {
            void* mapped = ::mmap(nullptr, size_t(info.st_size), PROT_READ, MAP_PRIVATE, fd, 0);
            if (mapped != MAP_FAILED) {
                bytes.m_mapped = mapped;
                bytes.m_mappedSize = size_t(info.st_size);
            }
        }
        const int readError = bytes.m_mapped ? 0 : bytes.readAll(fd);
        ::close(fd);
        if (readError != 0) {
            return fail(ZipArchiveError::fromSystem(SystemError::fromErrno(readError)));
        }
        return bytes;
    }

    ArchiveBytes(ArchiveBytes&& other) noexcept
        : m_mapped(std::exchange(other.m_mapped, nullptr))
        , m_mappedSize(std::exchange(other.m_mappedSize, 0))
        , m_read(std::move(other.m_read)) {}
    ArchiveBytes& operator=(ArchiveBytes&&) = delete;
    ~ArchiveBytes() {
        if (m_mapped) {
            ::munmap(m_mapped, m_mappedSize);
        }
    }

    QByteArrayView view() const {
        if (m_mapped) {
            return QByteArrayView(static_cast<const char*>(m_mapped), qsizetype(m_mappedSize));
        }
        return m_read;
    }

private:
    ArchiveBytes() = default;

    int readAll(int fd) {
        char chunk[65536];
        for (;;) {
            const ssize_t count = ::read(fd, chunk, sizeof chunk);
            if (count == 0) {
                return 0;
            }
            if (count < 0 && errno != EINTR) {
                return errno;
            }
            if (count > 0) {
                m_read.append(chunk, qsizetype(count));
            }
        }
    }

    void* m_mapped = nullptr;
    size_t m_mappedSize = 0;
    QByteArray m_read;
};

ZipResult<int64_t> modificationStamp(const QString& path) {
    struct stat info {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0) {
        return fail(ZipArchiveError::fromSystem(SystemError::fromErrno(errno)));
    }
    return int64_t(info.st_mtim.tv_sec) * 1'000'000'000 + info.st_mtim.tv_nsec;
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
    const auto stamp = modificationStamp(path);
    if (!stamp) {
        return fail(stamp.error());
    }
    if (auto members = lookUp(path, *stamp)) {
        return *members;
    }
    auto bytes = ArchiveBytes::open(path);
    if (!bytes) {
        return fail(bytes.error());
    }
    auto members = parseArchive(bytes->view());
    if (members) {
        store(path, CachedIndex{*stamp, *members});
    }
    return members;
}

ZipResult<QByteArray> extractMemberData(const QString& archiveURL, const QString& memberPath) {
    const QString path = PathUtils::standardizedPath(archiveURL);
    const QString wanted =
        memberPath.endsWith(QLatin1Char('/')) ? memberPath.chopped(1) : memberPath;
    auto members = cachedMembers(path);
    if (!members) {
        return fail(members.error());
    }
    const ZipMember* chosen = nullptr;
    for (const QString& candidate : {wanted, memberPath}) {
        for (const ZipMember& member : *members) {
            if (!member.isDirectory && member.path == candidate) {
                chosen = &member;
                break;
            }
        }
        if (chosen) {
            break;
        }
    }
    if (!chosen) {
        return fail(ZipArchiveError::extractFailed(memberPath, QStringLiteral("Entry not found")));
    }
    auto bytes = ArchiveBytes::open(path);
    if (!bytes) {
        return fail(bytes.error());
    }
    return memberData(bytes->view(), *chosen);
}

} // namespace ZipArchiveService

#include "archive/ArchiveService.h"

#include "archive/ArchiveTemporaryFolder.h"
#include "archive/ArchiveToolOutput.h"
#include "archive/ZipArchiveService.h"
#include "core/PathUtils.h"
#include "core/SystemPath.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace ArchiveService {

namespace {

// The ZIP reader's failures reach the user with the reader's own text.
template <typename T> ArchiveResult<T> fromZip(ZipResult<T>&& result) {
    if (!result) {
        return fail(ArchiveError::zip(result.error().description()));
    }
    return std::move(result).value();
}

// The tools are given regular files only: tar or lsar on a FIFO would wait
// for a writer for ever, and on a device read without end. A file that is
// not there is left to the tool to report.
std::optional<ArchiveError> notRegularFile(const QString& path) {
    struct stat info {};
    if (::stat(toSystemPath(path).constData(), &info) == 0 && !S_ISREG(info.st_mode)) {
        return ArchiveError::listFailed(path, QStringLiteral("Not a regular file"));
    }
    return std::nullopt;
}

ArchiveError tooLarge(const QString& memberPath, const char* what) {
    return ArchiveError::extractFailed(memberPath, QString::fromLatin1(what));
}

ArchiveResult<MemberHead> zipMemberHead(const QString& archive, const QString& memberPath,
                                        int64_t maxBytes) {
    auto head = fromZip(ZipArchiveService::extractMemberHead(archive, memberPath, maxBytes));
    if (!head) {
        return fail(head.error());
    }
    const bool isCut = head->bytes.size() >= maxBytes && head->size > maxBytes;
    return MemberHead{std::move(head->bytes), head->size, isCut};
}

ArchiveResult<MemberHead> tarMemberHead(const QString& archive, ArchiveKind kind,
                                        const QString& memberPath, int64_t maxBytes,
                                        std::stop_token stopToken) {
    MemberHead head;
    auto run = streamTarMember(archive, kind, memberPath, keepingHead(head, maxBytes),
                               std::move(stopToken));
    if (!run) {
        return fail(run.error());
    }
    return head;
}

// Writes what comes to an open file, and stops past copyLimit.
class CopyWriter {
public:
    explicit CopyWriter(int fd)
        : m_fd(fd) {}

    bool write(QByteArrayView piece) {
        m_written += piece.size();
        if (m_written > copyLimit) {
            m_tooLarge = true;
            return false;
        }
        for (qsizetype done = 0; done < piece.size();) {
            const ssize_t wrote = ::write(m_fd, piece.data() + done, size_t(piece.size() - done));
            if (wrote < 0 && errno == EINTR) {
                continue;
            }
            if (wrote < 0) {
                m_error = errno;
                return false;
            }
            done += wrote;
        }
        return true;
    }
    // Why the copy cannot stand, if it cannot.
    std::optional<QString> failure() {
        if (m_tooLarge) {
            return QStringLiteral("Too large to copy");
        }
        if (m_error == 0 && ::close(std::exchange(m_fd, -1)) != 0) {
            m_error = errno;
        }
        if (m_error != 0) {
            return SystemError::fromErrno(m_error).text;
        }
        return std::nullopt;
    }
    ~CopyWriter() {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }

private:
    int m_fd;
    int64_t m_written = 0;
    bool m_tooLarge = false;
    int m_error = 0;
};

ArchiveResult<Done> copyMember(const QString& archive, ArchiveKind kind, const QString& memberPath,
                               CopyWriter& writer, const std::stop_token& stopToken) {
    const auto sink = [&writer](QByteArrayView piece) { return writer.write(piece); };
    switch (kind) {
    case ArchiveKind::zip: {
        auto written = fromZip(ZipArchiveService::writeMember(archive, memberPath, sink));
        if (!written) {
            return fail(written.error());
        }
        return Done{};
    }
    case ArchiveKind::tar:
    case ArchiveKind::tarGz:
        return streamTarMember(archive, kind, memberPath, sink, stopToken);
    case ArchiveKind::lzh: {
        auto head = extractLhaMember(archive, memberPath, memberMemoryLimit, stopToken);
        if (!head) {
            return fail(head.error());
        }
        if (head->isCut) {
            return fail(tooLarge(memberPath, "Too large to copy"));
        }
        sink(head->bytes);
        return Done{};
    }
    case ArchiveKind::other:
        break;
    }
    return fail(ArchiveError::unsupported(archive));
}

} // namespace

ArchiveResult<QList<ArchiveMember>> listTarMembers(const QString& archive, ArchiveKind kind,
                                                   std::stop_token stopToken) {
    const auto tar = findTool({QStringLiteral("tar")});
    if (!tar) {
        return fail(ArchiveError::toolMissing(QStringLiteral("tar")));
    }
    const QString flag =
        kind == ArchiveKind::tarGz ? QStringLiteral("-tzf") : QStringLiteral("-tf");
    // Literal quoting: names come as the bytes they are, never as the
    // escapes tar prints for bytes it takes for unprintable.
    auto output =
        runTool(*tar, {QStringLiteral("--quoting-style=literal"), flag, archive}, stopToken);
    if (!output) {
        return fail(output.error());
    }
    return ArchiveToolOutput::parseTarList(*output);
}

ArchiveResult<Done> streamTarMember(const QString& archive, ArchiveKind kind,
                                    const QString& memberPath, const OutputSink& sink,
                                    std::stop_token stopToken) {
    const auto tar = findTool({QStringLiteral("tar")});
    if (!tar) {
        return fail(ArchiveError::toolMissing(QStringLiteral("tar")));
    }
    const QString flag =
        kind == ArchiveKind::tarGz ? QStringLiteral("-xzOf") : QStringLiteral("-xOf");
    const QString member = ArchiveToolOutput::normalizedMemberPath(memberPath);
    // Member names come from the archive and are data: after "--" tar takes
    // even "--checkpoint-action=exec=..." as a name, never as an option. An
    // archive may store the name with or without "./", or (when it was made
    // with absolute names) with the "/" the listing drops, hence the retries,
    // made only while nothing has come. "-P" lets tar match names holding
    // ".." or a leading "/"; with "-O" nothing is written anywhere but to the
    // pipe.
    const QStringList options = {flag, archive, QStringLiteral("-P"), QStringLiteral("--")};
    bool anything = false;
    const auto received = [&](QByteArrayView piece) {
        anything = true;
        return sink(piece);
    };
    const auto settled = [&anything](const ArchiveResult<Done>& run) {
        return run || anything || run.error().endsAllAttempts();
    };
    // tar's failure is told as a failure to read the member, not to list
    // the archive.
    const auto readFailure = [&memberPath](ArchiveResult<Done> result) -> ArchiveResult<Done> {
        if (!result && result.error().kind == ArchiveError::Kind::listFailed) {
            return fail(ArchiveError::extractFailed(memberPath, result.error().reason));
        }
        return result;
    };
    auto run = streamTool(*tar, options + QStringList{member}, received, stopToken);
    if (settled(run)) {
        return readFailure(std::move(run));
    }
    run =
        streamTool(*tar, options + QStringList{QStringLiteral("./") + member}, received, stopToken);
    if (settled(run)) {
        return readFailure(std::move(run));
    }
    // The error of the "./" try stands when this one fails too.
    auto absolute =
        streamTool(*tar, options + QStringList{QStringLiteral("/") + member}, received, stopToken);
    return readFailure(settled(absolute) ? std::move(absolute) : std::move(run));
}

ArchiveResult<QList<ArchiveMember>> listMembers(const QString& archive, std::stop_token stopToken) {
    const QString path = PathUtils::standardizedPath(archive);
    const ArchiveKind kind = archiveKind(path);
    if (kind == ArchiveKind::zip) {
        return fromZip(ZipArchiveService::listMembers(path));
    }
    if (kind == ArchiveKind::other) {
        return fail(ArchiveError::unsupported(path));
    }
    if (const auto refused = notRegularFile(path)) {
        return fail(*refused);
    }
    if (kind == ArchiveKind::lzh) {
        return listLhaMembers(path, std::move(stopToken));
    }
    return listTarMembers(path, kind, std::move(stopToken));
}

ArchiveResult<MemberHead> extractMemberHead(const QString& archive, const QString& memberPath,
                                            int64_t maxBytes, std::stop_token stopToken) {
    const QString path = PathUtils::standardizedPath(archive);
    const ArchiveKind kind = archiveKind(path);
    if (kind == ArchiveKind::zip) {
        return zipMemberHead(path, memberPath, maxBytes);
    }
    if (kind == ArchiveKind::other) {
        return fail(ArchiveError::unsupported(path));
    }
    if (const auto refused = notRegularFile(path)) {
        return fail(*refused);
    }
    if (kind == ArchiveKind::lzh) {
        return extractLhaMember(path, memberPath, maxBytes, std::move(stopToken));
    }
    return tarMemberHead(path, kind, memberPath, maxBytes, std::move(stopToken));
}

ArchiveResult<QByteArray> extractMemberData(const QString& archive, const QString& memberPath,
                                            std::stop_token stopToken) {
    const QString path = PathUtils::standardizedPath(archive);
    if (archiveKind(path) == ArchiveKind::zip) {
        return fromZip(ZipArchiveService::extractMemberData(path, memberPath, memberMemoryLimit));
    }
    auto head = extractMemberHead(path, memberPath, memberMemoryLimit, std::move(stopToken));
    if (!head) {
        return fail(head.error());
    }
    if (head->isCut) {
        return fail(tooLarge(memberPath, "Too large to read"));
    }
    return std::move(head->bytes);
}

ArchiveResult<QString> extractMemberToTemporaryFile(const QString& archive,
                                                    const QString& memberPath,
                                                    std::stop_token stopToken) {
    const QString path = PathUtils::standardizedPath(archive);
    const ArchiveKind kind = archiveKind(path);
    if (kind == ArchiveKind::other) {
        return fail(ArchiveError::unsupported(path));
    }
    if (const auto refused = kind == ArchiveKind::zip ? std::nullopt : notRegularFile(path)) {
        return fail(*refused);
    }
    // The member's last component only: its folders, "..", or a leading "/"
    // never reach the file name.
    const QString name =
        ArchiveToolOutput::normalizedMemberPath(memberPath).section(QLatin1Char('/'), -1);
    auto file = ArchiveTemporaryFolder::createFile(name);
    if (!file) {
        return fail(ArchiveError::extractFailed(memberPath, file.error()));
    }
    CopyWriter writer(file->fd);
    const auto copied = copyMember(path, kind, memberPath, writer, stopToken);
    const auto failure = writer.failure();
    if (!copied || failure) {
        ArchiveTemporaryFolder::remove(file->path);
        return fail(copied ? ArchiveError::extractFailed(memberPath, *failure) : copied.error());
    }
    return file->path;
}

} // namespace ArchiveService

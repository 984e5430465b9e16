// Saving text: encoded strictly, written beside the file and renamed over it.
#include "core/SystemPath.h"
#include "filesystem/FileSystemService.h"

#include "core/PathUtils.h"

#include <QRandomGenerator>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace FileSystemService {

namespace {

FsResult<Done> writeAll(int fd, const QByteArray& bytes) {
    for (qsizetype written = 0; written < bytes.size();) {
        const ssize_t step =
            ::write(fd, bytes.constData() + written, size_t(bytes.size() - written));
        if (step < 0 && errno == EINTR) {
            continue;
        }
        if (step < 0) {
            return fail(FileSystemError::fromErrno(errno));
        }
        written += step;
    }
    return Done{};
}

// A hidden name beside the target that no other writer picks.
QByteArray temporarySibling(const QString& target) {
    const QString name =
        QStringLiteral(".%1.dorvik-%2")
            .arg(PathUtils::lastPathComponent(target))
            .arg(QRandomGenerator::global()->generate64(), 16, 16, QLatin1Char('0'));
    return toSystemPath(PathUtils::appendingPathComponent(PathUtils::parentPath(target), name));
}

// Fills the open file to the disk and closes it, also on failure.
FsResult<Done> fillAndClose(int fd, const QByteArray& bytes, std::optional<mode_t> keptMode) {
    FsResult<Done> result = writeAll(fd, bytes);
    if (result && ((keptMode && ::fchmod(fd, *keptMode) != 0) || ::fsync(fd) != 0)) {
        result = fail(FileSystemError::fromErrno(errno));
    }
    if (::close(fd) != 0 && result) {
        result = fail(FileSystemError::fromErrno(errno));
    }
    return result;
}

} // namespace

FsResult<Done> writeText(const QString& text, const QString& url, TextFileEncoding encoding) {
    const std::optional<QByteArray> bytes = TextDecoding::encodedBytes(text, encoding);
    if (!bytes) {
        return fail(FileSystemError::make(FileSystemError::Kind::encodeFailed,
                                          TextDecoding::label(encoding)));
    }
    const QString path = PathUtils::standardizedPath(url);
    const QByteArray target = toSystemPath(path);
    std::optional<mode_t> keptMode;
    struct stat st;
    if (::stat(target.constData(), &st) == 0) {
        keptMode = st.st_mode & 07777;
    }
    const QByteArray temporary = temporarySibling(path);
    // A new file gets the mode the user's umask gives any new file.
    const int fd = ::open(temporary.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) {
        return fail(FileSystemError::fromErrno(errno));
    }
    FsResult<Done> finished = fillAndClose(fd, *bytes, keptMode);
    if (finished && ::rename(temporary.constData(), target.constData()) != 0) {
        finished = fail(FileSystemError::fromErrno(errno));
    }
    if (!finished) {
        ::unlink(temporary.constData());
    }
    return finished;
}

} // namespace FileSystemService

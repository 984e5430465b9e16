#include "core/FileDescriptor.h"

#include "core/SystemPath.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

FileDescriptor::~FileDescriptor() {
    close();
}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
        close();
        m_fd = std::exchange(other.m_fd, -1);
    }
    return *this;
}

bool FileDescriptor::close() {
    const int fd = std::exchange(m_fd, -1);
    return fd < 0 || ::close(fd) == 0;
}

SystemError FileDescriptor::notRegularFile() {
    return SystemError{EINVAL, QStringLiteral("Not a regular file")};
}

Result<FileDescriptor, SystemError> FileDescriptor::openRegularFile(const QString& path) {
    FileDescriptor file(
        ::open(toSystemPath(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (!file.isOpen()) {
        return fail(SystemError::fromErrno(errno));
    }
    struct stat info {};
    if (::fstat(file.get(), &info) != 0) {
        return fail(SystemError::fromErrno(errno));
    }
    if (!S_ISREG(info.st_mode)) {
        return fail(notRegularFile());
    }
    // Reads of a regular file never answer EAGAIN, but a reader that polls
    // or a tool that inherits the descriptor should see the usual flags.
    const int flags = ::fcntl(file.get(), F_GETFL);
    if (flags < 0 || ::fcntl(file.get(), F_SETFL, flags & ~O_NONBLOCK) != 0) {
        return fail(SystemError::fromErrno(errno));
    }
    return file;
}

Result<std::unique_ptr<QFile>, SystemError> openRegularQFile(const QString& path) {
    auto opened = FileDescriptor::openRegularFile(path);
    if (!opened) {
        return fail(opened.error());
    }
    auto file = std::make_unique<QFile>();
    const int fd = opened->get();
    if (!file->open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        return fail(SystemError{EIO, file->errorString()});
    }
    opened->release();
    return file;
}

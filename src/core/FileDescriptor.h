#pragma once

#include "core/Result.h"

#include <QString>

#include <memory>
#include <utility>

class QFile;

// An open file descriptor, closed with the object.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd)
        : m_fd(fd) {}
    ~FileDescriptor();
    FileDescriptor(FileDescriptor&& other) noexcept
        : m_fd(std::exchange(other.m_fd, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept;
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const { return m_fd; }
    bool isOpen() const { return m_fd >= 0; }
    // Closes now and tells whether that succeeded, so a late write error is
    // not lost.
    bool close();
    // Hands the descriptor over to the caller, who closes it from then on.
    int release() { return std::exchange(m_fd, -1); }

    // Opens a file for reading without ever waiting in open(): a FIFO with
    // no writer, a device or a socket would hold the calling thread for good,
    // so anything but a regular file (after links) is refused with
    // notRegularFile(). The descriptor reads as a blocking one.
    static Result<FileDescriptor, SystemError> openRegularFile(const QString& path);
    // The refusal of openRegularFile for what is not a regular file.
    static SystemError notRegularFile();

private:
    int m_fd = -1;
};

// The same open, handed to a QFile for readers that take a device.
Result<std::unique_ptr<QFile>, SystemError> openRegularQFile(const QString& path);

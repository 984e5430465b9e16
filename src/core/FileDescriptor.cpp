#include "core/FileDescriptor.h"

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

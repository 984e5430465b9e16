#pragma once

// Shared by the file operation tests: running a step in a child process under
// limits the test process must not take on itself, and reading items back.
#include "core/SystemPath.h"

#include <QByteArray>
#include <QFile>
#include <QString>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace FileOperationTest {

struct ChildOutcome {
    int exitCode = -1;
    QString text; // what the child reported
};

enum class ChildAccount { same, unprivileged };

// Runs step in a forked child: with files limited to fileSizeLimit bytes when
// given (writes beyond it fail with EFBIG instead of killing the child), and
// under the "nobody" account when asked and the tests run as root (root
// ignores folder modes). The step's text comes back through a pipe. A child
// still running after timeLimit is killed and reports "timed out".
inline ChildOutcome runInChild(const std::function<QString()>& step, ChildAccount account,
                               rlim_t fileSizeLimit = RLIM_INFINITY,
                               std::chrono::milliseconds timeLimit = std::chrono::minutes(2)) {
    int pipeEnds[2];
    if (::pipe(pipeEnds) != 0) {
        return {};
    }
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(pipeEnds[0]);
        ::signal(SIGXFSZ, SIG_IGN);
        const struct rlimit limit { fileSizeLimit, fileSizeLimit };
        if (fileSizeLimit != RLIM_INFINITY && ::setrlimit(RLIMIT_FSIZE, &limit) != 0) {
            ::_exit(2);
        }
        if (account == ChildAccount::unprivileged && ::geteuid() == 0 &&
            (::setgid(65534) != 0 || ::setuid(65534) != 0)) {
            ::_exit(2);
        }
        const QByteArray text = step().toUtf8();
        const bool written =
            ::write(pipeEnds[1], text.constData(), size_t(text.size())) == text.size();
        ::_exit(written ? 0 : 1);
    }
    ::close(pipeEnds[1]);
    QByteArray text;
    char buffer[4096];
    const auto deadline = std::chrono::steady_clock::now() + timeLimit;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        struct pollfd ready {
            pipeEnds[0], POLLIN, 0
        };
        const int polled = left.count() > 0 ? ::poll(&ready, 1, int(left.count())) : 0;
        if (polled < 0 && errno == EINTR) {
            continue;
        }
        if (polled == 0) {
            ::kill(child, SIGKILL);
            text = "timed out";
            break;
        }
        const ssize_t got = ::read(pipeEnds[0], buffer, sizeof buffer);
        if (got <= 0) {
            break;
        }
        text.append(buffer, got);
    }
    ::close(pipeEnds[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, QString::fromUtf8(text)};
}

inline QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline bool exists(const QString& path) {
    struct stat st;
    return ::lstat(toSystemPath(path).constData(), &st) == 0;
}

inline mode_t modeOf(const QString& path) {
    struct stat st {};
    ::lstat(toSystemPath(path).constData(), &st);
    return st.st_mode & 07777;
}

inline int64_t mtimeOf(const QString& path) {
    struct stat st {};
    ::lstat(toSystemPath(path).constData(), &st);
    return int64_t(st.st_mtim.tv_sec);
}

inline void setMtime(const QString& path, time_t seconds) {
    const struct timespec times[2] = {{seconds, 0}, {seconds, 0}};
    ::utimensat(AT_FDCWD, toSystemPath(path).constData(), times, AT_SYMLINK_NOFOLLOW);
}

} // namespace FileOperationTest

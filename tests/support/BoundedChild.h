#pragma once

// Work whose memory or time could run away, measured in a child process of
// a death test: a fault then ends the child (the address space is capped,
// and an alarm ends a hang), never the machine or the test program.
//
//   EXPECT_EXIT(BoundedChild::run(64 << 20, [&] { return ...; }),
//               ::testing::ExitedWithCode(0), "");
#include <QFile>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <sys/resource.h>
#include <unistd.h>

namespace BoundedChild {

inline int64_t pageSize() {
    return int64_t(::sysconf(_SC_PAGESIZE));
}

// The address space mapped now and the part of it resident now, in bytes.
inline std::pair<int64_t, int64_t> mappedAndResident() {
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly)) {
        return {0, 0};
    }
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return {fields.value(0).toLongLong() * pageSize(), fields.value(1).toLongLong() * pageSize()};
}

// The most this process has had resident so far, in bytes.
inline int64_t peakResident() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return int64_t(usage.ru_maxrss) * 1024;
}

// Runs work and ends the process: status 0 when work answered true and the
// resident peak grew by at most budget bytes over what was resident before.
// The address space may grow by budget plus one GiB at most, so that a fault
// that allocates without bound fails fast; an alarm ends the child after
// seconds. What went wrong is written on standard error.
[[noreturn]] inline void run(int64_t budget, const std::function<bool()>& work,
                             unsigned seconds = 60) {
    ::alarm(seconds);
    const auto [mapped, resident] = mappedAndResident();
    const rlimit cap{rlim_t(mapped + budget + (int64_t(1) << 30)), RLIM_INFINITY};
    ::setrlimit(RLIMIT_AS, &cap);
    const bool answered = work();
    const int64_t grown = peakResident() - resident;
    std::fprintf(stderr, "resident peak grew by %lld KiB (budget %lld KiB)\n",
                 static_cast<long long>(grown / 1024), static_cast<long long>(budget / 1024));
    std::fflush(stderr);
    std::_Exit(!answered ? 1 : grown > budget ? 2 : 0);
}

} // namespace BoundedChild

#pragma once

// Another program acting at the worst moment, made exact: inside a child
// process, chosen system calls of the calling thread stop before the kernel
// carries them out, a second thread runs the test's action, and the call then
// goes on as if nothing had happened in between. Built on seccomp's user
// notification, which needs no privileges.
#include <linux/filter.h>
#include <linux/seccomp.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <functional>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace FileOperationTest {

// What the kernel offers the step: renameat2 with its flags, or refusing it
// with EINVAL as a file system without RENAME_NOREPLACE does.
enum class RenameFlags { supported, missing };

// The system calls that put an item at a name.
inline std::vector<long> placingCalls() {
    return {
#ifdef SYS_rename
        SYS_rename, SYS_link,
#endif
        SYS_renameat, SYS_renameat2, SYS_linkat};
}
inline std::vector<long> openingCalls() {
    return {
#ifdef SYS_open
        SYS_open,
#endif
        SYS_openat};
}

// Holds the listed calls of this thread from now on: each runs act(call) in
// a helper thread first, where the call's pointer arguments are readable as
// they are this process's own. Use it only in a child: the process stays so.
// False when the kernel refuses the filter.
inline bool holdSystemCalls(const std::vector<long>& numbers,
                            std::function<void(const seccomp_data&)> act,
                            RenameFlags renameFlags = RenameFlags::supported) {
    std::vector<sock_filter> filter{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    if (renameFlags == RenameFlags::missing) {
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_renameat2, 0, 1));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EINVAL));
    }
    for (const long number : numbers) {
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __u32(number), 0, 1));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};

    // The helper starts before the filter, so its own calls are never held.
    static std::atomic<int> listener{-1};
    std::thread([act = std::move(act)] {
        listener.wait(-1);
        for (;;) {
            seccomp_notif call{};
            if (::ioctl(listener.load(), SECCOMP_IOCTL_NOTIF_RECV, &call) != 0) {
                if (errno == EINTR || errno == ENOENT) {
                    continue;
                }
                return;
            }
            act(call.data);
            seccomp_notif_resp answer{};
            answer.id = call.id;
            answer.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
            ::ioctl(listener.load(), SECCOMP_IOCTL_NOTIF_SEND, &answer);
        }
    }).detach();
    const int fd = ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0
                       ? int(::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER,
                                       SECCOMP_FILTER_FLAG_NEW_LISTENER, &program))
                       : -1;
    listener = fd < 0 ? -2 : fd;
    listener.notify_all();
    return fd >= 0;
}

} // namespace FileOperationTest

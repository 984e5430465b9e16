#include "core/ChildProcesses.h"

#include <QProcess>

#include <algorithm>
#include <csignal>
#include <mutex>
#include <sys/prctl.h>
#include <unistd.h>
#include <vector>

namespace ChildProcesses {

namespace {

struct Groups {
    std::mutex lock;
    std::vector<pid_t> running;
    bool closing = false;
};

Groups& groups() {
    static auto* all = new Groups;
    return *all;
}

} // namespace

void runInOwnGroup(QProcess& process) {
    const pid_t parent = ::getpid();
    // Only async-signal-safe calls here: this runs in the child between
    // fork and exec.
    process.setChildProcessModifier([parent] {
        ::setpgid(0, 0);
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent) {
            ::_exit(127);
        }
    });
}

Registration::Registration(pid_t group)
    : m_group(group) {
    Groups& all = groups();
    const std::lock_guard guard(all.lock);
    if (all.closing) {
        ::kill(-group, SIGKILL);
    }
    all.running.push_back(group);
}

Registration::~Registration() {
    Groups& all = groups();
    const std::lock_guard guard(all.lock);
    const auto found = std::find(all.running.begin(), all.running.end(), m_group);
    if (found != all.running.end()) {
        all.running.erase(found);
    }
}

void killAll() {
    Groups& all = groups();
    const std::lock_guard guard(all.lock);
    all.closing = true;
    for (const pid_t group : all.running) {
        ::kill(-group, SIGKILL);
    }
}

int runningCount() {
    Groups& all = groups();
    const std::lock_guard guard(all.lock);
    return int(all.running.size());
}

} // namespace ChildProcesses

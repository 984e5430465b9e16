#pragma once

#include <functional>
#include <sys/wait.h>
#include <unistd.h>

// Runs a check in a child process under the "nobody" account when the tests
// run as root (root reads every folder whatever its mode); 0 means that the
// check held, 1 that it failed, 2 that the account could not be taken.
inline int runAsUnprivilegedUser(const std::function<bool()>& check) {
    const pid_t child = ::fork();
    if (child == 0) {
        if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0)) {
            ::_exit(2);
        }
        ::_exit(check() ? 0 : 1);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 3;
}

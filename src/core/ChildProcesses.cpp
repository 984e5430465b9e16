#include "core/ChildProcesses.h"

#include "core/SystemPath.h"

#include <QProcess>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <csignal>
#include <memory>
#include <mutex>
#include <sys/prctl.h>
#include <unistd.h>
#include <vector>

extern char** environ;

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

// How often a killed child is looked for that has not been reaped yet.
constexpr std::chrono::milliseconds kReapInterval{100};

// Never stopped nor destroyed: a child it waits for may outlive the program's
// way out, and leaving must not wait for it.
QThread& reaperThread() {
    static QThread* thread = [] {
        auto* started = new QThread;
        started->setObjectName(QStringLiteral("child reaper"));
        started->start();
        return started;
    }();
    return *thread;
}

// The argument and environment vectors of execve, made before the fork: the
// child may only read them.
struct ExecVectors {
    std::vector<QByteArray> storage;
    std::vector<char*> argv;
    std::vector<char*> envp;
};

std::shared_ptr<ExecVectors> execVectors(const QProcess& process, const QString& program,
                                         const QStringList& arguments) {
    auto vectors = std::make_shared<ExecVectors>();
    vectors->storage.push_back(toSystemPath(program));
    for (const QString& argument : arguments) {
        vectors->storage.push_back(toSystemPath(argument));
    }
    const qsizetype argumentCount = qsizetype(vectors->storage.size());
    const QStringList environment = process.processEnvironment().toStringList();
    for (const QString& variable : environment) {
        vectors->storage.push_back(toSystemPath(variable));
    }
    for (qsizetype i = 0; i < qsizetype(vectors->storage.size()); ++i) {
        auto& target = i < argumentCount ? vectors->argv : vectors->envp;
        target.push_back(vectors->storage[size_t(i)].data());
    }
    vectors->argv.push_back(nullptr);
    vectors->envp.push_back(nullptr);
    return vectors;
}

} // namespace

void runInOwnGroup(QProcess& process, const QString& program, const QStringList& arguments) {
    process.setProgram(program);
    process.setArguments(arguments);
    // A program that can't be run is left to QProcess, which reports that
    // it failed to start; an exec of our own could only end the child.
    if (::access(toSystemPath(program).constData(), X_OK) != 0) {
        runInOwnGroup(process);
        return;
    }
    const pid_t parent = ::getpid();
    const bool ownEnvironment = process.processEnvironment().isEmpty();
    std::shared_ptr<ExecVectors> vectors = execVectors(process, program, arguments);
    // Only async-signal-safe calls here: this runs in the child between
    // fork and exec, and replaces QProcess's own exec.
    process.setChildProcessModifier([parent, vectors, ownEnvironment] {
        ::setpgid(0, 0);
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent) {
            ::_exit(127);
        }
        ::execve(vectors->argv[0], vectors->argv.data(),
                 ownEnvironment ? environ : vectors->envp.data());
        ::_exit(127);
    });
}

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

void killAndLeave(std::unique_ptr<QProcess> process, std::unique_ptr<Registration> registration) {
    const qint64 pid = process->processId();
    if (pid > 0) {
        ::kill(-pid_t(pid), SIGKILL);
    }
    process->kill();
    if (process->state() == QProcess::NotRunning) {
        return;
    }
    // The reaper looks for the child's end now and then and deletes both
    // there once it has been reaped.
    QProcess* left = process.release();
    left->setParent(nullptr);
    left->moveToThread(&reaperThread());
    QMetaObject::invokeMethod(
        left,
        [left, held = std::shared_ptr<Registration>(std::move(registration))] {
            auto* look = new QTimer(left);
            QObject::connect(look, &QTimer::timeout, left, [left, held] {
                if (left->state() == QProcess::NotRunning || left->waitForFinished(0)) {
                    left->deleteLater();
                }
            });
            look->start(kReapInterval);
        },
        Qt::QueuedConnection);
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

#pragma once

#include <memory>
#include <QString>
#include <QStringList>

#include <sys/types.h>

class QProcess;

// The outside programs the file manager starts (archive tools, document
// converters) never outlive it. Each runs in a process group of its own, so
// that killing the group also ends what the program started in turn (tar
// runs gzip); the group is killed when the file manager dies, and every
// group still running is killed on the way out.
namespace ChildProcesses {

// Makes the child of process the leader of its own group and asks the kernel
// to kill it when its parent goes.
//
// The kernel sends that signal when the *thread* that started the child
// ends, not the process. The callers therefore wait for a running child to
// end on the thread that started it, so the thread outlives it, unless they
// kill it (see killAndLeave); and a child whose parent is already gone by
// the time it is set up ends at once.
void runInOwnGroup(QProcess& process);

// runInOwnGroup, and the child is started with the exact bytes of program
// and arguments (SystemPath), since QProcess would encode a file name that
// is not UTF-8 lossily. The environment is the one set on process, or else
// this process's own. Call before start(); the program must be a full path.
void runInOwnGroup(QProcess& process, const QString& program, const QStringList& arguments);

// A running child's group, known to killAll() while the object lives.
class Registration {
public:
    explicit Registration(pid_t group);
    ~Registration();
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

private:
    pid_t m_group;
};

// Kills the child's group and the child, and leaves its reaping to a thread
// of its own: a child in uninterruptible sleep (a read from a dead network
// mount) takes SIGKILL only once its read ends, and the caller goes on at
// once. The child stays registered until it has been reaped, so killAll()
// still reaches it. Call on the thread the process object lives in.
void killAndLeave(std::unique_ptr<QProcess> process, std::unique_ptr<Registration> registration);

// Kills every registered group, and from now on every group that registers;
// for the program's way out. Any thread.
void killAll();

// How many groups are registered now.
int runningCount();

} // namespace ChildProcesses

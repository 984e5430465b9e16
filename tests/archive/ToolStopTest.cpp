// A running archive tool ends when it hangs, when its request is withdrawn,
// when the program leaves and when the program dies, and leaves no process
// behind in any of these cases.
#include "archive/ArchiveService.h"
#include "core/ChildProcesses.h"
#include "core/SystemPath.h"
#include "support/TestDir.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>

#include <gtest/gtest.h>

#include <csignal>
#include <future>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {

const QString kShell = QStringLiteral("/bin/sh");

// The processes of a group that have not ended: a killed one is a zombie
// until it is reaped, and counts as ended here.
int liveMembers(pid_t group) {
    int live = 0;
    for (const QString& pid : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        QFile stat(QStringLiteral("/proc/") + pid + QStringLiteral("/stat"));
        if (!stat.open(QIODevice::ReadOnly)) {
            continue;
        }
        // "pid (name) state ppid pgrp …": the name may hold spaces, so the
        // fields are counted from its closing parenthesis.
        const QByteArray text = stat.readAll();
        const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
        if (fields.size() > 2 && fields[2].toInt() == group && fields[0] != "Z") {
            ++live;
        }
    }
    return live;
}

bool allEnded(pid_t group) {
    return QTest::qWaitFor([group] { return liveMembers(group) == 0; }, 5000);
}

// A stopped tool stays known to the way out until it has been reaped.
bool noToolRegistered() {
    return QTest::qWaitFor([] { return ChildProcesses::runningCount() == 0; }, 5000);
}

// A tool that writes its process id to a file, starts a helper in its own
// group as tar starts gzip, and then waits without a sound.
QStringList silentTool(const QString& pidFile) {
    return {QStringLiteral("-c"),
            QStringLiteral("echo $$ > '%1'; sleep 60 & sleep 60").arg(pidFile)};
}

pid_t waitForPid(const QString& pidFile) {
    pid_t pid = 0;
    (void)QTest::qWaitFor(
        [&] {
            QFile file(pidFile);
            pid = file.open(QIODevice::ReadOnly) ? file.readAll().trimmed().toInt() : 0;
            return pid > 0;
        },
        5000);
    return pid;
}

// Holds a process's end unreported, so that its parent cannot reap it: the
// kernel shows a traced child's end to its tracer alone until the tracer
// lets go. A killed tool stuck reading a dead network mount cannot be reaped
// either until its read ends; this makes the same wait without a dead mount.
class Tracer {
public:
    explicit Tracer(pid_t traced) {
        int attached[2];
        if (::pipe(attached) != 0 || ::pipe(m_release) != 0) {
            return;
        }
        m_tracer = ::fork();
        if (m_tracer == 0) {
            // Only system calls from here: the test's other threads are gone.
            ::close(m_release[1]);
            const char ok = ::ptrace(PTRACE_SEIZE, traced, nullptr, nullptr) == 0 ? 1 : 0;
            (void)::write(attached[1], &ok, 1);
            char byte;
            (void)::read(m_release[0], &byte, 1); // until the test closes its end
            ::_exit(0);
        }
        char ok = 0;
        m_attached = m_tracer > 0 && ::read(attached[0], &ok, 1) == 1 && ok == 1;
        ::close(attached[0]);
        ::close(attached[1]);
        ::close(m_release[0]);
    }
    ~Tracer() { release(); }
    bool attached() const { return m_attached; }
    // The tracer ends, and the traced process's end goes to its parent.
    void release() {
        if (m_tracer > 0) {
            ::close(m_release[1]);
            ::waitpid(m_tracer, nullptr, 0);
            m_tracer = -1;
        }
    }

private:
    pid_t m_tracer = -1;
    int m_release[2] = {-1, -1};
    bool m_attached = false;
};

class ToolStopTest : public ::testing::Test {
protected:
    void SetUp() override { ArchiveService::setToolTimeLimit(200ms); }
    void TearDown() override {
        ArchiveService::setToolTimeLimit(ArchiveService::defaultToolTimeLimit);
    }
    TestDir dir;
};

TEST_F(ToolStopTest, AToolThatMakesNoProgressTimesOutAndTakesItsHelpersWithIt) {
    const QString pidFile = dir.filePath(QStringLiteral("pid"));
    QElapsedTimer clock;
    clock.start();
    const auto run = ArchiveService::runTool(kShell, silentTool(pidFile));
    EXPECT_LT(clock.elapsed(), 3000);
    ASSERT_FALSE(run);
    EXPECT_EQ(run.error().kind, ArchiveError::Kind::timedOut);
    EXPECT_EQ(run.error().description(), QStringLiteral("sh timed out (no progress for 0.2 s)"));
    const pid_t group = waitForPid(pidFile);
    ASSERT_GT(group, 0);
    EXPECT_TRUE(allEnded(group));
    EXPECT_TRUE(noToolRegistered());
}

TEST_F(ToolStopTest, AToolThatReadsWithoutPrintingIsNotHung) {
    // Reads a line of a file every 50 ms for well past the limit and prints
    // nothing, as tar does while it looks for a member far into an archive.
    const QString source = dir.makeFile(QStringLiteral("lines"), "line\n");
    const QString script =
        QStringLiteral("for i in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20; do "
                       "read -r x < '%1'; sleep 0.05; done; echo done")
            .arg(source);
    const auto run = ArchiveService::runTool(kShell, {QStringLiteral("-c"), script});
    ASSERT_TRUE(run) << run.error().description().toStdString();
    EXPECT_EQ(*run, "done\n");
}

TEST_F(ToolStopTest, AStopRequestEndsTheToolAtOnce) {
    ArchiveService::setToolTimeLimit(ArchiveService::defaultToolTimeLimit);
    const QString pidFile = dir.filePath(QStringLiteral("pid"));
    std::stop_source stop;
    auto pending = std::async(std::launch::async, [&] {
        return ArchiveService::runTool(kShell, silentTool(pidFile), stop.get_token());
    });
    const pid_t group = waitForPid(pidFile);
    ASSERT_GT(group, 0);
    QElapsedTimer clock;
    clock.start();
    stop.request_stop();
    ASSERT_EQ(pending.wait_for(2s), std::future_status::ready);
    EXPECT_LT(clock.elapsed(), 1000);
    const auto run = pending.get();
    ASSERT_FALSE(run);
    EXPECT_EQ(run.error().kind, ArchiveError::Kind::cancelled);
    EXPECT_TRUE(allEnded(group));
    // A request withdrawn before the tool starts starts nothing.
    EXPECT_EQ(ArchiveService::runTool(kShell, silentTool(pidFile), stop.get_token()).error().kind,
              ArchiveError::Kind::cancelled);
}

// Stopping does not wait for the tool to be reaped; a thread of its own
// reaps it once it can, and until then it stays known to the way out.
TEST_F(ToolStopTest, AStoppedToolThatCannotBeReapedYetDoesNotHoldTheCaller) {
    ArchiveService::setToolTimeLimit(ArchiveService::defaultToolTimeLimit);
    ASSERT_TRUE(noToolRegistered());
    const QString pidFile = dir.filePath(QStringLiteral("pid"));
    std::stop_source stop;
    auto pending = std::async(std::launch::async, [&] {
        return ArchiveService::runTool(
            kShell, {"-c", QStringLiteral("echo $$ > '%1'; exec sleep 60").arg(pidFile)},
            stop.get_token());
    });
    const pid_t tool = waitForPid(pidFile);
    ASSERT_GT(tool, 0);
    Tracer tracer(tool);
    if (!tracer.attached()) {
        stop.request_stop();
        pending.wait();
        GTEST_SKIP() << "processes cannot be traced here";
    }
    stop.request_stop();
    const bool returned = pending.wait_for(3s) == std::future_status::ready;
    EXPECT_TRUE(returned) << "the caller waited for the reaping";
    EXPECT_EQ(ChildProcesses::runningCount(), 1);
    tracer.release();
    EXPECT_EQ(pending.get().error().kind, ArchiveError::Kind::cancelled);
    EXPECT_TRUE(noToolRegistered());
    EXPECT_TRUE(QTest::qWaitFor(
        [tool] { return !QFile::exists(QStringLiteral("/proc/%1").arg(tool)); }, 5000))
        << "reaped, not left a zombie";
}

TEST_F(ToolStopTest, FifosNamedLikeArchivesAreRefusedBeforeAnyToolRuns) {
    for (const QString& name : {QStringLiteral("stuck.tgz"), QStringLiteral("stuck.lzh")}) {
        SCOPED_TRACE(name.toStdString());
        const QString fifo = dir.filePath(name);
        ASSERT_EQ(::mkfifo(toSystemPath(fifo).constData(), 0644), 0);
        auto pending =
            std::async(std::launch::async, [&] { return ArchiveService::listMembers(fifo); });
        ASSERT_EQ(pending.wait_for(3s), std::future_status::ready);
        const auto members = pending.get();
        ASSERT_FALSE(members);
        EXPECT_EQ(members.error().description(),
                  QStringLiteral("Cannot list archive: Not a regular file"));
        EXPECT_EQ(ChildProcesses::runningCount(), 0);
    }
}

// The program's way out kills every tool, and any started after it; run in
// a child process, since it holds for the rest of the process's life.
TEST_F(ToolStopTest, LeavingTheProgramKillsRunningToolsAndAnyStartedLater) {
    const QString pidFile = dir.filePath(QStringLiteral("pid"));
    const auto leave = [&] {
        ::alarm(20);
        ArchiveService::setToolTimeLimit(ArchiveService::defaultToolTimeLimit);
        auto pending = std::async(std::launch::async, [&] {
            return ArchiveService::runTool(kShell, silentTool(pidFile));
        });
        const pid_t group = waitForPid(pidFile);
        ChildProcesses::killAll();
        const bool ended = pending.wait_for(2s) == std::future_status::ready && !pending.get() &&
                           group > 0 && allEnded(group);
        QElapsedTimer clock;
        clock.start();
        const bool lateEnded =
            !ArchiveService::runTool(kShell, {"-c", "sleep 60"}) && clock.elapsed() < 2000;
        std::_Exit(ended && lateEnded ? 0 : 1);
    };
    EXPECT_EXIT(leave(), ::testing::ExitedWithCode(0), "");
}

TEST_F(ToolStopTest, AToolDiesWithTheProgramThatStartedIt) {
    const QString pidFile = dir.filePath(QStringLiteral("pid"));
    const pid_t program = ::fork();
    ASSERT_GE(program, 0);
    if (program == 0) {
        ::alarm(20);
        // The tool is the sleep itself, so its own death is what is seen.
        (void)ArchiveService::runTool(
            kShell, {"-c", QStringLiteral("echo $$ > '%1'; exec sleep 60").arg(pidFile)});
        std::_Exit(0);
    }
    const pid_t tool = waitForPid(pidFile);
    ::kill(program, SIGKILL);
    ::waitpid(program, nullptr, 0);
    ASSERT_GT(tool, 0);
    EXPECT_TRUE(allEnded(tool));
}

} // namespace

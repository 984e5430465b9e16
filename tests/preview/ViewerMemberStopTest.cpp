// A member read for VIEWER through an archive tool: the tool, with whatever
// it started, ends as soon as nobody waits for the member any more.
#include "archive/ArchiveService.h"
#include "core/AppState.h"
#include "core/ChildProcesses.h"
#include "core/Preferences.h"
#include "support/TestDir.h"
#include "text/TextPreviewLoading.h"

#include <QFile>
#include <QProcess>
#include <QTest>

#include <gtest/gtest.h>

#include <functional>

using namespace std::chrono_literals;

namespace {

// Whether a process has ended: gone, or a zombie waiting to be reaped.
bool hasEnded(pid_t pid) {
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly)) {
        return true;
    }
    const QByteArray text = stat.readAll();
    return text.mid(text.lastIndexOf(')') + 2, 1) == "Z";
}

class ViewerMemberStop : public ::testing::Test {
protected:
    void SetUp() override {
        dir.makeFile(QStringLiteral("notes.txt"), "hello\n");
        QProcess tar;
        tar.start(QStringLiteral("tar"), {QStringLiteral("-czf"), archive(), QStringLiteral("-C"),
                                          dir.path(), QStringLiteral("notes.txt")});
        ASSERT_TRUE(tar.waitForFinished() && tar.exitCode() == 0);
        // tar runs gzip from PATH to read a .tgz: this one tells its process
        // id and then neither reads nor writes, like a read from a dead mount.
        dir.makeFile(
            QStringLiteral("bin/gzip"),
            QStringLiteral("#!/bin/sh\necho $$ > '%1'\nexec sleep 60\n").arg(pidFile()).toUtf8());
        dir.setMode(QStringLiteral("bin/gzip"), 0755);
        m_path = qgetenv("PATH");
        qputenv("PATH", QFile::encodeName(dir.filePath(QStringLiteral("bin"))) + ':' + m_path);
        // Only the end of the load may stop the tool here, not a time limit.
        TextPreviewLoading::setTimeLimit(60s);
        ArchiveService::setToolTimeLimit(ArchiveService::defaultToolTimeLimit);
        preferences.setValue(QStringLiteral("startupDirectory"), dir.path());
        state = std::make_unique<AppState>(preferences);
    }
    void TearDown() override {
        state.reset();
        qputenv("PATH", m_path);
        TextPreviewLoading::setTimeLimit(TextPreviewLoading::defaultTimeLimit);
    }

    QString archive() const { return dir.filePath(QStringLiteral("member.tgz")); }
    QString pidFile() const { return dir.filePath(QStringLiteral("gzip.pid")); }

    // Starts the member's load and waits until the stuck helper runs.
    pid_t startStuckLoad() {
        state->loadViewerContentForMember(archive(), QStringLiteral("notes.txt"),
                                          QStringLiteral("notes.txt"));
        pid_t pid = 0;
        (void)QTest::qWaitFor(
            [&] {
                QFile file(pidFile());
                pid = file.open(QIODevice::ReadOnly) ? file.readAll().trimmed().toInt() : 0;
                return pid > 0;
            },
            5000);
        return pid;
    }

    TestDir dir;
    MemoryPreferences preferences;
    std::unique_ptr<AppState> state;
    QByteArray m_path;
};

TEST_F(ViewerMemberStop, ANewerLoadOrClosingTheViewerEndsTheTool) {
    const struct {
        const char* way;
        std::function<void(AppState&)> stop;
    } ways[] = {
        {"a newer load",
         [this](AppState& s) {
             s.loadViewerContent(dir.makeFile(QStringLiteral("other.txt"), "other\n"));
         }},
        {"VIEWER closed", [](AppState& s) { s.setLayoutMode(LayoutMode::dualFiler); }},
    };
    for (const auto& way : ways) {
        SCOPED_TRACE(way.way);
        QFile::remove(pidFile());
        const pid_t helper = startStuckLoad();
        ASSERT_GT(helper, 0);
        EXPECT_FALSE(hasEnded(helper));
        EXPECT_TRUE(state->isViewerLoading);
        way.stop(*state);
        EXPECT_TRUE(QTest::qWaitFor([&] { return hasEnded(helper); }, 5000));
        EXPECT_TRUE(QTest::qWaitFor([] { return ChildProcesses::runningCount() == 0; }, 5000));
    }
    EXPECT_FALSE(state->isViewerLoading);
}

} // namespace

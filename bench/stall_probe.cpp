// How long the main thread stops answering while the state does slow work:
// the real state object and event loop, a 1 ms heartbeat timer on the main
// thread, and for each scenario the longest gap between two beats from the
// command until its result shows. A scenario that does not finish within its
// bound is reported as hung; a watchdog thread then opens the write end of
// the FIFOs and closes it, so whatever waits on them reads an end of file and
// the probe goes on.
//
//   build/test/bench/stall_probe [WORKFOLDER [SCENARIO]]
//
// With SCENARIO, only the scenarios whose names contain it run.
//
// The folders and the 300 MB archive are made once in WORKFOLDER (by default
// /tmp/dorvik-stall-probe) and kept for the next run.
#include "core/AppState.h"
#include "core/Preferences.h"
#include "core/SystemPath.h"
#include "filesystem/FileAccessMemory.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QTimer>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kBound = std::chrono::seconds(10);

QString g_root;

QString at(const QString& relative) {
    return g_root + QLatin1Char('/') + relative;
}

void makeEmptyFiles(const QString& folder, int count, const char* stem) {
    QDir().mkpath(folder);
    for (int i = 0; i < count; ++i) {
        const QByteArray file = toSystemPath(folder) + '/' + stem + QByteArray::number(i);
        const int fd = ::open(file.constData(), O_CREAT | O_WRONLY, 0644);
        if (fd >= 0) {
            ::close(fd);
        }
    }
}

void makeWorkFolder() {
    if (!QDir(at(QStringLiteral("big"))).exists()) {
        std::puts("making 100,000 files ...");
        makeEmptyFiles(at(QStringLiteral("big.part")), 100000, "file");
        makeEmptyFiles(at(QStringLiteral("big.part")), 50, ".hidden");
        QDir().rename(at(QStringLiteral("big.part")), at(QStringLiteral("big")));
    }
    if (!QDir(at(QStringLiteral("tree"))).exists()) {
        std::puts("making 20,000 subfolders ...");
        QDir().mkpath(at(QStringLiteral("tree.part")));
        for (int i = 0; i < 20000; ++i) {
            QDir().mkdir(at(QStringLiteral("tree.part/folder%1").arg(i)));
        }
        QDir().rename(at(QStringLiteral("tree.part")), at(QStringLiteral("tree")));
    }
    if (!QFile::exists(at(QStringLiteral("archive/big.tar.gz")))) {
        std::puts("making a 300 MB .tar.gz ...");
        QDir().mkpath(at(QStringLiteral("archive/members")));
        QProcess::execute(
            QStringLiteral("/bin/sh"),
            {QStringLiteral("-c"),
             QStringLiteral("cd '%1' && for i in $(seq 1 30); do head -c 10M /dev/urandom > "
                            "members/part$i.bin; done && tar -cf - members | gzip -1 > "
                            "big.tar.gz.part && mv big.tar.gz.part big.tar.gz && rm -r members")
                 .arg(at(QStringLiteral("archive")))});
    }
    QDir().mkpath(at(QStringLiteral("fifo")));
    for (const char* name : {"stuck.tgz", "stuck.txt"}) {
        const QByteArray path = toSystemPath(at(QStringLiteral("fifo/"))) + name;
        ::mkfifo(path.constData(), 0644);
    }
    QDir(at(QStringLiteral("trash"))).removeRecursively();
    makeEmptyFiles(at(QStringLiteral("trash")), 10000, "item");
}

// Opens each FIFO for writing and closes it again: a reader waiting in
// open() gets through and then reads an end of file.
void releaseFifos() {
    for (const char* name : {"stuck.tgz", "stuck.txt"}) {
        const QByteArray path = toSystemPath(at(QStringLiteral("fifo/"))) + name;
        const int fd = ::open(path.constData(), O_WRONLY | O_NONBLOCK);
        if (fd >= 0) {
            ::close(fd);
        }
    }
}

struct Step {
    std::function<void()> act;
    std::function<bool()> done;
    bool measured = true;
};

struct Outcome {
    double longestStallMs = 0;
    double elapsedMs = 0;
    bool hung = false;
};

class Probe {
public:
    Probe() {
        m_watchdog = std::thread([this] { watch(); });
    }
    ~Probe() {
        m_quit = true;
        m_watchdog.join();
    }

    // Runs the step's command from the event loop and turns the loop until
    // its result shows or the bound passes.
    Outcome run(const Step& step) {
        Outcome outcome;
        QEventLoop loop;
        QElapsedTimer elapsed;
        auto lastBeat = Clock::now();
        m_hung = false;
        m_deadline = (Clock::now() + kBound).time_since_epoch().count();
        QTimer heartbeat;
        heartbeat.setTimerType(Qt::PreciseTimer);
        QObject::connect(&heartbeat, &QTimer::timeout, &loop, [&] {
            const auto now = Clock::now();
            const double gap = std::chrono::duration<double, std::milli>(now - lastBeat).count();
            outcome.longestStallMs = std::max(outcome.longestStallMs, gap);
            lastBeat = now;
            if (step.done() || m_hung) {
                outcome.hung = m_hung;
                loop.quit();
            }
        });
        heartbeat.start(1);
        QTimer::singleShot(0, &loop, [&] {
            lastBeat = Clock::now();
            elapsed.start();
            step.act();
        });
        loop.exec();
        outcome.elapsedMs = double(elapsed.nsecsElapsed()) / 1e6;
        m_deadline = Clock::time_point::max().time_since_epoch().count();
        return outcome;
    }

private:
    void watch() {
        while (!m_quit) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            if (Clock::now().time_since_epoch().count() > m_deadline) {
                m_hung = true;
                releaseFifos();
            }
        }
    }

    std::thread m_watchdog;
    std::atomic<bool> m_quit{false};
    std::atomic<bool> m_hung{false};
    std::atomic<Clock::rep> m_deadline{Clock::time_point::max().time_since_epoch().count()};
};

// Done once the pane stands on the location with rows listed after the
// command, or an error is reported.
std::function<bool()> listedAt(AppState& state, const FilerLocation& target) {
    const int64_t before = state.pane(PaneSide::left).listEpoch;
    return [&state, target, before] {
        const PaneState& pane = state.pane(PaneSide::left);
        return state.errorMessage || (pane.location == target && pane.listEpoch != before);
    };
}

std::function<bool()> relisted(AppState& state) {
    return listedAt(state, state.pane(PaneSide::left).location);
}

// A step is made when it is reached, so that its done test sees the state
// the steps before it left.
using StepMaker = std::function<Step(AppState&)>;

struct Scenario {
    const char* name;
    std::vector<StepMaker> steps;
};

StepMaker go(const QString& relative, bool measured = false) {
    return [relative, measured](AppState& s) {
        const FilerLocation target = FilerLocation::directory(at(relative));
        return Step{[&s, target] { s.openLocation(target, PaneSide::left, std::nullopt); },
                    listedAt(s, target), measured};
    };
}

int rowNamed(AppState& s, const QString& name) {
    const QList<FileEntry> rows = s.visibleEntries(PaneSide::left);
    for (int i = 0; i < rows.size(); ++i) {
        if (rows.at(i).name == name) {
            return i;
        }
    }
    return 0;
}

std::vector<Scenario> scenarios() {
    const FilerLocation archive =
        FilerLocation::zip(at(QStringLiteral("archive/big.tar.gz")), QString());
    const FilerLocation stuckArchive =
        FilerLocation::zip(at(QStringLiteral("fifo/stuck.tgz")), QString());
    return {
        {"enter a 100,000-file folder", {go(QStringLiteral("big"), true)}},
        {"change the sort there", {[](AppState& s) {
             return Step{[&s] { s.applySortMode(FilerSortMode::size); }, relisted(s)};
         }}},
        {"toggle hidden files there", {[](AppState& s) {
             return Step{[&s] { s.toggleHiddenFiles(); }, relisted(s)};
         }}},
        {"enter a 300 MB .tar.gz and go back",
         {go(QStringLiteral("archive")),
          [archive](AppState& s) {
              return Step{[&s, archive] { s.openLocation(archive, PaneSide::left, std::nullopt); },
                          listedAt(s, archive)};
          },
          [](AppState& s) {
              return Step{[&s] { s.goToParentDirectory(); },
                          listedAt(s, FilerLocation::directory(at(QStringLiteral("archive"))))};
          }}},
        {"open a tree on 20,000 subfolders",
         {go(QStringLiteral("tree")),
          [](AppState& s) {
              s.startupDirectory = at(QStringLiteral("tree"));
              return Step{[&s] { s.toggleTreeMode(); },
                          [&s] { return s.pane(PaneSide::left).treeMode; }};
          },
          [](AppState& s) {
              return Step{[&s] { s.leaveTreeMode(PaneSide::left); }, [] { return true; }, false};
          }}},
        {"trash 10,000 tagged files",
         {go(QStringLiteral("trash")),
          [](AppState& s) {
              return Step{[&s] {
                              s.openWildcardPrompt();
                              s.wildcardPrompt.pattern = QStringLiteral("*");
                              s.applyWildcardTag();
                              s.startDelete(AppState::DeleteKind::files);
                          },
                          [&s] { return s.errorMessage || s.pendingDelete; }};
          },
          [](AppState& s) {
              return Step{
                  [&s] { s.runPendingDelete(); },
                  [&s] { return s.errorMessage || s.pane(PaneSide::left).entries.size() == 1; }};
          }}},
        {"Enter on a FIFO named .tgz",
         {go(QStringLiteral("fifo")),
          [stuckArchive](AppState& s) {
              return Step{[&s, stuckArchive] {
                              s.openLocation(stuckArchive, PaneSide::left, std::nullopt);
                          },
                          listedAt(s, stuckArchive)};
          }}},
        {"E on a FIFO named .txt",
         {go(QStringLiteral("fifo")),
          [](AppState& s) {
              s.setSelection(rowNamed(s, QStringLiteral("stuck.txt")), PaneSide::left);
              return Step{[&s] { s.enterEditor(); },
                          [&s] {
                              return s.errorMessage.has_value() ||
                                     s.rightMode == RightPaneMode::editor;
                          }};
          }}},
    };
}

QString oneLine(QString text) {
    return text.replace(QLatin1Char('\n'), QLatin1Char(' ')).left(60);
}

} // namespace

int main(int argc, char** argv) {
    g_root = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("/tmp/dorvik-stall-probe");
    QDir().mkpath(g_root);
    qputenv("XDG_DATA_HOME", toSystemPath(at(QStringLiteral("data"))));
    QCoreApplication app(argc, argv);
    makeWorkFolder();

    MemoryPreferences preferences;
    FileAccessMemory::attach(&preferences);
    preferences.setValue(QStringLiteral("startupDirectory"), g_root);
    AppState state(preferences);
    Probe probe;
    probe.run({[&state] { state.refreshAll(); }, relisted(state), false});

    std::printf("%-38s %12s %12s  %s\n", "scenario", "stall (ms)", "total (ms)", "note");
    const QString only = argc > 2 ? QString::fromLocal8Bit(argv[2]) : QString();
    for (const Scenario& scenario : scenarios()) {
        if (!QString::fromUtf8(scenario.name).contains(only)) {
            continue;
        }
        Outcome worst;
        QString note;
        for (const StepMaker& make : scenario.steps) {
            const Step step = make(state);
            const Outcome outcome = probe.run(step);
            if (!step.measured) {
                continue;
            }
            worst.longestStallMs = std::max(worst.longestStallMs, outcome.longestStallMs);
            worst.elapsedMs += outcome.elapsedMs;
            worst.hung = worst.hung || outcome.hung;
            if (state.errorMessage) {
                note = QStringLiteral("error: ") + oneLine(*state.errorMessage);
            }
        }
        if (worst.hung) {
            note = QStringLiteral("hung (> %1 s) ").arg(kBound.count()) + note;
        }
        state.errorMessage.reset();
        std::printf("%-38s %12.1f %12.1f  %s\n", scenario.name, worst.longestStallMs,
                    worst.elapsedMs, note.toUtf8().constData());
        std::fflush(stdout);
    }
    // A read stuck in a worker thread is left behind.
    FileAccessMemory::attach(nullptr);
    std::fflush(stdout);
    ::_exit(0);
}

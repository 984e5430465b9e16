// Start-up time with a large rights memory: from the start of the process to
// the window shown and to its panes listed, offscreen, the way the program
// starts (settings file, rights memory, state, window). The memory holds the
// rights of 200,000 paths (--paths N), met before in an earlier run: in the
// rights file (--in file, the default) or, as older runs kept it, as JSON in
// the settings file (--in settings; this run then moves it into the file).
//
//   build/release/bench/startup_bench [--paths N] [--in file|settings] [--runs R]
//
// Each run starts a fresh process over the same prepared folder; a run with
// --in settings prepares the settings anew each time.
#include "app/ContentView.h"
#include "core/AppState.h"
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTimer>

#include <cstdio>

namespace {

QString argument(const QStringList& args, const QString& name, const QString& fallback) {
    const qsizetype at = args.indexOf(name);
    return at >= 0 && at + 1 < args.size() ? args[at + 1] : fallback;
}

QString pathNumber(int i) {
    return QStringLiteral("/home/someone/Projects/archive-%1/photos/IMG_%2.JPG")
        .arg(i / 1000, 3, 10, QLatin1Char('0'))
        .arg(i, 6, 10, QLatin1Char('0'));
}

const FileAccessMemory::Record kRights{true, true, QStringLiteral("-rw-r--r--"),
                                       QStringLiteral("someone"), QStringLiteral("someone")};

// The JSON text older runs kept under "fileAccessMemory.v1".
QByteArray settingsJson(int paths) {
    QByteArray json = "{";
    for (int i = 0; i < paths; ++i) {
        json += (i ? ",\"" : "\"") + pathNumber(i).toUtf8() +
                "\":{\"readable\":true,\"writable\":true,\"mode\":\"-rw-r--r--\","
                "\"owner\":\"someone\",\"group\":\"someone\"}";
    }
    return json + "}";
}

// The folders of a run: settings, state, and the start folder of 100 files.
void prepare(const QString& root, int paths, const QString& in) {
    QDir(root).removeRecursively();
    QDir().mkpath(root + QStringLiteral("/start"));
    for (int i = 0; i < 100; ++i) {
        QFile(root + QStringLiteral("/start/file%1.txt").arg(i)).open(QIODevice::WriteOnly);
    }
    SettingsPreferences settings(root + QStringLiteral("/config/Dorvik/Dorvik.conf"));
    settings.setValue(QStringLiteral("startupDirectory"), root + QStringLiteral("/start"));
    if (in == QLatin1String("settings")) {
        settings.setValue(QStringLiteral("fileAccessMemory.v1"), settingsJson(paths));
        return;
    }
    FileAccessMemory::attach(&settings, FileAccessMemory::defaultStorePath());
    for (int i = 0; i < paths; ++i) {
        FileAccessMemory::remember(kRights, pathNumber(i), false);
    }
    FileAccessMemory::attach(nullptr);
}

// One start of the program; prints the two times in milliseconds.
int startOnce(QApplication& application, const QElapsedTimer& clock, const QString& root) {
    SettingsPreferences settings(root + QStringLiteral("/config/Dorvik/Dorvik.conf"));
    FileAccessMemory::attach(&settings, FileAccessMemory::defaultStorePath());
    AppState state(settings);
    ContentView window(state);
    window.show();
    const qint64 shown = clock.elapsed();
    // The right pane is listed too when it shows a filer rather than the
    // VIEWER.
    const auto listed = [&state] {
        const bool rightListed = state.rightMode != RightPaneMode::filer ||
                                 !state.pane(PaneSide::right).entries.isEmpty();
        return !state.isListingPending(PaneSide::left) &&
               !state.isListingPending(PaneSide::right) &&
               !state.pane(PaneSide::left).entries.isEmpty() && rightListed;
    };
    while (!listed()) {
        application.processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    std::printf("%lld %lld\n", shown, clock.elapsed());
    std::fflush(stdout);
    FileAccessMemory::attach(nullptr);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    QElapsedTimer clock;
    clock.start();
    const QStringList args = [&] {
        QStringList list;
        for (int i = 1; i < argc; ++i) {
            list.append(QString::fromLocal8Bit(argv[i]));
        }
        return list;
    }();
    const QString root =
        argument(args, QStringLiteral("--root"), QStringLiteral("/tmp/dorvik-startup"));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(root + QStringLiteral("/config")));
    qputenv("XDG_STATE_HOME", QFile::encodeName(root + QStringLiteral("/state")));
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const int paths = argument(args, QStringLiteral("--paths"), QStringLiteral("200000")).toInt();
    const QString in = argument(args, QStringLiteral("--in"), QStringLiteral("file"));
    if (args.contains(QStringLiteral("--prepare"))) {
        QCoreApplication application(argc, argv);
        prepare(root, paths, in);
        return 0;
    }
    if (args.contains(QStringLiteral("--start"))) {
        QApplication application(argc, argv);
        return startOnce(application, clock, root);
    }
    QCoreApplication application(argc, argv);
    const int runs = argument(args, QStringLiteral("--runs"), QStringLiteral("5")).toInt();
    const QStringList common{QStringLiteral("--root"),  root,
                             QStringLiteral("--paths"), QString::number(paths),
                             QStringLiteral("--in"),    in};
    const auto runSelf = [&](const QString& what) {
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(), QStringList{what} + common);
        child.waitForFinished(-1);
        return child.readAllStandardOutput();
    };
    std::printf("start-up with the rights of %d paths kept in the %s (ms from process start)\n",
                paths, in == QLatin1String("settings") ? "settings" : "rights file");
    std::printf("%6s %14s %14s\n", "run", "window shown", "panes listed");
    runSelf(QStringLiteral("--prepare"));
    for (int run = 1; run <= runs; ++run) {
        if (run > 1 && in == QLatin1String("settings")) {
            runSelf(QStringLiteral("--prepare"));
        }
        const QList<QByteArray> times = runSelf(QStringLiteral("--start")).trimmed().split(' ');
        std::printf("%6d %14s %14s\n", run, times.value(0).constData(), times.value(1).constData());
    }
    return 0;
}

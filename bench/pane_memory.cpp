// What a folder of 100,000 files costs in resident memory: the real state
// object starts on a small folder (the idle window), then opens the large
// folder in the left pane and then in the right one; last the rights memory
// is emptied, to tell its share from the rows'. Each figure is read from
// /proc/self/status after malloc_trim, so freed memory does not count.
#include "BenchFolder.h"
#include "core/AppState.h"
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>
#include <malloc.h>

namespace {

// Resident size in kB as the kernel counts it, after handing freed heap back.
long residentKilobytes() {
    ::malloc_trim(0);
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return -1;
    }
    for (QByteArray line = status.readLine(); !line.isEmpty(); line = status.readLine()) {
        if (line.startsWith("VmRSS:")) {
            return line.mid(6).trimmed().split(' ').value(0).toLong();
        }
    }
    return -1;
}

// Turns the event loop until neither pane lists any more.
void settle(const AppState& state) {
    QTimer limit;
    limit.setSingleShot(true);
    limit.start(60000);
    while ((state.isListingPending(PaneSide::left) || state.isListingPending(PaneSide::right)) &&
           limit.isActive()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    QCoreApplication::processEvents();
}

void openLarge(AppState& state, PaneSide side) {
    state.openLocation(FilerLocation::directory(BenchFolder::path()), side, std::nullopt);
    settle(state);
}

void printLine(const char* what, long kilobytes) {
    std::printf("%-34s %8.1f MB\n", what, double(kilobytes) / 1024.0);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    const QString& large = BenchFolder::path();
    QTemporaryDir small;
    MemoryPreferences preferences;
    FileAccessMemory::attach(&preferences);
    preferences.setValue(QStringLiteral("startupDirectory"), small.path());
    auto state = std::make_unique<AppState>(preferences);
    state->setLayoutMode(LayoutMode::dualFiler);
    state->refreshAll();
    settle(*state);

    const long idle = residentKilobytes();
    openLarge(*state, PaneSide::left);
    const long oneOpen = residentKilobytes();
    openLarge(*state, PaneSide::right);
    const long bothOpen = residentKilobytes();
    const auto rows = state->pane(PaneSide::left).entries.size();
    // What of it the rights memory holds: its records and its stored text.
    FileAccessMemory::attach(nullptr);
    preferences.remove(QStringLiteral("fileAccessMemory.v1"));
    const long withoutRights = residentKilobytes();

    std::printf("folder                             %s (%lld rows per pane)\n", qPrintable(large),
                qlonglong(rows));
    std::printf("sizeof(FileEntry)                  %8zu bytes\n", sizeof(FileEntry));
    printLine("resident, idle window", idle);
    printLine("resident, large folder left", oneOpen);
    printLine("resident, large folder both panes", bothOpen);
    printLine("above idle, both panes", bothOpen - idle);
    printLine("of which the rights memory", bothOpen - withoutRights);
    std::printf("%-34s %8.0f / %.0f bytes (left / right)\n", "per row per pane",
                double(oneOpen - idle) * 1024.0 / double(rows),
                double(bothOpen - oneOpen) * 1024.0 / double(rows));
    state.reset();
    FileAccessMemory::attach(nullptr);
    return 0;
}

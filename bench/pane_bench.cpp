// What the main thread spends on a pane of 100,000 files: a cursor step with
// the filter open, the tagged size the status line asks for at every redraw
// with every file tagged, and a reload after a change on disk, listed on the
// main thread or on a worker (the CPU column is the main thread's own time).
#include "BenchFolder.h"
#include "BenchMain.h"
#include "core/AppState.h"
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <benchmark/benchmark.h>

namespace {

// A state with the left pane on the large folder.
struct LargePane {
    MemoryPreferences preferences;
    std::unique_ptr<AppState> state;

    LargePane() {
        FileAccessMemory::attach(&preferences);
        preferences.setValue(QStringLiteral("startupDirectory"), BenchFolder::path());
        state = std::make_unique<AppState>(preferences);
        state->reloadPane(PaneSide::left, false);
    }
    ~LargePane() {
        state.reset();
        FileAccessMemory::attach(nullptr);
    }
};

void BM_FilteredCursorStep(benchmark::State& bench) {
    LargePane pane;
    pane.state->openFilter();
    pane.state->filterQuery = QStringLiteral("9");
    pane.state->applyFilter();
    int step = 1;
    for (auto _ : bench) {
        pane.state->moveCursor(step);
        benchmark::DoNotOptimize(pane.state->visibleEntries(PaneSide::left));
        step = -step;
    }
}

void BM_TaggedSizeOfEveryFile(benchmark::State& bench) {
    LargePane pane;
    pane.state->openWildcardPrompt();
    pane.state->wildcardPrompt.pattern = QStringLiteral("*");
    pane.state->applyWildcardTag();
    for (auto _ : bench) {
        benchmark::DoNotOptimize(pane.state->taggedSizeLabel());
    }
}

void BM_ReloadOnTheMainThread(benchmark::State& bench) {
    LargePane pane;
    for (auto _ : bench) {
        pane.state->reloadPane(PaneSide::left, true);
    }
}

void BM_ReloadOnAWorker(benchmark::State& bench) {
    LargePane pane;
    for (auto _ : bench) {
        const int64_t epoch = pane.state->pane(PaneSide::left).listEpoch;
        QEventLoop loop;
        QObject::connect(pane.state.get(), &AppState::changed, &loop, [&] {
            if (pane.state->pane(PaneSide::left).listEpoch != epoch) {
                loop.quit();
            }
        });
        pane.state->reloadPaneInBackground(PaneSide::left);
        loop.exec();
    }
}

BENCHMARK(BM_FilteredCursorStep)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_TaggedSizeOfEveryFile)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReloadOnTheMainThread)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_ReloadOnAWorker)->Unit(benchmark::kMillisecond)->Iterations(5);

} // namespace

int main(int argc, char** argv) {
    return runBenchmarksInQtApplication(argc, argv);
}

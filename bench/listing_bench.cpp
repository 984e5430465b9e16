// Listing and sorting a folder of 100,000 files, with the rights memory cold
// (every item's rights read from its stat) and warm (answered by the memory).
#include "BenchFolder.h"
#include "BenchMain.h"
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"
#include "filesystem/FileSystemService.h"

#include <QCoreApplication>

#include <benchmark/benchmark.h>

namespace {

using BenchFolder::kFileCount;

void listOnce(benchmark::State& state) {
    auto rows =
        FileSystemService::listDirectory(BenchFolder::path(), false, FilerSortMode::name, true);
    if (!rows.ok() || rows->size() != kFileCount + 1) {
        state.SkipWithError("listing failed");
    }
    benchmark::DoNotOptimize(rows);
}

void BM_ListDirectoryColdMemory(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        MemoryPreferences preferences;
        FileAccessMemory::attach(&preferences);
        state.ResumeTiming();
        listOnce(state);
        state.PauseTiming();
        FileAccessMemory::attach(nullptr);
        state.ResumeTiming();
    }
}

void BM_ListDirectoryWarmMemory(benchmark::State& state) {
    MemoryPreferences preferences;
    FileAccessMemory::attach(&preferences);
    listOnce(state);
    for (auto _ : state) {
        listOnce(state);
    }
    FileAccessMemory::attach(nullptr);
}

void BM_SortByName(benchmark::State& state) {
    MemoryPreferences preferences;
    FileAccessMemory::attach(&preferences);
    auto rows =
        FileSystemService::listDirectory(BenchFolder::path(), false, FilerSortMode::size, true);
    for (auto _ : state) {
        QList<FileEntry> copy = *rows;
        copy.detach();
        FileSystemService::sortEntries(copy, FilerSortMode::name, true);
        benchmark::DoNotOptimize(copy);
    }
    FileAccessMemory::attach(nullptr);
}

BENCHMARK(BM_ListDirectoryColdMemory)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_ListDirectoryWarmMemory)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_SortByName)->Unit(benchmark::kMillisecond)->Iterations(5);

} // namespace

int main(int argc, char** argv) {
    return runBenchmarksInQtApplication(argc, argv);
}

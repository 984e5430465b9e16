// Listing and sorting a folder of 100,000 files, with the rights memory cold
// (every item's rights read from its stat) and warm (answered by the memory).
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"
#include "filesystem/FileSystemService.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int kFileCount = 100000;

// The generated folder, made once for the whole run.
const QString& benchFolder() {
    static QTemporaryDir dir(QDir::tempPath() + QStringLiteral("/dorvik-bench-XXXXXX"));
    static const bool made = [] {
        for (int i = 0; i < kFileCount; ++i) {
            const QByteArray path =
                QFile::encodeName(dir.path()) + "/file" + QByteArray::number(i) + ".txt";
            const int fd = ::open(path.constData(), O_CREAT | O_WRONLY, 0644);
            if (fd >= 0) {
                ::close(fd);
            }
        }
        return true;
    }();
    Q_UNUSED(made);
    static const QString path = dir.path();
    return path;
}

void listOnce(benchmark::State& state) {
    auto rows = FileSystemService::listDirectory(benchFolder(), false, FilerSortMode::name, true);
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
    auto rows = FileSystemService::listDirectory(benchFolder(), false, FilerSortMode::size, true);
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
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

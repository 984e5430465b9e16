#pragma once

#include <QCoreApplication>

#include <benchmark/benchmark.h>

// The main of a benchmark binary whose work needs a Qt application: the
// event loop some benchmarks turn, and the worker threads' results.
inline int runBenchmarksInQtApplication(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

#include "core/HeapRelease.h"

#include "core/Background.h"

#include <QCoreApplication>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <malloc.h>

namespace HeapRelease {
namespace {

// The newest ask; a quiet spell after it has passed when it is still the newest.
int s_newestAsk = 0;
// Passes asked for and not yet served; the pass that finds more than it
// served runs again.
std::atomic<int> s_waiting{0};

void releaseUntilServed() {
    int served = 0;
    do {
        served = s_waiting.load();
        ::malloc_trim(0);
    } while (!s_waiting.compare_exchange_strong(served, 0));
}

void release() {
    if (s_waiting.fetch_add(1) == 0) {
        Background::workerThreads().start(Background::Pool::shared, releaseUntilServed);
    }
}

} // namespace

void afterRowsReplaced(qsizetype rowsBefore, qsizetype rowsAfter) {
    if (std::max(rowsBefore, rowsAfter) < largeChange || !QCoreApplication::instance()) {
        return;
    }
    // Listings that follow each other (both panes, a sort change after
    // entering) reuse what the one before freed; the heap is handed back
    // once they have settled.
    const int ask = ++s_newestAsk;
    QTimer::singleShot(quietSpell, QCoreApplication::instance(), [ask] {
        if (ask == s_newestAsk) {
            release();
        }
    });
}

} // namespace HeapRelease

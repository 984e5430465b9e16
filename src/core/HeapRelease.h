#pragma once

#include <QtGlobal>

#include <chrono>

// A large listing leaves the heap holding what the rows it replaced, and the
// worker's sort and name work, freed: the C library keeps freed memory for
// reuse, split over one arena per thread, so a 100,000-row folder visited
// once would keep tens of megabytes resident for the rest of the session.
// After a change of that size the freed heap is handed back to the system,
// on a worker, so the main thread never waits for it.
namespace HeapRelease {

// Rows replaced or brought in below this count leave too little behind to
// be worth a pass over the heap.
inline constexpr qsizetype largeChange = 4096;

// How long the rows must have stood still before the heap is handed back.
inline constexpr std::chrono::milliseconds quietSpell{500};

// Asks for the freed heap to be handed back when a pane went from
// rowsBefore to rowsAfter rows and either side is large. Called on the
// main thread.
void afterRowsReplaced(qsizetype rowsBefore, qsizetype rowsAfter);

} // namespace HeapRelease

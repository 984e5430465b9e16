// Esc while a copy, move, delete or attribute job runs on a worker thread.
#include "core/AppState.h"

// The job sees the request after the item under way, or, in a copy, before
// its next stretch of bytes; what was done is told when it ends.
void AppState::stopFileOperation() {
    if (isFileOperationRunning) {
        fileJobStop.request_stop();
    }
}

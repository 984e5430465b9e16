#include "filesystem/FileJob.h"

#include "core/AppState.h"
#include "core/PathUtils.h"
#include "filesystem/CopyMoveProgress.h"
#include "text/ShownFileName.h"

#include <memory>

namespace FileJob {

namespace {

// How often the count is renewed once it shows.
constexpr std::chrono::milliseconds kProgressInterval{200};

// Shows the count after the wait and again every interval; the ticks end
// when ticking, the job's own object, goes.
void tickCount(AppState& state, QObject* ticking, std::chrono::milliseconds wait,
               const QString& label, const std::shared_ptr<const std::atomic<int>>& done,
               int total) {
    state.executor().callLater(wait, ticking, [&state, ticking, label, done, total] {
        state.fileOperationProgressText =
            QStringLiteral("%1  %2 / %3").arg(label).arg(done->load()).arg(total);
        state.notifyChanged();
        tickCount(state, ticking, kProgressInterval, label, done, total);
    });
}

} // namespace

int Outcome::succeeded() const {
    int count = 0;
    for (const auto& item : items) {
        count += item.second ? 0 : 1;
    }
    return count;
}

QStringList Outcome::failureLines() const {
    QStringList lines;
    for (const auto& [url, error] : items) {
        if (error) {
            lines << ShownFileName::shownName(PathUtils::lastPathComponent(url)) +
                         QStringLiteral(": ") + error->description();
        }
    }
    return lines;
}

Outcome runItems(const QStringList& items, const ItemWork& work, const std::stop_token& stop,
                 std::atomic<int>& done) {
    Outcome outcome;
    outcome.total = int(items.size());
    for (const QString& item : items) {
        if (stop.stop_requested()) {
            outcome.stopped = true;
            break;
        }
        outcome.items.append({item, work(item)});
        done.fetch_add(1);
    }
    return outcome;
}

void start(AppState& state, const QStringList& items, const QString& label, ItemWork work,
           std::function<void(const Outcome&)> finish) {
    auto done = std::make_shared<std::atomic<int>>(0);
    state.fileJobStop = std::stop_source();
    state.isFileOperationRunning = true;
    state.fileOperationProgressText.clear();
    state.notifyChanged();
    auto* ticking = new QObject(&state);
    tickCount(state, ticking, CopyMoveProgress::delay(), label, done, int(items.size()));
    Background::run(
        state.executor(), Background::Pool::shared, &state,
        [items, work = std::move(work), stop = state.fileJobStop.get_token(), done] {
            return runItems(items, work, stop, *done);
        },
        [&state, ticking, finish = std::move(finish)](const Outcome& outcome) {
            delete ticking;
            state.isFileOperationRunning = false;
            state.fileOperationProgressText.clear();
            state.fileJobStop = std::stop_source(std::nostopstate);
            finish(outcome);
            state.notifyChanged();
        });
}

QString stoppedReport(int done, int total, const QString& pastParticiple) {
    return QStringLiteral("Stopped: %1 of %2 item(s) %3").arg(done).arg(total).arg(pastParticiple);
}

} // namespace FileJob

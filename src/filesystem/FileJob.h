#pragma once

// Long file jobs over many items, trashing and attribute changes: the items
// are carried out one at a time on a worker thread so that the window stays
// live. Once a job has run for a while the status line tells the count done
// of all, and Esc stops it after the item under way.
#include "filesystem/FileSystemError.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <optional>
#include <stop_token>
#include <utility>

class AppState;

namespace FileJob {

using ItemError = std::optional<FileSystemError>;
using ItemWork = std::function<ItemError(const QString&)>;

struct Outcome {
    // Each item the job got to, in order, with its failure if it failed.
    QList<std::pair<QString, ItemError>> items;
    int total = 0;
    // Esc ended the job before its last item.
    bool stopped = false;

    int succeeded() const;
    // "name: description" for each failed item, in the order of the items.
    QStringList failureLines() const;
};

// Runs work on each item in order until all are done or a stop is asked for;
// done counts the items finished. Any thread.
Outcome runItems(const QStringList& items, const ItemWork& work, const std::stop_token& stop,
                 std::atomic<int>& done);

// Starts a job on the state's worker: keys but Esc and the menu shortcuts
// wait meanwhile, "label  done / total" shows in the status line after the
// progress delay, and finish hears the outcome on the main thread once the
// job has ended or stopped.
void start(AppState& state, const QStringList& items, const QString& label, ItemWork work,
           std::function<void(const Outcome&)> finish);

// What the STOPPED dialog says of a job Esc ended: "Stopped: 3 of 10 items
// copied", with the job's own past participle.
QString stoppedReport(int done, int total, const QString& pastParticiple);

} // namespace FileJob

#pragma once

#include <QHash>
#include <QString>

#include <QByteArray>
#include <QHashFunctions>

#include <optional>

class Preferences;

// The process-wide memory of the rights shown for each path met so far. Once
// a path has a record, its mode, owner, group and flags are shown from here
// without touching the item again, until the path is forgotten. The records
// survive restarts in a file of their own, "fileAccessMemory.v1" under the
// user's state folder: a log that each change is appended to, written by the
// memory's own thread, so that neither a listing nor the main thread waits
// on the disk for it.
namespace FileAccessMemory {

struct Record {
    bool readable = false;
    bool writable = false;
    QString mode;
    QString owner;
    QString group;
    bool operator==(const Record&) const = default;
};

inline size_t qHash(const Record& record, size_t seed = 0) {
    return qHashMulti(seed, record.readable, record.writable, record.mode, record.owner,
                      record.group);
}

// Where the program keeps the memory: Dorvik/fileAccessMemory.v1 under
// $XDG_STATE_HOME, or under ~/.local/state when that is not set.
QString defaultStorePath();

// Starts the memory afresh. With a store file, its records are read on the
// memory's thread: the first operation that needs them waits for that, while
// forgetting is noted and done once they are read. A memory that an older
// run kept in the settings under "fileAccessMemory.v1" is moved into the
// file, and the settings key is removed on the main thread once the file
// holds it. Without a file the records live in this process only (tests,
// the command-line tool). Writes still pending for the file before are made
// first. Called at start-up and at the end (nullptr), and by tests.
void attach(Preferences* settings, const QString& storePath = QString());

std::optional<Record> rememberedRecord(const QString& url);
void remember(const Record& record, const QString& url, bool persistNow);
// Removes the path's record; writes the store only if a record was removed.
void forget(const QString& url);
// Removes the path's record and leaves the write to the next persist: a
// listing of the folder follows and writes once for both.
void forgetWithoutWriting(const QString& url);
// Has the records met since the last write appended to the file (once per
// listing), on the memory's thread; any thread may ask.
void persist();
// Waits until every change made so far is in the file, or the file cannot
// be written. For the end of a run, tests and benchmarks.
void waitForWrites();

// The JSON text older runs kept in the settings, read for the move into the
// file. Decoding fails (none) when any record lacks one of its five fields.
std::optional<QHash<QString, Record>> decode(const QByteArray& json);

} // namespace FileAccessMemory

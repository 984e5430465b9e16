#pragma once

#include <QHash>
#include <QString>

#include <QByteArray>

#include <cstdint>
#include <optional>

class Preferences;

// The process-wide memory of the rights shown for each path met so far. Once
// a path has a record, its mode, owner, group and flags are shown from here
// without touching the item again, until the path is forgotten. The memory is
// stored under "fileAccessMemory.v1" as JSON text and survives restarts.
namespace FileAccessMemory {

struct Record {
    bool readable = false;
    bool writable = false;
    QString mode;
    QString owner;
    QString group;
    bool operator==(const Record&) const = default;
};

// Points the memory at a settings store and forgets what was loaded, so the
// next operation loads from that store. Called once at start-up (and by tests).
void attach(Preferences* preferences);

std::optional<Record> rememberedRecord(const QString& url);
void remember(const Record& record, const QString& url, bool persistNow);
// Removes the path's record; writes the store only if a record was removed.
void forget(const QString& url);
// Removes the path's record and leaves the write to the next persist or
// store: a listing of the folder follows and writes once for both.
void forgetWithoutWriting(const QString& url);
// Writes the whole memory to the store (once per listing). Off the main
// thread it writes nothing: the main thread persists later.
void persist();

// The memory as the store's text, made on a worker thread when the records
// changed, so that the main thread only stores it: encoding a memory of a
// hundred thousand paths takes a fifth of a second.
struct Snapshot {
    uint64_t changesAt = 0;
    QByteArray json;
};
// Any thread; none when nothing changed since the last write.
std::optional<Snapshot> snapshot();
// Main thread: writes the snapshot unless a later one was written already.
void store(const Snapshot& snapshot);

// The memory as the JSON text of the store, and back. Decoding fails (none)
// when any record lacks one of its five fields.
QByteArray encode(const QHash<QString, Record>& records);
std::optional<QHash<QString, Record>> decode(const QByteArray& json);

} // namespace FileAccessMemory

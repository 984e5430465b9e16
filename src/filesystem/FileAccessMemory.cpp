#include "filesystem/FileAccessMemory.h"

#include "core/PathUtils.h"
#include "core/Preferences.h"

#include <QCoreApplication>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QThread>

#include <mutex>

namespace FileAccessMemory {

namespace {

const QString kStoreKey = QStringLiteral("fileAccessMemory.v1");

struct Memory {
    std::mutex lock;
    Preferences* preferences = nullptr;
    QHash<QString, Record> records;
    bool loaded = false;
    // Set when the records differ from what was last written, so that a
    // listing that met nothing new does not rewrite an identical store.
    bool dirty = true;
    // Counts changes of the records; a snapshot made at an older count
    // than the one written is not written over it.
    uint64_t changes = 0;
    uint64_t written = 0;
};

// Never destroyed: a listing on a worker thread may still be using it while
// the program ends.
Memory& memory() {
    static Memory* instance = new Memory;
    return *instance;
}

// Runs under the lock before every operation; loads the store once.
void loadIfNeeded(Memory& m) {
    if (m.loaded) {
        return;
    }
    m.loaded = true;
    m.dirty = true;
    ++m.changes;
    if (!m.preferences || !m.preferences->contains(kStoreKey)) {
        return;
    }
    if (auto decoded = decode(m.preferences->dataValue(kStoreKey))) {
        m.records = std::move(*decoded);
    }
}

void write(Memory& m) {
    if (m.preferences && m.dirty) {
        m.preferences->setValue(kStoreKey, encode(m.records));
        m.dirty = false;
        m.written = m.changes;
    }
}

void markChanged(Memory& m) {
    m.dirty = true;
    ++m.changes;
}

void appendJsonString(QByteArray& out, const QString& text) {
    out.append('"');
    const QByteArray utf8 = text.toUtf8();
    for (const char c : utf8) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out.append('\\').append(c);
        } else if (byte < 0x20) {
            out.append(QStringLiteral("\\u%1").arg(byte, 4, 16, QLatin1Char('0')).toLatin1());
        } else {
            out.append(c);
        }
    }
    out.append('"');
}

std::optional<Record> recordFromJson(const QJsonValue& value) {
    const QJsonObject object = value.toObject();
    const QJsonValue readable = object.value(QLatin1String("readable"));
    const QJsonValue writable = object.value(QLatin1String("writable"));
    const QJsonValue mode = object.value(QLatin1String("mode"));
    const QJsonValue owner = object.value(QLatin1String("owner"));
    const QJsonValue group = object.value(QLatin1String("group"));
    if (!value.isObject() || !readable.isBool() || !writable.isBool() || !mode.isString() ||
        !owner.isString() || !group.isString()) {
        return std::nullopt;
    }
    return Record{readable.toBool(), writable.toBool(), mode.toString(), owner.toString(),
                  group.toString()};
}

} // namespace

QByteArray encode(const QHash<QString, Record>& records) {
    // Written by hand: the store is rewritten after every listing and may hold
    // hundreds of thousands of paths.
    QByteArray out;
    out.reserve(records.size() * 120 + 2);
    out.append('{');
    bool first = true;
    for (auto it = records.cbegin(); it != records.cend(); ++it) {
        if (!first) {
            out.append(',');
        }
        first = false;
        appendJsonString(out, it.key());
        const Record& r = it.value();
        out.append(":{\"readable\":").append(r.readable ? "true" : "false");
        out.append(",\"writable\":").append(r.writable ? "true" : "false");
        out.append(",\"mode\":");
        appendJsonString(out, r.mode);
        out.append(",\"owner\":");
        appendJsonString(out, r.owner);
        out.append(",\"group\":");
        appendJsonString(out, r.group);
        out.append('}');
    }
    out.append('}');
    return out;
}

std::optional<QHash<QString, Record>> decode(const QByteArray& json) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        return std::nullopt;
    }
    const QJsonObject object = document.object();
    QHash<QString, Record> records;
    records.reserve(object.size());
    for (auto it = object.begin(); it != object.end(); ++it) {
        auto record = recordFromJson(it.value());
        if (!record) {
            return std::nullopt;
        }
        records.insert(it.key(), std::move(*record));
    }
    return records;
}

void attach(Preferences* preferences) {
    Memory& m = memory();
    std::lock_guard guard(m.lock);
    m.preferences = preferences;
    m.records.clear();
    m.loaded = false;
}

std::optional<Record> rememberedRecord(const QString& url) {
    const QString key = PathUtils::standardizedPath(url);
    Memory& m = memory();
    std::lock_guard guard(m.lock);
    loadIfNeeded(m);
    const auto found = m.records.constFind(key);
    if (found == m.records.constEnd()) {
        return std::nullopt;
    }
    return *found;
}

void remember(const Record& record, const QString& url, bool persistNow) {
    const QString key = PathUtils::standardizedPath(url);
    Memory& m = memory();
    std::lock_guard guard(m.lock);
    loadIfNeeded(m);
    auto found = m.records.find(key);
    if (found == m.records.end()) {
        m.records.insert(key, record);
        markChanged(m);
    } else if (!(*found == record)) {
        *found = record;
        markChanged(m);
    }
    if (persistNow) {
        write(m);
    }
}

namespace {

enum class Writing { now, later };

void forgetRecord(const QString& url, Writing writing) {
    const QString key = PathUtils::standardizedPath(url);
    Memory& m = memory();
    std::lock_guard guard(m.lock);
    loadIfNeeded(m);
    if (m.records.remove(key)) {
        markChanged(m);
        if (writing == Writing::now) {
            write(m);
        }
    }
}

} // namespace

void forget(const QString& url) {
    forgetRecord(url, Writing::now);
}

void forgetWithoutWriting(const QString& url) {
    forgetRecord(url, Writing::later);
}

std::optional<Snapshot> snapshot() {
    Memory& m = memory();
    QHash<QString, Record> records;
    Snapshot made;
    {
        std::lock_guard guard(m.lock);
        loadIfNeeded(m);
        if (!m.preferences || !m.dirty) {
            return std::nullopt;
        }
        // A shared copy: the records are encoded outside the lock.
        records = m.records;
        made.changesAt = m.changes;
    }
    made.json = encode(records);
    return made;
}

void store(const Snapshot& snapshot) {
    Memory& m = memory();
    std::lock_guard guard(m.lock);
    if (!m.preferences || snapshot.changesAt <= m.written) {
        return;
    }
    m.preferences->setValue(kStoreKey, snapshot.json);
    m.written = snapshot.changesAt;
    m.dirty = m.changes != snapshot.changesAt;
}

void persist() {
    // The settings store belongs to the main thread. A listing made on a
    // worker leaves the write to the main thread, which persists when it
    // shows the rows; the records stay marked as not yet written till then.
    const QCoreApplication* application = QCoreApplication::instance();
    if (application && QThread::currentThread() != application->thread()) {
        return;
    }
    Memory& m = memory();
    std::lock_guard guard(m.lock);
    loadIfNeeded(m);
    write(m);
}

} // namespace FileAccessMemory

#include "filesystem/FileAccessMemory.h"

#include "core/PathUtils.h"
#include "core/PreferenceKeys.h"
#include "core/Preferences.h"
#include "filesystem/RightsStore.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <condition_variable>
#include <mutex>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

namespace FileAccessMemory {

namespace {

// The records, and the thread that reads and writes their file. The lock is
// held for one look-up or change at a time, never over the disk.
struct Memory {
    std::mutex lock;
    // Wakes the store's thread for work, and waiters when the records are
    // read or a write is done.
    std::condition_variable wake;
    RightsStore store;
    bool loaded = true;
    // Paths forgotten before the records were read; forgotten once they are.
    QStringList forgottenEarly;
    std::thread storeThread;
    bool hasFile = false;
    bool stopping = false;
    // Writes asked for and made, counted, so a waiter knows when its is done.
    uint64_t writesAsked = 0;
    uint64_t writesMade = 0;
    // Steps at each attach: a settings removal asked for by an earlier
    // memory is not made.
    uint64_t generation = 0;
};

// Never destroyed: a listing on a worker thread may still be using it while
// the program ends.
Memory& memory() {
    static Memory* instance = new Memory;
    return *instance;
}

void waitUntilLoaded(Memory& m, std::unique_lock<std::mutex>& guard) {
    m.wake.wait(guard, [&m] { return m.loaded; });
}

QByteArray readWholeFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return file.readAll();
}

bool writeAll(int fd, const QByteArray& bytes) {
    qsizetype done = 0;
    while (done < bytes.size()) {
        const ssize_t written = ::write(fd, bytes.constData() + done, size_t(bytes.size() - done));
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        done += written;
    }
    return true;
}

// A whole new file in place of the old one, or none: written beside it and
// renamed over it. Answers the descriptor to append to, or -1.
int replaceFile(const QString& path, const QByteArray& bytes) {
    const QByteArray target = QFile::encodeName(path);
    const QByteArray temporary = target + ".new";
    const int fd = ::open(temporary.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) {
        return -1;
    }
    if (!writeAll(fd, bytes) || ::fsync(fd) != 0 ||
        ::rename(temporary.constData(), target.constData()) != 0) {
        ::close(fd);
        ::unlink(temporary.constData());
        return -1;
    }
    const int appendFd = ::open(target.constData(), O_WRONLY | O_APPEND | O_CLOEXEC);
    ::close(fd);
    return appendFd;
}

// The file as read, cut back to its whole records, ready to append to.
int openForAppending(const QString& path, qsizetype goodLength) {
    const int fd = ::open(QFile::encodeName(path).constData(),
                          O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    if (fd >= 0 && ::lseek(fd, 0, SEEK_END) > goodLength && ::ftruncate(fd, goodLength) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

// Records the settings held from an older run, added where the file has none.
void takeOverSettings(RightsStore& store, const QByteArray& json) {
    const auto records = decode(json);
    if (!records) {
        return;
    }
    for (auto it = records->cbegin(); it != records->cend(); ++it) {
        if (!store.find(it.key())) {
            store.insert(it.key(), it.value());
        }
    }
}

void removeFromSettings(Preferences* settings, uint64_t generation) {
    QCoreApplication* application = QCoreApplication::instance();
    if (!application || !settings) {
        return;
    }
    QMetaObject::invokeMethod(
        application,
        [settings, generation] {
            Memory& m = memory();
            std::lock_guard guard(m.lock);
            if (m.generation == generation) {
                settings->remove(PreferenceKeys::fileAccessMemory);
            }
        },
        Qt::QueuedConnection);
}

// Reads the file into a store and hands it to the memory. A file whose dead
// records outweigh the live ones is written anew with the live ones alone;
// the records the settings held are appended. Answers the descriptor to
// append to, or -1 when the file cannot be written.
int loadStore(const QString& path, const QByteArray& settingsJson, Preferences* settings,
              uint64_t generation) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    RightsStore store = RightsStore::fromFile(readWholeFile(path));
    const bool rewrite = store.deadRecords() > store.size();
    if (rewrite) {
        store = store.compacted();
    }
    const qsizetype goodLength = store.goodLength();
    if (!settingsJson.isEmpty()) {
        takeOverSettings(store, settingsJson);
    }
    const QByteArray pending = store.takeLog();
    Memory& m = memory();
    {
        std::lock_guard guard(m.lock);
        m.store = std::move(store);
        for (const QString& forgotten : std::exchange(m.forgottenEarly, {})) {
            m.store.remove(forgotten);
        }
        m.loaded = true;
    }
    m.wake.notify_all();
    const int fd = rewrite ? replaceFile(path, pending) : openForAppending(path, goodLength);
    const bool written = fd >= 0 && (rewrite || writeAll(fd, pending));
    if (written && !settingsJson.isEmpty()) {
        removeFromSettings(settings, generation);
    }
    return fd;
}

// The store's thread: reads the file, then appends what each write asks
// for, until the memory is attached elsewhere.
void runStore(const QString& path, const QByteArray& settingsJson, Preferences* settings,
              uint64_t generation) {
    const int fd = loadStore(path, settingsJson, settings, generation);
    Memory& m = memory();
    std::unique_lock guard(m.lock);
    for (;;) {
        m.wake.wait(guard, [&m] { return m.stopping || m.writesMade != m.writesAsked; });
        const uint64_t asked = m.writesAsked;
        const QByteArray log = m.store.takeLog();
        if (!log.isEmpty() && fd >= 0) {
            guard.unlock();
            writeAll(fd, log);
            guard.lock();
        }
        m.writesMade = asked;
        m.wake.notify_all();
        if (m.stopping && m.writesMade == m.writesAsked) {
            break;
        }
    }
    if (fd >= 0) {
        ::close(fd);
    }
}

void askForWrite(Memory& m) {
    if (m.hasFile) {
        ++m.writesAsked;
        m.wake.notify_all();
    }
}

void stopStoreThread(Memory& m) {
    {
        std::lock_guard guard(m.lock);
        m.stopping = true;
        ++m.writesAsked;
    }
    m.wake.notify_all();
    if (m.storeThread.joinable()) {
        m.storeThread.join();
    }
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

QString defaultStorePath() {
    QString base = qEnvironmentVariable("XDG_STATE_HOME");
    if (!QDir::isAbsolutePath(base)) {
        base = QDir::homePath() + QStringLiteral("/.local/state");
    }
    return base + QStringLiteral("/Dorvik/fileAccessMemory.v1");
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

void attach(Preferences* settings, const QString& storePath) {
    Memory& m = memory();
    if (m.storeThread.joinable()) {
        stopStoreThread(m);
    }
    const QByteArray settingsJson =
        settings && !storePath.isEmpty() && settings->contains(PreferenceKeys::fileAccessMemory)
            ? settings->dataValue(PreferenceKeys::fileAccessMemory)
            : QByteArray();
    std::lock_guard guard(m.lock);
    m.store = RightsStore();
    m.store.setLogging(!storePath.isEmpty());
    m.store.takeLog();
    m.forgottenEarly.clear();
    m.hasFile = !storePath.isEmpty();
    m.loaded = !m.hasFile;
    m.stopping = false;
    m.writesAsked = m.writesMade = 0;
    const uint64_t generation = ++m.generation;
    if (m.hasFile) {
        m.storeThread = std::thread(runStore, storePath, settingsJson, settings, generation);
    }
}

std::optional<Record> rememberedRecord(const QString& url) {
    const QString key = PathUtils::standardizedPath(url);
    Memory& m = memory();
    std::unique_lock guard(m.lock);
    waitUntilLoaded(m, guard);
    return m.store.find(key);
}

void remember(const Record& record, const QString& url, bool persistNow) {
    const QString key = PathUtils::standardizedPath(url);
    Memory& m = memory();
    std::unique_lock guard(m.lock);
    waitUntilLoaded(m, guard);
    m.store.insert(key, record);
    if (persistNow) {
        askForWrite(m);
    }
}

namespace {

enum class Writing { now, later };

void forgetRecord(const QString& url, Writing writing) {
    const QString key = PathUtils::standardizedPath(url);
    Memory& m = memory();
    std::lock_guard guard(m.lock);
    if (!m.loaded) {
        m.forgottenEarly.append(key);
        if (writing == Writing::now) {
            askForWrite(m);
        }
        return;
    }
    if (m.store.remove(key) && writing == Writing::now) {
        askForWrite(m);
    }
}

} // namespace

void forget(const QString& url) {
    forgetRecord(url, Writing::now);
}

void forgetWithoutWriting(const QString& url) {
    forgetRecord(url, Writing::later);
}

void persist() {
    Memory& m = memory();
    std::lock_guard guard(m.lock);
    askForWrite(m);
}

void waitForWrites() {
    Memory& m = memory();
    std::unique_lock guard(m.lock);
    if (!m.hasFile || !m.storeThread.joinable()) {
        return;
    }
    askForWrite(m);
    const uint64_t wanted = m.writesAsked;
    m.wake.wait(guard, [&] { return m.writesMade >= wanted; });
}

} // namespace FileAccessMemory

#pragma once

#include <QString>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include <sys/types.h>

class QSocketNotifier;

// A watch armed on a worker for a folder just listed: the kernel's walk over
// the folder's items and the look at the folder's identity happen there, and
// the main thread only takes the descriptor. Closed if never taken.
struct ArmedWatch {
    ArmedWatch() = default;
    ArmedWatch(const ArmedWatch&) = delete;
    ArmedWatch& operator=(const ArmedWatch&) = delete;
    ~ArmedWatch();

    QString path;
    int fileDescriptor = -1;
    std::optional<std::pair<dev_t, ino_t>> folder;
};

// Watches one folder for changes by any program: items created, deleted,
// moved in or out, written or given new attributes, and the folder itself
// deleted or moved. After a quiet time with no further event it calls back
// once, on the main thread; a steady stream of events defers the call for as
// long as it lasts. A folder that can't be watched is silently not watched.
class DirectoryWatcher {
public:
    static constexpr std::chrono::milliseconds kQuietTime{150};

    explicit DirectoryWatcher(std::chrono::milliseconds quietTime = kQuietTime);
    ~DirectoryWatcher();
    DirectoryWatcher(const DirectoryWatcher&) = delete;
    DirectoryWatcher& operator=(const DirectoryWatcher&) = delete;

    // Arms a watch on the folder; for any thread. Nothing when the folder
    // can't be watched.
    static std::unique_ptr<ArmedWatch> arm(const QString& url);

    // Starts afresh on the folder: any earlier watch ends, and so does its
    // pending call unless the folder is the same one, whose watch is kept.
    void start(const QString& url, std::function<void()> onChange);
    // The same with a watch armed before, whose descriptor it takes; a watch
    // that could not be armed (null) leaves the watcher idle.
    void adopt(ArmedWatch* armed, std::function<void()> onChange);
    void stop();

    bool isWatching() const { return m_fileDescriptor >= 0; }
    // The folder being watched; empty when idle.
    const QString& watchedPath() const { return m_path; }

private:
    void drainEvents();

    std::unique_ptr<QSocketNotifier> m_source;
    int m_fileDescriptor = -1;
    // The device and inode of the folder watched, to tell it from another
    // one made under the same path.
    std::optional<std::pair<dev_t, ino_t>> m_folder;
    // The folder itself was deleted or moved away since the watch began.
    bool m_folderLeft = false;
    QTimer m_debounce;
    QString m_path;
    std::function<void()> m_onChange;
};

#include "filesystem/DirectoryWatcher.h"

#include "core/PathUtils.h"
#include "core/SystemPath.h"

#include <QSocketNotifier>

#include <cerrno>
#include <utility>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Every change that can alter what a listing of the folder shows.
constexpr uint32_t kWatchMask = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ATTRIB |
                                IN_MODIFY | IN_CLOSE_WRITE | IN_DELETE_SELF | IN_MOVE_SELF |
                                IN_ONLYDIR;

// The device and inode of a folder; none when it can't be read.
std::optional<std::pair<dev_t, ino_t>> folderIdentity(const QString& path) {
    struct stat st;
    if (::stat(toSystemPath(path).constData(), &st) != 0) {
        return std::nullopt;
    }
    return std::pair{st.st_dev, st.st_ino};
}

} // namespace

DirectoryWatcher::DirectoryWatcher(std::chrono::milliseconds quietTime) {
    m_debounce.setSingleShot(true);
    m_debounce.setInterval(quietTime);
    QObject::connect(&m_debounce, &QTimer::timeout, [this] {
        // The call may start this watcher afresh, so it works on a copy.
        if (auto onChange = m_onChange) {
            onChange();
        }
    });
}

DirectoryWatcher::~DirectoryWatcher() {
    stop();
}

ArmedWatch::~ArmedWatch() {
    if (fileDescriptor >= 0) {
        ::close(fileDescriptor);
    }
}

std::unique_ptr<ArmedWatch> DirectoryWatcher::arm(const QString& url) {
    auto armed = std::make_unique<ArmedWatch>();
    armed->path = PathUtils::standardizedPath(url);
    armed->fileDescriptor = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (armed->fileDescriptor < 0 ||
        ::inotify_add_watch(armed->fileDescriptor, toSystemPath(armed->path).constData(),
                            kWatchMask) < 0) {
        return nullptr;
    }
    armed->folder = folderIdentity(armed->path);
    return armed;
}

void DirectoryWatcher::start(const QString& url, std::function<void()> onChange) {
    adopt(arm(url).get(), std::move(onChange));
}

void DirectoryWatcher::adopt(ArmedWatch* armed, std::function<void()> onChange) {
    if (!armed) {
        stop();
        return;
    }
    // The watch on the very same folder is kept: a change it saw while the
    // new one was armed is not lost. A folder replaced under the same path
    // is another one, and is watched afresh.
    if (isWatching() && !m_folderLeft && armed->path == m_path && m_folder == armed->folder) {
        m_onChange = std::move(onChange);
        return;
    }
    // Re-arming on the same folder keeps a change seen while the reload was
    // listing: its call is still owed.
    const bool owed = m_debounce.isActive() && armed->path == m_path;
    stop();
    m_fileDescriptor = std::exchange(armed->fileDescriptor, -1);
    m_path = armed->path;
    m_folder = armed->folder;
    m_onChange = std::move(onChange);
    m_source = std::make_unique<QSocketNotifier>(m_fileDescriptor, QSocketNotifier::Read);
    QObject::connect(m_source.get(), &QSocketNotifier::activated, [this] { drainEvents(); });
    if (owed) {
        m_debounce.start();
    }
}

void DirectoryWatcher::stop() {
    m_debounce.stop();
    m_source.reset();
    if (m_fileDescriptor >= 0) {
        ::close(m_fileDescriptor);
    }
    m_fileDescriptor = -1;
    m_path.clear();
    m_folder.reset();
    m_folderLeft = false;
    m_onChange = nullptr;
}

// Which events came hardly matters, since the reload lists the whole folder
// anyway; only one that ends the watch of the folder itself (deleted, moved
// away) is noted, so that the next start watches afresh even a folder that
// came back with the same inode.
void DirectoryWatcher::drainEvents() {
    alignas(struct inotify_event) char buffer[16384];
    for (;;) {
        const ssize_t got = ::read(m_fileDescriptor, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        for (ssize_t at = 0; at + ssize_t(sizeof(inotify_event)) <= got;) {
            const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
            if (event->mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)) {
                m_folderLeft = true;
            }
            at += ssize_t(sizeof(inotify_event)) + ssize_t(event->len);
        }
    }
    m_debounce.start();
}

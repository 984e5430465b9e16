// Commands whose first step reads the disk: the read runs on a worker, the
// command's visible steps when it is back, and the keys typed meanwhile after them.
#include "core/AppState.h"

#include "core/TextInputHost.h"

#include <algorithm>
#include <utility>

namespace {

bool isQuitKey(const KeyEvent& event) {
    return event.charactersIgnoringModifiers &&
           event.charactersIgnoringModifiers->compare(QLatin1String("q"), Qt::CaseInsensitive) == 0;
}

} // namespace

// The listing pool: a read stuck on a dead mount keeps its thread, and this
// pool has threads to spare and is not the one previews read with. A write
// to such a mount sticks the same way, so writes go there too.
void AppState::startDiskLook(DiskAccess access, DiskLook look) {
    const uint64_t id = ++m_lastDiskLook;
    m_diskLooks.push_back({id, access, nullptr});
    Background::run(
        m_executor, Background::Pool::listing, this, std::move(look),
        [this, id](std::function<void()> then) { finishDiskLook(id, std::move(then)); });
    notifyChanged();
}

void AppState::lookAtDiskThen(DiskLook look) {
    startDiskLook(DiskAccess::read, std::move(look));
}

void AppState::writeToDiskThen(DiskLook write) {
    startDiskLook(DiskAccess::write, std::move(write));
}

bool AppState::isWritingToDisk() const {
    return std::any_of(m_diskLooks.begin(), m_diskLooks.end(), [](const PendingDiskLook& look) {
        return look.access == DiskAccess::write;
    });
}

void AppState::whenWritesAreDone(std::function<void()> then) {
    if (!isWritingToDisk()) {
        then();
        return;
    }
    m_afterWrites.push_back(std::move(then));
}

// The commands take their steps in the order they were asked for, whichever
// read comes back first; then the keys run as if the commands had been done
// at once, until one of them asks for another read. A read whose command
// Esc dropped is no longer waited for, and its steps are dropped too.
void AppState::finishDiskLook(uint64_t id, std::function<void()> then) {
    const auto waiting = std::find_if(m_diskLooks.begin(), m_diskLooks.end(),
                                      [id](const PendingDiskLook& look) { return look.id == id; });
    if (waiting == m_diskLooks.end()) {
        return;
    }
    waiting->then = std::move(then);
    while (!m_diskLooks.empty() && m_diskLooks.front().then) {
        const std::function<void()> next = std::move(m_diskLooks.front().then);
        m_diskLooks.pop_front();
        next();
    }
    replayHeldKeys();
    if (!isWritingToDisk()) {
        for (const std::function<void()>& after : std::exchange(m_afterWrites, {})) {
            after();
        }
    }
    notifyChanged();
}

// A key that no command takes is what the user typed into the focused text
// field (EDITOR's text while it was being saved): it goes there now.
void AppState::replayHeldKeys() {
    while (!m_keysHeldForLook.isEmpty() && m_diskLooks.empty()) {
        const KeyEvent key = m_keysHeldForLook.takeFirst();
        if (!handleKeyDown(key) && m_textInputHost) {
            m_textInputHost->typeIntoFocusedField(key);
        }
    }
}

// Esc drops the reads under way, unless a write is among them: then it waits
// with the other keys, and the write's steps and the keys come in order.
void AppState::cancelDiskLook() {
    if (m_diskLooks.empty() || isWritingToDisk()) {
        return;
    }
    m_diskLooks.clear();
    m_keysHeldForLook.clear();
    // A start folder that does not answer is given up for the home folder.
    if (m_startCheck == StartCheck::running) {
        settleStartFolders({}, std::nullopt, std::nullopt);
    }
    notifyChanged();
}

bool AppState::holdKeyWhileLooking(const KeyEvent& event) {
    if (m_diskLooks.empty()) {
        return false;
    }
    const bool writing = isWritingToDisk();
    if (event.keyCode == KeyCode::escape && !writing) {
        cancelDiskLook();
        return true;
    }
    if (isQuitKey(event) && !writing) {
        return false;
    }
    m_keysHeldForLook.append(event);
    return true;
}

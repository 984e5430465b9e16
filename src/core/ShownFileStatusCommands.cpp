// The status line's facts about the file shown on the right: read on a
// worker, since the file may stand on a mount that no longer answers and the
// line is painted at every key typed into EDITOR.
#include "core/AppState.h"

// Runs before the views are told of a change: a new file to tell about is
// read now, and the line shows the row or the name until it is back. A file
// the line tells about again is read again, as it may have changed meanwhile.
void AppState::noteShownFile() {
    const std::optional<QString> url = SelectionStatus::shownFile(*this);
    if (!url) {
        m_shownFileAsked.clear();
    } else if (*url != m_shownFileAsked) {
        refreshShownFileStatus();
    }
}

// What is read for a file the line no longer tells about is dropped. The
// listing pool takes the read, so one stuck on a dead mount never holds a
// thread the previews read with.
void AppState::refreshShownFileStatus() {
    const std::optional<QString> url = SelectionStatus::shownFile(*this);
    m_shownFileAsked = url.value_or(QString());
    if (!url) {
        m_shownFileReads.dropAll();
        return;
    }
    Background::run(
        m_executor, Background::Pool::listing, this, m_shownFileReads.take(),
        [url = *url] { return SelectionStatus::readFromDisk(url); },
        [this, url = *url](const SelectionStatus& status) {
            if (!shownFileStatus || shownFileStatus->url != url ||
                shownFileStatus->status != status) {
                shownFileStatus = ShownFileStatus{url, status};
                notifyChanged();
            }
        });
}

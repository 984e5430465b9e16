// The free-space figure of the status line: read on a worker thread after
// each listing of a pane and every few seconds, painted from the cache.
#include "core/AppState.h"

namespace {

constexpr std::chrono::seconds kRefreshInterval{5};

// The folder whose volume a pane stands on: the archive's own for a place
// inside an archive.
QString volumeFolder(const FilerLocation& location) {
    return location.asDirectory() ? location.asDirectory()->url : location.asZip()->archive;
}

} // namespace

void AppState::refreshFreeSpace(PaneSide side) {
    const QString folder = volumeFolder(pane(side).location);
    if (!folder.isEmpty() && freeSpace.beginRead(folder)) {
        Background::run(
            m_executor, Background::Pool::diskRead, this,
            [folder] { return FreeSpaceCache::read(folder); },
            [this, folder](const std::optional<FreeSpaceCache::Figures>& figures) {
                freeSpace.store(folder, figures);
                notifyChanged();
            });
    }
    if (freeSpace.armRefresh()) {
        m_executor.callLater(kRefreshInterval, this, [this] {
            freeSpace.disarmRefresh();
            refreshFreeSpace(PaneSide::left);
            if (rightMode == RightPaneMode::filer) {
                refreshFreeSpace(PaneSide::right);
            }
        });
    }
}

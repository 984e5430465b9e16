#include "core/FreeSpaceCache.h"

#include "core/SystemPath.h"

#include <sys/stat.h>
#include <sys/statvfs.h>

std::optional<FreeSpaceCache::Figures> FreeSpaceCache::figuresFor(const QString& folder) const {
    const auto device = m_deviceOf.constFind(folder);
    if (device == m_deviceOf.constEnd()) {
        return std::nullopt;
    }
    const auto figures = m_byDevice.constFind(*device);
    return figures == m_byDevice.constEnd() ? std::nullopt : std::optional(*figures);
}

bool FreeSpaceCache::beginRead(const QString& folder) {
    if (m_reading.contains(folder)) {
        return false;
    }
    m_reading.insert(folder);
    return true;
}

void FreeSpaceCache::store(const QString& folder, const std::optional<Figures>& figures) {
    m_reading.remove(folder);
    if (!figures) {
        m_deviceOf.remove(folder);
        return;
    }
    m_deviceOf.insert(folder, figures->device);
    m_byDevice.insert(figures->device, *figures);
}

bool FreeSpaceCache::armRefresh() {
    if (m_refreshArmed) {
        return false;
    }
    m_refreshArmed = true;
    return true;
}

std::optional<FreeSpaceCache::Figures> FreeSpaceCache::read(const QString& folder) {
    const QByteArray path = toSystemPath(folder);
    struct statvfs volume;
    struct stat st;
    if (::statvfs(path.constData(), &volume) != 0 || ::stat(path.constData(), &st) != 0) {
        return std::nullopt;
    }
    const auto unit = int64_t(volume.f_frsize ? volume.f_frsize : volume.f_bsize);
    return Figures{int64_t(volume.f_bavail) * unit, int64_t(volume.f_blocks) * unit,
                   uint64_t(st.st_dev)};
}

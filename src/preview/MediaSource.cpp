#include "preview/MediaSource.h"

#include "core/SystemPath.h"

Result<MediaSource, SystemError> MediaSource::open(const QString& path) {
    if (!SystemPath::hasEscapedBytes(path)) {
        return MediaSource(QUrl::fromLocalFile(path), FileDescriptor());
    }
    auto file = FileDescriptor::openRegularFile(path);
    if (!file) {
        return fail(file.error());
    }
    const QString opened = QStringLiteral("/proc/self/fd/%1").arg(file->get());
    return MediaSource(QUrl::fromLocalFile(opened), std::move(*file));
}

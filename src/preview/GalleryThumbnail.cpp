#include "preview/GalleryThumbnail.h"

#include "preview/PngChunkCheck.h"

#include "archive/ArchiveService.h"
#include "archive/ArchiveTemporaryFolder.h"
#include "core/FileDescriptor.h"

#include <QFileInfo>
#include <QImageReader>

namespace {

QSize fittedSize(const QSize& size) {
    if (size.width() <= GalleryThumbnail::kMaxPixelSize &&
        size.height() <= GalleryThumbnail::kMaxPixelSize) {
        return size;
    }
    return size
        .scaled(GalleryThumbnail::kMaxPixelSize, GalleryThumbnail::kMaxPixelSize,
                Qt::KeepAspectRatio)
        .expandedTo(QSize(1, 1));
}

// Decoding at the small size saves most of the work for formats that can
// (JPEG scales while it decodes).
QImage readScaled(const QString& path) {
    const auto file = openRegularQFile(path);
    if (!file) {
        return {};
    }
    QImageReader reader(file->get(), QFileInfo(path).suffix().toLower().toLatin1());
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    if (size.isValid()) {
        reader.setScaledSize(fittedSize(size));
    }
    return reader.read();
}

// What the reader could not make at a small size may still load whole.
QImage readPlain(const QString& path) {
    const auto file = openRegularQFile(path);
    if (!file) {
        return {};
    }
    QImageReader reader(file->get(), QFileInfo(path).suffix().toLower().toLatin1());
    reader.setAutoTransform(true);
    return reader.read();
}

} // namespace

namespace GalleryThumbnail {

std::optional<QImage> fromFile(const QString& path) {
    if (PngChunkCheck::fileAnnouncesMoreThanItHolds(path)) {
        return std::nullopt;
    }
    QImage image = readScaled(path);
    if (image.isNull()) {
        image = readPlain(path);
    }
    if (image.isNull()) {
        return std::nullopt;
    }
    if (image.size() != fittedSize(image.size())) {
        image =
            image.scaled(fittedSize(image.size()), Qt::KeepAspectRatio, Qt::SmoothTransformation);
    }
    return image;
}

std::optional<QImage> make(const FileEntry& entry) {
    if (!entry.zipArchiveURL() || !entry.zipEntryPath()) {
        return fromFile(entry.url());
    }
    const auto copy =
        ArchiveService::extractMemberToTemporaryFile(*entry.zipArchiveURL(), *entry.zipEntryPath());
    if (!copy) {
        return std::nullopt;
    }
    std::optional<QImage> image = fromFile(copy.value());
    // The copy served only this thumbnail; a folder of many images would
    // otherwise leave as many copies behind at each scroll.
    ArchiveTemporaryFolder::remove(copy.value());
    return image;
}

} // namespace GalleryThumbnail

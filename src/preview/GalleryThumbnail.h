#pragma once

#include "core/Model.h"

#include <QImage>

#include <optional>

// The small picture of one GALLERY item. Reads the file, or first extracts an
// archive member to a temporary copy, so it blocks: callers run it on worker
// threads.
namespace GalleryThumbnail {

// The longer side of a thumbnail is at most this many pixels.
inline constexpr int kMaxPixelSize = 240;

// The picture scaled down to fit kMaxPixelSize, turned as its orientation
// tag says; none when the file or member can't be read or decoded.
std::optional<QImage> make(const FileEntry& entry);

// The same for a file on disk.
std::optional<QImage> fromFile(const QString& path);

} // namespace GalleryThumbnail

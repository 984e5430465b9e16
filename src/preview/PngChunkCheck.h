#pragma once

#include <QString>

class QIODevice;

// Qt's PNG reader takes a chunk's announced length at its word and sets that
// much memory aside: a file of a few hundred bytes whose text chunk claims
// gigabytes takes gigabytes. A chunk can't be longer than what the file
// still holds, so a PNG whose chunk headers say otherwise is refused before
// the reader sees it. Anything that is not a PNG passes.
namespace PngChunkCheck {

bool announcesMoreThanItHolds(QIODevice& device);
bool fileAnnouncesMoreThanItHolds(const QString& path);

} // namespace PngChunkCheck

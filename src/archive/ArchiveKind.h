#pragma once

#include <QString>

// The archive formats Dorvik browses as folders, decided by the file name alone.
enum class ArchiveKind { zip, tar, tarGz, lzh, other };

namespace ArchiveService {

// By the lower-case last path component: ".tar.gz"/".tgz", ".tar", ".zip",
// ".lzh"/".lha"; anything else is other. No content is looked at.
ArchiveKind archiveKind(const QString& url);

} // namespace ArchiveService

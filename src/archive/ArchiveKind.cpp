#include "archive/ArchiveKind.h"

namespace ArchiveService {

ArchiveKind archiveKind(const QString& url) {
    const QString name = url.mid(url.lastIndexOf(QLatin1Char('/')) + 1).toLower();
    if (name.endsWith(QLatin1String(".tar.gz")) || name.endsWith(QLatin1String(".tgz"))) {
        return ArchiveKind::tarGz;
    }
    if (name.endsWith(QLatin1String(".tar"))) {
        return ArchiveKind::tar;
    }
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    // A leading dot alone (".zip") is a hidden name without an extension.
    const QString extension = dot > 0 ? name.mid(dot + 1) : QString();
    if (extension == QLatin1String("zip")) {
        return ArchiveKind::zip;
    }
    if (extension == QLatin1String("lzh") || extension == QLatin1String("lha")) {
        return ArchiveKind::lzh;
    }
    return ArchiveKind::other;
}

} // namespace ArchiveService

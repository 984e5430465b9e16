#pragma once

#include <QDateTime>
#include <QString>

#include <cstdint>
#include <optional>

// One member of an archive of any kind, as a listing gives it.
struct ArchiveMember {
    // Path inside the archive with "/" separators and no leading "/"; folders end in "/".
    QString path;
    bool isDirectory = false;
    // Uncompressed size; 0 where the tool does not tell it.
    int64_t size = 0;
    // Present only for ZIP; tar and LHA listings leave it absent.
    std::optional<QDateTime> modificationDate;
    bool operator==(const ArchiveMember&) const = default;
};

#pragma once

#include "core/Model.h"
#include "core/SystemPath.h"

#include <QString>

// How a row of a filer pane reads: its name, size and date texts, its tag
// mark and which of the entry colours it takes. Shared by the panes and the
// status bar.
namespace EntryDisplay {

// The colour of a row, named as the screen's palette names it.
enum class ColorRole {
    file,
    readOnlyFile,
    unreadableFile,
    dir,
    unreadableDir,
    localizedDir,
    unreadableLocalizedDir,
    archive,
    unreadableArchive,
};

// The name a row is shown, sorted and filtered by: its real name, or for a
// name that is not UTF-8 the readable form the listing gave it.
template <typename Row> const QString& shownName(const Row& row) {
    if constexpr (requires { row.localizedName(); }) {
        return SystemPath::hasEscapedBytes(row.name) ? row.localizedName() : row.name;
    } else if constexpr (requires { row.localizedName; }) {
        return SystemPath::hasEscapedBytes(row.name) ? row.localizedName : row.name;
    } else {
        return row.name;
    }
}

// "..", or the name, the name without its extension, or the localized name,
// as the two name settings ask.
QString displayName(const FileEntry& entry, bool showLocalizedNames, bool showAllExtensions);
// A folder's path; for a place in an archive, the archive's path, "/" and the
// inner path.
QString locationPath(const FilerLocation& location);
// "<DIR>" for folders and the parent row, the compact size, or empty.
QString sizeText(const FileEntry& entry);
// "yy-MM-dd HH:mm", or empty without a date.
QString dateText(const FileEntry& entry);
// "*" for a tagged file; a blank otherwise, always for folders and "..".
QChar tagMark(const FileEntry& entry, bool isTagged);
ColorRole colorRole(const FileEntry& entry, bool showLocalizedNames);
// The line a pane shows while a slow listing runs, with the items read so far.
QString loadingLine(qsizetype itemsRead);

} // namespace EntryDisplay

#pragma once

#include <QString>
#include <QStringList>

// The remembered folders of the jump dialog, as plain text paths.
namespace JumpDialog {

// The most folders kept, newest first.
inline constexpr int maxBookmarks = 50;

// The rows the dialog shows: all bookmarks in stored order for an empty (or
// blank) filter, otherwise those whose path holds the filter text, compared
// as a person reads (case, width and composition ignored).
QStringList jumpRows(const QStringList& bookmarks, const QString& filterQuery);

// The comparison key of a bookmark: two paths are one row when their keys match.
QString rowKey(const QString& path);

// The index of the row with the same key, or -1.
int indexOfRow(const QStringList& rows, const QString& path);

// The list with the path put in front, standardised but spelt as on disk (any
// row of the same key removed), and cut to maxBookmarks.
QStringList withBookmarkAdded(const QStringList& bookmarks, const QString& path);

// The list without any row of the same key.
QStringList withBookmarkRemoved(const QStringList& bookmarks, const QString& path);

// The folder a stored path names, standardised, or empty when there is none.
// Names on Linux are kept byte for byte, so a path stored decomposed by an
// earlier version is tried again composed.
QString folderOnDisk(const QString& path);

} // namespace JumpDialog

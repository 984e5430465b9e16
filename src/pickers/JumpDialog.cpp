// The jump dialog's rules: the rows a filter keeps, bookmarks added and
// removed, and the folder a bookmark stands for.
#include "pickers/JumpDialog.h"

#include "archive/ArchiveLocation.h"
#include "core/AppState.h"
#include "core/PathUtils.h"
#include "core/PreferenceKeys.h"
#include "core/Preferences.h"
#include "core/SystemPath.h"
#include "core/TextMatching.h"
#include "filesystem/FileSystemService.h"
#include "search/TreeSession.h"

namespace JumpDialog {

QStringList jumpRows(const QStringList& bookmarks, const QString& filterQuery) {
    const QString query = filterQuery.trimmed();
    if (query.isEmpty()) {
        return bookmarks;
    }
    QStringList rows;
    for (const QString& path : bookmarks) {
        if (TextMatching::localizedCaseInsensitiveContains(path, query)) {
            rows.append(path);
        }
    }
    return rows;
}

QString rowKey(const QString& path) {
    return FileSystemService::normalizedPathKey(PathUtils::standardizedPath(path));
}

int indexOfRow(const QStringList& rows, const QString& path) {
    const QString key = rowKey(path);
    for (qsizetype i = 0; i < rows.size(); ++i) {
        if (rowKey(rows[i]) == key) {
            return int(i);
        }
    }
    return -1;
}

QStringList withBookmarkRemoved(const QStringList& bookmarks, const QString& path) {
    const QString key = rowKey(path);
    QStringList kept;
    for (const QString& bookmark : bookmarks) {
        if (rowKey(bookmark) != key) {
            kept.append(bookmark);
        }
    }
    return kept;
}

QStringList withBookmarkAdded(const QStringList& bookmarks, const QString& path) {
    QStringList list = withBookmarkRemoved(bookmarks, path);
    list.prepend(PathUtils::standardizedPath(path));
    return list.mid(0, maxBookmarks);
}

QString folderOnDisk(const QString& path) {
    const QString folder = PathUtils::standardizedPath(path);
    for (const QString& spelling : {folder, folder.normalized(QString::NormalizationForm_C)}) {
        if (SystemPath::isDirectory(spelling)) {
            return spelling;
        }
    }
    return QString();
}

} // namespace JumpDialog

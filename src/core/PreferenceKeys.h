#pragma once

#include <QString>

// The keys of the user's settings store.
namespace PreferenceKeys {
inline const QString showHiddenFiles = QStringLiteral("showHiddenFiles");
inline const QString showLocalizedNames = QStringLiteral("showLocalizedNames");
inline const QString showAllFileExtensions = QStringLiteral("showAllFileExtensions");
inline const QString appLanguage = QStringLiteral("appLanguage");
inline const QString filerSortMode = QStringLiteral("filerSortMode");
inline const QString alwaysPreviewMode = QStringLiteral("alwaysPreviewMode");
inline const QString jumpBookmarks = QStringLiteral("jumpBookmarks");
inline const QString uiFontSize = QStringLiteral("uiFontSize");
inline const QString startupDirectory = QStringLiteral("startupDirectory");
inline const QString hideFullDiskAccessTip = QStringLiteral("hideFullDiskAccessTip");
inline const QString fileAccessMemory = QStringLiteral("fileAccessMemory.v1");
inline const QString openWithRecentByExtension = QStringLiteral("openWithRecentByExtension");
// The bookmarks and the start folder in a form that keeps names that are not
// UTF-8 (StoredPath); read before the plain keys above when they stand.
inline const QString jumpBookmarksStored = QStringLiteral("jumpBookmarks.v2");
inline const QString startupDirectoryStored = QStringLiteral("startupDirectory.v2");
} // namespace PreferenceKeys

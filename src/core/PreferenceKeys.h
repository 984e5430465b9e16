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
} // namespace PreferenceKeys

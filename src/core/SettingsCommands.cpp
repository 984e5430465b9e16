// Start-up reading of the user's settings and the commands that change them.
#include "core/AppState.h"

#include "core/PathUtils.h"
#include "core/PreferenceKeys.h"
#include "core/Preferences.h"
#include "core/StoredPath.h"
#include "core/UiFontSize.h"
#include "filesystem/FileSystemService.h"
#include "pickers/JumpDialog.h"

namespace {

// A boolean whose absence is told apart from a stored false.
bool boolSetting(const Preferences& preferences, const QString& key, bool fallback) {
    return preferences.contains(key) ? preferences.boolValue(key) : fallback;
}

} // namespace

void AppState::readSettings() {
    const Preferences& p = m_preferences;
    sortMode =
        sortModeFromRaw(p.stringValue(PreferenceKeys::filerSortMode)).value_or(FilerSortMode::name);
    alwaysPreviewMode = boolSetting(p, PreferenceKeys::alwaysPreviewMode, false);
    readJumpBookmarks();
    showHiddenFiles = boolSetting(p, PreferenceKeys::showHiddenFiles, false);
    showLocalizedNames = boolSetting(p, PreferenceKeys::showLocalizedNames, true);
    showAllFileExtensions = boolSetting(p, PreferenceKeys::showAllFileExtensions,
                                        FileSystemService::systemShowsAllExtensions());
    const double storedSize = p.doubleValue(PreferenceKeys::uiFontSize);
    uiFontSize = UiFontSize::isChoosable(storedSize) ? storedSize : UiFontSize::defaultSize;
    UiFontSize::set(uiFontSize);
    appLanguage = appLanguageFromRaw(p.stringValue(PreferenceKeys::appLanguage))
                      .value_or(AppLanguage::system);
    m_preferences.setValue(PreferenceKeys::appLanguage, rawValue(appLanguage));
}

void AppState::readJumpBookmarks() {
    const QStringList stored = StoredPath::readPathList(
        m_preferences, PreferenceKeys::jumpBookmarks, PreferenceKeys::jumpBookmarksStored);
    if (stored.isEmpty()) {
        return;
    }
    QStringList normalized;
    for (const QString& path : stored) {
        if (JumpDialog::indexOfRow(normalized, path) < 0) {
            normalized.append(PathUtils::standardizedPath(path));
        }
    }
    jumpBookmarks = normalized;
    if (normalized != stored) {
        StoredPath::writePathList(m_preferences, PreferenceKeys::jumpBookmarks,
                                  PreferenceKeys::jumpBookmarksStored, normalized);
    }
}

void AppState::setUIFontSize(double size) {
    uiFontSize = size;
    UiFontSize::set(size);
    m_preferences.setValue(PreferenceKeys::uiFontSize, size);
    notifyChanged();
}

void AppState::setAppLanguage(AppLanguage language) {
    appLanguage = language;
    m_preferences.setValue(PreferenceKeys::appLanguage, rawValue(language));
    notifyChanged();
}

void AppState::requestQuit() {
    const bool somethingStands = anyPromptOrPickerOpen() || pendingDelete || isEncodingPickerOpen ||
                                 pendingLargeEditURL || pendingLayoutMode ||
                                 pendingExitEditorToViewer || errorMessage;
    if (somethingStands) {
        return;
    }
    // Unsaved EDITOR text is asked about first; the quit question follows.
    whenEditorTextIsSafe([this] {
        pendingQuit = true;
        dosDialogActionIndex = 0;
        notifyChanged();
    });
}

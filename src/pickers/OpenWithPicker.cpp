// The key X: the file under the cursor handed to another application, at
// once when only one can open it, else through the OPEN WITH picker.
#include "core/AppState.h"

#include "archive/ArchiveService.h"
#include "pickers/OpenWith.h"

namespace {

// X waits while a prompt or another picker stands, or with the focus in EDITOR.
bool openWithWaits(const AppState& s) {
    return !s.activeFilerSide() || s.createItemKind || s.isRenamePromptOpen || s.copyMovePathKind ||
           s.pendingCopyMove || s.isSortPickerOpen || s.isJumpDialogOpen || s.isVolumePickerOpen ||
           s.isWildcardPromptOpen || s.isOpenWithPickerOpen;
}

void showError(AppState& state, const QString& message) {
    state.errorMessage = message;
    state.dosDialogActionIndex = 0;
    state.notifyChanged();
}

} // namespace

void AppState::openCursorEntryExternally() {
    if (openWithWaits(*this)) {
        return;
    }
    const std::optional<FileEntry> entry = currentEntry();
    if (!entry || entry->isParent) {
        showError(*this, QStringLiteral("No file to open"));
        return;
    }
    if (isFileSearchMode) {
        exitFileSearchMode();
    }
    if (isSearching) {
        closeFilter(true);
    }
    if (!entry->zipArchiveURL || !entry->zipEntryPath) {
        showOpenWithChoices(entry->url, entry->name);
        return;
    }
    if (entry->isDirectory) {
        showError(*this, QStringLiteral("Cannot open archive folder externally"));
        return;
    }
    // A member is opened as a copy in the temporary folder. The copy is made
    // on a worker; a prompt or picker that came up meanwhile keeps the screen.
    const QString name = entry->name;
    ArchiveService::extractMemberToTemporaryFileInBackground(
        m_executor, *entry->zipArchiveURL, *entry->zipEntryPath, this,
        [this, name](ArchiveService::ArchiveResult<QString> extracted) {
            if (!extracted) {
                showError(*this, extracted.error().description());
            } else if (!openWithWaits(*this)) {
                showOpenWithChoices(*extracted, name);
            }
        });
    notifyChanged();
}

void AppState::showOpenWithChoices(const QString& url, const QString& name) {
    const QList<OpenWithApp> apps = OpenWith::openWithCandidates(url, preferences());
    if (apps.isEmpty()) {
        showError(*this, QStringLiteral("No application can open:\n") + name);
        return;
    }
    if (apps.size() == 1) {
        OpenWith::launchWith(*this, apps.first(), url);
        return;
    }
    openWithFileURL = url;
    openWithFileName = name;
    openWithApps = apps;
    openWithSelection = 0;
    isOpenWithPickerOpen = true;
    notifyChanged();
}

void AppState::closeOpenWithPicker() {
    isOpenWithPickerOpen = false;
    openWithApps.clear();
    openWithSelection = 0;
    openWithFileURL.reset();
    openWithFileName.clear();
    notifyChanged();
}

void AppState::moveOpenWithSelection(int delta) {
    const int count = int(openWithApps.size());
    if (!isOpenWithPickerOpen || count == 0) {
        return;
    }
    openWithSelection = ((openWithSelection + delta) % count + count) % count;
    notifyChanged();
}

void AppState::confirmOpenWith(std::optional<int> index) {
    if (!isOpenWithPickerOpen || !openWithFileURL) {
        return;
    }
    const int chosen = index.value_or(openWithSelection);
    if (chosen < 0 || chosen >= openWithApps.size()) {
        return;
    }
    const OpenWithApp app = openWithApps.at(chosen);
    const QString url = *openWithFileURL;
    closeOpenWithPicker();
    OpenWith::launchWith(*this, app, url);
}

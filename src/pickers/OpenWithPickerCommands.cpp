// The key X: the file under the cursor handed to another application, at
// once when only one can open it, else through the OPEN WITH picker.
#include "core/AppState.h"

#include "archive/ArchiveService.h"
#include "pickers/OpenWith.h"

namespace {

// X waits while a prompt or another picker stands, or with the focus in EDITOR.
bool openWithWaits(const AppState& s) {
    return !s.activeFilerSide() || s.anyPromptOrPickerOpen();
}

} // namespace

void AppState::openCursorEntryExternally() {
    if (openWithWaits(*this)) {
        return;
    }
    const std::optional<FileEntry> entry = currentEntry();
    if (!entry || entry->isParent) {
        reportError(QStringLiteral("No file to open"));
        return;
    }
    if (isFileSearchMode) {
        exitFileSearchMode();
    }
    if (isFilterOpen) {
        closeFilter(true);
    }
    if (!entry->zipArchiveURL() || !entry->zipEntryPath()) {
        showOpenWithChoices(entry->url(), entry->name, entry->isDirectory);
        return;
    }
    if (entry->isDirectory) {
        reportError(QStringLiteral("Cannot open archive folder externally"));
        return;
    }
    // A member is opened as a copy in the temporary folder. The copy is made
    // on a worker; a prompt or picker that came up meanwhile keeps the screen.
    const QString name = entry->name;
    ArchiveService::extractMemberToTemporaryFileInBackground(
        m_executor, *entry->zipArchiveURL(), *entry->zipEntryPath(), this,
        [this, name](ArchiveService::ArchiveResult<QString> extracted) {
            if (!extracted) {
                reportError(extracted.error().description());
            } else if (!openWithWaits(*this)) {
                showOpenWithChoices(*extracted, name);
            }
        });
    notifyChanged();
}

// Finding the applications reads the file's head for its type, and the
// desktop's registry: both on a worker. The remembered choices are read here.
void AppState::showOpenWithChoices(const QString& url, const QString& name, bool isFolder) {
    const QStringList recent =
        OpenWith::recentApplications(preferences(), OpenWith::kindKey(url, isFolder));
    lookAtDiskThen([this, url, name, isFolder, recent]() -> std::function<void()> {
        return [this, url, name, isFolder, apps = OpenWith::openWithCandidates(url, recent)] {
            offerOpenWith(url, name, isFolder, apps);
        };
    });
}

// A prompt or picker that came up while the applications were found keeps
// the screen.
void AppState::offerOpenWith(const QString& url, const QString& name, bool isFolder,
                             const QList<OpenWithApp>& apps) {
    if (anyPromptOrPickerOpen()) {
        return;
    }
    if (apps.isEmpty()) {
        reportError(QStringLiteral("No application can open:\n") + name);
        return;
    }
    if (apps.size() == 1) {
        OpenWith::launchWith(*this, apps.first(), url, isFolder);
        return;
    }
    openWithPicker.fileURL = url;
    openWithPicker.fileName = name;
    openWithPicker.fileIsFolder = isFolder;
    openWithPicker.apps = apps;
    openWithPicker.selection = 0;
    showOverlay(Overlay::openWithPicker);
    notifyChanged();
}

void AppState::closeOpenWithPicker() {
    closeOverlay(Overlay::openWithPicker);
    openWithPicker.apps.clear();
    openWithPicker.selection = 0;
    openWithPicker.fileURL.reset();
    openWithPicker.fileName.clear();
    openWithPicker.fileIsFolder = false;
    notifyChanged();
}

void AppState::moveOpenWithSelection(int delta) {
    const int count = int(openWithPicker.apps.size());
    if (!isOpen(Overlay::openWithPicker) || count == 0) {
        return;
    }
    openWithPicker.selection = ((openWithPicker.selection + delta) % count + count) % count;
    notifyChanged();
}

void AppState::confirmOpenWith(std::optional<int> index) {
    if (!isOpen(Overlay::openWithPicker) || !openWithPicker.fileURL) {
        return;
    }
    const int chosen = index.value_or(openWithPicker.selection);
    if (chosen < 0 || chosen >= openWithPicker.apps.size()) {
        return;
    }
    const OpenWithApp app = openWithPicker.apps.at(chosen);
    const QString url = *openWithPicker.fileURL;
    const bool isFolder = openWithPicker.fileIsFolder;
    closeOpenWithPicker();
    OpenWith::launchWith(*this, app, url, isFolder);
}

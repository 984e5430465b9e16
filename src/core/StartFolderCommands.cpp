// Where the panes start. The stored start folder and a folder named on the
// command line may lie on a slow or dead mount, so whether they exist is
// asked of a worker: the window shows at once, with the panes on the folder
// they are to start in, and the panes are listed once the answer is back.
#include "core/AppState.h"

#include "core/PathUtils.h"
#include "core/PreferenceKeys.h"
#include "core/Preferences.h"
#include "core/StartFolder.h"
#include "core/StoredPath.h"
#include "pickers/JumpDialog.h"

namespace {

struct StartFolders {
    QString stored; // empty when it is not a folder on disk
    std::optional<QString> named;
    std::optional<QString> refusal;
};

StartFolders lookAtStartFolders(const QString& stored, const std::optional<QString>& named) {
    StartFolders found;
    if (!stored.isEmpty()) {
        found.stored = JumpDialog::folderOnDisk(stored);
    }
    if (named) {
        const auto start = StartFolder::fromArgument(*named);
        if (start) {
            found.named = *start;
        } else {
            found.refusal = start.error();
        }
    }
    return found;
}

} // namespace

// The stored folder is taken as it stands until the check says otherwise; a
// folder that has gone falls back to the home folder then.
void AppState::resolveStartupDirectory() {
    startupDirectory = PathUtils::homeDirectory();
    m_storedStartFolder = StoredPath::readPath(m_preferences, PreferenceKeys::startupDirectory,
                                               PreferenceKeys::startupDirectoryStored);
    if (!m_storedStartFolder.isEmpty()) {
        startupDirectory = PathUtils::standardizedPath(m_storedStartFolder);
        m_startCheck = StartCheck::waiting;
    }
}

void AppState::startIn(const QString& folder) {
    const FilerLocation location = FilerLocation::directory(PathUtils::standardizedPath(folder));
    pane(PaneSide::left).location = location;
    pane(PaneSide::right).location = location;
    notifyChanged();
}

void AppState::startInNamedFolder(const QString& argument,
                                  std::function<void(const QString& reason)> refused) {
    const QString folder = PathUtils::standardizedPath(argument);
    m_namedStartFolder = folder;
    m_namedFolderRefused = std::move(refused);
    m_startCheck = StartCheck::waiting;
    startIn(folder);
}

void AppState::startUp() {
    if (m_startCheck == StartCheck::waiting) {
        checkStartFolders();
    } else {
        refreshAll();
    }
}

// The keys typed meanwhile wait for the panes' rows; Esc gives up the check
// and starts in the home folder.
void AppState::checkStartFolders() {
    m_startCheck = StartCheck::running;
    lookAtDiskThen([this, stored = m_storedStartFolder,
                    named = m_namedStartFolder]() -> std::function<void()> {
        const StartFolders found = lookAtStartFolders(stored, named);
        return [this, found] { settleStartFolders(found.stored, found.named, found.refusal); };
    });
}

// A pane that was sent elsewhere meanwhile stays there.
void AppState::settleStartFolders(const QString& stored, const std::optional<QString>& named,
                                  const std::optional<QString>& refusal) {
    m_startCheck = StartCheck::done;
    const FilerLocation taken = FilerLocation::directory(
        m_namedStartFolder.value_or(PathUtils::standardizedPath(m_storedStartFolder)));
    startupDirectory = stored.isEmpty() ? PathUtils::homeDirectory() : stored;
    const FilerLocation start = FilerLocation::directory(named.value_or(startupDirectory));
    for (const PaneSide side : {PaneSide::left, PaneSide::right}) {
        if (pane(side).location == taken) {
            pane(side).location = start;
        }
    }
    if (refusal && m_namedFolderRefused) {
        m_namedFolderRefused(*refusal);
    }
    m_namedFolderRefused = nullptr;
    refreshAll();
}

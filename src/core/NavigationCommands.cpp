// Moving the cursor and changing a pane's location: setSelection and
// openLocation are the only ways either happens.
#include "core/AppState.h"

#include "core/PathUtils.h"
#include "core/PreferenceKeys.h"
#include "core/Preferences.h"
#include "core/SystemPath.h"

#include <algorithm>

namespace {

// Whether the step leads into an archive from outside it; steps within one
// archive go on even when it can no longer be listed, so the way out stays open.
bool entersAnotherArchive(const FilerLocation& from, const FilerLocation& to) {
    const auto* target = to.asZip();
    const auto* current = from.asZip();
    return target && !(current && current->archive == target->archive);
}

// A member path as archive locations keep it: "\" becomes "/", leading "./"
// and then leading "/" are dropped, and one trailing "/". The empty text is
// the archive's root.
QString archiveInnerPath(QString path) {
    path.replace(QLatin1Char('\\'), QLatin1Char('/'));
    while (path.startsWith(QLatin1String("./"))) {
        path.remove(0, 2);
    }
    while (path.startsWith(QLatin1Char('/'))) {
        path.remove(0, 1);
    }
    if (path.endsWith(QLatin1Char('/'))) {
        path.chop(1);
    }
    return path;
}

FilerLocation archiveRootLocation(const QString& archive) {
    return FilerLocation::zip(PathUtils::standardizedPath(archive), QString());
}

FilerLocation archiveFolderLocation(const QString& archive, const QString& entryPath) {
    return FilerLocation::zip(PathUtils::standardizedPath(archive), archiveInnerPath(entryPath));
}

// Where going up leads, and the name of the row just left, to select it there.
struct UpwardStep {
    FilerLocation location;
    QString selectName;
};

UpwardStep stepUp(const FilerLocation& location) {
    if (const auto* directory = location.asDirectory()) {
        return {FilerLocation::directory(PathUtils::parentPath(directory->url)),
                PathUtils::lastPathComponent(directory->url)};
    }
    const auto* zip = location.asZip();
    const QString inner = archiveInnerPath(zip->innerPath);
    if (inner.isEmpty()) {
        return {FilerLocation::directory(PathUtils::parentPath(zip->archive)),
                PathUtils::lastPathComponent(zip->archive)};
    }
    const qsizetype slash = inner.lastIndexOf(QLatin1Char('/'));
    const QString parentInner = slash < 0 ? QString() : inner.left(slash);
    return {archiveFolderLocation(zip->archive, parentInner), inner.mid(slash + 1)};
}

// A link to a folder is entered like the folder, by the link's own path, so
// that going up comes back to the link's row as a shell's "cd .." does.
bool opensAsLocation(const FileEntry& entry) {
    return entry.isDirectory || entry.isParent || entry.isZipArchive || entry.isLinkToFolder;
}

} // namespace

void AppState::setSelection(int index, PaneSide side) {
    const int count = int(visibleEntries(side).size());
    const int clamped = count == 0 ? 0 : std::clamp(index, 0, count - 1);
    pane(side).selection = clamped;
    if (side == PaneSide::left && layoutMode == LayoutMode::filerGallery) {
        syncGallerySelection();
    }
    if (alwaysPreviewMode && activeFilerSide() == side) {
        syncPreview();
    }
    notifyChanged();
}

void AppState::moveCursor(int delta) {
    if (const auto side = activeFilerSide()) {
        setSelection(pane(*side).selection + delta, *side);
    }
}

void AppState::moveCursorToTop() {
    if (const auto side = activeFilerSide()) {
        setSelection(0, *side);
    }
}

void AppState::moveCursorToBottom() {
    const auto side = activeFilerSide();
    if (!side) {
        return;
    }
    const int count = int(visibleEntries(*side).size());
    if (count > 0) {
        setSelection(count - 1, *side);
    }
}

void AppState::moveCursorByPage(int direction) {
    if (const auto side = activeFilerSide()) {
        setSelection(pane(*side).selection + direction * pageStepForViewport(), *side);
    }
}

// A fixed page, from the font size and not the window's height.
int AppState::pageStepForViewport() const {
    const double rowHeight = std::max(12.0, uiFontSize + 4);
    return std::max(8, int(400 / rowHeight));
}

bool AppState::focusPane(PaneSide side) {
    focusedSide = side;
    notifyChanged();
    return true;
}

// The rows come from a worker; completeOpenLocation takes the steps that
// follow them.
void AppState::openLocation(const FilerLocation& location, PaneSide side,
                            const std::optional<QString>& selectName) {
    PaneListing request;
    request.purpose = PaneListing::Purpose::open;
    request.location = location;
    request.selectName = selectName;
    startListing(side, std::move(request));
}

void AppState::completeOpenLocation(PaneSide side, const PaneListing& request,
                                    Result<QList<FileEntry>, QString> rows,
                                    const std::shared_ptr<ArmedWatch>& armed) {
    FilerLocation& stored = pane(side).location;
    // An archive that cannot be listed (damaged, cut short, gone) is not
    // entered: the pane stays on the rows it shows, with its cursor and tags.
    if (!rows && entersAnotherArchive(stored, request.location)) {
        reportError(rows.error());
        notifyChanged();
        return;
    }
    stored = request.location;
    showListing(side, std::move(rows), armed);
    // Tags never survive a change of location, on either side.
    taggedKeys.clear();
    int index = 0;
    if (request.selectName) {
        const QList<FileEntry>& entries = pane(side).entries;
        const auto found = std::find_if(entries.begin(), entries.end(), [&](const FileEntry& e) {
            return e.name == *request.selectName;
        });
        index = found == entries.end() ? 0 : int(found - entries.begin());
    }
    setSelection(index, side);
    if (layoutMode == LayoutMode::filerGallery && side == PaneSide::left) {
        rebuildGalleryItems();
        syncGallerySelection();
    }
    notifyChanged();
}

void AppState::goUp(PaneSide side) {
    const UpwardStep step = stepUp(pane(side).location);
    openLocation(step.location, side, step.selectName);
}

void AppState::goToParentDirectory() {
    if (const auto side = activeFilerSide()) {
        goUp(*side);
    }
}

void AppState::goToFolder(const QString& url) {
    const auto side = activeFilerSide();
    if (!side) {
        return;
    }
    const QString path = PathUtils::standardizedPath(url);
    // Whether the folder is there is asked on a worker: a volume on a dead
    // network mount would not answer.
    lookAtDiskThen([this, side = *side, path]() -> std::function<void()> {
        if (!SystemPath::isDirectory(path)) {
            return [this, path] {
                reportError(QStringLiteral("Cannot open:\n") + path);
                notifyChanged();
            };
        }
        return [this, side, path] {
            if (isFilterOpen) {
                closeFilter(false);
            }
            if (pane(side).treeMode) {
                leaveTreeMode(side);
            }
            openLocation(FilerLocation::directory(path), side, std::nullopt);
        };
    });
}

void AppState::goToStartupDirectory() {
    goToFolder(startupDirectory);
}

void AppState::goToHomeDirectory() {
    goToFolder(PathUtils::homeDirectory());
}

void AppState::goToRootDirectory() {
    goToFolder(QStringLiteral("/"));
}

void AppState::openCursorEntry() {
    if (const auto side = activeFilerSide()) {
        activateSelection(*side);
    }
}

// What Enter does: folders, the parent row and archives are entered; a plain
// file is shown in VIEWER and the focus stays where it is.
void AppState::activateSelection(PaneSide side) {
    if (layoutMode != LayoutMode::dualFiler && side == PaneSide::right &&
        rightMode != RightPaneMode::filer) {
        return;
    }
    const QList<FileEntry> visible = visibleEntries(side);
    const int index = pane(side).selection;
    if (index < 0 || index >= visible.size()) {
        return;
    }
    const FileEntry entry = visible.at(index);
    if (!opensAsLocation(entry)) {
        showEntryInViewer(entry);
        return;
    }
    if (!entry.isReadable) {
        return;
    }
    focusedSide = side;
    if (isFilterOpen) {
        closeFilter(false);
    }
    if (entry.isParent) {
        goUp(side);
    } else if (entry.isZipArchive) {
        openLocation(archiveRootLocation(entry.url()), side, std::nullopt);
    } else if (entry.zipArchiveURL() && entry.zipEntryPath()) {
        openLocation(archiveFolderLocation(*entry.zipArchiveURL(), *entry.zipEntryPath()), side,
                     std::nullopt);
    } else {
        openLocation(FilerLocation::directory(PathUtils::standardizedPath(entry.url())), side,
                     std::nullopt);
    }
}

void AppState::toggleHiddenFiles() {
    showHiddenFiles = !showHiddenFiles;
    m_preferences.setValue(PreferenceKeys::showHiddenFiles, showHiddenFiles);
    refreshAll();
    refreshTreeSessions();
    notifyChanged();
}

void AppState::toggleLocalizedNames() {
    showLocalizedNames = !showLocalizedNames;
    m_preferences.setValue(PreferenceKeys::showLocalizedNames, showLocalizedNames);
    refreshAll();
    refreshTreeSessions();
    notifyChanged();
}

// Only how names are drawn changes: no reload, the panes redraw their rows.
void AppState::toggleAllExtensions() {
    showAllFileExtensions = !showAllFileExtensions;
    m_preferences.setValue(PreferenceKeys::showAllFileExtensions, showAllFileExtensions);
    ++pane(PaneSide::left).listEpoch;
    ++pane(PaneSide::right).listEpoch;
    notifyChanged();
}

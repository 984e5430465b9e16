// GALLERY: the images of the left pane's folder as a grid whose selection
// and the filer's cursor are kept on the same file.
#include "core/AppState.h"
#include "preview/Gallery.h"
#include "preview/PreviewSelection.h"
#include "search/TreeSession.h"

#include <algorithm>

namespace {

PaneSide gallerySide(const AppState& state) {
    return state.activeFilerSide().value_or(PaneSide::left);
}

// The rows the grid is built from: the pane's list, or the file list beside
// the tree of a pane in tree mode.
QList<FileEntry> sourceRows(const AppState& state, PaneSide side) {
    if (state.pane(side).treeMode) {
        if (const auto session = state.pane(side).treeSession) {
            return session->files;
        }
    }
    return state.pane(side).entries;
}

bool isMember(const FileEntry& entry) {
    return entry.zipArchiveURL && entry.zipEntryPath;
}

// A member is judged by its name alone; a file on disk may also show by its
// content that it is an image.
bool isGalleryEntry(const FileEntry& entry) {
    if (entry.isParent || entry.isDirectory || entry.isZipArchive) {
        return false;
    }
    return PreviewSelection::isGalleryImage(
        entry.name, isMember(entry) ? std::nullopt : std::optional<QString>(entry.url));
}

int indexOfName(const QList<FileEntry>& rows, const QString& name) {
    const auto found =
        std::find_if(rows.begin(), rows.end(), [&](const FileEntry& e) { return e.name == name; });
    return found == rows.end() ? -1 : int(found - rows.begin());
}

int indexOfItem(const QList<AppState::GalleryItem>& items, const QString& name) {
    const auto found = std::find_if(items.begin(), items.end(),
                                    [&](const AppState::GalleryItem& i) { return i.name == name; });
    return found == items.end() ? -1 : int(found - items.begin());
}

} // namespace

// The earlier selection stays on its name; otherwise the first item.
void AppState::rebuildGalleryItems() {
    std::optional<QString> selectedName;
    if (gallerySelection && *gallerySelection >= 0 && *gallerySelection < galleryItems.size()) {
        selectedName = galleryItems.at(*gallerySelection).name;
    }
    QList<GalleryItem> items;
    for (const FileEntry& entry : sourceRows(*this, gallerySide(*this))) {
        if (isGalleryEntry(entry)) {
            items.append({entry.name, entry});
        }
    }
    galleryItems = std::move(items);
    const int kept = selectedName ? indexOfItem(galleryItems, *selectedName) : -1;
    if (kept >= 0) {
        gallerySelection = kept;
    } else if (!galleryItems.isEmpty()) {
        gallerySelection = 0;
    } else {
        gallerySelection.reset();
    }
    notifyChanged();
}

// The filer's cursor moved: the grid follows when its file is an item.
void AppState::syncGallerySelection() {
    const std::optional<FileEntry> entry = currentEntry();
    if (!entry || entry->isDirectory || entry->isParent) {
        return;
    }
    const int index = indexOfItem(galleryItems, entry->name);
    if (index >= 0 && gallerySelection != index) {
        gallerySelection = index;
        notifyChanged();
    }
}

void AppState::moveGalleryCursor(int dx, int dy) {
    const std::optional<int> index =
        Gallery::steppedIndex(gallerySelection, int(galleryItems.size()), dx, dy);
    if (index) {
        selectGalleryItem(*index);
    }
}

// The item goes to the VIEWER, which takes the focus.
void AppState::openGallerySelection(std::optional<int> index) {
    if (index) {
        selectGalleryItem(*index);
    }
    const int chosen = index.value_or(gallerySelection.value_or(-1));
    if (chosen < 0 || chosen >= galleryItems.size()) {
        return;
    }
    const FileEntry entry = galleryItems.at(chosen).entry;
    setLayoutMode(LayoutMode::filerViewer);
    if (isMember(entry)) {
        loadViewerContentForMember(*entry.zipArchiveURL, *entry.zipEntryPath, entry.name);
    } else {
        loadViewerContent(entry.url);
    }
    focusedSide = PaneSide::right;
    notifyChanged();
}

void AppState::selectGalleryItem(int index) {
    if (index < 0 || index >= galleryItems.size()) {
        return;
    }
    gallerySelection = index;
    const QString name = galleryItems.at(index).name;
    const PaneSide side = gallerySide(*this);
    const auto session = pane(side).treeMode ? pane(side).treeSession : nullptr;
    if (session) {
        const int row = indexOfName(visibleTreeFiles(session->files), name);
        if (row >= 0) {
            session->fileSelection = row;
            session->focusOnFiles = true;
            ++treeRevision;
        }
    } else if (const int row = indexOfName(visibleEntries(side), name); row >= 0) {
        setSelection(row, side);
    }
    notifyChanged();
}

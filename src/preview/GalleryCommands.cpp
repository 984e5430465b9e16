// GALLERY: the images of the left pane's folder as a grid whose selection
// and the filer's cursor are kept on the same file.
#include "core/AppState.h"
#include "core/Background.h"
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
    return entry.zipArchiveURL() && entry.zipEntryPath();
}

// Judged by the name alone: the content type of a listed file comes from its
// name too, so asking the disk whether the file exists would only add a wait.
bool isGalleryEntry(const FileEntry& entry) {
    if (entry.isParent || entry.isDirectory || entry.isZipArchive) {
        return false;
    }
    return PreviewSelection::isGalleryImage(entry.name, std::nullopt);
}

// Above this many rows the item list is made on a worker thread: each name's
// content type is looked up, and a folder of 100,000 files would take the
// window for a good part of a second.
constexpr qsizetype kRowsBuiltAtOnce = 2000;

QList<AppState::GalleryItem> galleryItemsOf(const QList<FileEntry>& rows) {
    QList<AppState::GalleryItem> items;
    for (const FileEntry& entry : rows) {
        if (isGalleryEntry(entry)) {
            items.append({entry.name, entry});
        }
    }
    return items;
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

// The earlier selection stays on its name; otherwise the first item.
void applyGalleryItems(AppState& state, QList<AppState::GalleryItem> items) {
    std::optional<QString> selectedName;
    const std::optional<int> selection = state.gallerySelection;
    if (selection && *selection >= 0 && *selection < state.galleryItems.size()) {
        selectedName = state.galleryItems.at(*selection).name;
    }
    state.galleryItems = std::move(items);
    const int kept = selectedName ? indexOfItem(state.galleryItems, *selectedName) : -1;
    if (kept >= 0) {
        state.gallerySelection = kept;
    } else if (!state.galleryItems.isEmpty()) {
        state.gallerySelection = 0;
    } else {
        state.gallerySelection.reset();
    }
    state.notifyChanged();
}

} // namespace

void AppState::rebuildGalleryItems() {
    QList<FileEntry> rows = sourceRows(*this, gallerySide(*this));
    if (rows.size() <= kRowsBuiltAtOnce) {
        galleryBuildGeneration.dropAll();
        applyGalleryItems(*this, galleryItemsOf(rows));
        return;
    }
    Background::run(
        m_executor, Background::Pool::shared, this, galleryBuildGeneration.take(),
        [rows = std::move(rows)] { return galleryItemsOf(rows); },
        [this](QList<GalleryItem> items) { applyGalleryItems(*this, std::move(items)); });
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
        loadViewerContentForMember(*entry.zipArchiveURL(), *entry.zipEntryPath(), entry.name);
    } else {
        loadViewerContent(entry.url());
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

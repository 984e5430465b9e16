// What the right half of the window is for, keeping VIEWER on the cursor's
// file, and the throttled rebuild of the window after a resize.
#include "core/AppState.h"

#include "core/PathUtils.h"
#include "core/PreferenceKeys.h"
#include "core/Preferences.h"

#include <QDateTime>

namespace {

// Rebuilding every view on each resize step is costly; one step per this many seconds.
constexpr double kRedrawThrottleSeconds = 0.12;
// How long the size must hold still before a resize counts as ended.
constexpr std::chrono::milliseconds kResizeSettle{150};

bool isPlainFile(const FileEntry& entry) {
    return !entry.isDirectory && !entry.isParent && !entry.isZipArchive && !entry.isLinkToFolder;
}

} // namespace

double AppState::systemWallClock() {
    return double(QDateTime::currentMSecsSinceEpoch()) / 1000.0;
}

// From EDITOR the dialog asks first; its yes applies the mode. Unsaved text
// is asked about with the save question instead, whose answer then switches.
void AppState::setLayoutMode(LayoutMode mode) {
    if (rightMode == RightPaneMode::editor && isDirty) {
        whenEditorTextIsSafe([this, mode] { applyLayoutMode(mode); });
        return;
    }
    if (rightMode == RightPaneMode::editor) {
        pendingLayoutMode = mode;
        dosDialogActionIndex = 0;
        notifyChanged();
        return;
    }
    applyLayoutMode(mode);
}

void AppState::applyLayoutMode(LayoutMode mode) {
    // A VIEWER load nobody sees any more is given up, with the archive tool
    // it runs.
    if (mode != LayoutMode::filerViewer && rightMode == RightPaneMode::viewer && isViewerLoading) {
        clearViewer();
    }
    layoutMode = mode;
    switch (mode) {
    case LayoutMode::filerViewer:
        rightMode = RightPaneMode::viewer;
        stopWatching(PaneSide::right);
        focusedSide = PaneSide::left;
        syncPreview();
        break;
    case LayoutMode::dualFiler:
        rightMode = RightPaneMode::filer;
        reloadPane(PaneSide::right, false);
        break;
    case LayoutMode::filerGallery:
        rightMode = RightPaneMode::gallery;
        stopWatching(PaneSide::right);
        rebuildGalleryItems();
        syncGallerySelection();
        break;
    }
    notifyChanged();
}

// Unlike setLayoutMode it asks nothing from EDITOR, but unsaved text is
// never dropped without the save question.
void AppState::toggleRightPaneMode() {
    if (rightMode == RightPaneMode::editor && isDirty) {
        whenEditorTextIsSafe([this] { toggleRightPaneMode(); });
        return;
    }
    if (layoutMode != LayoutMode::dualFiler && rightMode != RightPaneMode::filer) {
        applyLayoutMode(LayoutMode::dualFiler);
        return;
    }
    layoutMode = LayoutMode::filerViewer;
    rightMode = RightPaneMode::viewer;
    stopWatching(PaneSide::right);
    focusedSide = PaneSide::left;
    syncPreview();
    notifyChanged();
}

bool AppState::anyPromptOrPickerOpen() const {
    return m_overlay != Overlay::none || pendingCopyMove.has_value();
}

bool AppState::makeWayForPicker(FilterRow filterRow) {
    if (!activeFilerSide() || anyPromptOrPickerOpen()) {
        return false;
    }
    if (isFileSearchMode) {
        exitFileSearchMode();
    }
    if (isFilterOpen) {
        closeFilter(filterRow == FilterRow::keep);
    }
    return true;
}

void AppState::enterGalleryLayout() {
    if (!makeWayForPicker(FilterRow::keep)) {
        return;
    }
    setLayoutMode(LayoutMode::filerGallery);
}

void AppState::exitGallery() {
    if (layoutMode == LayoutMode::filerGallery) {
        setLayoutMode(LayoutMode::filerViewer);
    }
    galleryItems.clear();
    gallerySelection.reset();
    notifyChanged();
}

// Unsaved text is never dropped without the save question.
void AppState::exitEditorToViewer() {
    if (rightMode != RightPaneMode::editor) {
        return;
    }
    if (isDirty) {
        pendingExitEditorToViewer = true;
        dosDialogActionIndex = 0;
    } else {
        rightMode = RightPaneMode::viewer;
        focusedSide = PaneSide::left;
        // VIEWER shows the file as it is on the disk now, saved or not.
        if (editorURL) {
            loadViewerContent(*editorURL);
        }
    }
    notifyChanged();
}

// Keeps the right half on the file under the cursor while preview mode is on.
void AppState::syncPreview() {
    if (!alwaysPreviewMode || layoutMode != LayoutMode::filerViewer) {
        return;
    }
    if (rightMode == RightPaneMode::editor && isDirty) {
        return;
    }
    const std::optional<FileEntry> entry = currentEntry();
    if (!entry || !isPlainFile(*entry)) {
        clearViewer();
        return;
    }
    showEntryInViewer(*entry);
}

// A file chosen while EDITOR holds unsaved text is shown after the save
// question.
void AppState::showEntryInViewer(const FileEntry& entry) {
    if (rightMode == RightPaneMode::editor && isDirty) {
        whenEditorTextIsSafe([this, entry] { showEntryInViewer(entry); });
        return;
    }
    if (entry.zipArchiveURL() && entry.zipEntryPath()) {
        showArchivePreview(entry);
    } else {
        showFilePreview(entry);
    }
}

void AppState::toggleAlwaysPreview() {
    alwaysPreviewMode = !alwaysPreviewMode;
    m_preferences.setValue(PreferenceKeys::alwaysPreviewMode, alwaysPreviewMode);
    if (alwaysPreviewMode) {
        syncPreview();
    }
    notifyChanged();
}

// Frames wrap around at both ends. Only a picture on show in the VIEWER is
// paged: with text, or no file, the key steps to the next file instead.
bool AppState::pageAnimatedFrame(int delta) {
    const bool viewerFocused = layoutMode == LayoutMode::filerViewer &&
                               rightMode == RightPaneMode::viewer && focusedSide == PaneSide::right;
    const bool showsPicture = viewerKind == ViewerContentKind::preview && animatedPreviewInfo;
    if (!viewerFocused || !showsPicture || animatedPreviewInfo->frameCount < 2) {
        return false;
    }
    const int count = animatedPreviewInfo->frameCount;
    animatedFrameIndex = ((animatedFrameIndex + delta) % count + count) % count;
    notifyChanged();
    return true;
}

// A damaged APNG may announce more frames than it holds. Nothing is
// composed from a file that can't be read at all: its count stays.
void AppState::noteAnimatedFramesComposed(const QString& path, int count) {
    if (editorURL != path || viewerKind != ViewerContentKind::preview || !animatedPreviewInfo ||
        count < 1 || animatedPreviewInfo->frameCount == count) {
        return;
    }
    animatedPreviewInfo->frameCount = count;
    animatedFrameIndex = ((animatedFrameIndex % count) + count) % count;
    notifyChanged();
}

// Walks the left list from the file on show to the next plain file; off
// either end nothing changes, and there is no wrap.
bool AppState::stepViewerFile(int delta) {
    if (layoutMode != LayoutMode::filerViewer || rightMode != RightPaneMode::viewer) {
        return false;
    }
    const QList<FileEntry> visible = visibleEntries(PaneSide::left);
    if (visible.isEmpty()) {
        return true;
    }
    const auto isOnShow = [&](const FileEntry& e) {
        if (viewerFromZip) {
            return e.zipArchiveURL() == viewerZipArchive && e.zipEntryPath() == viewerZipEntry;
        }
        return editorURL && PathUtils::standardizedPath(e.url()) == *editorURL;
    };
    const auto shown = std::find_if(visible.begin(), visible.end(), isOnShow);
    int index =
        shown == visible.end() ? pane(PaneSide::left).selection : int(shown - visible.begin());
    for (index += delta; index >= 0 && index < visible.size(); index += delta) {
        if (isPlainFile(visible.at(index))) {
            setSelection(index, PaneSide::left);
            showEntryInViewer(visible.at(index));
            focusedSide = PaneSide::right;
            notifyChanged();
            return true;
        }
    }
    return true;
}

// A live resize counts as ended once the size has held still for a while;
// only then is the window laid out again.
void AppState::noteWindowResized(double width, double height, ResizePhase phase) {
    if (width <= 1 || height <= 1) {
        return;
    }
    if (phase == ResizePhase::settled) {
        noteLayoutSettled();
        return;
    }
    const uint64_t resize = ++m_liveResizeCount;
    m_executor.callLater(kResizeSettle, this, [this, resize] {
        if (resize == m_liveResizeCount) {
            noteResizeEnded();
        }
    });
}

void AppState::noteResizeEnded() {
    noteLayoutSettled();
}

void AppState::noteLayoutSettled() {
    const double now = wallClock();
    if (now - lastWindowRedrawAt < kRedrawThrottleSeconds) {
        return;
    }
    lastWindowRedrawAt = now;
    ++windowLayoutEpoch;
    notifyChanged();
}

// The key tables of the right half with the focus (GALLERY, EDITOR, VIEWER)
// and of the open filter.
#include "core/KeyDispatch.h"

// Everything is swallowed; keys not in the table may still switch the layout.
bool AppState::handleGalleryKey(const KeyPress& p) {
    if (p.is(KeyCode::escape)) {
        exitGallery();
    } else if (p.is(KeyCode::tab)) {
        focusPane(PaneSide::left);
    } else if (p.isLeftOrRight() && p.shiftOnly) {
        focusPane(p.is(KeyCode::left) ? PaneSide::left : PaneSide::right);
    } else if (p.is(KeyCode::deleteBackward) || p.keyIs(u"-")) {
        goToParentDirectory();
    } else if (p.keyIs(u"/")) {
        goToRootDirectory();
    } else if (p.keyIs(u"~") || p.charactersAre(u"~")) {
        goToHomeDirectory();
    } else if (int step = p.stepBetween(KeyCode::left, KeyCode::right)) {
        moveGalleryCursor(step, 0);
    } else if (int step = p.stepBetween(KeyCode::up, KeyCode::down)) {
        moveGalleryCursor(0, step);
    } else if (p.isEnter() && gallerySelection) {
        openGallerySelection(std::nullopt);
    } else if (p.isEnter()) {
        activateSelection(PaneSide::left);
    } else {
        handleLayoutShortcut(p.event, p.shiftOnly);
    }
    return true;
}

// EDITOR with the focus: what is not taken here is typed into the text.
bool AppState::handleEditorKey(const KeyPress& p) {
    if (p.is(KeyCode::escape)) {
        exitEditorToViewer();
        return true;
    }
    if (p.is(KeyCode::tab)) {
        focusPane(PaneSide::left);
        return true;
    }
    return handleLayoutShortcut(p.event, p.shiftOnly);
}

// VIEWER with the focus. A key it does not take goes on to the filter and the
// filer, so that the filer's letters still act on the left pane.
bool AppState::handleViewerKey(const KeyPress& p) {
    if (p.is(KeyCode::tab)) {
        return focusPane(PaneSide::left);
    }
    if (p.is(KeyCode::left)) {
        return focusPane(PaneSide::left);
    }
    if (p.is(KeyCode::right)) {
        return focusPane(PaneSide::right);
    }
    if (int step = p.stepBetween(KeyCode::up, KeyCode::down)) {
        return pageAnimatedFrame(step) || stepViewerFile(step);
    }
    if (handleLayoutShortcut(p.event, p.shiftOnly)) {
        return true;
    }
    if (p.keyIs(u"e")) {
        enterEditor();
        return true;
    }
    return false;
}

// The filter's field keeps the focus; Left, Right and Tab leave the filter
// rather than move the caret.
bool AppState::handleFilterKey(const KeyPress& p) {
    const bool treeMode = activePaneInTreeMode();
    if (handleLayoutShortcut(p.event, p.shiftOnly)) {
        return true;
    }
    if (p.is(KeyCode::escape)) {
        closeFilter(true);
    } else if (handleFilterMoveKey(p)) {
        return true;
    } else if (p.isLeftOrRight() && treeMode && !p.shiftOnly) {
        handleTreeKey(p.key, p.code());
    } else if (p.isLeftOrRight()) {
        closeFilter(false);
        focusPane(p.is(KeyCode::left) ? PaneSide::left : PaneSide::right);
    } else if (p.isEnter() && !treeMode) {
        if (const auto side = activeFilerSide()) {
            activateSelection(*side);
        }
    } else if (p.isEnter()) {
        activateTreeSelection();
    } else if (p.is(KeyCode::tab)) {
        focusedSide = otherSide(focusedSide);
        closeFilter(false);
    } else {
        return false;
    }
    return true;
}

// Up, Down, Home, End, PageUp, PageDown move the list's cursor while the
// field keeps the focus; a pane in tree mode takes them first.
bool AppState::handleFilterMoveKey(const KeyPress& p) {
    const bool moveKey = p.is(KeyCode::up) || p.is(KeyCode::down) || p.is(KeyCode::home) ||
                         p.is(KeyCode::end) || p.is(KeyCode::pageUp) || p.is(KeyCode::pageDown);
    if (!moveKey) {
        return false;
    }
    if (handleTreeKey(p.key, p.code())) {
        return true;
    }
    if (int step = p.stepBetween(KeyCode::up, KeyCode::down)) {
        moveCursor(step);
    } else if (p.is(KeyCode::home)) {
        moveCursorToTop();
    } else if (p.is(KeyCode::end)) {
        moveCursorToBottom();
    } else {
        moveCursorByPage(p.stepBetween(KeyCode::pageUp, KeyCode::pageDown));
    }
    return true;
}

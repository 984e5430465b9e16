// The key tables of the right half with the focus (GALLERY, EDITOR, VIEWER)
// and of the open filter.
#include "core/AppState.h"
#include "core/KeyTables.h"

using enum KeyCommand::Command;
using KeyTables::Row;

namespace {

const KeyCommand swallowed{};

PaneSide sideOf(const KeyPress& p) {
    return p.is(KeyCode::left) ? PaneSide::left : PaneSide::right;
}

// Up, Down, Home, End, PageUp, PageDown move the list's cursor while the
// filter's field keeps the focus; a pane in tree mode takes them first.
Row filterMoveCommand(const AppState& s, const KeyPress& p) {
    const bool moveKey = p.is(KeyCode::up) || p.is(KeyCode::down) || p.is(KeyCode::home) ||
                         p.is(KeyCode::end) || p.is(KeyCode::pageUp) || p.is(KeyCode::pageDown);
    if (!moveKey) {
        return std::nullopt;
    }
    if (Row tree = KeyTables::treeCommand(s, p.code())) {
        return tree;
    }
    if (int step = p.stepBetween(KeyCode::up, KeyCode::down)) {
        return KeyCommand{moveCursor, step};
    }
    if (p.is(KeyCode::home)) {
        return KeyCommand{moveCursorToTop};
    }
    if (p.is(KeyCode::end)) {
        return KeyCommand{moveCursorToBottom};
    }
    return KeyCommand{moveCursorByPage, p.stepBetween(KeyCode::pageUp, KeyCode::pageDown)};
}

} // namespace

// Everything is swallowed; keys not in the table may still switch the layout.
Row KeyTables::galleryCommand(const AppState& s, const KeyPress& p) {
    if (p.is(KeyCode::escape)) {
        return KeyCommand{exitGallery};
    }
    if (p.is(KeyCode::tab)) {
        return KeyCommand::with(focusPane, PaneSide::left);
    }
    if (p.isLeftOrRight() && p.shiftOnly) {
        return KeyCommand::with(focusPane, sideOf(p));
    }
    if (p.is(KeyCode::deleteBackward) || p.keyIs(u"-")) {
        return KeyCommand{goToParentDirectory};
    }
    if (p.keyIs(u"/")) {
        return KeyCommand{goToRootDirectory};
    }
    if (p.keyIs(u"~") || p.charactersAre(u"~")) {
        return KeyCommand{goToHomeDirectory};
    }
    if (int step = p.stepBetween(KeyCode::left, KeyCode::right)) {
        return KeyCommand{moveGalleryCursor, step, 0};
    }
    if (int step = p.stepBetween(KeyCode::up, KeyCode::down)) {
        return KeyCommand{moveGalleryCursor, 0, step};
    }
    if (p.isEnter() && s.gallerySelection) {
        return KeyCommand{openGallerySelection};
    }
    if (p.isEnter()) {
        return KeyCommand::with(activateSelection, PaneSide::left);
    }
    return layoutShortcutCommand(p.code(), p.shiftOnly).value_or(swallowed);
}

// EDITOR with the focus: what is not taken here is typed into the text.
Row KeyTables::editorCommand(const AppState& s, const KeyPress& p) {
    if (s.textInputHasMarkedText()) {
        return std::nullopt;
    }
    if (p.is(KeyCode::escape)) {
        return KeyCommand{exitEditorToViewer};
    }
    if (p.is(KeyCode::tab)) {
        return KeyCommand::with(focusPane, PaneSide::left);
    }
    return layoutShortcutCommand(p.code(), p.shiftOnly);
}

// VIEWER with the focus. A key it does not take goes on to the filter and the
// filer, so that the filer's letters still act on the left pane.
Row KeyTables::viewerCommand(const AppState&, const KeyPress& p) {
    if (p.is(KeyCode::tab)) {
        return KeyCommand::with(focusPane, PaneSide::left);
    }
    if (p.is(KeyCode::left)) {
        return KeyCommand::with(focusPane, PaneSide::left);
    }
    if (p.is(KeyCode::right)) {
        return KeyCommand::with(focusPane, PaneSide::right);
    }
    if (int step = p.stepBetween(KeyCode::up, KeyCode::down)) {
        return KeyCommand{pageAnimatedFrameOrStepViewerFile, step};
    }
    if (Row layout = layoutShortcutCommand(p.code(), p.shiftOnly)) {
        return layout;
    }
    if (p.keyIs(u"e")) {
        return KeyCommand{enterEditor};
    }
    return std::nullopt;
}

// The filter's field keeps the focus; Left, Right and Tab leave the filter
// rather than move the caret.
Row KeyTables::filterCommand(const AppState& s, const KeyPress& p) {
    const bool treeMode = activePaneInTreeMode(s);
    const std::optional<PaneSide> side = s.activeFilerSide();
    if (s.textInputHasMarkedText()) {
        return std::nullopt;
    }
    if (Row layout = layoutShortcutCommand(p.code(), p.shiftOnly)) {
        return layout;
    }
    if (p.is(KeyCode::escape)) {
        return KeyCommand{closeFilter, true};
    }
    if (Row move = filterMoveCommand(s, p)) {
        return move;
    }
    if (p.isLeftOrRight() && treeMode && !p.shiftOnly) {
        return treeCommand(s, p.code()).value_or(swallowed);
    }
    if (p.isLeftOrRight()) {
        return KeyCommand::with(closeFilterAndFocusPane, sideOf(p));
    }
    if (p.isEnter() && !treeMode) {
        return side ? KeyCommand::with(activateSelection, *side) : swallowed;
    }
    if (p.isEnter()) {
        return KeyCommand{activateTreeSelection};
    }
    if (p.is(KeyCode::tab)) {
        return KeyCommand::with(focusPaneAndCloseFilter, otherSide(s.focusedSide));
    }
    return std::nullopt;
}

// The filer's table of single keys, the program's signature: its rows in
// order, each row one command. A row whose condition fails does not end the
// search. Also the layout shortcuts and the keys of a pane in tree mode.
#include "core/KeyDispatch.h"

bool AppState::activePaneInTreeMode() const {
    const auto side = activeFilerSide();
    return side && pane(*side).treeMode;
}

bool AppState::handleFilerKey(const KeyPress& p) {
    if (p.is(KeyCode::escape) && activePaneInTreeMode()) { // row 1
        exitTreeModeByEsc();
        return true;
    }
    if (handleFilerLetterKey(p) || handleFilerActionKey(p)) { // rows 2-30
        return true;
    }
    if (p.is(KeyCode::space)) { // row 31
        toggleTagAtCursor();
        return true;
    }
    if (handleLayoutShortcut(p.event, p.shiftOnly)) { // row 32
        return true;
    }
    if (p.isLeftOrRight() && activePaneInTreeMode() && !p.shiftOnly) { // row 33
        handleTreeKey(p.key, p.code());
        return true;
    }
    if (p.isLeftOrRight()) { // row 34
        return focusPane(p.is(KeyCode::left) ? PaneSide::left : PaneSide::right);
    }
    if (handleTreeKey(p.key, p.code())) { // row 35
        return true;
    }
    return handleFilerMoveKey(p); // rows 36-44
}

// Rows 2 to 16. Letters compare with the lower-cased key, so Shift, Control
// and Option don't change which command runs; an event without characters
// matches none of them. Row 4 goes by key code: Shift with the period key
// types no ".".
bool AppState::handleFilerLetterKey(const KeyPress& p) {
    if (p.keyIs(u"e")) {
        enterEditor();
    } else if (p.keyIs(u".")) {
        toggleHiddenFiles();
    } else if (p.is(KeyCode::period) && p.shiftHeld() && !p.controlOrOptionHeld()) {
        toggleAllExtensions();
    } else if (p.keyIs(u"l")) {
        toggleLocalizedNames();
    } else if (p.keyIs(u"t")) {
        toggleTreeMode();
    } else if (p.keyIs(u"f")) {
        openFilter();
    } else if (p.keyIs(u"s")) {
        openSortPicker();
    } else if (p.keyIs(u"j")) {
        openJumpDialog();
    } else if (p.keyIs(u"a")) {
        openAttributePrompt();
    } else if (p.keyIs(u"h")) {
        setStartupDirectoryToCurrent();
    } else if (p.keyIs(u"o")) {
        goToStartupDirectory();
    } else if (p.keyIs(u"u")) {
        goToHomeDirectory();
    } else if (p.keyIs(u"v")) {
        openVolumePicker();
    } else if (p.keyIs(u"x")) {
        openCursorEntryExternally();
    } else if (p.keyIs(u"g")) {
        enterGalleryLayout();
    } else {
        return false;
    }
    return true;
}

// Rows 17 to 30. D is the one letter for which Shift selects another command.
bool AppState::handleFilerActionKey(const KeyPress& p) {
    if (!p.key) {
        return false;
    }
    const bool shift = p.shiftHeld();
    if (p.keyIs(u"q")) {
        requestQuit();
    } else if (p.keyIs(u"w")) {
        openWildcardPrompt();
    } else if (p.charactersAre(u"+") || p.unloweredKeyIs(u"+")) {
        addJumpBookmark();
    } else if (p.keyIs(u"/") || p.unloweredKeyIs(u"/")) {
        goToRootDirectory();
    } else if (p.keyIs(u"~") || p.unloweredKeyIs(u"~") || p.charactersAre(u"~")) {
        goToHomeDirectory();
    } else if (p.keyIs(u"p")) {
        toggleAlwaysPreview();
    } else if (p.keyIs(u"k")) {
        openCreateItemPrompt(CreateItemKind::folder);
    } else if (p.keyIs(u"i")) {
        openCreateItemPrompt(CreateItemKind::file);
    } else if (p.keyIs(u"n") || p.keyIs(u"r")) {
        openRenamePrompt();
    } else if (p.keyIs(u"c")) {
        startCopyOrMove(CopyMoveKind::copy);
    } else if (p.keyIs(u"m")) {
        startCopyOrMove(CopyMoveKind::move);
    } else if (p.keyIs(u"d") && !shift) {
        startDelete(DeleteKind::files);
    } else if (p.keyIs(u"d") && !p.controlOrOptionHeld()) {
        startDelete(DeleteKind::folders);
    } else if (p.keyIs(u"d")) {
        // Shift+D with Control or Option: nothing, and the key is swallowed.
    } else {
        return false;
    }
    return true;
}

// Rows 36 to 44.
bool AppState::handleFilerMoveKey(const KeyPress& p) {
    if (p.isEnter()) {
        openCursorEntry();
    } else if (p.is(KeyCode::tab)) {
        focusedSide = otherSide(focusedSide);
        notifyChanged();
    } else if (p.is(KeyCode::deleteBackward)) {
        goToParentDirectory();
    } else if (p.is(KeyCode::home)) {
        moveCursorToTop();
    } else if (p.is(KeyCode::end)) {
        moveCursorToBottom();
    } else if (int page = p.stepBetween(KeyCode::pageUp, KeyCode::pageDown)) {
        moveCursorByPage(page);
    } else if (int step = p.stepBetween(KeyCode::up, KeyCode::down)) {
        moveCursor(step);
    } else if (p.keyIs(u"-")) {
        goToParentDirectory();
    } else {
        return false;
    }
    return true;
}

bool AppState::handleLayoutShortcut(const KeyEvent& event, bool shiftOnly) {
    if (!shiftOnly || !KeyCode::isMainRowDigit(event.keyCode)) {
        return false;
    }
    switch (event.keyCode) {
    case KeyCode::mainRow1:
        setLayoutMode(LayoutMode::filerViewer);
        break;
    case KeyCode::mainRow2:
        setLayoutMode(LayoutMode::dualFiler);
        break;
    case KeyCode::mainRow3:
        setLayoutMode(LayoutMode::filerGallery);
        break;
    default:
        enterFileSearchMode();
        break;
    }
    return true;
}

// Tree keys work by key code, on the tree rows or on the file list alike:
// which of the two the session's focus is on is the session's business.
bool AppState::handleTreeKey(const std::optional<QString>&, uint16_t keyCode) {
    const auto side = activeFilerSide();
    if (!side || !pane(*side).treeMode || !pane(*side).treeSession) {
        return false;
    }
    switch (keyCode) {
    case KeyCode::returnKey:
    case KeyCode::keypadEnter:
        activateTreeSelection();
        return true;
    case KeyCode::up:
    case KeyCode::down:
        moveTreeSelection(keyCode == KeyCode::up ? -1 : 1);
        return true;
    case KeyCode::home:
        treeSelectFirst();
        return true;
    case KeyCode::end:
        treeSelectLast();
        return true;
    case KeyCode::pageUp:
    case KeyCode::pageDown:
        treePage(keyCode == KeyCode::pageUp ? -1 : 1);
        return true;
    case KeyCode::left:
        treeStepLeft();
        return true;
    case KeyCode::right:
        treeStepRight();
        return true;
    default:
        return false;
    }
}

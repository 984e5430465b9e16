// The filer's table of single keys, the program's signature: its rows in
// order, each row one command. A row whose condition fails does not end the
// search. Also the layout shortcuts and the keys of a pane in tree mode.
#include "core/AppState.h"
#include "core/KeyTables.h"

using enum KeyCommand::Command;
using KeyTables::Row;

namespace {

const KeyCommand swallowed{};

// Rows 2 to 16. Letters compare with the lower-cased key, so Shift, Control
// and Option don't change which command runs; an event without characters
// matches none of them. Row 4 goes by key code: Shift with the period key
// types no ".".
Row filerLetterCommand(const KeyPress& p) {
    if (p.keyIs(u"e")) {
        return KeyCommand{enterEditor};
    }
    if (p.keyIs(u".")) {
        return KeyCommand{toggleHiddenFiles};
    }
    if (p.is(KeyCode::period) && p.shiftHeld() && !p.controlOrOptionHeld()) {
        return KeyCommand{toggleAllExtensions};
    }
    if (p.keyIs(u"l")) {
        return KeyCommand{toggleLocalizedNames};
    }
    if (p.keyIs(u"t")) {
        return KeyCommand{toggleTreeMode};
    }
    if (p.keyIs(u"f")) {
        return KeyCommand{openFilter};
    }
    if (p.keyIs(u"s")) {
        return KeyCommand{openSortPicker};
    }
    if (p.keyIs(u"j")) {
        return KeyCommand{openJumpDialog};
    }
    if (p.keyIs(u"a")) {
        return KeyCommand{openAttributePrompt};
    }
    if (p.keyIs(u"h")) {
        return KeyCommand{setStartupDirectoryToCurrent};
    }
    if (p.keyIs(u"o")) {
        return KeyCommand{goToStartupDirectory};
    }
    if (p.keyIs(u"u")) {
        return KeyCommand{goToHomeDirectory};
    }
    if (p.keyIs(u"v")) {
        return KeyCommand{openVolumePicker};
    }
    if (p.keyIs(u"x")) {
        return KeyCommand{openCursorEntryExternally};
    }
    if (p.keyIs(u"g")) {
        return KeyCommand{enterGalleryLayout};
    }
    return std::nullopt;
}

// Rows 17 to 30. C, M and D are the letters for which Shift selects another
// command: the folder under the cursor instead of the tagged files.
Row filerActionCommand(const KeyPress& p) {
    if (!p.key) {
        return std::nullopt;
    }
    if (p.keyIs(u"q")) {
        return KeyCommand{requestQuit};
    }
    if (p.keyIs(u"w")) {
        return KeyCommand{openWildcardPrompt};
    }
    if (p.charactersAre(u"+") || p.unloweredKeyIs(u"+")) {
        return KeyCommand{addJumpBookmark};
    }
    if (p.keyIs(u"/") || p.unloweredKeyIs(u"/")) {
        return KeyCommand{goToRootDirectory};
    }
    if (p.keyIs(u"~") || p.unloweredKeyIs(u"~") || p.charactersAre(u"~")) {
        return KeyCommand{goToHomeDirectory};
    }
    if (p.keyIs(u"p")) {
        return KeyCommand{toggleAlwaysPreview};
    }
    if (p.keyIs(u"k")) {
        return KeyCommand::with(openCreateItemPrompt, CreateItemKind::folder);
    }
    if (p.keyIs(u"i")) {
        return KeyCommand::with(openCreateItemPrompt, CreateItemKind::file);
    }
    if (p.keyIs(u"n") || p.keyIs(u"r")) {
        return KeyCommand{openRenamePrompt};
    }
    if (p.keyIs(u"c") || p.keyIs(u"m")) {
        const auto kind =
            p.keyIs(u"c") ? AppState::CopyMoveKind::copy : AppState::CopyMoveKind::move;
        if (!p.shiftHeld()) {
            return KeyCommand::with(startCopyOrMove, kind);
        }
        if (!p.controlOrOptionHeld()) {
            return KeyCommand::with(startFolderCopyOrMove, kind);
        }
        return swallowed; // Shift+C or Shift+M with Control or Option: nothing runs.
    }
    if (p.keyIs(u"d") && !p.shiftHeld()) {
        return KeyCommand::with(startDelete, AppState::DeleteKind::files);
    }
    if (p.keyIs(u"d") && !p.controlOrOptionHeld()) {
        return KeyCommand::with(startDelete, AppState::DeleteKind::folders);
    }
    if (p.keyIs(u"d")) {
        return swallowed; // Shift+D with Control or Option: nothing runs.
    }
    return std::nullopt;
}

// Rows 36 to 44.
Row filerMoveCommand(const AppState& s, const KeyPress& p) {
    if (p.isEnter()) {
        return KeyCommand{openCursorEntry};
    }
    if (p.is(KeyCode::tab)) {
        return KeyCommand::with(focusPane, otherSide(s.focusedSide));
    }
    if (p.is(KeyCode::deleteBackward)) {
        return KeyCommand{goToParentDirectory};
    }
    if (p.is(KeyCode::home)) {
        return KeyCommand{moveCursorToTop};
    }
    if (p.is(KeyCode::end)) {
        return KeyCommand{moveCursorToBottom};
    }
    if (int page = p.stepBetween(KeyCode::pageUp, KeyCode::pageDown)) {
        return KeyCommand{moveCursorByPage, page};
    }
    if (int step = p.stepBetween(KeyCode::up, KeyCode::down)) {
        return KeyCommand{moveCursor, step};
    }
    if (p.keyIs(u"-")) {
        return KeyCommand{goToParentDirectory};
    }
    return std::nullopt;
}

} // namespace

bool KeyTables::activePaneInTreeMode(const AppState& s) {
    const std::optional<PaneSide> side = s.activeFilerSide();
    return side && s.pane(*side).treeMode;
}

Row KeyTables::filerCommand(const AppState& s, const KeyPress& p) {
    const bool treeMode = activePaneInTreeMode(s);
    if (p.is(KeyCode::escape) && treeMode) { // row 1
        return KeyCommand{exitTreeModeByEsc};
    }
    if (Row row = filerLetterCommand(p)) { // rows 2-16
        return row;
    }
    if (Row row = filerActionCommand(p)) { // rows 17-30
        return row;
    }
    if (p.is(KeyCode::space)) { // row 31
        return KeyCommand{toggleTagAtCursor};
    }
    if (Row layout = layoutShortcutCommand(p.code(), p.shiftOnly)) { // row 32
        return layout;
    }
    if (p.isLeftOrRight() && treeMode && !p.shiftOnly) { // row 33
        return treeCommand(s, p.code()).value_or(swallowed);
    }
    if (p.isLeftOrRight()) { // row 34
        return KeyCommand::with(focusPane, p.is(KeyCode::left) ? PaneSide::left : PaneSide::right);
    }
    if (Row tree = treeCommand(s, p.code())) { // row 35
        return tree;
    }
    return filerMoveCommand(s, p); // rows 36-44
}

Row KeyTables::layoutShortcutCommand(uint16_t keyCode, bool shiftOnly) {
    if (!shiftOnly || !KeyCode::isMainRowDigit(keyCode)) {
        return std::nullopt;
    }
    switch (keyCode) {
    case KeyCode::mainRow1:
        return KeyCommand::with(setLayoutMode, LayoutMode::filerViewer);
    case KeyCode::mainRow2:
        return KeyCommand::with(setLayoutMode, LayoutMode::dualFiler);
    case KeyCode::mainRow3:
        return KeyCommand::with(setLayoutMode, LayoutMode::filerGallery);
    default:
        return KeyCommand{enterFileSearchMode};
    }
}

// Tree keys work by key code, on the tree rows or on the file list alike:
// which of the two the session's focus is on is the session's business.
Row KeyTables::treeCommand(const AppState& s, uint16_t keyCode) {
    const std::optional<PaneSide> side = s.activeFilerSide();
    if (!side || !s.pane(*side).treeMode || !s.pane(*side).treeSession) {
        return std::nullopt;
    }
    switch (keyCode) {
    case KeyCode::returnKey:
    case KeyCode::keypadEnter:
        return KeyCommand{activateTreeSelection};
    case KeyCode::up:
    case KeyCode::down:
        return KeyCommand{moveTreeSelection, keyCode == KeyCode::up ? -1 : 1};
    case KeyCode::home:
        return KeyCommand{treeSelectFirst};
    case KeyCode::end:
        return KeyCommand{treeSelectLast};
    case KeyCode::pageUp:
    case KeyCode::pageDown:
        return KeyCommand{treePage, keyCode == KeyCode::pageUp ? -1 : 1};
    case KeyCode::left:
        return KeyCommand{treeStepLeft};
    case KeyCode::right:
        return KeyCommand{treeStepRight};
    default:
        return std::nullopt;
    }
}

// The key tables of the prompts, pickers and the file search form: each
// table one function, its rows in order, each row one command.
#include "core/AppState.h"
#include "core/KeyTables.h"

using enum KeyCommand::Command;
using KeyTables::Row;

namespace {

const KeyCommand swallowed{};

bool isTypingField(FileSearchFocusField focus) {
    return focus == FileSearchFocusField::query || focus == FileSearchFocusField::periodFrom ||
           focus == FileSearchFocusField::periodTo;
}

// A key of one character that reads as a whole number 1 to 9.
std::optional<int> bookmarkNumber(const std::optional<QString>& key) {
    if (!key || key->size() != 1 || (*key)[0] < QLatin1Char('1') || (*key)[0] > QLatin1Char('9')) {
        return std::nullopt;
    }
    return (*key)[0].unicode() - '0';
}

// The rest of the form's table: the choices, Enter, and the letters that act
// on the hits. The typing fields keep every other key, Left and Right too.
Row fileSearchChoiceCommand(const AppState& s, const KeyPress& p) {
    const FileSearchFocusField focus = s.fileSearchFocusField;
    using F = FileSearchFocusField;
    const int leftRight = p.stepBetween(KeyCode::left, KeyCode::right);
    if (leftRight && focus == F::sort) {
        return KeyCommand{cycleFileSearchSort, leftRight};
    }
    if (leftRight && focus == F::matchMode) {
        return KeyCommand{cycleFileSearchMatchMode, leftRight};
    }
    if (p.is(KeyCode::space) && (focus == F::sort || focus == F::matchMode)) {
        return KeyCommand{toggleFileSearchChoice};
    }
    if (p.is(KeyCode::space)) {
        return std::nullopt;
    }
    if (p.isEnter() && focus == F::folder) {
        return KeyCommand{openSearchTreeBox};
    }
    if (p.isEnter() && focus == F::results) {
        return KeyCommand{openFileSearchResult};
    }
    if (p.isEnter()) {
        return KeyCommand{focusFileSearchResults};
    }
    if (isTypingField(focus)) {
        return std::nullopt;
    }
    if (p.keyIs(u"e")) {
        return KeyCommand{editFileSearchResult};
    }
    if (p.keyIs(u"x")) {
        return KeyCommand{openFileSearchResultExternally};
    }
    return std::nullopt;
}

} // namespace

// Their text field has every key but Esc, and Esc too while an input method
// is composing.
Row KeyTables::textPromptCommand(const AppState& s, const KeyPress& p) {
    if (!p.is(KeyCode::escape) || s.textInputHasMarkedText()) {
        return std::nullopt;
    }
    if (s.isOpen(Overlay::createItemPrompt)) {
        return KeyCommand{cancelCreateItemPrompt};
    }
    if (s.isOpen(Overlay::wildcardPrompt)) {
        return KeyCommand{cancelWildcardPrompt};
    }
    if (s.isOpen(Overlay::renamePrompt)) {
        return KeyCommand{cancelRenamePrompt};
    }
    return KeyCommand{cancelCopyMovePathPrompt};
}

// Everything is swallowed; digits go to the date and time fields.
Row KeyTables::attributePromptCommand(const AppState& s, const KeyPress& p) {
    const bool dateOrTime = s.attributePrompt.focusField == 1 || s.attributePrompt.focusField == 2;
    if (s.textInputHasMarkedText()) {
        return std::nullopt;
    }
    if (p.is(KeyCode::escape)) {
        return KeyCommand{cancelAttributePrompt};
    }
    if (int step = p.stepBetween(KeyCode::up, KeyCode::down)) {
        return KeyCommand{moveAttributeFocus, step};
    }
    if (int step = p.stepBetween(KeyCode::left, KeyCode::right)) {
        return KeyCommand{moveAttributeFieldCursor, step};
    }
    if (p.is(KeyCode::space)) {
        return KeyCommand{toggleAttributeField};
    }
    if (p.isEnter()) {
        return KeyCommand{applyAttributePrompt};
    }
    if (p.key && !p.key->isEmpty() && p.key->at(0).isDigit() && dateOrTime) {
        return KeyCommand{typeAttributeDigit, p.key->at(0).unicode()};
    }
    return swallowed;
}

Row KeyTables::fileSearchModeCommand(const AppState& s, const KeyPress& p) {
    if (s.textInputHasMarkedText()) {
        return std::nullopt;
    }
    // X on a hit puts the open-with picker over the form.
    if (s.isOpen(Overlay::openWithPicker)) {
        return openWithPickerCommand(s, p);
    }
    if (s.isOpen(Overlay::searchTreeBox)) {
        return searchTreeBoxCommand(s, p);
    }
    // EDITOR opened from a hit stands beside the form: while it has the
    // focus, letters and arrows edit the text instead of the hits.
    if (s.focusedSide == PaneSide::right && s.rightMode == RightPaneMode::editor) {
        return editorCommand(s, p);
    }
    return fileSearchCommand(s, p);
}

// The moves of the form; the choices and the hits' letters follow.
Row KeyTables::fileSearchCommand(const AppState& s, const KeyPress& p) {
    const FileSearchFocusField focus = s.fileSearchFocusField;
    using F = FileSearchFocusField;
    if (p.is(KeyCode::escape)) {
        return KeyCommand{exitFileSearchMode};
    }
    if (p.is(KeyCode::tab)) {
        return KeyCommand{cycleFileSearchFocus, p.shiftHeld() ? -1 : 1};
    }
    if (p.is(KeyCode::up) && focus == F::results && s.fileSearchSelection != 0) {
        return KeyCommand{moveFileSearchSelection, -1};
    }
    if (p.is(KeyCode::up)) {
        return KeyCommand{cycleFileSearchFocus, -1};
    }
    if (p.is(KeyCode::down) && focus == F::results) {
        return KeyCommand{moveFileSearchSelection, 1};
    }
    if (p.is(KeyCode::down) && focus == F::sort) {
        return KeyCommand{focusFileSearchResults};
    }
    if (p.is(KeyCode::down)) {
        return KeyCommand{cycleFileSearchFocus, 1};
    }
    if (p.is(KeyCode::home)) {
        return KeyCommand{fileSearchSelectFirst};
    }
    if (p.is(KeyCode::end)) {
        return KeyCommand{fileSearchSelectLast};
    }
    if (int page = p.stepBetween(KeyCode::pageUp, KeyCode::pageDown)) {
        return KeyCommand{fileSearchPage, page};
    }
    return fileSearchChoiceCommand(s, p);
}

// Any key not listed is swallowed.
Row KeyTables::searchTreeBoxCommand(const AppState& s, const KeyPress& p) {
    if (p.is(KeyCode::escape)) {
        return KeyCommand{closeSearchTreeBox};
    }
    if (int step = p.stepBetween(KeyCode::up, KeyCode::down)) {
        return KeyCommand{moveSearchTreeBoxRow, step};
    }
    if (p.isLeftOrRight()) {
        return KeyCommand{collapseOrExpandSearchTreeBoxRow, p.is(KeyCode::right)};
    }
    if (int page = p.stepBetween(KeyCode::pageUp, KeyCode::pageDown)) {
        return KeyCommand{moveSearchTreeBoxRow, page * s.pageStepForViewport()};
    }
    if (p.is(KeyCode::home)) {
        return KeyCommand{selectSearchTreeBoxRow, 0};
    }
    if (p.is(KeyCode::end) && s.searchTreeBox.session) {
        return KeyCommand{selectSearchTreeBoxRow, std::max(0, s.searchTreeBoxRowCount() - 1)};
    }
    if (p.isEnter()) {
        return KeyCommand{confirmSearchTreeBox};
    }
    return swallowed;
}

// Any other key is swallowed.
Row KeyTables::sortPickerCommand(const AppState&, const KeyPress& p) {
    if (p.is(KeyCode::escape)) {
        return KeyCommand{closeSortPicker};
    }
    if (int step = p.stepBetween(KeyCode::up, KeyCode::down)) {
        return KeyCommand{moveSortPickerSelection, step};
    }
    if (p.isEnter()) {
        return KeyCommand{confirmSortPicker};
    }
    if (p.keyIs(u"1") || p.keyIs(u"2") || p.keyIs(u"3")) {
        return KeyCommand::at(confirmSortPicker, p.key->toInt() - 1);
    }
    return swallowed;
}

// Any other key is swallowed.
Row KeyTables::volumePickerCommand(const AppState&, const KeyPress& p) {
    if (p.is(KeyCode::escape)) {
        return KeyCommand{closeVolumePicker};
    }
    if (int step = p.stepBetween(KeyCode::up, KeyCode::down)) {
        return KeyCommand{moveVolumePickerSelection, step};
    }
    if (p.isEnter()) {
        return KeyCommand{confirmVolumePicker};
    }
    return swallowed;
}

// Any other key is swallowed.
Row KeyTables::openWithPickerCommand(const AppState&, const KeyPress& p) {
    if (p.is(KeyCode::escape)) {
        return KeyCommand{closeOpenWithPicker};
    }
    if (int step = p.stepBetween(KeyCode::up, KeyCode::down)) {
        return KeyCommand{moveOpenWithSelection, step};
    }
    if (p.isEnter()) {
        return KeyCommand{confirmOpenWith};
    }
    return swallowed;
}

// The digits jump to bookmarks before the filter field can have them: a digit
// can't be typed into the jump filter, on purpose.
Row KeyTables::jumpDialogCommand(const AppState& s, const KeyPress& p) {
    const bool rowSelected = s.jumpDialog.selectedPath.has_value();
    const bool deleteKey = p.is(KeyCode::forwardDelete) || p.is(KeyCode::deleteBackward);
    if (s.textInputHasMarkedText()) {
        return std::nullopt;
    }
    if (p.is(KeyCode::escape)) {
        return KeyCommand{closeJumpDialog};
    }
    if (p.is(KeyCode::home)) {
        return KeyCommand{clearJumpSelection};
    }
    if (int step = p.stepBetween(KeyCode::up, KeyCode::down)) {
        return KeyCommand{moveJumpSelection, step};
    }
    if (p.isEnter()) {
        return KeyCommand{confirmJumpDialog};
    }
    if (std::optional<int> number = bookmarkNumber(p.key)) {
        return KeyCommand{jumpToNumberedBookmark, *number};
    }
    if (deleteKey && rowSelected) {
        return KeyCommand{removeJumpBookmark};
    }
    if (p.keyIs(u"s") && rowSelected) {
        return KeyCommand{setStartupFromJumpSelection};
    }
    if (p.charactersAre(u"+") || p.unloweredKeyIs(u"+")) {
        return KeyCommand{addJumpBookmark};
    }
    return rowSelected ? Row(swallowed) : std::nullopt;
}

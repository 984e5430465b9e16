// The key tables of the prompts, pickers and the file search form: each
// table one function, its rows in order, each row one command.
#include "core/KeyDispatch.h"

namespace {

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

} // namespace

// Everything is swallowed; digits go to the date and time fields.
bool AppState::handleAttributePromptKey(const KeyPress& p) {
    const bool dateOrTime = attributePrompt.focusField == 1 || attributePrompt.focusField == 2;
    if (p.is(KeyCode::escape)) {
        cancelAttributePrompt();
    } else if (int step = p.stepBetween(KeyCode::up, KeyCode::down)) {
        moveAttributeFocus(step);
    } else if (int step = p.stepBetween(KeyCode::left, KeyCode::right)) {
        moveAttributeFieldCursor(step);
    } else if (p.is(KeyCode::space)) {
        toggleAttributeField();
    } else if (p.isEnter()) {
        applyAttributePrompt();
    } else if (p.key && !p.key->isEmpty() && p.key->at(0).isDigit() && dateOrTime) {
        typeAttributeDigit(p.key->at(0));
    }
    return true;
}

bool AppState::handleFileSearchKey(const KeyPress& p) {
    const FileSearchFocusField focus = fileSearchFocusField;
    using F = FileSearchFocusField;
    if (p.is(KeyCode::escape)) {
        exitFileSearchMode();
    } else if (p.is(KeyCode::tab)) {
        cycleFileSearchFocus(p.shiftHeld() ? -1 : 1);
    } else if (p.is(KeyCode::up) && focus == F::results && fileSearchSelection != 0) {
        moveFileSearchSelection(-1);
    } else if (p.is(KeyCode::up)) {
        cycleFileSearchFocus(-1);
    } else if (p.is(KeyCode::down) && focus == F::results) {
        moveFileSearchSelection(1);
    } else if (p.is(KeyCode::down) && focus == F::sort) {
        focusFileSearchResults();
    } else if (p.is(KeyCode::down)) {
        cycleFileSearchFocus(1);
    } else if (p.is(KeyCode::home)) {
        fileSearchSelectFirst();
    } else if (p.is(KeyCode::end)) {
        fileSearchSelectLast();
    } else if (int page = p.stepBetween(KeyCode::pageUp, KeyCode::pageDown)) {
        fileSearchPage(page);
    } else if (p.isLeftOrRight() && focus == F::sort) {
        cycleFileSearchSort(p.stepBetween(KeyCode::left, KeyCode::right));
    } else if (p.isLeftOrRight() && focus == F::matchMode) {
        cycleFileSearchMatchMode(p.stepBetween(KeyCode::left, KeyCode::right));
    } else if (p.is(KeyCode::space) && (focus == F::sort || focus == F::matchMode)) {
        toggleFileSearchChoice();
    } else if (p.is(KeyCode::space)) {
        return false;
    } else if (p.isEnter() && focus == F::folder) {
        openSearchTreeBox();
    } else if (p.isEnter() && focus == F::results) {
        openFileSearchResult();
    } else if (p.isEnter()) {
        focusFileSearchResults();
    } else if (isTypingField(focus)) {
        return false;
    } else if (p.keyIs(u"e")) {
        editFileSearchResult();
    } else if (p.keyIs(u"x")) {
        openFileSearchResultExternally();
    } else {
        return false;
    }
    return true;
}

// Any key not listed is swallowed.
bool AppState::handleSearchTreeBoxKey(const KeyPress& p) {
    if (p.is(KeyCode::escape)) {
        closeSearchTreeBox();
    } else if (int step = p.stepBetween(KeyCode::up, KeyCode::down)) {
        moveSearchTreeBoxRow(step);
    } else if (p.isLeftOrRight()) {
        collapseOrExpandSearchTreeBoxRow(p.is(KeyCode::right));
    } else if (int page = p.stepBetween(KeyCode::pageUp, KeyCode::pageDown)) {
        moveSearchTreeBoxRow(page * pageStepForViewport());
    } else if (p.is(KeyCode::home)) {
        selectSearchTreeBoxRow(0);
    } else if (p.is(KeyCode::end) && searchTreeBox.session) {
        selectSearchTreeBoxRow(std::max(0, searchTreeBoxRowCount() - 1));
    } else if (p.isEnter()) {
        confirmSearchTreeBox();
    }
    return true;
}

// Any other key is swallowed.
bool AppState::handleSortPickerKey(const KeyPress& p) {
    if (p.is(KeyCode::escape)) {
        closeSortPicker();
    } else if (int step = p.stepBetween(KeyCode::up, KeyCode::down)) {
        moveSortPickerSelection(step);
    } else if (p.isEnter()) {
        confirmSortPicker(std::nullopt);
    } else if (p.keyIs(u"1") || p.keyIs(u"2") || p.keyIs(u"3")) {
        confirmSortPicker(p.key->toInt() - 1);
    }
    return true;
}

// Any other key is swallowed.
bool AppState::handleVolumePickerKey(const KeyPress& p) {
    if (p.is(KeyCode::escape)) {
        closeVolumePicker();
    } else if (int step = p.stepBetween(KeyCode::up, KeyCode::down)) {
        moveVolumePickerSelection(step);
    } else if (p.isEnter()) {
        confirmVolumePicker(std::nullopt);
    }
    return true;
}

// Any other key is swallowed.
bool AppState::handleOpenWithPickerKey(const KeyPress& p) {
    if (p.is(KeyCode::escape)) {
        closeOpenWithPicker();
    } else if (int step = p.stepBetween(KeyCode::up, KeyCode::down)) {
        moveOpenWithSelection(step);
    } else if (p.isEnter()) {
        confirmOpenWith(std::nullopt);
    }
    return true;
}

// The digits jump to bookmarks before the filter field can have them: a digit
// can't be typed into the jump filter, on purpose.
bool AppState::handleJumpDialogKey(const KeyPress& p) {
    const bool rowSelected = jumpDialog.selectedPath.has_value();
    const bool deleteKey = p.is(KeyCode::forwardDelete) || p.is(KeyCode::deleteBackward);
    if (p.is(KeyCode::escape)) {
        closeJumpDialog();
    } else if (p.is(KeyCode::home)) {
        clearJumpSelection();
    } else if (int step = p.stepBetween(KeyCode::up, KeyCode::down)) {
        moveJumpSelection(step);
    } else if (p.isEnter()) {
        confirmJumpDialog();
    } else if (std::optional<int> number = bookmarkNumber(p.key)) {
        jumpToNumberedBookmark(*number);
    } else if (deleteKey && rowSelected) {
        removeJumpBookmark();
    } else if (p.keyIs(u"s") && rowSelected) {
        setStartupFromJumpSelection();
    } else if (p.charactersAre(u"+") || p.unloweredKeyIs(u"+")) {
        addJumpBookmark();
    } else if (!rowSelected) {
        return false;
    }
    return true;
}

// The one entry of every key: handleKeyDown asks the dialog, the prompts, the
// pickers and the modes in a fixed order; the first that is open decides the
// key, and the filer's table decides it when none is.
#include "core/AppState.h"
#include "core/KeyTables.h"
#include "core/TextInputHost.h"

namespace {

using Table = KeyTables::Row (*)(const AppState&, const KeyPress&);

bool isShiftOnly(const KeyEvent& event) {
    return event.has(KeyModifier::shift) && !event.has(KeyModifier::option) &&
           !event.has(KeyModifier::control);
}

// Runs what a table answered: a key that no row took is passed on.
bool run(AppState& state, const KeyTables::Row& row) {
    return row && state.runKeyCommand(*row);
}

// The table of the prompt, picker or form that has the keys: the text and
// attribute prompts before the file search form, the form (with its folder
// box and the open-with picker over its hits) before the other pickers; none
// when nothing of these is open. Only one prompt or picker is ever open.
Table modalTable(const AppState& s) {
    switch (s.overlay()) {
    case Overlay::createItemPrompt:
    case Overlay::wildcardPrompt:
    case Overlay::renamePrompt:
    case Overlay::copyMovePathPrompt:
        return KeyTables::textPromptCommand;
    case Overlay::attributePrompt:
        return KeyTables::attributePromptCommand;
    default:
        break;
    }
    if (s.isFileSearchMode) {
        return KeyTables::fileSearchModeCommand;
    }
    switch (s.overlay()) {
    case Overlay::sortPicker:
        return KeyTables::sortPickerCommand;
    case Overlay::volumePicker:
        return KeyTables::volumePickerCommand;
    case Overlay::openWithPicker:
        return KeyTables::openWithPickerCommand;
    case Overlay::jumpDialog:
        return KeyTables::jumpDialogCommand;
    default:
        return nullptr;
    }
}

// The right half with the focus, then the filter, then the filer. A key that
// VIEWER does not take goes on, so that the filer's letters still act on the
// left pane.
bool dispatchPaneKey(AppState& s, const KeyPress& press) {
    const bool rightFocused = s.focusedSide == PaneSide::right;
    if (rightFocused && s.layoutMode == LayoutMode::filerGallery) {
        return run(s, KeyTables::galleryCommand(s, press));
    }
    if (rightFocused && s.layoutMode == LayoutMode::filerViewer) {
        if (s.rightMode == RightPaneMode::editor) {
            return run(s, KeyTables::editorCommand(s, press));
        }
        if (s.rightMode == RightPaneMode::viewer && run(s, KeyTables::viewerCommand(s, press))) {
            return true;
        }
    }
    if (s.isFilterOpen) {
        return run(s, KeyTables::filterCommand(s, press));
    }
    if (s.holdKeyWhileListing(press.event)) {
        return true;
    }
    return run(s, KeyTables::filerCommand(s, press));
}

} // namespace

KeyPress::KeyPress(const KeyEvent& keyEvent)
    : event(keyEvent)
    , shiftOnly(isShiftOnly(keyEvent)) {
    if (event.charactersIgnoringModifiers) {
        key = event.charactersIgnoringModifiers->toLower();
    }
}

bool AppState::handleKeyDown(const KeyEvent& event) {
    // Command keys belong to the menus and the text fields, in every mode.
    if (event.has(KeyModifier::command)) {
        return false;
    }
    // While a file job runs, Esc stops it after the item under way and every
    // other key is taken without acting.
    if (isFileOperationRunning) {
        if (event.keyCode == KeyCode::escape) {
            stopFileOperation();
        }
        return true;
    }
    const KeyPress press(event);
    if (isShiftKeyDown != press.shiftOnly) {
        isShiftKeyDown = press.shiftOnly;
        notifyChanged();
    }
    if (handleDosDialogKey(press.key, event.keyCode, event.has(KeyModifier::shift))) {
        return true;
    }
    if (holdKeyWhileLooking(event)) {
        return true;
    }
    if (const Table table = modalTable(*this)) {
        return run(*this, table(*this, press));
    }
    return dispatchPaneKey(*this, press);
}

void AppState::handleFlagsChanged(const KeyEvent& event) {
    const bool shiftAlone = event.has(KeyModifier::shift) && !event.has(KeyModifier::command) &&
                            !event.has(KeyModifier::option) && !event.has(KeyModifier::control);
    if (isShiftKeyDown != shiftAlone) {
        isShiftKeyDown = shiftAlone;
        notifyChanged();
    }
}

bool AppState::textInputHasMarkedText() const {
    return m_textInputHost && m_textInputHost->hasMarkedText();
}

bool AppState::handleLayoutShortcut(const KeyEvent& event, bool shiftOnly) {
    return run(*this, KeyTables::layoutShortcutCommand(event.keyCode, shiftOnly));
}

bool AppState::handleTreeKey(const std::optional<QString>&, uint16_t keyCode) {
    return run(*this, KeyTables::treeCommand(*this, keyCode));
}

void AppState::releaseShiftKey() {
    if (isShiftKeyDown) {
        isShiftKeyDown = false;
        notifyChanged();
    }
}

// The one entry of every key: handleKeyDown asks the dialog, the prompts, the
// pickers and the modes in a fixed order; the first that is open decides the
// key, and the filer's table decides it when none is.
#include "core/KeyDispatch.h"

#include "core/TextInputHost.h"

namespace {

bool isShiftOnly(const KeyEvent& event) {
    return event.has(KeyModifier::shift) && !event.has(KeyModifier::option) &&
           !event.has(KeyModifier::control);
}

} // namespace

bool AppState::handleKeyDown(const KeyEvent& event) {
    // Nothing can be cancelled once an item of a copy or move is under way.
    if (isFileOperationRunning) {
        return true;
    }
    // Command keys belong to the menus and the text fields, in every mode.
    if (event.has(KeyModifier::command)) {
        return false;
    }
    KeyPress press{event, std::nullopt, isShiftOnly(event)};
    if (isShiftKeyDown != press.shiftOnly) {
        isShiftKeyDown = press.shiftOnly;
        notifyChanged();
    }
    if (event.charactersIgnoringModifiers) {
        press.key = event.charactersIgnoringModifiers->toLower();
    }
    if (handleDosDialogKey(press.key, event.keyCode, event.has(KeyModifier::shift))) {
        return true;
    }
    if (std::optional<bool> modal = dispatchModalKey(press)) {
        return *modal;
    }
    return dispatchPaneKey(press);
}

void AppState::handleFlagsChanged(const KeyEvent& event) {
    const bool shiftAlone = event.has(KeyModifier::shift) && !event.has(KeyModifier::command) &&
                            !event.has(KeyModifier::option) && !event.has(KeyModifier::control);
    if (isShiftKeyDown != shiftAlone) {
        isShiftKeyDown = shiftAlone;
        notifyChanged();
    }
}

void AppState::releaseShiftKey() {
    if (isShiftKeyDown) {
        isShiftKeyDown = false;
        notifyChanged();
    }
}

bool AppState::textInputHasMarkedText() const {
    return m_textInputHost && m_textInputHost->hasMarkedText();
}

// The prompts and pickers, in their order; none when none of them is open.
std::optional<bool> AppState::dispatchModalKey(const KeyPress& press) {
    if (isOpen(Overlay::createItemPrompt) || isOpen(Overlay::wildcardPrompt) ||
        isOpen(Overlay::renamePrompt)) {
        return handleTextPromptKey(press);
    }
    if (isOpen(Overlay::attributePrompt)) {
        return textInputHasMarkedText() ? false : handleAttributePromptKey(press);
    }
    if (isOpen(Overlay::copyMovePathPrompt)) {
        return handleTextPromptKey(press);
    }
    if (isFileSearchMode) {
        if (textInputHasMarkedText()) {
            return false;
        }
        // X on a hit puts the open-with picker over the form.
        if (isOpen(Overlay::openWithPicker)) {
            return handleOpenWithPickerKey(press);
        }
        if (isOpen(Overlay::searchTreeBox)) {
            return handleSearchTreeBoxKey(press);
        }
        // EDITOR opened from a hit stands beside the form: while it has the
        // focus, letters and arrows edit the text instead of the hits.
        if (focusedSide == PaneSide::right && rightMode == RightPaneMode::editor) {
            return handleEditorKey(press);
        }
        return handleFileSearchKey(press);
    }
    if (isOpen(Overlay::sortPicker)) {
        return handleSortPickerKey(press);
    }
    if (isOpen(Overlay::volumePicker)) {
        return handleVolumePickerKey(press);
    }
    if (isOpen(Overlay::openWithPicker)) {
        return handleOpenWithPickerKey(press);
    }
    if (isOpen(Overlay::jumpDialog)) {
        return textInputHasMarkedText() ? false : handleJumpDialogKey(press);
    }
    return std::nullopt;
}

// The right half with the focus, then the filter, then the filer.
bool AppState::dispatchPaneKey(const KeyPress& press) {
    const bool rightFocused = focusedSide == PaneSide::right;
    if (rightFocused && layoutMode == LayoutMode::filerGallery) {
        return handleGalleryKey(press);
    }
    if (rightFocused && layoutMode == LayoutMode::filerViewer) {
        if (rightMode == RightPaneMode::editor) {
            return textInputHasMarkedText() ? false : handleEditorKey(press);
        }
        if (rightMode == RightPaneMode::viewer && handleViewerKey(press)) {
            return true;
        }
    }
    if (isFilterOpen) {
        return textInputHasMarkedText() ? false : handleFilterKey(press);
    }
    return handleFilerKey(press);
}

// Create, rename, wildcard and copy-move path prompts: their text field has
// every key but Esc, and Esc too while an input method is composing.
bool AppState::handleTextPromptKey(const KeyPress& press) {
    if (!press.is(KeyCode::escape) || textInputHasMarkedText()) {
        return false;
    }
    if (isOpen(Overlay::createItemPrompt)) {
        cancelCreateItemPrompt();
    } else if (isOpen(Overlay::wildcardPrompt)) {
        cancelWildcardPrompt();
    } else if (isOpen(Overlay::renamePrompt)) {
        cancelRenamePrompt();
    } else {
        cancelCopyMovePathPrompt();
    }
    return true;
}

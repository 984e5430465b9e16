// The sort picker: a small overlay of three rows that changes the sort mode
// of both panes and every tree.
#include "core/AppState.h"

#include "core/PreferenceKeys.h"
#include "core/Preferences.h"

#include <array>

namespace {

// In the order the picker shows them.
constexpr std::array kSortModes{FilerSortMode::name, FilerSortMode::timestamp, FilerSortMode::size};

} // namespace

void AppState::openSortPicker() {
    if (!activeFilerSide()) {
        return;
    }
    if (isFileSearchMode) {
        exitFileSearchMode();
    }
    const bool textFieldWasOpen = isOpen(Overlay::jumpDialog) || isOpen(Overlay::wildcardPrompt);
    closeOverlay(Overlay::jumpDialog);
    closeOverlay(Overlay::volumePicker);
    closeOverlay(Overlay::wildcardPrompt);
    if (textFieldWasOpen) {
        releaseTextFocus();
    }
    if (isFilterOpen) {
        closeFilter(true);
    }
    const auto found = std::find(kSortModes.begin(), kSortModes.end(), sortMode);
    sortPicker.selection = found == kSortModes.end() ? 0 : int(found - kSortModes.begin());
    showOverlay(Overlay::sortPicker);
    notifyChanged();
}

void AppState::closeSortPicker() {
    closeOverlay(Overlay::sortPicker);
    notifyChanged();
}

// Wraps around at both ends.
void AppState::moveSortPickerSelection(int delta) {
    if (!isOpen(Overlay::sortPicker)) {
        return;
    }
    const int count = int(kSortModes.size());
    sortPicker.selection = ((sortPicker.selection + delta) % count + count) % count;
    notifyChanged();
}

void AppState::confirmSortPicker(std::optional<int> index) {
    if (!isOpen(Overlay::sortPicker)) {
        return;
    }
    const int chosen = index.value_or(sortPicker.selection);
    if (chosen < 0 || chosen >= int(kSortModes.size())) {
        return;
    }
    closeOverlay(Overlay::sortPicker);
    applySortMode(kSortModes[size_t(chosen)]);
}

// The cursor stays by index, so after a sort it may stand on another file.
void AppState::applySortMode(FilerSortMode mode) {
    sortMode = mode;
    m_preferences.setValue(PreferenceKeys::filerSortMode, rawValue(mode));
    reloadPane(PaneSide::left, false);
    if (rightMode == RightPaneMode::filer) {
        reloadPane(PaneSide::right, false);
    }
    refreshTreeSessions();
    notifyChanged();
}

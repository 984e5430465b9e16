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
    const bool textFieldWasOpen = isJumpDialogOpen || isWildcardPromptOpen;
    isJumpDialogOpen = false;
    isVolumePickerOpen = false;
    isWildcardPromptOpen = false;
    if (textFieldWasOpen) {
        releaseTextFocus();
    }
    if (isFilterOpen) {
        closeFilter(true);
    }
    const auto found = std::find(kSortModes.begin(), kSortModes.end(), sortMode);
    sortPickerSelection = found == kSortModes.end() ? 0 : int(found - kSortModes.begin());
    isSortPickerOpen = true;
    notifyChanged();
}

void AppState::closeSortPicker() {
    isSortPickerOpen = false;
    notifyChanged();
}

// Wraps around at both ends.
void AppState::moveSortPickerSelection(int delta) {
    if (!isSortPickerOpen) {
        return;
    }
    const int count = int(kSortModes.size());
    sortPickerSelection = ((sortPickerSelection + delta) % count + count) % count;
    notifyChanged();
}

void AppState::confirmSortPicker(std::optional<int> index) {
    if (!isSortPickerOpen) {
        return;
    }
    const int chosen = index.value_or(sortPickerSelection);
    if (chosen < 0 || chosen >= int(kSortModes.size())) {
        return;
    }
    isSortPickerOpen = false;
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

#pragma once

#include <optional>

// The GALLERY grid beside the filer: its fixed shape and its steps.
namespace Gallery {

// The grid always has this many columns, whatever the pane's width.
inline constexpr int kColumns = 5;

// The index a step of the cursor leads to in a grid of count items, from the
// selection (0 when absent). A horizontal step past a row's edge continues
// on the row before or after; rows and then the index are held inside the
// grid, so a step down past the short last row lands on the last item.
std::optional<int> steppedIndex(std::optional<int> selection, int count, int dx, int dy);

} // namespace Gallery

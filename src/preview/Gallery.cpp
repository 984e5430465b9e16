// The grid of GALLERY: how a step of the cursor moves over its rows.
#include "preview/Gallery.h"

#include <algorithm>

namespace Gallery {

std::optional<int> steppedIndex(std::optional<int> selection, int count, int dx, int dy) {
    if (count <= 0) {
        return std::nullopt;
    }
    const int current = selection.value_or(0);
    int row = current / kColumns;
    int column = current % kColumns + dx;
    if (column < 0) {
        row -= 1;
        column = kColumns - 1;
    } else if (column >= kColumns) {
        row += 1;
        column = 0;
    }
    const int lastRow = (count + kColumns - 1) / kColumns - 1;
    if (row < 0 || row > lastRow) {
        return current; // off the first or the last row sideways: the grid ends here
    }
    row = std::clamp(row + dy, 0, lastRow);
    return std::clamp(row * kColumns + column, 0, count - 1);
}

} // namespace Gallery

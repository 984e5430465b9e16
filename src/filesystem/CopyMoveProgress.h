#pragma once

#include <chrono>

// How long an item of a copy or move runs before the status line tells its
// progress: long enough that a quick item never flashes a text.
namespace CopyMoveProgress {

std::chrono::milliseconds delay();
// Tests shorten it to watch the text on an item of modest size.
void setDelay(std::chrono::milliseconds delay);

} // namespace CopyMoveProgress

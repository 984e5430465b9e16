#pragma once

// The process-wide copy of the screen's font size, for drawing code that has
// no access to the state object. Written at start-up and by setUIFontSize.
namespace UiFontSize {

double current();
void set(double size);

// The sizes a user can choose; anything else reads as the default, 13.
bool isChoosable(double size);
inline constexpr double defaultSize = 13;

} // namespace UiFontSize

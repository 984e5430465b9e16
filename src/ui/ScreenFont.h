#pragma once

#include <QFont>

// The one monospaced face of the screen at the current font size.
namespace ScreenFont {
QFont font(double pointSize);
} // namespace ScreenFont

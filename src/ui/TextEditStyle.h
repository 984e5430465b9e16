#pragma once

class QPlainTextEdit;

// The look VIEWER's and EDITOR's text views share: the screen face at the
// font size, the screen's text colours, no frame, and a clear background so
// the pane's navy shows through.
namespace TextEditStyle {

// The first column of text starts this far in from the view's left edge.
inline constexpr int kTextInset = 4;

void apply(QPlainTextEdit& view, double fontSize);
// Only a change of size sets the font again, which would lay out the text anew.
void applyFontSize(QPlainTextEdit& view, double fontSize);

} // namespace TextEditStyle

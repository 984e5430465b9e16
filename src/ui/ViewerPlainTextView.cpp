#include "ui/ViewerPlainTextView.h"

#include "ui/TextEditStyle.h"

ViewerPlainTextView::ViewerPlainTextView(double fontSize, QWidget* parent)
    : QPlainTextEdit(parent) {
    TextEditStyle::apply(*this, fontSize);
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setUndoRedoEnabled(false);
}

void ViewerPlainTextView::showText(const QString& text, double fontSize) {
    TextEditStyle::applyFontSize(*this, fontSize);
    // Comparing is cheap next to a layout: the text is at most a 64 KB head.
    if (text == m_appliedText) {
        return;
    }
    m_appliedText = text;
    setPlainText(text);
}

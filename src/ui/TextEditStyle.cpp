#include "ui/TextEditStyle.h"

#include "ui/Palette.h"
#include "ui/ScreenFont.h"

#include <QPalette>
#include <QPlainTextEdit>
#include <QScrollBar>

namespace TextEditStyle {

void apply(QPlainTextEdit& view, double fontSize) {
    view.setFrameShape(QFrame::NoFrame);
    view.document()->setDocumentMargin(kTextInset);
    QPalette colors = view.palette();
    colors.setColor(QPalette::Base, Qt::transparent);
    colors.setColor(QPalette::Window, Qt::transparent);
    colors.setColor(QPalette::Text, Palette::baseText());
    colors.setColor(QPalette::Highlight, Palette::cursorFill());
    colors.setColor(QPalette::HighlightedText, Palette::fileText());
    view.setPalette(colors);
    view.setAutoFillBackground(false);
    view.viewport()->setAutoFillBackground(false);
    view.setFont(ScreenFont::font(fontSize));
    view.verticalScrollBar()->setStyleSheet(Palette::thinScrollBarStyle());
    view.horizontalScrollBar()->setStyleSheet(Palette::thinScrollBarStyle());
}

void applyFontSize(QPlainTextEdit& view, double fontSize) {
    const QFont font = ScreenFont::font(fontSize);
    if (view.font() != font) {
        view.setFont(font);
    }
}

} // namespace TextEditStyle

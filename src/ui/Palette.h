#pragma once

#include <QColor>
#include <QString>

// The named colours of the screen. All are fixed: there is no light or dark variant.
namespace Palette {

inline QColor rgb(double r, double g, double b) {
    return QColor::fromRgbF(r, g, b);
}

inline QColor paneBackground() {
    return rgb(0, 0, 0.5);
}
inline QColor baseText() {
    return rgb(0.85, 0.85, 0.95);
}
inline QColor titleText() {
    return rgb(1, 1, 0.55);
}
inline QColor dimText() {
    return rgb(0.55, 0.55, 0.75);
}
inline QColor accentText() {
    return rgb(0.45, 0.85, 1);
}
inline QColor cursorFill() {
    return rgb(0, 0.55, 0.55);
}
inline QColor hairlineColor() {
    return rgb(0.55, 0.55, 0.85);
}
inline QColor focusBar() {
    return rgb(1, 1, 1);
}
inline QColor fileText() {
    return rgb(1, 1, 1);
}
inline QColor readOnlyFileText() {
    return rgb(0.85, 0.55, 1);
}
inline QColor unreadableFileText() {
    return rgb(1, 0.4, 0.4);
}
inline QColor dirText() {
    return rgb(0.55, 0.95, 1);
}
inline QColor unreadableDirText() {
    return rgb(0.4, 0.55, 1);
}
inline QColor localizedDirText() {
    return rgb(0.55, 0.92, 0.55);
}
inline QColor unreadableLocalizedDirText() {
    return rgb(0.35, 0.65, 0.4);
}
inline QColor archiveText() {
    return rgb(1, 0.92, 0.25);
}
inline QColor unreadableArchiveText() {
    return rgb(0.75, 0.55, 0.1);
}

// The thin scroll bars of the scrolling lists and text views, drawn over the
// navy pane in either direction.
inline QString thinScrollBarStyle() {
    return QStringLiteral(
        "QScrollBar:vertical { background: transparent; width: 6px; margin: 0; }"
        "QScrollBar:horizontal { background: transparent; height: 6px; margin: 0; }"
        "QScrollBar::handle { background: rgba(140, 140, 217, 160); border-radius: 3px; }"
        "QScrollBar::handle:vertical { min-height: 24px; }"
        "QScrollBar::handle:horizontal { min-width: 24px; }"
        "QScrollBar::add-line, QScrollBar::sub-line { height: 0; width: 0; }"
        "QScrollBar::add-page, QScrollBar::sub-page { background: none; }");
}

// The menu bar and its menus in the screen's colours: navy, the screen's
// text, the cursor fill under the item the pointer is on.
inline QString menuStyle() {
    return QStringLiteral("QMenuBar { background: %1; color: %2; }"
                          "QMenuBar::item { background: transparent; }"
                          "QMenuBar::item:selected { background: %3; }"
                          "QMenu { background: %1; color: %2; border: 1px solid %4; }"
                          "QMenu::item:selected { background: %3; }"
                          "QMenu::item:disabled { color: %5; }"
                          "QMenu::separator { height: 1px; background: %4; margin: 4px 6px; }")
        .arg(paneBackground().name(), baseText().name(), cursorFill().name(),
             hairlineColor().name(), dimText().name());
}

} // namespace Palette

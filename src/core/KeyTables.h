#pragma once

#include "core/KeyCommand.h"
#include "core/KeyEvent.h"

#include <QString>
#include <QStringView>

#include <cstdint>
#include <optional>

class AppState;

// One key-down as the key tables see it, derived once from the event.
struct KeyPress {
    explicit KeyPress(const KeyEvent& keyEvent);

    KeyEvent event;
    // charactersIgnoringModifiers, lower-cased: what letter rows compare with.
    std::optional<QString> key;
    // Shift held without Option or Control (Command never reaches the tables).
    bool shiftOnly = false;

    uint16_t code() const { return event.keyCode; }
    bool is(uint16_t keyCode) const { return event.keyCode == keyCode; }
    bool isEnter() const { return KeyCode::isEnter(event.keyCode); }
    bool isLeftOrRight() const { return is(KeyCode::left) || is(KeyCode::right); }
    // -1 for the first key of a pair, +1 for the second.
    int stepBetween(uint16_t backward, uint16_t forward) const {
        return is(backward) ? -1 : (is(forward) ? 1 : 0);
    }
    bool keyIs(QStringView text) const { return key && *key == text; }
    bool charactersAre(QStringView text) const {
        return event.characters && *event.characters == text;
    }
    bool unloweredKeyIs(QStringView text) const {
        return event.charactersIgnoringModifiers && *event.charactersIgnoringModifiers == text;
    }
    bool shiftHeld() const { return event.has(KeyModifier::shift); }
    bool controlOrOptionHeld() const {
        return event.has(KeyModifier::control) || event.has(KeyModifier::option);
    }
};

// The key tables: which command a key reaches in each mode, read from the
// state and the key alone. No command means the key is passed on, to a text
// field or a menu; Command::none means it is taken and nothing runs. Each
// table is searched from its first row.
namespace KeyTables {

using Row = std::optional<KeyCommand>;

// Create, rename, wildcard and copy-move path prompts (KeyDispatchModal.cpp).
Row textPromptCommand(const AppState& state, const KeyPress& press);
Row attributePromptCommand(const AppState& state, const KeyPress& press);
// File search mode: the open-with picker over a hit, the folder box, EDITOR
// beside the form, or else the form's own table.
Row fileSearchModeCommand(const AppState& state, const KeyPress& press);
Row fileSearchCommand(const AppState& state, const KeyPress& press);
Row searchTreeBoxCommand(const AppState& state, const KeyPress& press);
Row sortPickerCommand(const AppState& state, const KeyPress& press);
Row volumePickerCommand(const AppState& state, const KeyPress& press);
Row openWithPickerCommand(const AppState& state, const KeyPress& press);
Row jumpDialogCommand(const AppState& state, const KeyPress& press);

// The right half with the focus, and the open filter (KeyDispatchPanes.cpp).
Row galleryCommand(const AppState& state, const KeyPress& press);
Row editorCommand(const AppState& state, const KeyPress& press);
Row viewerCommand(const AppState& state, const KeyPress& press);
Row filterCommand(const AppState& state, const KeyPress& press);

// The filer's table, the layout shortcuts and the keys of a pane in tree
// mode (KeyDispatchFiler.cpp).
Row filerCommand(const AppState& state, const KeyPress& press);
// Shift with a main-row digit 1-4, by key code so that the layout's shifted
// signs don't matter.
Row layoutShortcutCommand(uint16_t keyCode, bool shiftOnly);
// None unless the active pane is in tree mode with a session and the key is
// one of the tree's.
Row treeCommand(const AppState& state, uint16_t keyCode);
bool activePaneInTreeMode(const AppState& state);

} // namespace KeyTables

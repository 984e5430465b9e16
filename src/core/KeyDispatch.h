#pragma once

// What the key tables compare with, derived once per key-down. Shared by the
// KeyDispatch*.cpp files only.
#include "core/AppState.h"
#include "core/KeyEvent.h"

#include <QStringView>

struct AppState::KeyPress {
    const KeyEvent& event;
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

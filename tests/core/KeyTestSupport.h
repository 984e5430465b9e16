#pragma once

// Shared by the key tests: synthetic key events and a text input that can
// compose.
#include "core/KeyEvent.h"
#include "core/TextInputHost.h"

namespace KeyTest {

// A key that types text; the letter rows compare with its lower case.
inline KeyEvent typed(const QString& text, KeyModifiers modifiers = {}) {
    KeyEvent event;
    event.characters = text;
    event.charactersIgnoringModifiers = text;
    event.modifiers = modifiers;
    return event;
}

// A key named by its code, typing nothing (arrows, Esc and the like).
inline KeyEvent named(uint16_t keyCode, KeyModifiers modifiers = {}) {
    KeyEvent event;
    event.keyCode = keyCode;
    event.modifiers = modifiers;
    return event;
}

// A key with both a code and characters: Shift+1 typing "!", Space typing " ".
inline KeyEvent coded(uint16_t keyCode, const QString& text, KeyModifiers modifiers = {}) {
    KeyEvent event = typed(text, modifiers);
    event.keyCode = keyCode;
    return event;
}

inline const KeyModifiers shift{KeyModifier::shift};

class ComposingInput : public TextInputHost {
public:
    bool hasMarkedText() const override { return composing; }
    void releaseTextFocus() override { ++releases; }

    bool composing = false;
    int releases = 0;
};

} // namespace KeyTest

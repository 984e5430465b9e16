#pragma once

#include "core/KeyEvent.h"

// What the core asks of the window's text input: whether an input method is
// composing in the focused text field, giving the keyboard back to the
// window when a prompt closes, and typing a key that waited. The window answers; without one,
// nothing is composing and there is no focus to release.
class TextInputHost {
public:
    virtual ~TextInputHost() = default;

    virtual bool hasMarkedText() const = 0;
    virtual void releaseTextFocus() = 0;
    // Types a key that waited while the disk was written into the focused
    // text field, as if it had come just now; nothing when no field has the focus.
    virtual void typeIntoFocusedField(const KeyEvent&) {}
};

#pragma once

// What the core asks of the window's text input: whether an input method is
// composing in the focused text field, and giving the keyboard back to the
// window when a prompt closes. The window answers; without one, nothing is
// composing and there is no focus to release.
class TextInputHost {
public:
    virtual ~TextInputHost() = default;

    virtual bool hasMarkedText() const = 0;
    virtual void releaseTextFocus() = 0;
};

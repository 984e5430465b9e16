#pragma once

#include "core/KeyEvent.h"
#include "core/TextInputHost.h"

#include <QObject>
#include <QPointer>

class AppState;
class QKeyEvent;

// The keyboard's way into the core. Installed on the application, it sees
// each key at the window before any widget does, hands it to
// AppState::handleKeyDown, and stops it there when it was consumed; a key left
// over goes on to the focused widget. Modifier keys alone go to
// handleFlagsChanged. While a menu is open, or the menu bar is walked from
// the keyboard, keys go to it and not to the core; F10 opens the menu bar. It
// also answers the core's questions about text input: whether an input method
// is composing, giving the keyboard back, and typing a key that waited.
class KeyEventFilter : public QObject, public TextInputHost {
    Q_OBJECT

public:
    explicit KeyEventFilter(AppState& state, QObject* parent = nullptr);
    ~KeyEventFilter() override;

    // The key as the core knows it. Digits 1-4 and the period key are found
    // by their place on the keyboard, not by what the layout prints on them.
    static KeyEvent keyEventFrom(const QKeyEvent& event);

    bool hasMarkedText() const override;
    void releaseTextFocus() override;
    void typeIntoFocusedField(const KeyEvent& key) override;
    // The Qt key event that would have given this key, for typing it again.
    static QKeyEvent qtKeyEventFrom(const KeyEvent& key);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void followInputMethod(QObject* receiver, const QEvent& event);
    void followModifierKey(const QKeyEvent& event);

    AppState& m_state;
    // The object in which an input method is composing, if any.
    QPointer<QObject> m_composingReceiver;
};

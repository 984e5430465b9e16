#pragma once

#include <QPlainTextEdit>

class AppState;

// EDITOR's text. Typing, undo, selection and input methods are the platform
// text view's own; every change of the text is handed to the state, which
// marks the file changed. A newly opened file replaces the text, and a rise
// of the state's focus counter gives this view the keyboard.
class EditorTextView : public QPlainTextEdit {
    Q_OBJECT

public:
    explicit EditorTextView(AppState& state, QWidget* parent = nullptr);

    // Follows the state: the font size, another file's text, the focus.
    void refresh();
    // The text as the user sees it, every character kept.
    QString text() const;

private:
    void pushText();

    AppState& m_state;
    // The state's text that the view shows; a new text from the state (another
    // file opened) replaces the view's, a typed one does not come back.
    QString m_stateText;
    bool m_applying = false;
    int64_t m_focusNonce = 0;
};

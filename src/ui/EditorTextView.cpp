#include "ui/EditorTextView.h"

#include "core/AppState.h"
#include "text/LineBreaks.h"
#include "ui/TextEditStyle.h"

#include <QScopedValueRollback>
#include <QTextDocument>

EditorTextView::EditorTextView(AppState& state, QWidget* parent)
    : QPlainTextEdit(parent)
    , m_state(state) {
    TextEditStyle::apply(*this, m_state.uiFontSize);
    // A view made while EDITOR has the focus (the window's layout was rebuilt)
    // takes the keyboard at once; otherwise only when asked.
    const bool editingHere =
        m_state.rightMode == RightPaneMode::editor && m_state.focusedSide == PaneSide::right;
    m_focusNonce = m_state.editorFocusNonce - (editingHere ? 1 : 0);
    connect(this, &QPlainTextEdit::textChanged, this, &EditorTextView::pushText);
    refresh();
}

// toPlainText() would turn no-break spaces into plain ones; the raw text keeps
// every character. The document splits lines at every ending and keeps none:
// each line gets back the ending it had in the text before, so mixed endings
// stay as they were on the lines the user did not touch.
QString EditorTextView::text() const {
    return LineBreaks::rejoin(m_stateText,
                              document()->toRawText().split(QChar::ParagraphSeparator));
}

void EditorTextView::refresh() {
    TextEditStyle::applyFontSize(*this, m_state.uiFontSize);
    // The text being written stays as it is until the save ends; the keys
    // typed meanwhile wait in the core and come after.
    setReadOnly(m_state.isEditorSaving);
    if (m_state.editorText != m_stateText) {
        m_stateText = m_state.editorText;
        const QScopedValueRollback<bool> applying(m_applying, true);
        setPlainText(m_stateText);
    }
    if (m_state.editorFocusNonce != m_focusNonce) {
        m_focusNonce = m_state.editorFocusNonce;
        setFocus(Qt::OtherFocusReason);
    }
}

void EditorTextView::pushText() {
    if (m_applying) {
        return;
    }
    m_state.updateEditorText(text());
    m_stateText = m_state.editorText;
}

#include "ui/EditorTextView.h"

#include "core/AppState.h"
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

namespace {

// The document splits lines at "\r\n", "\r" and "\n" alike and keeps none of
// them; the file's own line break is put back when its text is handed on.
QString lineBreakOf(const QString& text) {
    if (text.contains(QLatin1String("\r\n"))) {
        return QStringLiteral("\r\n");
    }
    return text.contains(QLatin1Char('\r')) ? QStringLiteral("\r") : QStringLiteral("\n");
}

} // namespace

// toPlainText() would turn no-break spaces into plain ones; the raw text keeps
// every character, with only the document's line breaks to write out again.
QString EditorTextView::text() const {
    QString raw = document()->toRawText();
    raw.replace(QChar::ParagraphSeparator, m_lineBreak);
    return raw;
}

void EditorTextView::refresh() {
    TextEditStyle::applyFontSize(*this, m_state.uiFontSize);
    if (m_state.editorText != m_stateText) {
        m_stateText = m_state.editorText;
        m_lineBreak = lineBreakOf(m_stateText);
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

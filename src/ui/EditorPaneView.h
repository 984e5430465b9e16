#pragma once

#include "ui/HeaderBar.h"

#include <QWidget>

class AppState;
class EditorColumnRuler;
class EditorTextView;
class PreviewBodyView;
class ViewerPlainTextView;

// The right half in the viewer layout: the VIEWER or EDITOR header, and under
// it the body the state calls for: EDITOR's ruler and text, VIEWER's text, a
// preview, or a centred line saying why nothing is shown.
class EditorPaneView : public QWidget {
    Q_OBJECT

public:
    explicit EditorPaneView(AppState& state, QWidget* parent = nullptr);

    // The centred line of an empty body; empty when a view stands there.
    QString placeholderText() const;
    // What the header shows on its right: the archive's kind, the frame
    // indicator or "preview", the size of a cut text.
    QList<HeaderBar::Item> trailingItems() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    enum class Body { editor, viewerText, preview, placeholder };

    Body currentBody() const;
    void refreshBody();
    void placeBody();
    QRect bodyRect() const;
    QList<HeaderBar::Item> leadingItems() const;

    AppState& m_state;
    EditorColumnRuler* m_ruler = nullptr;
    EditorTextView* m_editor = nullptr;
    ViewerPlainTextView* m_viewerText = nullptr;
    PreviewBodyView* m_preview = nullptr;
};

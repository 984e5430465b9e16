#pragma once

#include <QPlainTextEdit>

// VIEWER's text: read-only and selectable. Redraws of the pane hand it the
// same text again and again; it lays the text out only when it differs from
// what it shows, so the reader's scroll position stays where it was.
class ViewerPlainTextView : public QPlainTextEdit {
    Q_OBJECT

public:
    explicit ViewerPlainTextView(double fontSize, QWidget* parent = nullptr);

    void showText(const QString& text, double fontSize);

private:
    QString m_appliedText;
};

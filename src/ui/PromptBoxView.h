#pragma once

#include <QStringList>
#include <QWidget>

#include <functional>

class AppState;
class QLabel;
class QLineEdit;

// A box in the style of the DOS dialog with one text field: title, a line or
// two about the subject, the labelled field and the key hint. Enter in the
// field submits; Esc is the key tables' business. The field takes the
// keyboard as soon as the box is on screen.
class PromptBoxView : public QWidget {
    Q_OBJECT

public:
    struct Content {
        QString title;
        QStringList lines;
        QString label;
        QString placeholder;
        QString hint;
    };
    // How a prompt reads its words and its text from the state, and writes back.
    struct Binding {
        std::function<Content()> content;
        std::function<QString()> text;
        std::function<void(const QString&)> setText;
        std::function<void()> submit;
    };

    PromptBoxView(AppState& state, Binding binding, QWidget* parent = nullptr);

    QLineEdit* field() const { return m_field; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void followState();

    AppState& m_state;
    Binding m_binding;
    QLabel* m_title = nullptr;
    QLabel* m_lines = nullptr;
    QLabel* m_label = nullptr;
    QLineEdit* m_field = nullptr;
    QLabel* m_hint = nullptr;
};

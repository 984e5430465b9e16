#pragma once

#include "core/Model.h"

#include <QList>
#include <QWidget>

#include <optional>

class AppState;
class FileSearchFormRow;
class FileSearchFormText;
class FileSearchResultList;
class QLineEdit;

// The left pane in file search mode: the SEARCH header, the form (name,
// folder, what to match, period, order), the list of hits and a footer of
// keys and counts. The text fields write to the state and start the wait
// before a scan; the keyboard follows the form's focus.
class FileSearchPaneView : public QWidget {
    Q_OBJECT

public:
    explicit FileSearchPaneView(AppState& state, QWidget* parent = nullptr);
    ~FileSearchPaneView() override;

    // Whether the name field has the keyboard.
    bool queryFocused() const;
    // Where the form row of a focus position stands in the pane.
    QRect formRowRect(FileSearchFocusField field) const;
    // Where a hit's row stands in the pane, scrolled as it is.
    QRect resultRowRect(int index) const;

public slots:
    void refreshFromState();

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* buildForm();
    QLineEdit* makeField(const QString& placeholder, FileSearchFocusField binding);
    void syncFields();
    void followFocus();
    void applyFontSize();
    QString footerCount() const;

    AppState& m_state;
    QList<FileSearchFormRow*> m_rows;
    FileSearchResultList* m_list = nullptr;
    QLineEdit* m_query = nullptr;
    QLineEdit* m_from = nullptr;
    QLineEdit* m_to = nullptr;
    FileSearchFormText* m_folderText = nullptr;
    FileSearchFormText* m_matchText = nullptr;
    FileSearchFormText* m_sortText = nullptr;
    std::optional<FileSearchFocusField> m_shownFocus;
    double m_fontSize = 0;
};

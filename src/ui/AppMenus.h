#pragma once

#include <QMenuBar>

class AppState;
class QMenu;

// The menu bar: File and View items with their Ctrl shortcuts, and the
// language and font size menus whose chosen entry carries a "✓ " mark. The
// shortcuts pass the key tables by, so they work past every dialog. While a
// copy or move runs, the items that touch files or panes do nothing.
class AppMenus : public QMenuBar {
    Q_OBJECT

public:
    explicit AppMenus(AppState& state, QWidget* parent = nullptr);

private:
    void buildFileMenu();
    void buildViewMenu();
    void rebuildChoiceMenus();
    void refreshFilerPane();
    void followFileJob();

    AppState& m_state;
    QMenu* m_languageMenu = nullptr;
    QMenu* m_fontSizeMenu = nullptr;
    // Items that touch files, panes or EDITOR: inert while a copy or move runs.
    QList<QAction*> m_fileItems;
    int m_shownLanguage = -1;
    double m_shownFontSize = -1;
};

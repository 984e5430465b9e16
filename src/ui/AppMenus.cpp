#include "ui/AppMenus.h"

#include "core/AppState.h"
#include "core/Localization.h"
#include "ui/Palette.h"

#include <QAction>
#include <QMenu>

namespace {

const QString kChosenMark = QStringLiteral("✓ ");
const QString kUnchosenMark = QStringLiteral("    ");

constexpr double kFontSizes[] = {11, 12, 13, 14, 16, 18};

QString languageTitle(AppLanguage language) {
    switch (language) {
    case AppLanguage::system:
        return QStringLiteral("System / システム");
    case AppLanguage::japanese:
        return QStringLiteral("日本語");
    case AppLanguage::english:
        return QStringLiteral("English");
    }
    return {};
}

} // namespace

AppMenus::AppMenus(AppState& state, QWidget* parent)
    : QMenuBar(parent)
    , m_state(state) {
    setStyleSheet(Palette::menuStyle());
    buildFileMenu();
    buildViewMenu();
    m_languageMenu = addMenu(QString());
    m_fontSizeMenu = addMenu(QString());
    rebuildChoiceMenus();
    connect(&m_state, &AppState::changed, this, &AppMenus::rebuildChoiceMenus);
    connect(&m_state, &AppState::changed, this, &AppMenus::followFileJob);
}

void AppMenus::buildFileMenu() {
    QMenu* file = addMenu(QStringLiteral("File"));
    m_fileItems << file->addAction(QStringLiteral("Search Files…"),
                                   QKeySequence(Qt::CTRL | Qt::Key_F), this,
                                   [this] { m_state.enterFileSearchMode(); });
    m_fileItems << file->addAction(QStringLiteral("Save"), QKeySequence(Qt::CTRL | Qt::Key_S), this,
                                   [this] { m_state.saveEditor(); });
    // The desktop's own Quit, as a system menu would give it: it ends the
    // program without the question the key Q asks, unless EDITOR holds
    // unsaved text.
    file->addSeparator();
    file->addAction(QStringLiteral("Quit"), QKeySequence(Qt::CTRL | Qt::Key_Q), this,
                    [this] { m_state.quitNow(); });
}

void AppMenus::buildViewMenu() {
    QMenu* view = addMenu(QStringLiteral("View"));
    m_fileItems << view->addAction(QStringLiteral("Layout: 2 Filers"), this,
                                   [this] { m_state.setLayoutMode(LayoutMode::dualFiler); });
    m_fileItems << view->addAction(QStringLiteral("Layout: Viewer"), this,
                                   [this] { m_state.setLayoutMode(LayoutMode::filerViewer); });
    m_fileItems << view->addAction(QStringLiteral("Layout: Gallery"), this,
                                   [this] { m_state.setLayoutMode(LayoutMode::filerGallery); });
    m_fileItems << view->addAction(QStringLiteral("Right Pane: Editor"),
                                   QKeySequence(Qt::CTRL | Qt::Key_E), this,
                                   [this] { m_state.enterEditor(); });
    m_fileItems << view->addAction(QStringLiteral("Right Pane: Filer"),
                                   QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_F), this,
                                   [this] { m_state.setLayoutMode(LayoutMode::dualFiler); });
    m_fileItems << view->addAction(QStringLiteral("Toggle Right Pane Mode"),
                                   QKeySequence(Qt::CTRL | Qt::Key_1), this,
                                   [this] { m_state.toggleRightPaneMode(); });
    m_fileItems << view->addAction(QStringLiteral("Refresh Filer"),
                                   QKeySequence(Qt::CTRL | Qt::Key_R), this,
                                   &AppMenus::refreshFilerPane);
    m_fileItems << view->addAction(QStringLiteral("Refresh All Filers"),
                                   QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_R), this,
                                   [this] { m_state.refreshAll(); });
}

void AppMenus::followFileJob() {
    for (QAction* item : std::as_const(m_fileItems)) {
        item->setEnabled(!m_state.isFileOperationRunning);
    }
}

void AppMenus::refreshFilerPane() {
    m_state.reloadPane(m_state.activeFilerSide().value_or(PaneSide::left), true);
}

// The two menus are rebuilt only when the language or the size changed.
void AppMenus::rebuildChoiceMenus() {
    const int language = int(m_state.appLanguage);
    if (language == m_shownLanguage && m_state.uiFontSize == m_shownFontSize) {
        return;
    }
    m_shownLanguage = language;
    m_shownFontSize = m_state.uiFontSize;
    m_languageMenu->clear();
    m_languageMenu->setTitle(
        Localization::localizedString(QStringLiteral("menu.language"), m_state.appLanguage));
    for (const AppLanguage choice :
         {AppLanguage::system, AppLanguage::japanese, AppLanguage::english}) {
        const QString mark = choice == m_state.appLanguage ? kChosenMark : kUnchosenMark;
        m_languageMenu->addAction(mark + languageTitle(choice), this,
                                  [this, choice] { m_state.setAppLanguage(choice); });
    }
    m_fontSizeMenu->clear();
    m_fontSizeMenu->setTitle(
        Localization::localizedString(QStringLiteral("menu.font_size"), m_state.appLanguage));
    for (const double size : kFontSizes) {
        const bool chosen = std::abs(size - m_state.uiFontSize) < 0.1;
        m_fontSizeMenu->addAction((chosen ? kChosenMark : kUnchosenMark) +
                                      QString::number(int(size)) + QStringLiteral(" pt"),
                                  this, [this, size] { m_state.setUIFontSize(size); });
    }
}

// The menu bar: items run their commands, wait while files are being moved, and the
// language and font size menus mark the current choice.
#include "support/StateFixture.h"
#include "ui/AppMenus.h"

#include <QAction>
#include <QCoreApplication>
#include <QMenu>

#include <gtest/gtest.h>

namespace {

QAction* findAction(const QMenuBar& bar, const QString& text) {
    for (QAction* action : bar.findChildren<QAction*>()) {
        if (action->text() == text) {
            return action;
        }
    }
    return nullptr;
}

class AppMenusTest : public StateFixture {
protected:
    void SetUp() override {
        StateFixture::SetUp();
        preferences.setValue("appLanguage", QStringLiteral("english"));
        state = std::make_unique<AppState>(preferences);
        menus = std::make_unique<AppMenus>(*state);
    }
    void TearDown() override {
        menus.reset();
        StateFixture::TearDown();
    }

    std::unique_ptr<AppMenus> menus;
};

TEST_F(AppMenusTest, ItemsRunTheirCommandsPastAStandingDialog) {
    dir.makeFile(QStringLiteral("a.txt"));
    state->errorMessage = QStringLiteral("a dialog stands");
    findAction(*menus, QStringLiteral("Refresh Filer"))->trigger();
    waitForListings(*state);
    EXPECT_EQ(state->pane(PaneSide::left).entries.size(), 2);
    findAction(*menus, QStringLiteral("Right Pane: Filer"))->trigger();
    EXPECT_EQ(state->layoutMode, LayoutMode::dualFiler);
    findAction(*menus, QStringLiteral("Search Files…"))->trigger();
    EXPECT_TRUE(state->isFileSearchMode);
}

// A save or a reload by mouse while a move runs could land on a file the
// move then takes away: the items that touch files and panes wait, Quit and
// the choice menus do not.
TEST_F(AppMenusTest, FileItemsAreInertWhileACopyOrMoveRuns) {
    state->isFileOperationRunning = true;
    state->notifyChanged();
    QCoreApplication::processEvents();
    for (const char* title : {"Search Files…", "Save", "Layout: 2 Filers", "Refresh Filer",
                              "Refresh All Filers", "Toggle Right Pane Mode"}) {
        QAction* item = findAction(*menus, QString::fromUtf8(title));
        ASSERT_TRUE(item) << title;
        EXPECT_FALSE(item->isEnabled()) << title;
    }
    findAction(*menus, QStringLiteral("Layout: 2 Filers"))->trigger();
    EXPECT_NE(state->layoutMode, LayoutMode::dualFiler);
    EXPECT_TRUE(findAction(*menus, QStringLiteral("Quit"))->isEnabled());

    state->isFileOperationRunning = false;
    state->notifyChanged();
    QCoreApplication::processEvents();
    findAction(*menus, QStringLiteral("Layout: 2 Filers"))->trigger();
    EXPECT_EQ(state->layoutMode, LayoutMode::dualFiler);
}

TEST_F(AppMenusTest, ChoiceMenusMarkTheCurrentLanguageAndSize) {
    EXPECT_NE(findAction(*menus, QStringLiteral("✓ English")), nullptr);
    EXPECT_NE(findAction(*menus, QStringLiteral("    日本語")), nullptr);
    EXPECT_NE(findAction(*menus, QStringLiteral("✓ 13 pt")), nullptr);

    findAction(*menus, QStringLiteral("    16 pt"))->trigger();
    findAction(*menus, QStringLiteral("    日本語"))->trigger();
    QCoreApplication::processEvents();
    EXPECT_EQ(state->uiFontSize, 16);
    EXPECT_EQ(preferences.stringValue("appLanguage"), QStringLiteral("japanese"));
    EXPECT_NE(findAction(*menus, QStringLiteral("✓ 16 pt")), nullptr);
    EXPECT_NE(findAction(*menus, QStringLiteral("✓ 日本語")), nullptr);
    EXPECT_NE(findAction(*menus, QStringLiteral("    13 pt")), nullptr);
}

} // namespace

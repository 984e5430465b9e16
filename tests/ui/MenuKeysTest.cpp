// Menus from the keyboard: F10 opens the menu bar, and while a menu is open
// its keys never reach the panes behind it.
#include "ui/KeyEventFilter.h"

#include "support/StateFixture.h"
#include "ui/AppMenus.h"

#include <QApplication>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>
#include <QWidget>
#include <QWindow>

#include <gtest/gtest.h>

namespace {

class MenuKeysTest : public StateFixture {
protected:
    void SetUp() override {
        StateFixture::SetUp();
        dir.makeFile(QStringLiteral("a.txt"));
        dir.makeFile(QStringLiteral("b.txt"));
        preferences.setValue(QStringLiteral("appLanguage"), QStringLiteral("english"));
        makeState();
        filter = std::make_unique<KeyEventFilter>(*state);
        qApp->installEventFilter(filter.get());
        auto* column = new QVBoxLayout(&window);
        menus = new AppMenus(*state, &window);
        column->setMenuBar(menus);
        column->addWidget(new QWidget(&window));
        window.show();
        window.activateWindow();
        QApplication::processEvents();
    }
    void TearDown() override {
        if (QWidget* popup = QApplication::activePopupWidget()) {
            popup->close();
        }
        // The menus look at the state: they go first.
        delete menus;
        filter.reset();
        StateFixture::TearDown();
    }

    void press(int key, Qt::KeyboardModifiers modifiers = {}) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers);
        QCoreApplication::sendEvent(window.windowHandle(), &event);
    }
    int leftSelection() const { return state->pane(PaneSide::left).selection; }

    std::unique_ptr<KeyEventFilter> filter;
    QWidget window;
    AppMenus* menus = nullptr;
};

TEST_F(MenuKeysTest, F10OpensTheFirstMenuAndItsItemsRunFromTheKeyboard) {
    press(Qt::Key_F10);
    auto* open = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(open, nullptr);
    EXPECT_EQ(open, menus->actions().constFirst()->menu());
    // Down picks the first item, Enter runs it; the pane's cursor stays.
    press(Qt::Key_Down);
    EXPECT_EQ(leftSelection(), 0);
    press(Qt::Key_Return);
    EXPECT_TRUE(QTest::qWaitFor([&] { return state->isFileSearchMode; }));
    EXPECT_FALSE(state->pane(PaneSide::left).location.asZip());
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
}

TEST_F(MenuKeysTest, AnOpenContextMenuTakesTheArrowsAndEnter) {
    QMenu context;
    QAction* first = context.addAction(QStringLiteral("First"));
    QAction* second = context.addAction(QStringLiteral("Second"));
    QSignalSpy firstRun(first, &QAction::triggered);
    QSignalSpy secondRun(second, &QAction::triggered);
    context.popup(window.mapToGlobal(QPoint(20, 40)));
    ASSERT_TRUE(QTest::qWaitFor([&] { return QApplication::activePopupWidget() == &context; }));
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    EXPECT_EQ(leftSelection(), 0);
    EXPECT_EQ(context.activeAction(), second);
    press(Qt::Key_Return);
    EXPECT_TRUE(QTest::qWaitFor([&] { return secondRun.count() == 1; }));
    EXPECT_EQ(firstRun.count(), 0);
    EXPECT_EQ(leftSelection(), 0);
    // With the menu gone, the keys are the panes' again.
    press(Qt::Key_Down);
    ASSERT_TRUE(waitForListings(*state));
    EXPECT_EQ(leftSelection(), 1);
}

TEST_F(MenuKeysTest, TheMenuBarWalkedFromTheKeyboardKeepsTheArrows) {
    menus->setFocus(Qt::MenuBarFocusReason);
    ASSERT_EQ(QApplication::focusWidget(), menus);
    press(Qt::Key_Down);
    press(Qt::Key_Right);
    EXPECT_EQ(leftSelection(), 0);
    EXPECT_EQ(state->focusedSide, PaneSide::left);
}

TEST_F(MenuKeysTest, F10IsTheInputMethodsWhileItComposes) {
    auto* field = new QLineEdit(&window);
    window.layout()->addWidget(field);
    field->show();
    field->setFocus();
    QInputMethodEvent composing(QStringLiteral("かな"), {});
    QCoreApplication::sendEvent(field, &composing);
    ASSERT_TRUE(state->textInputHasMarkedText());
    press(Qt::Key_F10);
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
}

} // namespace

// The keyboard's way in: keys reach the state before any widget, consumed
// keys stop there and the rest go on to the focused text field; F10 opens the
// menu bar, and while a menu is open its keys never reach the panes behind it.
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

class KeyboardTest : public StateFixture {
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
        field = new QLineEdit(&window);
        column->addWidget(field);
        window.show();
        window.activateWindow();
        field->setFocus();
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

    // A key as the window system delivers it: to the window first.
    void press(int key, const QString& text = {}, Qt::KeyboardModifiers modifiers = {},
               quint32 scanCode = 0) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers, scanCode, 0, 0, text);
        QCoreApplication::sendEvent(window.windowHandle(), &event);
    }
    void release(int key, Qt::KeyboardModifiers modifiers = {}) {
        QKeyEvent event(QEvent::KeyRelease, key, modifiers);
        QCoreApplication::sendEvent(window.windowHandle(), &event);
    }
    int leftSelection() const { return state->pane(PaneSide::left).selection; }

    std::unique_ptr<KeyEventFilter> filter;
    QWidget window;
    AppMenus* menus = nullptr;
    QLineEdit* field = nullptr;
};

TEST_F(KeyboardTest, ConsumedKeysStopBeforeTheFocusedField) {
    press(Qt::Key_F, QStringLiteral("f"));
    EXPECT_TRUE(state->isFilterOpen);
    EXPECT_EQ(field->text(), QString());
    // With the filter open, letters are left to the field.
    press(Qt::Key_Z, QStringLiteral("z"));
    EXPECT_EQ(field->text(), QStringLiteral("z"));
    press(Qt::Key_Escape, QStringLiteral("\x1b"));
    EXPECT_FALSE(state->isFilterOpen);
}

TEST_F(KeyboardTest, ShiftAloneReachesTheFlagsHandlerAndShiftOneGoesByItsPlace) {
    press(Qt::Key_Shift, QString(), Qt::NoModifier);
    EXPECT_TRUE(state->isShiftKeyDown);
    release(Qt::Key_Shift, Qt::ShiftModifier);
    EXPECT_FALSE(state->isShiftKeyDown);
    // A layout that prints "!" over 1: the physical key still switches layout.
    press(Qt::Key_Exclam, QStringLiteral("!"), Qt::ShiftModifier, 10);
    EXPECT_EQ(state->layoutMode, LayoutMode::filerViewer);
    press(Qt::Key_At, QStringLiteral("@"), Qt::ShiftModifier, 11);
    EXPECT_EQ(state->layoutMode, LayoutMode::dualFiler);
}

TEST_F(KeyboardTest, CompositionLeavesEscAndF10ToTheField) {
    press(Qt::Key_F, QStringLiteral("f"));
    QInputMethodEvent composing(QStringLiteral("かな"), {});
    QCoreApplication::sendEvent(field, &composing);
    EXPECT_TRUE(state->textInputHasMarkedText());
    press(Qt::Key_Escape, QStringLiteral("\x1b"));
    EXPECT_TRUE(state->isFilterOpen);
    press(Qt::Key_F10);
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
    QInputMethodEvent committed;
    committed.setCommitString(QStringLiteral("仮名"));
    QCoreApplication::sendEvent(field, &committed);
    EXPECT_FALSE(state->textInputHasMarkedText());
    // Releasing the text focus takes it from the field.
    ASSERT_EQ(QApplication::focusWidget(), field);
    filter->releaseTextFocus();
    EXPECT_NE(QApplication::focusWidget(), field);
}

TEST_F(KeyboardTest, QtKeysBecomeTheCoreKeys) {
    struct Case {
        int key;
        QString text;
        Qt::KeyboardModifiers modifiers;
        quint32 scanCode;
        KeyEvent expected;
    };
    const auto event = [](uint16_t code, std::optional<QString> chars,
                          std::optional<QString> ignoring, KeyModifiers modifiers = {}) {
        return KeyEvent{code, std::move(chars), std::move(ignoring), modifiers};
    };
    const Case cases[] = {
        {Qt::Key_Backspace, "\b", {}, 22, event(KeyCode::deleteBackward, "\b", std::nullopt)},
        {Qt::Key_Delete, "", {}, 119, event(KeyCode::forwardDelete, std::nullopt, std::nullopt)},
        {Qt::Key_Greater, ">", Qt::ShiftModifier, 60,
         event(KeyCode::period, ">", ">", KeyModifier::shift)},
        {Qt::Key_A, "\x01", Qt::ControlModifier, 38,
         event(KeyCode::other, "\x01", "a", KeyModifier::command)},
        {Qt::Key_D, "D", Qt::ShiftModifier | Qt::MetaModifier, 40,
         event(KeyCode::other, "D", "D", KeyModifier::shift | KeyModifier::control)},
        {Qt::Key_Left, "", Qt::AltModifier, 113,
         event(KeyCode::left, std::nullopt, std::nullopt, KeyModifier::option)},
        {Qt::Key_Backtab, "", Qt::ShiftModifier, 23,
         event(KeyCode::tab, std::nullopt, std::nullopt, KeyModifier::shift)},
        {Qt::Key_1, "1", Qt::KeypadModifier, 87, event(KeyCode::other, "1", "1")},
    };
    for (const Case& c : cases) {
        const QKeyEvent qt(QEvent::KeyPress, c.key, c.modifiers, c.scanCode, 0, 0, c.text);
        EXPECT_EQ(KeyEventFilter::keyEventFrom(qt), c.expected) << c.key;
    }
}

TEST_F(KeyboardTest, F10OpensTheFirstMenuAndItsItemsRunFromTheKeyboard) {
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

TEST_F(KeyboardTest, AnOpenContextMenuTakesTheArrowsAndEnter) {
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

TEST_F(KeyboardTest, TheMenuBarWalkedFromTheKeyboardKeepsTheArrows) {
    menus->setFocus(Qt::MenuBarFocusReason);
    ASSERT_EQ(QApplication::focusWidget(), menus);
    press(Qt::Key_Down);
    press(Qt::Key_Right);
    EXPECT_EQ(leftSelection(), 0);
    EXPECT_EQ(state->focusedSide, PaneSide::left);
}

} // namespace

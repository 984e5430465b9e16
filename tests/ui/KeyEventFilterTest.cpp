// The keyboard's way in: keys reach the state before any widget, consumed
// keys stop there, and the rest go on to the focused text field.
#include "ui/KeyEventFilter.h"

#include "support/StateFixture.h"

#include <QApplication>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QVBoxLayout>
#include <QWidget>
#include <QWindow>

#include <gtest/gtest.h>

namespace {

class KeyEventFilterTest : public StateFixture {
protected:
    void SetUp() override {
        StateFixture::SetUp();
        dir.makeFile(QStringLiteral("a.txt"));
        makeState();
        filter = std::make_unique<KeyEventFilter>(*state);
        qApp->installEventFilter(filter.get());
        field = new QLineEdit(&window);
        (new QVBoxLayout(&window))->addWidget(field);
        window.show();
        field->setFocus();
        QApplication::processEvents();
    }
    void TearDown() override {
        filter.reset();
        StateFixture::TearDown();
    }

    // A key as the window system delivers it: to the window first.
    void press(int key, const QString& text, Qt::KeyboardModifiers modifiers = {},
               quint32 scanCode = 0) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers, scanCode, 0, 0, text);
        QCoreApplication::sendEvent(window.windowHandle(), &event);
    }
    void release(int key, Qt::KeyboardModifiers modifiers = {}) {
        QKeyEvent event(QEvent::KeyRelease, key, modifiers);
        QCoreApplication::sendEvent(window.windowHandle(), &event);
    }

    std::unique_ptr<KeyEventFilter> filter;
    QWidget window;
    QLineEdit* field = nullptr;
};

TEST_F(KeyEventFilterTest, ConsumedKeysStopBeforeTheFocusedField) {
    press(Qt::Key_F, QStringLiteral("f"));
    EXPECT_TRUE(state->isFilterOpen);
    EXPECT_EQ(field->text(), QString());
    // With the filter open, letters are left to the field.
    press(Qt::Key_Z, QStringLiteral("z"));
    EXPECT_EQ(field->text(), QStringLiteral("z"));
    press(Qt::Key_Escape, QStringLiteral("\x1b"));
    EXPECT_FALSE(state->isFilterOpen);
}

TEST_F(KeyEventFilterTest, ShiftAloneReachesTheFlagsHandlerAndShiftOneGoesByItsPlace) {
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

TEST_F(KeyEventFilterTest, CompositionLeavesEscToTheField) {
    press(Qt::Key_F, QStringLiteral("f"));
    QInputMethodEvent composing(QStringLiteral("かな"), {});
    QCoreApplication::sendEvent(field, &composing);
    EXPECT_TRUE(state->textInputHasMarkedText());
    press(Qt::Key_Escape, QStringLiteral("\x1b"));
    EXPECT_TRUE(state->isFilterOpen);
    QInputMethodEvent committed;
    committed.setCommitString(QStringLiteral("仮名"));
    QCoreApplication::sendEvent(field, &committed);
    EXPECT_FALSE(state->textInputHasMarkedText());
    // Releasing the text focus takes it from the field.
    ASSERT_EQ(QApplication::focusWidget(), field);
    filter->releaseTextFocus();
    EXPECT_NE(QApplication::focusWidget(), field);
}

TEST_F(KeyEventFilterTest, QtKeysBecomeTheCoreKeys) {
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

} // namespace

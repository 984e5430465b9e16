#include "ui/KeyEventFilter.h"

#include "core/AppState.h"

#include <QApplication>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QTextBlock>
#include <QTextEdit>
#include <QTextLayout>
#include <QWidget>
#include <QWindow>

#include <utility>

namespace {

// X11 and Wayland key codes (evdev + 8) of the main-row digits 1-4 and the
// period key on every PC keyboard layout.
constexpr quint32 kScanCodeMainRow1 = 10;
constexpr quint32 kScanCodeMainRow4 = 13;
constexpr quint32 kScanCodePeriod = 60;

constexpr std::pair<int, uint16_t> kNamedKeys[] = {
    {Qt::Key_Escape, KeyCode::escape},
    {Qt::Key_Tab, KeyCode::tab},
    {Qt::Key_Backtab, KeyCode::tab},
    {Qt::Key_Return, KeyCode::returnKey},
    {Qt::Key_Enter, KeyCode::keypadEnter},
    {Qt::Key_Space, KeyCode::space},
    {Qt::Key_Backspace, KeyCode::deleteBackward},
    {Qt::Key_Delete, KeyCode::forwardDelete},
    {Qt::Key_Home, KeyCode::home},
    {Qt::Key_End, KeyCode::end},
    {Qt::Key_PageUp, KeyCode::pageUp},
    {Qt::Key_PageDown, KeyCode::pageDown},
    {Qt::Key_Left, KeyCode::left},
    {Qt::Key_Right, KeyCode::right},
    {Qt::Key_Down, KeyCode::down},
    {Qt::Key_Up, KeyCode::up},
    {Qt::Key_Period, KeyCode::period},
    {Qt::Key_1, KeyCode::mainRow1},
    {Qt::Key_2, KeyCode::mainRow2},
    {Qt::Key_3, KeyCode::mainRow3},
    {Qt::Key_4, KeyCode::mainRow4},
};

uint16_t keyCodeFrom(const QKeyEvent& event) {
    const quint32 scanCode = event.nativeScanCode();
    if (scanCode >= kScanCodeMainRow1 && scanCode <= kScanCodeMainRow4) {
        return uint16_t(KeyCode::mainRow1 + (scanCode - kScanCodeMainRow1));
    }
    if (scanCode == kScanCodePeriod) {
        return KeyCode::period;
    }
    // Keypad digits are not the main row.
    const bool keypad = event.modifiers().testFlag(Qt::KeypadModifier);
    for (const auto& [qtKey, code] : kNamedKeys) {
        if (event.key() == qtKey && !(keypad && KeyCode::isMainRowDigit(code))) {
            return code;
        }
    }
    return KeyCode::other;
}

KeyModifiers modifiersFrom(Qt::KeyboardModifiers qt) {
    KeyModifiers modifiers;
    modifiers.setFlag(KeyModifier::shift, qt.testFlag(Qt::ShiftModifier));
    modifiers.setFlag(KeyModifier::command, qt.testFlag(Qt::ControlModifier));
    modifiers.setFlag(KeyModifier::control, qt.testFlag(Qt::MetaModifier));
    modifiers.setFlag(KeyModifier::option, qt.testFlag(Qt::AltModifier));
    return modifiers;
}

// The text with Shift applied and the other modifiers ignored: Ctrl+A types a
// control character, but its letter is still "a".
std::optional<QString> charactersIgnoringModifiersFrom(const QKeyEvent& event) {
    const int key = event.key();
    if (key >= Qt::Key_A && key <= Qt::Key_Z) {
        const QChar letter(char16_t(u'a' + (key - Qt::Key_A)));
        return event.modifiers().testFlag(Qt::ShiftModifier) ? letter.toUpper() : letter;
    }
    const QString text = event.text();
    if (!text.isEmpty() && text.at(0).isPrint()) {
        return text;
    }
    if (key >= 0x20 && key < 0x7f) {
        return QString(QChar(char16_t(key)));
    }
    return std::nullopt;
}

bool isModifierKey(int key) {
    return key == Qt::Key_Shift || key == Qt::Key_Control || key == Qt::Key_Meta ||
           key == Qt::Key_Alt || key == Qt::Key_AltGr || key == Qt::Key_Super_L ||
           key == Qt::Key_Super_R;
}

Qt::KeyboardModifier modifierOfKey(int key) {
    switch (key) {
    case Qt::Key_Shift:
        return Qt::ShiftModifier;
    case Qt::Key_Control:
        return Qt::ControlModifier;
    case Qt::Key_Alt:
        return Qt::AltModifier;
    case Qt::Key_AltGr:
        return Qt::GroupSwitchModifier;
    default:
        return Qt::MetaModifier;
    }
}

// The Qt key of a key the core knows: a named key by its code, any other by
// the character it gives without modifiers, as Qt names letter keys.
int qtKeyOf(const KeyEvent& key) {
    for (const auto& [qtKey, code] : kNamedKeys) {
        if (key.keyCode == code) {
            return qtKey;
        }
    }
    const QString text =
        key.charactersIgnoringModifiers.value_or(key.characters.value_or(QString()));
    return text.isEmpty() ? Qt::Key_unknown : int(text.at(0).toUpper().unicode());
}

Qt::KeyboardModifiers qtModifiersOf(KeyModifiers modifiers) {
    Qt::KeyboardModifiers qt;
    qt.setFlag(Qt::ShiftModifier, modifiers.testFlag(KeyModifier::shift));
    qt.setFlag(Qt::ControlModifier, modifiers.testFlag(KeyModifier::command));
    qt.setFlag(Qt::MetaModifier, modifiers.testFlag(KeyModifier::control));
    qt.setFlag(Qt::AltModifier, modifiers.testFlag(KeyModifier::option));
    return qt;
}

bool isTextInputWidget(const QWidget* widget) {
    return qobject_cast<const QLineEdit*>(widget) || qobject_cast<const QTextEdit*>(widget) ||
           qobject_cast<const QPlainTextEdit*>(widget);
}

// An open menu (of the menu bar, or a context menu) or the menu bar walked
// from the keyboard has the keys: the panes behind it get none of them.
bool menuHasTheKeys() {
    return QApplication::activePopupWidget() != nullptr ||
           qobject_cast<const QMenuBar*>(QApplication::focusWidget()) != nullptr;
}

QMenuBar* menuBarOf(const QObject* window) {
    for (QWidget* topLevel : QApplication::topLevelWidgets()) {
        if (topLevel->windowHandle() == window) {
            return topLevel->findChild<QMenuBar*>();
        }
    }
    return nullptr;
}

// F10 opens the first menu of the window's menu bar, as in other Qt and GTK
// programs; the arrows then walk the menus.
bool openMenuBar(const QObject* window) {
    QMenuBar* bar = menuBarOf(window);
    if (!bar || bar->actions().isEmpty()) {
        return false;
    }
    bar->setActiveAction(bar->actions().constFirst());
    return true;
}

bool isMenuBarKey(const QKeyEvent& event) {
    return event.key() == Qt::Key_F10 && event.modifiers() == Qt::NoModifier;
}

} // namespace

KeyEventFilter::KeyEventFilter(AppState& state, QObject* parent)
    : QObject(parent)
    , m_state(state) {
    m_state.setTextInputHost(this);
}

KeyEventFilter::~KeyEventFilter() {
    m_state.setTextInputHost(nullptr);
    m_state.releaseShiftKey();
}

KeyEvent KeyEventFilter::keyEventFrom(const QKeyEvent& event) {
    KeyEvent key;
    key.keyCode = keyCodeFrom(event);
    if (!event.text().isEmpty()) {
        key.characters = event.text();
    }
    key.charactersIgnoringModifiers = charactersIgnoringModifiersFrom(event);
    key.modifiers = modifiersFrom(event.modifiers());
    return key;
}

bool KeyEventFilter::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::InputMethod:
    case QEvent::FocusOut:
        followInputMethod(watched, *event);
        return false;
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
        break;
    default:
        return false;
    }
    // A key reaches its window before any widget, and then travels from the
    // focused widget up through its parents: taking it at the window sees it
    // once, and stops it before every widget.
    if (!watched->isWindowType()) {
        return false;
    }
    const auto& keyEvent = static_cast<const QKeyEvent&>(*event);
    if (isModifierKey(keyEvent.key())) {
        followModifierKey(keyEvent);
        return false;
    }
    if (event->type() == QEvent::KeyRelease || menuHasTheKeys()) {
        return false;
    }
    // An input method may convert with F10 while it composes.
    if (isMenuBarKey(keyEvent) && !hasMarkedText() && openMenuBar(watched)) {
        return true;
    }
    return m_state.handleKeyDown(keyEventFrom(keyEvent));
}

// A modifier pressed or released alone: the modifiers as they are after it.
void KeyEventFilter::followModifierKey(const QKeyEvent& event) {
    Qt::KeyboardModifiers modifiers = event.modifiers();
    modifiers.setFlag(modifierOfKey(event.key()), event.type() == QEvent::KeyPress);
    KeyEvent flags;
    flags.modifiers = modifiersFrom(modifiers);
    m_state.handleFlagsChanged(flags);
}

// A pre-edit string marks its receiver as composing; an empty one, or the
// receiver losing the focus, ends it.
void KeyEventFilter::followInputMethod(QObject* receiver, const QEvent& event) {
    if (event.type() == QEvent::FocusOut) {
        if (receiver == m_composingReceiver) {
            m_composingReceiver.clear();
        }
        return;
    }
    const auto& inputMethod = static_cast<const QInputMethodEvent&>(event);
    if (!inputMethod.preeditString().isEmpty()) {
        m_composingReceiver = receiver;
    } else if (receiver == m_composingReceiver) {
        m_composingReceiver.clear();
    }
}

bool KeyEventFilter::hasMarkedText() const {
    QObject* focus = QGuiApplication::focusObject();
    if (!focus) {
        return false;
    }
    if (const auto* editor = qobject_cast<const QPlainTextEdit*>(focus)) {
        const QTextLayout* layout = editor->textCursor().block().layout();
        if (layout && !layout->preeditAreaText().isEmpty()) {
            return true;
        }
    }
    return focus == m_composingReceiver;
}

QKeyEvent KeyEventFilter::qtKeyEventFrom(const KeyEvent& key) {
    return QKeyEvent(QEvent::KeyPress, qtKeyOf(key), qtModifiersOf(key.modifiers),
                     key.characters.value_or(QString()));
}

// Sent to the field itself, the key does not pass the window again, so the
// core does not see it twice.
void KeyEventFilter::typeIntoFocusedField(const KeyEvent& key) {
    QWidget* focus = QApplication::focusWidget();
    if (!focus || !isTextInputWidget(focus)) {
        return;
    }
    QKeyEvent event = qtKeyEventFrom(key);
    QCoreApplication::sendEvent(focus, &event);
}

void KeyEventFilter::releaseTextFocus() {
    QWidget* focus = QApplication::focusWidget();
    if (!focus || !isTextInputWidget(focus)) {
        return;
    }
    QWidget* window = focus->window();
    focus->clearFocus();
    if (window) {
        window->setFocus(Qt::OtherFocusReason);
    }
}

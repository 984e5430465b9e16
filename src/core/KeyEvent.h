#pragma once

#include <QFlags>
#include <QString>

#include <cstdint>
#include <optional>

// The hardware-independent key codes the key tables speak of. Keys that no
// table names carry KeyCode::other and are told apart by their characters.
namespace KeyCode {
inline constexpr uint16_t returnKey = 36;
inline constexpr uint16_t tab = 48;
inline constexpr uint16_t space = 49;
inline constexpr uint16_t deleteBackward = 51; // Backspace
inline constexpr uint16_t escape = 53;
inline constexpr uint16_t keypadEnter = 76;
inline constexpr uint16_t period = 47;
inline constexpr uint16_t mainRow1 = 18;
inline constexpr uint16_t mainRow2 = 19;
inline constexpr uint16_t mainRow3 = 20;
inline constexpr uint16_t mainRow4 = 21;
inline constexpr uint16_t home = 115;
inline constexpr uint16_t pageUp = 116;
inline constexpr uint16_t forwardDelete = 117;
inline constexpr uint16_t end = 119;
inline constexpr uint16_t pageDown = 121;
inline constexpr uint16_t left = 123;
inline constexpr uint16_t right = 124;
inline constexpr uint16_t down = 125;
inline constexpr uint16_t up = 126;
inline constexpr uint16_t other = 0xFFFF;

inline bool isEnter(uint16_t code) {
    return code == returnKey || code == keypadEnter;
}
inline bool isMainRowDigit(uint16_t code) {
    return code >= mainRow1 && code <= mainRow4;
}
} // namespace KeyCode

// Modifier keys. Command is what carries the menu shortcuts (Ctrl on a PC
// keyboard); Control is the Super/Meta key; Option is Alt.
enum class KeyModifier : unsigned { shift = 1, control = 2, option = 4, command = 8 };
Q_DECLARE_FLAGS(KeyModifiers, KeyModifier)
Q_DECLARE_OPERATORS_FOR_FLAGS(KeyModifiers)

// One key-down or modifier change, as the key handler sees it.
struct KeyEvent {
    uint16_t keyCode = KeyCode::other;
    // The text the key types with every modifier applied; none for keys
    // that type nothing (arrows, function keys).
    std::optional<QString> characters;
    // The text with Shift applied but Control, Option and Command ignored.
    std::optional<QString> charactersIgnoringModifiers;
    KeyModifiers modifiers;

    bool has(KeyModifier modifier) const { return modifiers.testFlag(modifier); }
    bool operator==(const KeyEvent&) const = default;
};

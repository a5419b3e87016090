// A key event as the platform delivers it. Only the fields the controller
// reads are kept.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace orvane::platform {

inline constexpr uint64_t keyDownEventType = 10;
inline constexpr uint64_t keyDownMask = 1u << 10;

namespace ModifierFlag {
inline constexpr uint64_t shift = 0x20000;
inline constexpr uint64_t control = 0x40000;
inline constexpr uint64_t option = 0x80000;
inline constexpr uint64_t command = 0x100000;
inline constexpr uint64_t numericPad = 0x200000;
inline constexpr uint64_t function = 0x800000;
}  // namespace ModifierFlag

// Virtual key codes of the keys the input method treats by their code.
namespace KeyCode {
inline constexpr uint16_t returnKey = 36;
inline constexpr uint16_t tab = 48;
inline constexpr uint16_t space = 49;
inline constexpr uint16_t deleteBackward = 51;
inline constexpr uint16_t escape = 53;
inline constexpr uint16_t keypadEnter = 76;
inline constexpr uint16_t eisu = 102;
inline constexpr uint16_t kana = 104;
inline constexpr uint16_t deleteForward = 117;
inline constexpr uint16_t left = 123;
inline constexpr uint16_t right = 124;
inline constexpr uint16_t down = 125;
inline constexpr uint16_t up = 126;
}  // namespace KeyCode

struct KeyEvent {
  uint64_t type = keyDownEventType;
  uint16_t keyCode = 0;
  std::optional<std::string> characters;
  std::optional<std::string> charactersIgnoringModifiers;
  uint64_t modifierFlags = 0;
  double timestamp = 0;
  bool isARepeat = false;
};

// The platform's key-event factory; it may yield nothing, as the real one can.
std::optional<KeyEvent> makeKeyEvent(uint64_t type, uint64_t modifierFlags, double timestamp,
                                     std::string characters, std::string charactersIgnoringModifiers,
                                     bool isARepeat, uint16_t keyCode);

}  // namespace orvane::platform

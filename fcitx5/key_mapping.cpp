#include "key_mapping.h"

#include <fcitx-utils/keysym.h>

namespace orvane::fcitx5 {
namespace {

namespace Code = platform::KeyCode;
namespace Flag = platform::ModifierFlag;

// Keys with no characters of their own use the platform's function-key
// characters (U+F700 and on), as the other front-ends do.
struct Named {
  uint16_t code;
  const char* characters;
  uint64_t extraFlags;
};

constexpr uint64_t cursorFlags = Flag::numericPad | Flag::function;

std::optional<Named> named(fcitx::KeySym sym) {
  switch (sym) {
    case FcitxKey_Return: return Named{Code::returnKey, "\r", 0};
    case FcitxKey_KP_Enter: return Named{Code::keypadEnter, "\x03", Flag::numericPad};
    case FcitxKey_Tab:
    case FcitxKey_ISO_Left_Tab: return Named{Code::tab, "\t", 0};
    case FcitxKey_space: return Named{Code::space, " ", 0};
    case FcitxKey_BackSpace: return Named{Code::deleteBackward, "\x7f", 0};
    case FcitxKey_Escape: return Named{Code::escape, "\x1b", 0};
    case FcitxKey_Delete: return Named{Code::deleteForward, "\uF728", Flag::function};
    case FcitxKey_Left: return Named{Code::left, "\uF702", cursorFlags};
    case FcitxKey_Right: return Named{Code::right, "\uF703", cursorFlags};
    case FcitxKey_Down: return Named{Code::down, "\uF701", cursorFlags};
    case FcitxKey_Up: return Named{Code::up, "\uF700", cursorFlags};
    // The JIS keyboard's かな key, and 変換 right of the space bar where the
    // かな key sits on the other layout.
    case FcitxKey_Hiragana_Katakana:
    case FcitxKey_Hiragana:
    case FcitxKey_Katakana:
    case FcitxKey_Henkan_Mode: return Named{Code::kana, "", 0};
    // 英数 (Shift+CapsLock on a JIS keyboard), and 無変換 left of the space bar.
    case FcitxKey_Eisu_toggle:
    case FcitxKey_Eisu_Shift:
    case FcitxKey_Muhenkan: return Named{Code::eisu, "", 0};
    default: return std::nullopt;
  }
}

uint64_t modifierFlags(fcitx::KeyStates states) {
  uint64_t flags = 0;
  if (states.test(fcitx::KeyState::Shift)) flags |= Flag::shift;
  if (states.test(fcitx::KeyState::Ctrl)) flags |= Flag::control;
  // Alt and Meta are the Option key of the other layout, Super its Command key.
  if (states.test(fcitx::KeyState::Alt) || states.test(fcitx::KeyState::Meta)) flags |= Flag::option;
  if (states.test(fcitx::KeyState::Super) || states.test(fcitx::KeyState::Super2) ||
      states.test(fcitx::KeyState::Hyper) || states.test(fcitx::KeyState::Hyper2))
    flags |= Flag::command;
  return flags;
}

}  // namespace

platform::KeyEvent keyEvent(const fcitx::Key& key, bool isRelease) {
  platform::KeyEvent e;
  e.type = isRelease ? keyUpEventType : platform::keyDownEventType;
  e.modifierFlags = modifierFlags(key.states());
  e.isARepeat = key.states().test(fcitx::KeyState::Repeat);
  if (key.isModifier()) {
    e.type = flagsChangedEventType;
    return e;
  }
  if (auto n = named(key.sym())) {
    e.keyCode = n->code;
    e.modifierFlags |= n->extraFlags;
    e.characters = n->characters;
  } else {
    // Any other key: its characters decide (the controller's key code 0).
    auto text = fcitx::Key::keySymToUTF8(key.sym());
    if (!text.empty()) e.characters = std::move(text);
    if (key.isKeyPad()) e.modifierFlags |= Flag::numericPad;
  }
  e.charactersIgnoringModifiers = e.characters;
  return e;
}

}  // namespace orvane::fcitx5

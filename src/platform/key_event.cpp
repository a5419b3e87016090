#include "platform/key_event.h"

namespace orvane::platform {

std::optional<KeyEvent> makeKeyEvent(uint64_t type, uint64_t modifierFlags, double timestamp,
                                     std::string characters, std::string charactersIgnoringModifiers,
                                     bool isARepeat, uint16_t keyCode) {
  KeyEvent e;
  e.type = type;
  e.modifierFlags = modifierFlags;
  e.timestamp = timestamp;
  e.characters = std::move(characters);
  e.charactersIgnoringModifiers = std::move(charactersIgnoringModifiers);
  e.isARepeat = isARepeat;
  e.keyCode = keyCode;
  return e;
}

}  // namespace orvane::platform

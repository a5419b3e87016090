// Fcitx5's key symbols and states as the key events the controller reads:
// the virtual key codes of the keys it treats by code, the characters a
// keyboard sends, and the modifier flags.
#pragma once

#include <fcitx-utils/key.h>

#include "platform/key_event.h"

namespace orvane::fcitx5 {

// Types of the events that are not key-downs: the controller lets them pass.
inline constexpr uint64_t keyUpEventType = 11;
inline constexpr uint64_t flagsChangedEventType = 12;

// A press or release of a key. A modifier alone changes flags only, as the
// platform reports it, and never reaches the key map.
platform::KeyEvent keyEvent(const fcitx::Key& key, bool isRelease);

}  // namespace orvane::fcitx5

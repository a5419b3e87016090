// Turns the bytes a terminal sends into the key events a desktop platform
// would deliver: virtual key codes, modifier flags and characters.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/key_event.h"

namespace orvane::term {

// Virtual key codes of the keys a terminal can report.
namespace KeyCode {
using namespace platform::KeyCode;
inline constexpr uint16_t character = 0;  // any printable key: the characters decide
inline constexpr uint16_t help = 114;
inline constexpr uint16_t home = 115;
inline constexpr uint16_t pageUp = 116;
inline constexpr uint16_t end = 119;
inline constexpr uint16_t pageDown = 121;
inline constexpr uint16_t f1 = 122;
inline constexpr uint16_t f2 = 120;
inline constexpr uint16_t f3 = 99;
inline constexpr uint16_t f4 = 118;
inline constexpr uint16_t f5 = 96;
inline constexpr uint16_t f6 = 97;
inline constexpr uint16_t f7 = 98;
inline constexpr uint16_t f8 = 100;
inline constexpr uint16_t f9 = 101;
inline constexpr uint16_t f10 = 109;
inline constexpr uint16_t f11 = 103;
inline constexpr uint16_t f12 = 111;
}  // namespace KeyCode

// One thing the user did at the terminal: a key, or a bracketed paste.
struct TermInput {
  enum class Kind { key, paste };
  Kind kind = Kind::key;
  platform::KeyEvent event;
  std::string text;  // the pasted text
};

// Keys no terminal sends, and the chords that stand in for them. Terminals
// send Ctrl-J as LF, Ctrl-L as FF and Ctrl-Space as NUL, so each arrives
// as one unmistakable byte; Enter sends CR and stays Return.
//   Ctrl-J      -> Kana key (104)
//   Ctrl-L      -> Eisu key (102)
//   Ctrl-Space  -> Shift+Space (the ideographic space)
struct Substitute {
  std::string_view chord;
  std::string_view standsFor;
};
const std::vector<Substitute>& substitutes();

// Incremental: bytes may arrive split anywhere, even inside an escape
// sequence or a UTF-8 character. A lone ESC cannot be told from the start of
// a sequence until some time has passed; the caller waits while
// hasPending() and then calls flush().
class KeyDecoder {
 public:
  void feed(std::string_view bytes);
  // Decides every pending byte as if no more were coming: ESC alone is
  // Escape, ESC and an unfinished sequence is Alt and the next key.
  void flush();
  // Inside a paste the rest is sure to come, so there is nothing to time out.
  bool hasPending() const { return !buffer_.empty() && !inPaste_; }
  // The inputs decoded so far, oldest first; they are handed over once.
  std::vector<TermInput> take();

 private:
  enum class Step { done, needMore };
  Step decodeOne(bool final);
  Step decodeEscape(bool final);
  Step decodePaste(bool final);

  std::string buffer_;
  std::vector<TermInput> out_;
  bool inPaste_ = false;
  std::string paste_;
};

// A one-line account of an event for logs and tests:
// "code=123 flags=shift|fn|pad chars=U+F702", "code=0 chars=a".
std::string describe(const platform::KeyEvent& event);

}  // namespace orvane::term

// The composing buffer of kana mode: romaji keystrokes in, hiragana out, with
// the keystrokes behind every character kept for the alphabet candidates.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "text/text.h"

namespace orvane {

class RomajiComposer {
 public:
  RomajiComposer() = default;
  // chars starts empty whatever the other fields say; the cursor is kept in
  // range of it so that the invariants hold from the first operation on.
  RomajiComposer(std::vector<std::string> raws, std::string pending, bool isAlphabetRun, int64_t cursor);

  // Views.
  // Every composed character joined, without the pending romaji: the reading.
  std::string kana() const;
  // The marked text: characters before the cursor, the pending romaji, the rest.
  std::string text() const;
  // The caret in text(), in characters, just after the pending romaji.
  int64_t textCursor() const;
  bool isEmpty() const { return chars_.empty() && pending_.empty(); }
  // The keystrokes behind the characters at [lower, upper); out-of-range parts
  // are clamped away rather than trusted.
  std::string raw(int64_t lower, int64_t upper) const;

  const std::vector<std::string>& raws() const { return raws_; }
  const std::string& pending() const { return pending_; }
  bool isAlphabetRun() const { return isAlphabetRun_; }
  int64_t cursor() const { return cursor_; }
  int64_t length() const { return static_cast<int64_t>(chars_.size()); }

  // Editing.
  void input(std::string_view character);
  void flush();
  void insertLiteral(std::string_view character);
  void backspace();
  void deleteForward();
  void moveCursor(int64_t by);
  void moveCursorToEnd();
  void reset();

  // The fixed romaji table and the set of its proper prefixes, built once.
  using Table = std::unordered_map<std::string, std::string>;
  static const Table& table();
  static const std::unordered_set<std::string>& prefixes();

 private:
  void append(const Characters& characters, std::string_view raw);
  void append(std::string_view character, std::string_view raw);
  void removeAt(int64_t position);
  void endAlphabetRunIfEmpty();

  Characters chars_;
  std::vector<std::string> raws_;
  std::string pending_;
  bool isAlphabetRun_ = false;
  int64_t cursor_ = 0;
};

}  // namespace orvane

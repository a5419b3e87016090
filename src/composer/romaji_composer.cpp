#include "composer/romaji_composer.h"

#include <algorithm>
#include <array>
#include <utility>

namespace orvane {
namespace {

struct Entry {
  std::string_view romaji;
  std::string_view kana;
};

// Compiled in on purpose: there is no user customisation of romaji.
constexpr std::array<Entry, 214> kTable{{
    {"a", "あ"},    {"i", "い"},    {"u", "う"},    {"e", "え"},    {"o", "お"},
    {"ka", "か"},   {"ki", "き"},   {"ku", "く"},   {"ke", "け"},   {"ko", "こ"},
    {"sa", "さ"},   {"si", "し"},   {"shi", "し"},  {"su", "す"},   {"se", "せ"},   {"so", "そ"},
    {"ta", "た"},   {"ti", "ち"},   {"chi", "ち"},  {"tu", "つ"},   {"tsu", "つ"},  {"te", "て"},
    {"to", "と"},   {"na", "な"},   {"ni", "に"},   {"nu", "ぬ"},   {"ne", "ね"},   {"no", "の"},
    {"ha", "は"},   {"hi", "ひ"},   {"hu", "ふ"},   {"fu", "ふ"},   {"he", "へ"},   {"ho", "ほ"},
    {"ma", "ま"},   {"mi", "み"},   {"mu", "む"},   {"me", "め"},   {"mo", "も"},
    {"ya", "や"},   {"yu", "ゆ"},   {"yo", "よ"},
    {"ra", "ら"},   {"ri", "り"},   {"ru", "る"},   {"re", "れ"},   {"ro", "ろ"},
    {"wa", "わ"},   {"wo", "を"},   {"nn", "ん"},   {"n'", "ん"},
    {"ga", "が"},   {"gi", "ぎ"},   {"gu", "ぐ"},   {"ge", "げ"},   {"go", "ご"},
    {"za", "ざ"},   {"zi", "じ"},   {"ji", "じ"},   {"zu", "ず"},   {"ze", "ぜ"},   {"zo", "ぞ"},
    {"da", "だ"},   {"di", "ぢ"},   {"du", "づ"},   {"de", "で"},   {"do", "ど"},
    {"ba", "ば"},   {"bi", "び"},   {"bu", "ぶ"},   {"be", "べ"},   {"bo", "ぼ"},
    {"pa", "ぱ"},   {"pi", "ぴ"},   {"pu", "ぷ"},   {"pe", "ぺ"},   {"po", "ぽ"},
    {"kya", "きゃ"}, {"kyu", "きゅ"}, {"kyo", "きょ"}, {"sha", "しゃ"}, {"shu", "しゅ"}, {"sho", "しょ"},
    {"sya", "しゃ"}, {"syu", "しゅ"}, {"syo", "しょ"}, {"cha", "ちゃ"}, {"chu", "ちゅ"}, {"cho", "ちょ"},
    {"tya", "ちゃ"}, {"tyu", "ちゅ"}, {"tyo", "ちょ"}, {"nya", "にゃ"}, {"nyu", "にゅ"}, {"nyo", "にょ"},
    {"hya", "ひゃ"}, {"hyu", "ひゅ"}, {"hyo", "ひょ"}, {"mya", "みゃ"}, {"myu", "みゅ"}, {"myo", "みょ"},
    {"rya", "りゃ"}, {"ryu", "りゅ"}, {"ryo", "りょ"}, {"gya", "ぎゃ"}, {"gyu", "ぎゅ"}, {"gyo", "ぎょ"},
    {"ja", "じゃ"},  {"ju", "じゅ"},  {"jo", "じょ"},  {"zya", "じゃ"}, {"zyu", "じゅ"}, {"zyo", "じょ"},
    {"bya", "びゃ"}, {"byu", "びゅ"}, {"byo", "びょ"}, {"pya", "ぴゃ"}, {"pyu", "ぴゅ"}, {"pyo", "ぴょ"},
    {"jya", "じゃ"}, {"jyi", "じぃ"}, {"jyu", "じゅ"}, {"jye", "じぇ"}, {"jyo", "じょ"}, {"je", "じぇ"},
    {"zye", "じぇ"},
    {"dya", "ぢゃ"}, {"dyi", "ぢぃ"}, {"dyu", "ぢゅ"}, {"dye", "ぢぇ"}, {"dyo", "ぢょ"},
    {"she", "しぇ"}, {"sye", "しぇ"}, {"che", "ちぇ"}, {"cye", "ちぇ"}, {"tye", "ちぇ"}, {"tyi", "ちぃ"},
    {"kye", "きぇ"}, {"gye", "ぎぇ"}, {"nye", "にぇ"}, {"hye", "ひぇ"}, {"mye", "みぇ"}, {"rye", "りぇ"},
    {"bye", "びぇ"}, {"pye", "ぴぇ"},
    {"fa", "ふぁ"},  {"fi", "ふぃ"},  {"fe", "ふぇ"},  {"fo", "ふぉ"},  {"fyu", "ふゅ"},
    {"wi", "うぃ"},  {"we", "うぇ"},  {"wu", "う"},    {"ye", "いぇ"},
    {"va", "ゔぁ"},  {"vi", "ゔぃ"},  {"vu", "ゔ"},    {"ve", "ゔぇ"},  {"vo", "ゔぉ"},
    {"tsa", "つぁ"}, {"tsi", "つぃ"}, {"tse", "つぇ"}, {"tso", "つぉ"},
    {"thi", "てぃ"}, {"thu", "てゅ"}, {"dhi", "でぃ"}, {"dhu", "でゅ"}, {"twu", "とぅ"}, {"dwu", "どぅ"},
    {"kwa", "くぁ"}, {"gwa", "ぐぁ"}, {"qa", "くぁ"},  {"qi", "くぃ"},  {"qe", "くぇ"},  {"qo", "くぉ"},
    {"qu", "く"},
    {"ca", "か"},   {"ci", "し"},   {"cu", "く"},   {"ce", "せ"},   {"co", "こ"},
    {"xa", "ぁ"},   {"xi", "ぃ"},   {"xu", "ぅ"},   {"xe", "ぇ"},   {"xo", "ぉ"},
    {"la", "ぁ"},   {"li", "ぃ"},   {"lu", "ぅ"},   {"le", "ぇ"},   {"lo", "ぉ"},
    {"xtu", "っ"},  {"xtsu", "っ"}, {"ltu", "っ"},  {"ltsu", "っ"},
    {"xya", "ゃ"},  {"xyu", "ゅ"},  {"xyo", "ょ"},  {"lya", "ゃ"},  {"lyu", "ゅ"},  {"lyo", "ょ"},
    {"xwa", "ゎ"},  {"lwa", "ゎ"},  {"xka", "ヵ"},  {"lka", "ヵ"},  {"xke", "ヶ"},  {"lke", "ヶ"},
    {"-", "ー"},    {",", "、"},    {".", "。"},    {"[", "「"},    {"]", "」"},    {"/", "・"},
    {"~", "〜"},
}};

// n is left out: a lone n waits for its own rule, it never doubles into っ.
constexpr std::string_view kConsonants = "bcdfghjklmpqrstvwxyz";

// The table's values split into characters once, so that a keystroke does
// not run the grapheme breaker.
struct Tables {
  RomajiComposer::Table table;
  std::unordered_map<std::string, Characters> split;
  std::unordered_set<std::string> prefixes;
};

const Tables& tables() {
  // A function-local static is initialised once, thread-safely.
  static const Tables t = [] {
    Tables t;
    t.table.reserve(kTable.size());
    t.split.reserve(kTable.size());
    for (const auto& e : kTable) {
      t.table.emplace(e.romaji, e.kana);
      t.split.emplace(e.romaji, text::characters(e.kana));
      // Keys are ASCII, so byte prefixes are character prefixes.
      for (std::size_t len = 1; len < e.romaji.size(); ++len) t.prefixes.emplace(e.romaji.substr(0, len));
    }
    return t;
  }();
  return t;
}

bool isASCIIByte(char c) { return static_cast<unsigned char>(c) < 0x80; }

// The first user-perceived character of a non-empty string.
std::string_view firstCharacter(std::string_view s) {
  // Two ASCII bytes never join into one cluster, except CR LF.
  if (isASCIIByte(s[0]) && (s.size() == 1 || (isASCIIByte(s[1]) && !(s[0] == '\r' && s[1] == '\n'))))
    return s.substr(0, 1);
  auto chars = text::characters(s);
  return chars.empty() ? s : s.substr(0, chars.front().size());
}

bool isUpperCase(std::string_view c) {
  if (c.size() == 1 && isASCIIByte(c[0])) return c[0] >= 'A' && c[0] <= 'Z';
  return text::isUpperCase(c);
}

std::string lowercased(std::string_view c) {
  if (c.size() == 1 && isASCIIByte(c[0])) {
    char ch = c[0];
    return std::string(1, (ch >= 'A' && ch <= 'Z') ? static_cast<char>(ch - 'A' + 'a') : ch);
  }
  return text::lowercased(c);
}

bool isLetter(std::string_view c) {
  if (c.size() == 1 && isASCIIByte(c[0])) return (c[0] >= 'a' && c[0] <= 'z') || (c[0] >= 'A' && c[0] <= 'Z');
  return text::isLetter(c);
}

// A single scalar U+0021 to U+007E that is not a letter: digits and the
// punctuation the table lacks.
bool isPrintableASCIISymbol(std::string_view c) {
  return c.size() == 1 && c[0] >= 0x21 && c[0] <= 0x7E && !isLetter(c);
}

}  // namespace

RomajiComposer::RomajiComposer([[maybe_unused]] std::vector<std::string> raws, std::string pending,
                               bool isAlphabetRun, [[maybe_unused]] int64_t cursor)
    : pending_(std::move(pending)), isAlphabetRun_(isAlphabetRun) {
  // chars starts empty, and raws and the cursor must stay in step with it
  // (keystrokes without characters could never be shown or deleted), so
  // both start at nothing as well.
}

const RomajiComposer::Table& RomajiComposer::table() { return tables().table; }
const std::unordered_set<std::string>& RomajiComposer::prefixes() { return tables().prefixes; }

std::string RomajiComposer::kana() const { return text::join(chars_); }

std::string RomajiComposer::text() const {
  auto at = static_cast<std::size_t>(cursor_);
  std::string out = text::join(chars_, 0, at);
  out += pending_;
  out += text::join(chars_, at, chars_.size());
  return out;
}

int64_t RomajiComposer::textCursor() const {
  return cursor_ + static_cast<int64_t>(text::characterCount(pending_));
}

std::string RomajiComposer::raw(int64_t lower, int64_t upper) const {
  auto size = static_cast<int64_t>(raws_.size());
  lower = std::clamp<int64_t>(lower, 0, size);
  upper = std::clamp<int64_t>(upper, lower, size);
  std::string out;
  for (auto i = lower; i < upper; ++i) out += raws_[static_cast<std::size_t>(i)];
  return out;
}

void RomajiComposer::append(std::string_view character, std::string_view raw) {
  auto at = static_cast<std::ptrdiff_t>(cursor_);
  chars_.insert(chars_.begin() + at, std::string(character));
  raws_.insert(raws_.begin() + at, std::string(raw));
  ++cursor_;
}

void RomajiComposer::append(const Characters& characters, std::string_view raw) {
  bool first = true;
  for (const auto& c : characters) {
    append(c, first ? raw : std::string_view());
    first = false;
  }
}

void RomajiComposer::removeAt(int64_t position) {
  auto at = static_cast<std::ptrdiff_t>(position);
  chars_.erase(chars_.begin() + at);
  raws_.erase(raws_.begin() + at);
}

void RomajiComposer::endAlphabetRunIfEmpty() {
  if (chars_.empty() && pending_.empty()) isAlphabetRun_ = false;
}

void RomajiComposer::input(std::string_view character) {
  if (character.empty()) return;
  if (isUpperCase(character)) {
    isAlphabetRun_ = true;
    flush();
    append(character, character);
    return;
  }
  if (isAlphabetRun_) {
    flush();
    append(character, character);
    return;
  }

  const auto& t = tables();
  pending_ += lowercased(character);
  while (!pending_.empty()) {
    if (auto hit = t.split.find(pending_); hit != t.split.end()) {
      append(hit->second, pending_);
      pending_.clear();
      return;
    }
    if (t.prefixes.contains(pending_)) return;

    auto f = firstCharacter(pending_);
    std::string_view rest = std::string_view(pending_).substr(f.size());
    std::string_view s = rest.empty() ? std::string_view() : firstCharacter(rest);
    if (!s.empty() && s == f && f != "n" && f.size() == 1 && kConsonants.find(f[0]) != std::string_view::npos) {
      append("っ", f);
    } else if (f == "n") {
      append("ん", f);
    } else if (isPrintableASCIISymbol(f)) {
      append(text::fromScalar(static_cast<char32_t>(f[0]) + 0xFEE0), f);
    } else {
      append(f, f);
    }
    pending_.erase(0, f.size());
  }
}

void RomajiComposer::flush() {
  if (pending_.empty()) return;
  if (pending_ == "n") {
    append("ん", "n");
  } else {
    for (const auto& c : text::characters(pending_)) append(c, c);
  }
  pending_.clear();
}

void RomajiComposer::insertLiteral(std::string_view character) {
  flush();
  if (character.empty()) return;
  append(character, character);
}

void RomajiComposer::backspace() {
  if (!pending_.empty()) {
    auto chars = text::characters(pending_);
    pending_.resize(pending_.size() - chars.back().size());
  } else if (cursor_ >= 1) {
    --cursor_;
    removeAt(cursor_);
  }

  if (pending_.empty() && !isAlphabetRun_ && cursor_ >= 1) {
    auto i = cursor_ - 1;
    const auto& c = chars_[static_cast<std::size_t>(i)];
    // A letter that was left unconverted goes back to romaji, so that the
    // next keystroke can still complete its syllable.
    if (text::isASCII(c) && isLetter(c) && raws_[static_cast<std::size_t>(i)] == c) {
      pending_ = raws_[static_cast<std::size_t>(i)];
      cursor_ = i;
      removeAt(i);
      return;
    }
  }
  endAlphabetRunIfEmpty();
}

void RomajiComposer::deleteForward() {
  flush();
  if (cursor_ < static_cast<int64_t>(chars_.size())) {
    removeAt(cursor_);
    endAlphabetRunIfEmpty();
  }
}

void RomajiComposer::moveCursor(int64_t by) {
  flush();
  auto size = static_cast<int64_t>(chars_.size());
  // Compared before adding, so that no offset can overflow.
  if (by >= size - cursor_) {
    cursor_ = size;
  } else if (by <= -cursor_) {
    cursor_ = 0;
  } else {
    cursor_ += by;
  }
}

void RomajiComposer::moveCursorToEnd() {
  flush();
  cursor_ = static_cast<int64_t>(chars_.size());
}

void RomajiComposer::reset() { *this = RomajiComposer(); }

}  // namespace orvane

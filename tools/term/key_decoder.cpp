#include "key_decoder.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "text/text.h"

namespace orvane::term {
namespace {

namespace Flag = platform::ModifierFlag;
using platform::KeyEvent;

constexpr char kEscape = '\x1b';
constexpr std::string_view kPasteEnd = "\x1b[201~";
constexpr uint64_t kChordFlags = Flag::control | Flag::option | Flag::command;
// What the desktop reports for arrows and the other cursor keys.
constexpr uint64_t kCursorKeyFlags = Flag::function | Flag::numericPad;

// Unicode private-use characters the desktop platform gives function keys.
constexpr char32_t kUpArrowCharacter = 0xF700;
constexpr char32_t kDownArrowCharacter = 0xF701;
constexpr char32_t kLeftArrowCharacter = 0xF702;
constexpr char32_t kRightArrowCharacter = 0xF703;
constexpr char32_t kF1Character = 0xF704;
constexpr char32_t kInsertCharacter = 0xF727;
constexpr char32_t kDeleteForwardCharacter = 0xF728;
constexpr char32_t kHomeCharacter = 0xF729;
constexpr char32_t kEndCharacter = 0xF72B;
constexpr char32_t kPageUpCharacter = 0xF72C;
constexpr char32_t kPageDownCharacter = 0xF72D;

KeyEvent makeKey(uint16_t code, std::string chars, uint64_t flags, std::optional<std::string> ignoring = {}) {
  KeyEvent e;
  e.keyCode = code;
  e.charactersIgnoringModifiers = ignoring ? std::move(*ignoring) : chars;
  e.characters = std::move(chars);
  e.modifierFlags = flags;
  return e;
}

KeyEvent functionKey(uint16_t code, char32_t character, uint64_t flags, uint64_t extra = Flag::function) {
  return makeKey(code, text::fromScalar(character), flags | extra);
}

// xterm's modifier parameter: 1 + a bit set of shift 1, alt 2, ctrl 4,
// super 8, hyper 16, meta 32.
uint64_t modifierFlags(int parameter) {
  if (parameter <= 1) return 0;
  int bits = parameter - 1;
  uint64_t flags = 0;
  if (bits & 1) flags |= Flag::shift;
  if (bits & 2) flags |= Flag::option;
  if (bits & 4) flags |= Flag::control;
  if (bits & 8) flags |= Flag::command;
  if (bits & 32) flags |= Flag::option;
  return flags;
}

// Ctrl chords that stand for keys a terminal cannot send.
KeyEvent substitute(KeyEvent e) {
  if ((e.modifierFlags & kChordFlags) != Flag::control) return e;
  const std::string& base = e.charactersIgnoringModifiers.value_or("");
  uint64_t rest = e.modifierFlags & ~Flag::control;
  if (e.keyCode == KeyCode::space) return makeKey(KeyCode::space, " ", rest | Flag::shift);
  if (e.keyCode != KeyCode::character) return e;
  if (base == "j") return makeKey(KeyCode::kana, "", rest);
  if (base == "l") return makeKey(KeyCode::eisu, "", rest);
  if (base == " " || base == "@") return makeKey(KeyCode::space, " ", rest | Flag::shift);
  return e;
}

// A key named by its character, as CSI u and the ESC prefix report them,
// and as single bytes arrive.
KeyEvent characterKey(char32_t c, uint64_t flags) {
  switch (c) {
    case '\r':  // LF is not here: it is Ctrl-J
      return makeKey(KeyCode::returnKey, "\r", flags);
    case '\t':
      return makeKey(KeyCode::tab, (flags & Flag::shift) ? "\x19" : "\t", flags, "\t");
    case 0x1b:
      return makeKey(KeyCode::escape, "\x1b", flags);
    case 0x7f:
    case 0x08:
      return makeKey(KeyCode::deleteBackward, "\x7f", flags);
    case ' ':
      return substitute(makeKey(KeyCode::space, " ", flags));
    default:
      break;
  }
  if (c < 0x20) {
    // C0 controls are Ctrl and a key: 0 is Ctrl-Space, 1-26 letters, 28-31 \ ] ^ _.
    std::string base = c == 0 ? " " : std::string(1, static_cast<char>(c < 27 ? c + 0x60 : c + 0x40));
    return substitute(makeKey(KeyCode::character, std::string(1, static_cast<char>(c)), flags | Flag::control, base));
  }
  std::string chars = text::fromScalar(c);
  if ((flags & Flag::control) && c < 0x80) {
    char lower = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 0x20 : c);
    if (lower >= 'a' && lower <= 'z')
      return substitute(makeKey(KeyCode::character, std::string(1, static_cast<char>(lower - 0x60)), flags,
                                std::string(1, lower)));
    return substitute(makeKey(KeyCode::character, chars, flags));
  }
  if (c >= 'A' && c <= 'Z') flags |= Flag::shift;
  return makeKey(KeyCode::character, chars, flags);
}

std::vector<int> parameters(std::string_view s) {
  std::vector<int> out{0};
  for (char ch : s) {
    if (ch >= '0' && ch <= '9') {
      out.back() = out.back() * 10 + (ch - '0');
    } else if (ch == ';' || ch == ':') {
      out.push_back(0);
    } else {
      return {};
    }
  }
  return out;
}

int parameter(const std::vector<int>& p, std::size_t i, int fallback) {
  return i < p.size() && p[i] != 0 ? p[i] : fallback;
}

std::optional<KeyEvent> cursorKey(char final, uint64_t flags) {
  switch (final) {
    case 'A': return functionKey(KeyCode::up, kUpArrowCharacter, flags, kCursorKeyFlags);
    case 'B': return functionKey(KeyCode::down, kDownArrowCharacter, flags, kCursorKeyFlags);
    case 'C': return functionKey(KeyCode::right, kRightArrowCharacter, flags, kCursorKeyFlags);
    case 'D': return functionKey(KeyCode::left, kLeftArrowCharacter, flags, kCursorKeyFlags);
    case 'H': return functionKey(KeyCode::home, kHomeCharacter, flags);
    case 'F': return functionKey(KeyCode::end, kEndCharacter, flags);
    case 'P': return functionKey(KeyCode::f1, kF1Character, flags);
    case 'Q': return functionKey(KeyCode::f2, kF1Character + 1, flags);
    case 'R': return functionKey(KeyCode::f3, kF1Character + 2, flags);
    case 'S': return functionKey(KeyCode::f4, kF1Character + 3, flags);
    default: return std::nullopt;
  }
}

// ESC [ n ~ keys.
std::optional<KeyEvent> tildeKey(int n, uint64_t flags) {
  struct FunctionKey {
    int n;
    uint16_t code;
    char32_t character;
  };
  static constexpr FunctionKey keys[] = {
      {1, KeyCode::home, kHomeCharacter},         {2, KeyCode::help, kInsertCharacter},
      {3, KeyCode::deleteForward, kDeleteForwardCharacter},
      {4, KeyCode::end, kEndCharacter},           {5, KeyCode::pageUp, kPageUpCharacter},
      {6, KeyCode::pageDown, kPageDownCharacter}, {7, KeyCode::home, kHomeCharacter},
      {8, KeyCode::end, kEndCharacter},           {11, KeyCode::f1, kF1Character},
      {12, KeyCode::f2, kF1Character + 1},        {13, KeyCode::f3, kF1Character + 2},
      {14, KeyCode::f4, kF1Character + 3},        {15, KeyCode::f5, kF1Character + 4},
      {17, KeyCode::f6, kF1Character + 5},        {18, KeyCode::f7, kF1Character + 6},
      {19, KeyCode::f8, kF1Character + 7},        {20, KeyCode::f9, kF1Character + 8},
      {21, KeyCode::f10, kF1Character + 9},       {23, KeyCode::f11, kF1Character + 10},
      {24, KeyCode::f12, kF1Character + 11},
  };
  for (const auto& k : keys)
    if (k.n == n) return functionKey(k.code, k.character, flags);
  return std::nullopt;
}

// The application keypad (ESC O p .. y and friends).
std::optional<KeyEvent> keypadKey(char final, uint64_t flags) {
  struct KeypadKey {
    char final;
    uint16_t code;
    char character;
  };
  static constexpr KeypadKey keys[] = {
      {'p', 82, '0'}, {'q', 83, '1'}, {'r', 84, '2'}, {'s', 85, '3'}, {'t', 86, '4'},
      {'u', 87, '5'}, {'v', 88, '6'}, {'w', 89, '7'}, {'x', 91, '8'}, {'y', 92, '9'},
      {'n', 65, '.'}, {'j', 67, '*'}, {'k', 69, '+'}, {'l', 69, '+'}, {'o', 75, '/'},
      {'m', 78, '-'}, {'X', 81, '='}, {'M', KeyCode::keypadEnter, '\r'},
  };
  for (const auto& k : keys)
    if (k.final == final)
      return makeKey(k.code, std::string(1, k.character), flags | Flag::numericPad);
  return std::nullopt;
}

std::size_t utf8Length(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

}  // namespace

const std::vector<Substitute>& substitutes() {
  static const std::vector<Substitute> list = {
      {"Ctrl-J", "かな (Kana key)"},
      {"Ctrl-L", "英数 (Eisu key)"},
      {"Ctrl-Space", "Shift+Space (全角空白)"},
  };
  return list;
}

void KeyDecoder::feed(std::string_view bytes) {
  buffer_.append(bytes);
  while (!buffer_.empty() && decodeOne(false) == Step::done) {
  }
}

void KeyDecoder::flush() {
  while (!buffer_.empty() && decodeOne(true) == Step::done) {
  }
}

std::vector<TermInput> KeyDecoder::take() {
  std::vector<TermInput> taken;
  taken.swap(out_);
  return taken;
}

KeyDecoder::Step KeyDecoder::decodeOne(bool final) {
  if (inPaste_) return decodePaste(final);
  auto lead = static_cast<unsigned char>(buffer_[0]);
  if (lead == kEscape) return decodeEscape(final);
  if (lead < 0x80) {
    out_.push_back({TermInput::Kind::key, characterKey(lead, 0), {}});
    buffer_.erase(0, 1);
    return Step::done;
  }
  std::size_t length = utf8Length(lead);
  if (length > buffer_.size() && !final) {
    bool stillValid = true;
    for (std::size_t i = 1; i < buffer_.size(); ++i)
      stillValid &= (static_cast<unsigned char>(buffer_[i]) & 0xC0) == 0x80;
    if (stillValid) return Step::needMore;
  }
  std::size_t take = 1;
  if (length > 1 && length <= buffer_.size()) {
    take = length;
    for (std::size_t i = 1; i < length; ++i)
      if ((static_cast<unsigned char>(buffer_[i]) & 0xC0) != 0x80) take = 1;
  }
  auto scalar = text::singleScalar(text::decodeLossy(std::string_view(buffer_).substr(0, take)));
  out_.push_back({TermInput::Kind::key, characterKey(scalar.value_or(0xFFFD), 0), {}});
  buffer_.erase(0, take);
  return Step::done;
}

KeyDecoder::Step KeyDecoder::decodeEscape(bool final) {
  if (buffer_.size() == 1) {
    if (!final) return Step::needMore;
    out_.push_back({TermInput::Kind::key, characterKey(0x1b, 0), {}});
    buffer_.clear();
    return Step::done;
  }
  char introducer = buffer_[1];
  if (introducer == '[' || introducer == 'O') {
    // Parameters, intermediates, then one final byte.
    std::size_t i = 2;
    while (i < buffer_.size() && buffer_[i] >= 0x30 && buffer_[i] <= 0x3F) ++i;
    std::size_t paramsEnd = i;
    // rxvt ends Shift and Ctrl variants of ~ keys with $, ^ and @.
    bool rxvtFinal = i < buffer_.size() && buffer_[i] == '$' && introducer == '[';
    if (!rxvtFinal)
      while (i < buffer_.size() && buffer_[i] >= 0x20 && buffer_[i] <= 0x2F) ++i;
    bool complete = i < buffer_.size() && (rxvtFinal || (buffer_[i] >= 0x40 && buffer_[i] <= 0x7E));
    if (!complete && i >= buffer_.size() && !final) return Step::needMore;
    if (complete) {
      std::string_view body = std::string_view(buffer_).substr(2, paramsEnd - 2);
      char finalByte = buffer_[i];
      auto p = parameters(body);
      std::optional<KeyEvent> key;
      if (introducer == 'O') {
        uint64_t flags = modifierFlags(parameter(p, p.size() - 1, 1));
        key = cursorKey(finalByte, flags);
        if (!key) key = keypadKey(finalByte, flags);
        if (!key && finalByte >= 'a' && finalByte <= 'd')  // rxvt Ctrl+arrows
          key = cursorKey(static_cast<char>(finalByte - 0x20), Flag::control);
      } else if (finalByte == '~' || finalByte == '$' || finalByte == '^' || finalByte == '@') {
        int n = parameter(p, 0, 0);
        uint64_t flags = modifierFlags(parameter(p, 1, 1));
        if (finalByte == '$') flags |= Flag::shift;
        if (finalByte == '^') flags |= Flag::control;
        if (finalByte == '@') flags |= Flag::control | Flag::shift;
        if (n == 200) {
          buffer_.erase(0, i + 1);
          inPaste_ = true;
          paste_.clear();
          return Step::done;
        }
        if (n == 27 && p.size() >= 3) {  // xterm modifyOtherKeys
          key = characterKey(static_cast<char32_t>(p[2]), modifierFlags(parameter(p, 1, 1)));
        } else {
          key = tildeKey(n, flags);
        }
      } else if (finalByte == 'u') {  // CSI u: the key's code point and modifiers
        key = characterKey(static_cast<char32_t>(parameter(p, 0, 0)), modifierFlags(parameter(p, 1, 1)));
      } else if (finalByte == 'Z') {
        key = characterKey('\t', Flag::shift | modifierFlags(parameter(p, 1, 1)));
      } else if (finalByte >= 'a' && finalByte <= 'd') {  // rxvt Shift+arrows
        key = cursorKey(static_cast<char>(finalByte - 0x20), Flag::shift);
      } else {
        key = cursorKey(finalByte, modifierFlags(parameter(p, 1, 1)));
      }
      buffer_.erase(0, i + 1);
      // Reports the front-end did not ask for (focus, replies) are dropped.
      if (key) out_.push_back({TermInput::Kind::key, *key, {}});
      return Step::done;
    }
    // Not a sequence after all: Alt and the introducer, as below.
  }
  // ESC before a key is how terminals send Alt (Meta) with it.
  std::size_t before = out_.size();
  buffer_.erase(0, 1);
  if (decodeOne(final) == Step::needMore) {
    buffer_.insert(buffer_.begin(), kEscape);
    return Step::needMore;
  }
  for (std::size_t k = before; k < out_.size(); ++k) out_[k].event.modifierFlags |= Flag::option;
  return Step::done;
}

KeyDecoder::Step KeyDecoder::decodePaste(bool) {
  auto end = buffer_.find(kPasteEnd);
  if (end == std::string::npos) {
    // Keep what could be the start of the end marker for the next read.
    std::size_t keep = 0;
    for (std::size_t n = std::min(buffer_.size(), kPasteEnd.size() - 1); n > 0; --n) {
      if (std::string_view(buffer_).substr(buffer_.size() - n) == kPasteEnd.substr(0, n)) {
        keep = n;
        break;
      }
    }
    paste_.append(buffer_, 0, buffer_.size() - keep);
    buffer_.erase(0, buffer_.size() - keep);
    return Step::needMore;
  }
  paste_.append(buffer_, 0, end);
  buffer_.erase(0, end + kPasteEnd.size());
  inPaste_ = false;
  std::string text;
  for (std::size_t i = 0; i < paste_.size(); ++i) {
    if (paste_[i] == '\r') {
      text += '\n';
      if (i + 1 < paste_.size() && paste_[i + 1] == '\n') ++i;
    } else {
      text += paste_[i];
    }
  }
  paste_.clear();
  TermInput input;
  input.kind = TermInput::Kind::paste;
  input.text = text::decodeLossy(text);
  out_.push_back(std::move(input));
  return Step::done;
}

std::string describe(const platform::KeyEvent& event) {
  std::string out = "code=" + std::to_string(event.keyCode);
  static constexpr std::pair<uint64_t, std::string_view> names[] = {
      {Flag::shift, "shift"}, {Flag::control, "ctrl"},   {Flag::option, "opt"},
      {Flag::command, "cmd"}, {Flag::numericPad, "pad"}, {Flag::function, "fn"},
  };
  std::string flags;
  for (const auto& [bit, name] : names) {
    if (!(event.modifierFlags & bit)) continue;
    if (!flags.empty()) flags += '|';
    flags += name;
  }
  if (!flags.empty()) out += " flags=" + flags;
  auto show = [](const std::string& s) {
    std::string shown;
    for (char32_t c : text::scalars(s)) {
      if (c > 0x20 && c < 0x7f) {
        shown += static_cast<char>(c);
      } else if (c >= 0x80 && (c < 0xE000 || c > 0xF8FF)) {
        shown += text::fromScalar(c);
      } else {
        char buf[16];
        std::snprintf(buf, sizeof buf, "U+%04X", static_cast<unsigned>(c));
        shown += buf;
      }
    }
    return shown;
  };
  std::string chars = event.characters.value_or("");
  out += " chars=" + show(chars);
  std::string ignoring = event.charactersIgnoringModifiers.value_or("");
  if (ignoring != chars) out += " base=" + show(ignoring);
  return out;
}

}  // namespace orvane::term

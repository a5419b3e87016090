#include "text/text.h"

#include <unicode/brkiter.h>
#include <unicode/normalizer2.h>
#include <unicode/translit.h>
#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>

namespace orvane::text {
namespace {

icu::UnicodeString toICU(std::string_view s) {
  return icu::UnicodeString::fromUTF8(icu::StringPiece(s.data(), static_cast<int32_t>(s.size())));
}

std::string fromICU(const icu::UnicodeString& u) {
  std::string out;
  u.toUTF8String(out);
  return out;
}

// True when every byte is ASCII and no CR is followed by LF: then every byte
// is one grapheme cluster and ICU need not be asked.
bool isSimpleASCII(std::string_view s) {
  for (std::size_t i = 0; i < s.size(); ++i) {
    auto b = static_cast<unsigned char>(s[i]);
    if (b >= 0x80) return false;
    if (b == '\r' && i + 1 < s.size() && s[i + 1] == '\n') return false;
  }
  return true;
}

// ICU objects are costly to create, each is made once, on first use, and
// kept for the process. Transliterators above all: the first one builds
// ICU's registry of every transform, tens of milliseconds that start-up
// should not pay for a transform it may never need. The core runs on one
// thread; the locks only guard tools that do not.
template <class T>
struct Guarded {
  explicit Guarded(T* made) : object(made) {}
  std::mutex mutex;
  const std::unique_ptr<T> object;
};

Guarded<icu::BreakIterator>& breaker() {
  static Guarded<icu::BreakIterator> instance([] {
    UErrorCode status = U_ZERO_ERROR;
    auto* made = icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status);
    if (U_SUCCESS(status)) return made;
    delete made;
    return static_cast<icu::BreakIterator*>(nullptr);
  }());
  return instance;
}

const icu::Normalizer2* nfcInstance() {
  static const icu::Normalizer2* instance = [] {
    UErrorCode status = U_ZERO_ERROR;
    const auto* n = icu::Normalizer2::getNFCInstance(status);
    return U_FAILURE(status) ? nullptr : n;
  }();
  return instance;
}

icu::Transliterator* makeTransliterator(const char* id, UTransDirection direction) {
  UErrorCode status = U_ZERO_ERROR;
  auto* made = icu::Transliterator::createInstance(icu::UnicodeString(id), direction, status);
  if (U_SUCCESS(status)) return made;
  delete made;
  return nullptr;
}

enum class TransformID { hiraganaKatakana, fullHalf, halfFull };

Guarded<icu::Transliterator>& transliterator(TransformID which) {
  switch (which) {
    case TransformID::hiraganaKatakana: {
      static Guarded<icu::Transliterator> t(makeTransliterator("Hiragana-Katakana", UTRANS_FORWARD));
      return t;
    }
    case TransformID::fullHalf: {
      static Guarded<icu::Transliterator> t(makeTransliterator("Fullwidth-Halfwidth", UTRANS_FORWARD));
      return t;
    }
    case TransformID::halfFull:
      break;
  }
  static Guarded<icu::Transliterator> t(makeTransliterator("Fullwidth-Halfwidth", UTRANS_REVERSE));
  return t;
}

std::optional<std::string> transform(TransformID which, std::string_view s) {
  auto& t = transliterator(which);
  std::lock_guard lock(t.mutex);
  if (!t.object) return std::nullopt;
  auto u = toICU(s);
  t.object->transliterate(u);
  if (u.isBogus()) return std::nullopt;
  return fromICU(u);
}

// The transforms of the text a conversion sees most, kana and ASCII, done
// scalar by scalar: map gives each scalar's result, or nothing when the
// scalar is outside the range where ICU's transform is known to act scalar
// by scalar without context (the tests hold the two to the same results),
// and then ICU does the whole string.
template <class Map>
std::optional<std::string> mappedScalarwise(std::string_view s, Map map) {
  std::string out;
  out.reserve(s.size());
  const auto* p = reinterpret_cast<const uint8_t*>(s.data());
  const auto n = static_cast<int32_t>(s.size());
  for (int32_t i = 0; i < n;) {
    UChar32 c;
    U8_NEXT(p, i, n, c);
    if (c < 0) return std::nullopt;
    const std::optional<UChar32> mapped = map(c);
    if (!mapped) return std::nullopt;
    uint8_t buf[4];
    int32_t length = 0;
    U8_APPEND_UNSAFE(buf, length, *mapped);
    out.append(reinterpret_cast<const char*>(buf), static_cast<std::size_t>(length));
  }
  return out;
}

std::optional<UChar32> hiraganaToKatakanaScalar(UChar32 c) {
  if ((c >= 0x3041 && c <= 0x3094) || c == 0x309D || c == 0x309E) return c + 0x60;
  if ((c >= 0x20 && c <= 0x7E) || (c >= 0xFF01 && c <= 0xFF5E) || c == 0x3000 || c == 0x3001 || c == 0x3002 ||
      c == 0x300C || c == 0x300D || c == 0x301C || c == 0x30FB || c == 0x30FC)
    return c;
  return std::nullopt;
}

std::optional<UChar32> fullwidthToHalfwidthScalar(UChar32 c) {
  if ((c >= 0x20 && c <= 0x7E) || (c >= 0x3041 && c <= 0x3096) || c == 0x309D || c == 0x309E || c == 0x301C) return c;
  if (c >= 0xFF01 && c <= 0xFF5E) return c - 0xFEE0;
  switch (c) {
    case 0x3000: return 0x20;
    case 0x3001: return 0xFF64;
    case 0x3002: return 0xFF61;
    case 0x300C: return 0xFF62;
    case 0x300D: return 0xFF63;
    case 0x30FB: return 0xFF65;
    case 0x30FC: return 0xFF70;
    default: return std::nullopt;
  }
}

std::optional<UChar32> halfwidthToFullwidthScalar(UChar32 c) {
  if (c == 0x20) return 0x3000;
  if (c > 0x20 && c <= 0x7E) return c + 0xFEE0;
  return std::nullopt;
}

// Scalars that are each a user-perceived character of their own whatever
// stands next to them: their grapheme cluster break property is Other (no
// Extend, ZWJ, SpacingMark, Prepend, control or Hangul among them), so the
// rules break between every two of them.
bool standsAlone(UChar32 c) {
  return (c >= 0x20 && c <= 0x7E) || (c >= 0x3000 && c <= 0x3029) || (c >= 0x3030 && c <= 0x3098) ||
         (c >= 0x309B && c <= 0x30FF) || (c >= 0x4E00 && c <= 0x9FFF) || (c >= 0xFF01 && c <= 0xFF5E);
}

// The characters of s when every scalar stands alone; false otherwise.
bool splitStandalone(std::string_view s, Characters& out) {
  const auto* p = reinterpret_cast<const uint8_t*>(s.data());
  const auto n = static_cast<int32_t>(s.size());
  for (int32_t i = 0; i < n;) {
    const int32_t start = i;
    UChar32 c;
    U8_NEXT(p, i, n, c);
    if (c < 0 || !standsAlone(c)) {
      out.clear();
      return false;
    }
    out.emplace_back(s.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(i - start)));
  }
  return true;
}

}  // namespace

Characters characters(std::string_view s) {
  Characters out;
  if (s.empty()) return out;
  if (isSimpleASCII(s)) {
    out.reserve(s.size());
    for (char c : s) out.emplace_back(1, c);
    return out;
  }
  // Kana, kanji and ASCII, which is most of what the composer holds.
  if (splitStandalone(s, out)) return out;
  std::string valid;
  if (!isValidUTF8(s)) {
    valid = decodeLossy(s);
    s = valid;
  }
  auto& b = breaker();
  std::lock_guard lock(b.mutex);
  if (!b.object) {
    // Without ICU's break rules, fall back to one scalar per character.
    for (char32_t c : scalars(s)) out.push_back(fromScalar(c));
    return out;
  }
  UErrorCode status = U_ZERO_ERROR;
  UText ut = UTEXT_INITIALIZER;
  utext_openUTF8(&ut, s.data(), static_cast<int64_t>(s.size()), &status);
  b.object->setText(&ut, status);
  int32_t start = b.object->first();
  // With UTF-8 UText the break positions are byte offsets.
  for (int32_t end = b.object->next(); end != icu::BreakIterator::DONE;
       start = end, end = b.object->next()) {
    out.emplace_back(s.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start)));
  }
  b.object->setText(icu::UnicodeString());
  utext_close(&ut);
  return out;
}

std::size_t characterCount(std::string_view s) {
  if (isSimpleASCII(s)) return s.size();
  return characters(s).size();
}

std::string join(const Characters& chars, std::size_t begin, std::size_t end) {
  std::string out;
  for (std::size_t i = begin; i < end && i < chars.size(); ++i) out += chars[i];
  return out;
}

std::string join(const Characters& chars) { return join(chars, 0, chars.size()); }

namespace {

// Scalars whose NFC quick check is Yes with canonical class 0: a string of
// them is NFC whatever their order. Text below the combining marks, kana
// without the combining voiced marks, ideographs and full-width forms.
bool isStableInNFC(UChar32 c) {
  return c < 0x300 || (c >= 0x3041 && c <= 0x3096) || (c >= 0x309B && c <= 0x30FF) || (c >= 0x4E00 && c <= 0x9FFF) ||
         (c >= 0xFF01 && c <= 0xFF5E);
}

// Valid UTF-8 of stable scalars only.
bool isPlainlyNFC(std::string_view s) {
  const auto* p = reinterpret_cast<const uint8_t*>(s.data());
  const auto n = static_cast<int32_t>(s.size());
  for (int32_t i = 0; i < n;) {
    if (p[i] < 0x80) {
      ++i;
      continue;
    }
    UChar32 c;
    U8_NEXT(p, i, n, c);
    if (c < 0 || !isStableInNFC(c)) return false;
  }
  return true;
}

}  // namespace

bool isNFC(std::string_view s) {
  if (isPlainlyNFC(s)) return true;
  if (!isValidUTF8(s)) return false;
  const auto* normalizer = nfcInstance();
  if (!normalizer) return false;
  UErrorCode status = U_ZERO_ERROR;
  const bool result = normalizer->isNormalizedUTF8(icu::StringPiece(s.data(), static_cast<int32_t>(s.size())), status);
  return U_SUCCESS(status) && result;
}

std::string nfc(std::string_view s) {
  // Kana and ASCII, what the composer makes, need no trip through UTF-16.
  if (isPlainlyNFC(s)) return std::string(s);
  const auto* normalizer = nfcInstance();
  if (!normalizer) return std::string(s);
  UErrorCode status = U_ZERO_ERROR;
  auto u = toICU(s);
  // Most text is already normalised; the quick check avoids a copy.
  if (normalizer->isNormalized(u, status) && U_SUCCESS(status)) return std::string(s);
  status = U_ZERO_ERROR;
  auto n = normalizer->normalize(u, status);
  if (U_FAILURE(status)) return std::string(s);
  return fromICU(n);
}

bool canonicallyEqual(std::string_view a, std::string_view b) {
  if (a == b) return true;
  return nfc(a) == nfc(b);
}

namespace {

bool isASCIIOnly(std::string_view s) {
  return std::all_of(s.begin(), s.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// ASCII letters have no special casings: the full mappings are the simple ones.
std::string asciiCased(std::string_view s, char from, char to) {
  std::string out(s);
  for (auto& c : out)
    if (c >= from && c <= static_cast<char>(from + 25)) c = static_cast<char>(c - from + to);
  return out;
}

}  // namespace

std::string uppercased(std::string_view s) {
  if (isASCIIOnly(s)) return asciiCased(s, 'a', 'A');
  auto u = toICU(s);
  u.toUpper(icu::Locale::getRoot());
  return fromICU(u);
}

std::string lowercased(std::string_view s) {
  if (isASCIIOnly(s)) return asciiCased(s, 'A', 'a');
  auto u = toICU(s);
  u.toLower(icu::Locale::getRoot());
  return fromICU(u);
}

std::optional<std::string> hiraganaToKatakana(std::string_view s) {
  if (auto mapped = mappedScalarwise(s, hiraganaToKatakanaScalar)) return mapped;
  return transform(TransformID::hiraganaKatakana, s);
}
std::optional<std::string> katakanaToHiragana(std::string_view s) {
  // ICU's reverse transform spells the long-vowel mark out as a vowel
  // (コーヒー to こおひい), which is not how the reading is typed; the mark
  // stays, and every katakana letter with a hiragana twin moves to it.
  std::u32string out = scalars(s);
  for (auto& c : out)
    if (c >= U'\u30A1' && c <= U'\u30F6') c -= 0x60;
  return fromScalars(out);
}
std::optional<std::string> fullwidthToHalfwidth(std::string_view s) {
  if (auto mapped = mappedScalarwise(s, fullwidthToHalfwidthScalar)) return mapped;
  return transform(TransformID::fullHalf, s);
}
std::optional<std::string> halfwidthToFullwidth(std::string_view s) {
  if (auto mapped = mappedScalarwise(s, halfwidthToFullwidthScalar)) return mapped;
  return transform(TransformID::halfFull, s);
}

bool isUpperCase(std::string_view character) {
  auto sc = scalars(character);
  if (sc.empty()) return false;
  if (sc.size() == 1) return u_hasBinaryProperty(static_cast<UChar32>(sc[0]), UCHAR_UPPERCASE);
  return uppercased(character) == character && lowercased(character) != character;
}

bool isLetter(std::string_view character) {
  auto sc = scalars(character);
  return !sc.empty() && u_hasBinaryProperty(static_cast<UChar32>(sc[0]), UCHAR_ALPHABETIC);
}

bool isASCII(std::string_view character) {
  return character.size() == 1 && static_cast<unsigned char>(character[0]) < 0x80;
}

std::u32string scalars(std::string_view s) {
  std::u32string out;
  out.reserve(s.size());
  int32_t i = 0;
  const auto n = static_cast<int32_t>(s.size());
  const auto* p = reinterpret_cast<const uint8_t*>(s.data());
  while (i < n) {
    UChar32 c;
    U8_NEXT(p, i, n, c);
    out.push_back(c < 0 ? U'\uFFFD' : static_cast<char32_t>(c));
  }
  return out;
}

std::string fromScalar(char32_t c) {
  char buf[4];
  int32_t len = 0;
  UBool error = false;
  U8_APPEND(reinterpret_cast<uint8_t*>(buf), len, 4, static_cast<UChar32>(c), error);
  if (error) return "\xEF\xBF\xBD";
  return std::string(buf, static_cast<std::size_t>(len));
}

std::string fromScalars(std::u32string_view sc) {
  std::string out;
  out.reserve(sc.size() * 3);
  for (char32_t c : sc) out += fromScalar(c);
  return out;
}

std::optional<char32_t> singleScalar(std::string_view s) {
  if (s.empty()) return std::nullopt;
  int32_t i = 0;
  const auto n = static_cast<int32_t>(s.size());
  UChar32 c;
  U8_NEXT(reinterpret_cast<const uint8_t*>(s.data()), i, n, c);
  if (c < 0 || i != n) return std::nullopt;
  return static_cast<char32_t>(c);
}

bool isValidUTF8(std::string_view s) {
  int32_t i = 0;
  const auto n = static_cast<int32_t>(s.size());
  const auto* p = reinterpret_cast<const uint8_t*>(s.data());
  while (i < n) {
    // ASCII eight bytes at a time.
    if (n - i >= 8) {
      uint64_t word;
      std::memcpy(&word, p + i, 8);
      if ((word & 0x8080808080808080ULL) == 0) {
        i += 8;
        continue;
      }
    }
    if (p[i] < 0x80) {
      ++i;
      continue;
    }
    UChar32 c;
    U8_NEXT(p, i, n, c);
    if (c < 0) return false;
  }
  return true;
}

std::string decodeLossy(std::string_view bytes) {
  if (isValidUTF8(bytes)) return std::string(bytes);
  return fromScalars(scalars(bytes));
}

std::size_t utf16Length(std::string_view s) {
  std::size_t units = 0;
  for (char32_t c : scalars(s)) units += c > 0xFFFF ? 2 : 1;
  return units;
}

std::optional<std::string> fromEUCJP(std::string_view bytes) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* conv = ucnv_open("EUC-JP", &status);
  if (U_FAILURE(status)) return std::nullopt;
  icu::UnicodeString u(bytes.data(), static_cast<int32_t>(bytes.size()), conv, status);
  ucnv_close(conv);
  if (U_FAILURE(status)) return std::nullopt;
  return fromICU(u);
}

bool isHiraganaScalar(char32_t c) { return c >= 0x3041 && c <= 0x3096; }
bool isKatakanaScalar(char32_t c) { return (c >= 0x30A1 && c <= 0x30FA) || c == 0x30FC; }
bool isHanScalar(char32_t c) {
  return (c >= 0x4E00 && c <= 0x9FFF) || (c >= 0x3400 && c <= 0x4DBF) || (c >= 0xF900 && c <= 0xFAFF) ||
         (c >= 0x20000 && c <= 0x3134F) || c == U'々' || c == U'〆' || c == U'ヶ';
}

}  // namespace orvane::text

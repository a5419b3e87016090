#include "text/text.h"

#include <unicode/brkiter.h>
#include <unicode/normalizer2.h>
#include <unicode/translit.h>
#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

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

// ICU objects are costly to create; one of each is kept for the process.
// The core runs on one thread, the lock only guards tools that do not.
struct Services {
  std::mutex mutex;
  std::unique_ptr<icu::BreakIterator> breaker;
  const icu::Normalizer2* nfc = nullptr;
  std::unique_ptr<icu::Transliterator> hiraganaKatakana;
  std::unique_ptr<icu::Transliterator> fullHalf;
  std::unique_ptr<icu::Transliterator> halfFull;

  Services() {
    UErrorCode status = U_ZERO_ERROR;
    breaker.reset(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status)) breaker.reset();
    status = U_ZERO_ERROR;
    nfc = icu::Normalizer2::getNFCInstance(status);
    if (U_FAILURE(status)) nfc = nullptr;
    hiraganaKatakana = make("Hiragana-Katakana", UTRANS_FORWARD);
    fullHalf = make("Fullwidth-Halfwidth", UTRANS_FORWARD);
    halfFull = make("Fullwidth-Halfwidth", UTRANS_REVERSE);
  }

  static std::unique_ptr<icu::Transliterator> make(const char* id, UTransDirection direction) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Transliterator> t(
        icu::Transliterator::createInstance(icu::UnicodeString(id), direction, status));
    if (U_FAILURE(status)) return nullptr;
    return t;
  }
};

Services& services() {
  static Services instance;
  return instance;
}

std::optional<std::string> transform(std::unique_ptr<icu::Transliterator> Services::*which,
                                     std::string_view s) {
  auto& sv = services();
  std::lock_guard lock(sv.mutex);
  auto& t = sv.*which;
  if (!t) return std::nullopt;
  auto u = toICU(s);
  t->transliterate(u);
  if (u.isBogus()) return std::nullopt;
  return fromICU(u);
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
  std::string valid;
  if (!isValidUTF8(s)) {
    valid = decodeLossy(s);
    s = valid;
  }
  auto& sv = services();
  std::lock_guard lock(sv.mutex);
  if (!sv.breaker) {
    // Without ICU's break rules, fall back to one scalar per character.
    for (char32_t c : scalars(s)) out.push_back(fromScalar(c));
    return out;
  }
  UErrorCode status = U_ZERO_ERROR;
  UText ut = UTEXT_INITIALIZER;
  utext_openUTF8(&ut, s.data(), static_cast<int64_t>(s.size()), &status);
  sv.breaker->setText(&ut, status);
  int32_t start = sv.breaker->first();
  // With UTF-8 UText the break positions are byte offsets.
  for (int32_t end = sv.breaker->next(); end != icu::BreakIterator::DONE;
       start = end, end = sv.breaker->next()) {
    out.emplace_back(s.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start)));
  }
  sv.breaker->setText(icu::UnicodeString());
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

std::string nfc(std::string_view s) {
  auto& sv = services();
  if (!sv.nfc) return std::string(s);
  UErrorCode status = U_ZERO_ERROR;
  auto u = toICU(s);
  // Most text is already normalised; the quick check avoids a copy.
  if (sv.nfc->isNormalized(u, status) && U_SUCCESS(status)) return std::string(s);
  status = U_ZERO_ERROR;
  auto n = sv.nfc->normalize(u, status);
  if (U_FAILURE(status)) return std::string(s);
  return fromICU(n);
}

bool canonicallyEqual(std::string_view a, std::string_view b) {
  if (a == b) return true;
  return nfc(a) == nfc(b);
}

std::string uppercased(std::string_view s) {
  auto u = toICU(s);
  u.toUpper(icu::Locale::getRoot());
  return fromICU(u);
}

std::string lowercased(std::string_view s) {
  auto u = toICU(s);
  u.toLower(icu::Locale::getRoot());
  return fromICU(u);
}

std::optional<std::string> hiraganaToKatakana(std::string_view s) {
  return transform(&Services::hiraganaKatakana, s);
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
  return transform(&Services::fullHalf, s);
}
std::optional<std::string> halfwidthToFullwidth(std::string_view s) {
  return transform(&Services::halfFull, s);
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

}  // namespace orvane::text

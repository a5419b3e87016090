#include "display_width.h"

#include <unicode/uchar.h>

#include "text/text.h"

namespace orvane::term {
namespace {

constexpr char32_t kEmojiPresentationSelector = 0xFE0F;

bool isRegionalIndicator(char32_t c) { return c >= 0x1F1E6 && c <= 0x1F1FF; }

int scalarWidth(char32_t c) {
  auto cp = static_cast<UChar32>(c);
  auto category = u_charType(cp);
  if (category == U_NON_SPACING_MARK || category == U_ENCLOSING_MARK || category == U_FORMAT_CHAR) return 0;
  // Hangul medial vowels and final consonants join the syllable before them.
  auto hangul = u_getIntPropertyValue(cp, UCHAR_HANGUL_SYLLABLE_TYPE);
  if (hangul == U_HST_VOWEL_JAMO || hangul == U_HST_TRAILING_JAMO) return 0;
  auto eaw = u_getIntPropertyValue(cp, UCHAR_EAST_ASIAN_WIDTH);
  if (eaw == U_EA_WIDE || eaw == U_EA_FULLWIDTH) return 2;
  if (u_hasBinaryProperty(cp, UCHAR_EMOJI_PRESENTATION)) return 2;
  return 1;
}

}  // namespace

int characterWidth(std::string_view character) {
  auto scalars = text::scalars(character);
  if (scalars.empty()) return 0;
  int width = 0;
  for (char32_t c : scalars) {
    width = scalarWidth(c);
    if (width > 0) break;
  }
  if (width == 1) {
    // A text-style emoji asked to show as a picture, and a flag.
    for (std::size_t i = 1; i < scalars.size(); ++i)
      if (scalars[i] == kEmojiPresentationSelector && u_hasBinaryProperty(static_cast<UChar32>(scalars[0]), UCHAR_EMOJI))
        width = 2;
    if (scalars.size() >= 2 && isRegionalIndicator(scalars[0]) && isRegionalIndicator(scalars[1])) width = 2;
  }
  return width;
}

int displayWidth(std::string_view s) {
  int width = 0;
  for (const auto& c : text::characters(s)) width += characterWidth(c);
  return width;
}

int columnAtUTF16(std::string_view s, int64_t utf16Offset) {
  int column = 0;
  int64_t position = 0;
  for (const auto& c : text::characters(s)) {
    int64_t next = position + static_cast<int64_t>(text::utf16Length(c));
    if (next > utf16Offset) break;
    position = next;
    column += characterWidth(c);
  }
  return column;
}

}  // namespace orvane::term

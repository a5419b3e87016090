// Unicode services of the core, on ICU. Strings are UTF-8 throughout; a
// "character" is a user-perceived character (an extended grapheme cluster).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvane {

// An array of user-perceived characters, each one grapheme cluster in UTF-8.
using Characters = std::vector<std::string>;

namespace text {

// Splits into extended grapheme clusters. Invalid UTF-8 is decoded lossily first.
Characters characters(std::string_view s);
std::size_t characterCount(std::string_view s);
std::string join(const Characters& chars, std::size_t begin, std::size_t end);
std::string join(const Characters& chars);

// Canonical equivalence: equality of the NFC forms.
std::string nfc(std::string_view s);
// Whether s is valid UTF-8 already in NFC.
bool isNFC(std::string_view s);
bool canonicallyEqual(std::string_view a, std::string_view b);

// Default, locale-independent full case mappings.
std::string uppercased(std::string_view s);
std::string lowercased(std::string_view s);

// Transforms that may have no result (nullopt) when they cannot be applied.
std::optional<std::string> hiraganaToKatakana(std::string_view s);
std::optional<std::string> fullwidthToHalfwidth(std::string_view s);
std::optional<std::string> halfwidthToFullwidth(std::string_view s);
// Katakana to hiragana, for dictionary building.
std::optional<std::string> katakanaToHiragana(std::string_view s);

// Character classes of one character (grapheme cluster).
// Upper-case: a single scalar with the Uppercase property, or a cluster of
// several scalars that equals its upper-case mapping and differs from its
// lower-case mapping.
bool isUpperCase(std::string_view character);
// Letter: the first scalar has the Alphabetic property.
bool isLetter(std::string_view character);
// ASCII: a single scalar below U+0080.
bool isASCII(std::string_view character);

// Scripts of one scalar: hiragana (ぁ to ゖ), katakana (ァ to ヺ, and ー),
// Han (the CJK ideographs, and 々, 〆 and ヶ, which write as kanji do).
bool isHiraganaScalar(char32_t c);
bool isKatakanaScalar(char32_t c);
bool isHanScalar(char32_t c);
// The hiragana of a katakana letter that has one (ア to ヶ); others unchanged.
inline char32_t hiraganaScalar(char32_t c) { return c >= 0x30A1 && c <= 0x30F6 ? c - 0x60 : c; }

// Scalars of a UTF-8 string; invalid sequences become U+FFFD.
std::u32string scalars(std::string_view s);
std::string fromScalars(std::u32string_view scalars);
std::string fromScalar(char32_t scalar);
// The single scalar of s, or nullopt when s is not exactly one scalar.
std::optional<char32_t> singleScalar(std::string_view s);

bool isValidUTF8(std::string_view s);
// Decodes UTF-8, replacing every invalid sequence with U+FFFD.
std::string decodeLossy(std::string_view bytes);

// Length in UTF-16 code units, the unit of marked-text positions.
std::size_t utf16Length(std::string_view s);

// Decodes EUC-JP text (dictionary sources); nullopt when the converter fails.
std::optional<std::string> fromEUCJP(std::string_view bytes);

}  // namespace text
}  // namespace orvane

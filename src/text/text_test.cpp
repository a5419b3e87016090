#include "text/text.h"

#include <gtest/gtest.h>
#include <unicode/brkiter.h>
#include <unicode/normalizer2.h>
#include <unicode/translit.h>
#include <unicode/uchar.h>

#include <map>
#include <memory>
#include <random>

namespace orvane::text {
namespace {

// The splitting, NFC, the case mappings and three of the transforms are held
// to ICU below; these are what that comparison does not reach.
TEST(Text, InvalidBytesEquivalenceAndKatakanaToHiragana) {
  EXPECT_EQ(characters("a\xff"), (Characters{"a", "\uFFFD"}));  // never a crash
  EXPECT_TRUE(characters("").empty());
  EXPECT_TRUE(canonicallyEqual("が", "か\u3099"));
  EXPECT_FALSE(canonicallyEqual("が", "か"));
  EXPECT_EQ(katakanaToHiragana("カンジ"), "かんじ");
  EXPECT_EQ(katakanaToHiragana("コンピューター・ヴ"), "こんぴゅーたー・ゔ");
}

TEST(Text, CharacterClasses) {
  struct Case {
    const char* ch;
    bool upper, letter, ascii;
  } cases[] = {
      {"A", true, true, true},   {"a", false, true, true},   {"1", false, false, true},
      {"!", false, false, true}, {"あ", false, true, false}, {"Ａ", true, true, false},
      {"É", true, true, false},  {"E\u0301", true, true, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(isUpperCase(c.ch), c.upper) << c.ch;
    EXPECT_EQ(isLetter(c.ch), c.letter) << c.ch;
    EXPECT_EQ(isASCII(c.ch), c.ascii) << c.ch;
  }
}

TEST(Text, UTF16LengthsAndValidity) {
  EXPECT_EQ(utf16Length("かn"), 2u);
  EXPECT_EQ(utf16Length("😀"), 2u);
  EXPECT_TRUE(isValidUTF8("かな"));
  EXPECT_FALSE(isValidUTF8("\xe3\x81"));
  EXPECT_EQ(decodeLossy("a\xe3\x81"), "a\uFFFD");
  EXPECT_EQ(singleScalar("！"), U'\uFF01');
  EXPECT_FALSE(singleScalar("ab"));
}

// The transforms, the case mappings and the splitting into characters take
// shortcuts for kana and ASCII; ICU itself is the reference they must match.
std::string icuTransliterated(const char* id, UTransDirection direction, const std::string& s) {
  static std::map<std::pair<std::string, UTransDirection>, std::unique_ptr<icu::Transliterator>> made;
  auto& t = made[{id, direction}];
  UErrorCode status = U_ZERO_ERROR;
  if (!t) t.reset(icu::Transliterator::createInstance(id, direction, status));
  auto u = icu::UnicodeString::fromUTF8(s);
  t->transliterate(u);
  std::string out;
  return u.toUTF8String(out);
}

std::vector<std::string> icuCharacters(const std::string& s) {
  UErrorCode status = U_ZERO_ERROR;
  static std::unique_ptr<icu::BreakIterator> b(
      icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
  auto u = icu::UnicodeString::fromUTF8(s);
  b->setText(u);
  std::vector<std::string> out;
  for (int32_t start = b->first(), end = b->next(); end != icu::BreakIterator::DONE; start = end, end = b->next()) {
    std::string piece;
    out.push_back(u.tempSubStringBetween(start, end).toUTF8String(piece));
  }
  return out;
}

// Every scalar of the ranges the shortcuts cover, a few beside them, and
// marks and sequences that join with what stands before them.
std::vector<std::string> alphabet() {
  std::vector<std::string> out;
  auto add = [&](char32_t from, char32_t to) {
    for (char32_t c = from; c <= to; ++c) out.push_back(fromScalar(c));
  };
  add(0x20, 0x7E);
  add(0x2F0, 0x36F);
  add(0x3000, 0x30FF);
  add(0xFF01, 0xFF9F);
  for (const char* extra : {"漢", "字", "\u9FFF", "\uA000", "\u4DFF", "\uF900", "\u2000", "\u212B", "\u00C5", "\u3099", "\u309A", "\uFF9E", "\u0301", "\u200D", "😀", "🇯", "🇵", "\r", "\n",
                            "\u1100", "\u1161", "\uAC00", "\u0E33", "\u0600", "é", "ß", "İ"})
    out.emplace_back(extra);
  return out;
}

TEST(Text, ShortcutsMatchICU) {
  const auto letters = alphabet();
  std::vector<std::string> samples = letters;
  std::mt19937 random(15);
  for (int k = 0; k < 20000; ++k) {
    std::string s;
    for (int length = 1 + static_cast<int>(random() % 6); length > 0; --length) s += letters[random() % letters.size()];
    samples.push_back(std::move(s));
  }
  UErrorCode status = U_ZERO_ERROR;
  for (const auto& s : samples) {
    EXPECT_EQ(hiraganaToKatakana(s), icuTransliterated("Hiragana-Katakana", UTRANS_FORWARD, s)) << s;
    EXPECT_EQ(fullwidthToHalfwidth(s), icuTransliterated("Fullwidth-Halfwidth", UTRANS_FORWARD, s)) << s;
    EXPECT_EQ(halfwidthToFullwidth(s), icuTransliterated("Fullwidth-Halfwidth", UTRANS_REVERSE, s)) << s;
    EXPECT_EQ(characters(s), icuCharacters(s)) << s;
    std::string normalized;
    EXPECT_EQ(nfc(s), icu::Normalizer2::getNFCInstance(status)->normalize(icu::UnicodeString::fromUTF8(s), status)
                          .toUTF8String(normalized))
        << s;
    EXPECT_EQ(isNFC(s), nfc(s) == s) << s;
    std::string upper, lower;
    EXPECT_EQ(uppercased(s), icu::UnicodeString::fromUTF8(s).toUpper(icu::Locale::getRoot()).toUTF8String(upper)) << s;
    EXPECT_EQ(lowercased(s), icu::UnicodeString::fromUTF8(s).toLower(icu::Locale::getRoot()).toUTF8String(lower)) << s;
  }
}

TEST(Text, DecodesEUCJP) { EXPECT_EQ(fromEUCJP("\xb4\xc1\xbb\xfa"), "漢字"); }

}  // namespace
}  // namespace orvane::text

#include "text/text.h"

#include <gtest/gtest.h>

namespace orvane::text {
namespace {

TEST(Text, SplitsIntoUserPerceivedCharacters) {
  EXPECT_EQ(characters("かな"), (Characters{"か", "な"}));
  // A combining voiced mark, a flag, a family joined by ZWJ and CR LF are one each.
  EXPECT_EQ(characters("か\u3099"), (Characters{"か\u3099"}));
  EXPECT_EQ(characters("🇯🇵x"), (Characters{"🇯🇵", "x"}));
  EXPECT_EQ(characters("👨‍👩‍👧a").size(), 2u);
  EXPECT_EQ(characters("a\r\nb"), (Characters{"a", "\r\n", "b"}));
  EXPECT_TRUE(characters("").empty());
  // Invalid bytes never crash; they become replacement characters.
  EXPECT_EQ(characters("a\xff"), (Characters{"a", "\uFFFD"}));
}

TEST(Text, CanonicalEquivalence) {
  EXPECT_TRUE(canonicallyEqual("が", "か\u3099"));
  EXPECT_FALSE(canonicallyEqual("が", "か"));
  EXPECT_EQ(nfc("か\u3099"), "が");
}

TEST(Text, CaseMappingsAreLocaleIndependent) {
  EXPECT_EQ(uppercased("toukyou"), "TOUKYOU");
  EXPECT_EQ(lowercased("ToKyo"), "tokyo");
  EXPECT_EQ(lowercased("I"), "i");  // not the Turkish dotless i
  EXPECT_EQ(uppercased("ß"), "SS");
}

TEST(Text, Transforms) {
  EXPECT_EQ(hiraganaToKatakana("とうきょう"), "トウキョウ");
  EXPECT_EQ(hiraganaToKatakana("ゔー"), "ヴー");
  EXPECT_EQ(katakanaToHiragana("カンジ"), "かんじ");
  EXPECT_EQ(katakanaToHiragana("コンピューター・ヴ"), "こんぴゅーたー・ゔ");
  EXPECT_EQ(fullwidthToHalfwidth("ｔｏｋｙｏ！"), "tokyo!");
  EXPECT_EQ(fullwidthToHalfwidth("カナ"), "ｶﾅ");
  EXPECT_EQ(halfwidthToFullwidth("Tokyo!~"), "Ｔｏｋｙｏ！～");
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

TEST(Text, DecodesEUCJP) { EXPECT_EQ(fromEUCJP("\xb4\xc1\xbb\xfa"), "漢字"); }

}  // namespace
}  // namespace orvane::text

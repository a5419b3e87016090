#include "composer/romaji_composer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orvane {
namespace {

// One key per character; editing commands in angle brackets, <LIT>x inserts x literally.
void play(RomajiComposer& c, std::string_view keys) {
  const auto chars = text::characters(keys);
  for (std::size_t i = 0; i < chars.size(); ++i) {
    if (chars[i] != "<") {
      c.input(chars[i]);
      continue;
    }
    std::string command;
    while (chars[++i] != ">") command += chars[i];
    if (command == "BS") c.backspace();
    else if (command == "DEL") c.deleteForward();
    else if (command == "FLUSH") c.flush();
    else if (command == "LEFT") c.moveCursor(-1);
    else if (command == "LIT") c.insertLiteral(chars[++i]);
  }
}

TEST(RomajiComposerTest, TypingTurnsRomajiIntoKanaAndKeepsKeystrokes) {
  struct { std::string keys, kana, raws /* joined with | */, pending; } cases[] = {
      {"ka", "か", "ka", ""},          {"kya", "きゃ", "kya|", ""},      {"kka", "っか", "k|ka", ""},
      {"cchi", "っち", "c|chi", ""},   {"ssha", "っしゃ", "s|sha|", ""}, {"ww", "っ", "w", "w"},
      {"yy", "っ", "y", "y"},          {"qq", "っ", "q", "q"},           {"nn", "ん", "nn", ""},
      {"n'", "ん", "n'", ""},          {"nna", "んあ", "nn|a", ""},      {"nnn", "ん", "nn", "n"},
      {"kanji", "かんじ", "ka|n|ji", ""}, {"konnnichiha", "こんにちは", "ko|nn|ni|chi|ha", ""},
      {"n", "", "", "n"},              {"nyk", "んy", "n|y", "k"},       {"kq", "k", "k", "q"},
      {"1", "１", "1", ""},            {"!", "！", "!", ""},             {"-", "ー", "-", ""},
      {"~", "〜", "~", ""},            {" ", " ", " ", ""},              {"xka", "ヵ", "xka", ""},
      {"lke", "ヶ", "lke", ""},        {"wu", "う", "wu", ""},           {"vu", "ゔ", "vu", ""},
      {"qu", "く", "qu", ""},          {"di", "ぢ", "di", ""},           {"du", "づ", "du", ""},
      {"ltsu", "っ", "ltsu", ""},      {"é", "é", "é", ""},
      // Keys the table lacks fall back one character at a time.
      {"yi", "yい", "y|i", ""},        {"cya", "cや", "c|ya", ""},       {"xn", "x", "x", "n"},
      {"dzu", "dず", "d|zu", ""},
      // Pending romaji is lower-case even when the key is not a letter of ASCII.
      {"k2", "k２", "k|2", ""},
      {"kt<BS>", "", "", "k"},         {"kt<BS>a", "か", "ka", ""},      {"kk<BS>", "っ", "k", ""},
      {"ka<BS>", "", "", ""},          {"n<FLUSH>", "ん", "n", ""},      {"ny<FLUSH>", "ny", "n|y", ""},
      {"kan<LEFT>", "かん", "ka|n", ""}, {"ka<LEFT><LIT>1", "1か", "1|ka", ""},
      {"ai<LEFT><LEFT><DEL>", "い", "i", ""}, {"a<DEL>", "あ", "a", ""},
      {"<BS><DEL><LEFT><FLUSH>", "", "", ""},
      // Upper case starts an alphabet run in which everything goes in as typed.
      {"Tokyo", "Tokyo", "T|o|k|y|o", ""}, {"ToKyo", "ToKyo", "T|o|K|y|o", ""}, {"kaT1", "かT1", "ka|T|1", ""},
      {"nT", "んT", "n|T", ""},        {"To<BS><BS>ka", "か", "ka", ""},
  };
  for (const auto& tc : cases) {
    RomajiComposer c;
    play(c, tc.keys);
    std::string raws;
    for (std::size_t i = 0; i < c.raws().size(); ++i) raws += (i ? "|" : "") + c.raws()[i];
    EXPECT_EQ(c.kana(), tc.kana) << tc.keys;
    EXPECT_EQ(raws, tc.raws) << tc.keys;
    EXPECT_EQ(c.pending(), tc.pending) << tc.keys;
    EXPECT_TRUE(c.cursor() >= 0 && c.cursor() <= c.length()) << tc.keys;
  }
}

TEST(RomajiComposerTest, EquivalentSpellingsGiveTheSameKana) {
  const std::vector<std::pair<std::string, std::string>> pairs = {
      {"si", "shi"}, {"ti", "chi"}, {"tu", "tsu"}, {"hu", "fu"}, {"zi", "ji"},
      {"ca", "ka"},  {"sya", "sha"}, {"xtu", "ltu"}, {"jya", "ja"},
  };
  for (const auto& [a, b] : pairs) {
    RomajiComposer x, y;
    play(x, a);
    play(y, b);
    EXPECT_EQ(x.kana(), y.kana()) << a << " / " << b;
    EXPECT_FALSE(x.kana().empty()) << a;
  }
}

TEST(RomajiComposerTest, PendingRomajiShowsAtTheCursor) {
  RomajiComposer c;
  play(c, "kanaka<LEFT><LEFT>sh");
  EXPECT_EQ(c.text(), "かshなか");
  EXPECT_EQ(c.textCursor(), 3);
  c.input("i");
  EXPECT_EQ(c.text(), "かしなか");
  EXPECT_EQ(c.textCursor(), 2);
  EXPECT_EQ(c.raw(0, 2), "kashi");
}

TEST(RomajiComposerTest, CursorNeverLeavesTheComposition) {
  RomajiComposer c;
  play(c, "aiu");
  for (int64_t by : {int64_t{-1}, int64_t{5}, INT64_MIN, INT64_MAX, int64_t{-2}, int64_t{1}, int64_t{-100}}) {
    c.moveCursor(by);
    EXPECT_TRUE(c.cursor() >= 0 && c.cursor() <= 3) << by;
  }
  c.moveCursor(INT64_MIN);
  EXPECT_EQ(c.cursor(), 0);
}

TEST(RomajiComposerTest, AlphabetRunEndsOnlyWhenTheCompositionEmpties) {
  RomajiComposer c;
  play(c, "Ab<LEFT><FLUSH><LIT>1");
  c.moveCursorToEnd();
  c.deleteForward();
  play(c, "<BS><BS>");
  EXPECT_TRUE(c.isAlphabetRun());
  c.backspace();
  EXPECT_TRUE(c.isEmpty());
  EXPECT_FALSE(c.isAlphabetRun());

  play(c, "Xka");
  c.moveCursor(-10);
  play(c, "<DEL><DEL>");
  EXPECT_TRUE(c.isAlphabetRun());
  c.deleteForward();
  EXPECT_FALSE(c.isAlphabetRun());

  play(c, "Q");
  c.reset();
  EXPECT_FALSE(c.isAlphabetRun());
  EXPECT_EQ(c.cursor(), 0);
}

TEST(RomajiComposerTest, RawOfARangeJoinsItsKeystrokes) {
  RomajiComposer c;
  play(c, "kyoutoha");  // きょうとは
  EXPECT_EQ(c.raw(0, 2), "kyo");
  EXPECT_EQ(c.raw(1, 2), "");
  EXPECT_EQ(c.raw(2, 5), "utoha");
  // A caller's range past the end is clamped, never read out of bounds.
  EXPECT_EQ(c.raw(4, 99), "ha");
  EXPECT_EQ(c.raw(-3, 1), "kyo");
}

TEST(RomajiComposerTest, SpellingsTheTableLeavesOut) {
  for (const char* absent : {"wyi", "wye", "cyu", "cyo"}) EXPECT_FALSE(RomajiComposer::table().contains(absent)) << absent;
}

}  // namespace
}  // namespace orvane

#include "composer/romaji_composer.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace orvane {
namespace {

// Keys: one character each, or an editing command in angle brackets.
void play(RomajiComposer& c, const std::vector<std::string>& keys) {
  for (const auto& k : keys) {
    if (k == "<BS>") c.backspace();
    else if (k == "<DEL>") c.deleteForward();
    else if (k == "<FLUSH>") c.flush();
    else if (k == "<LEFT>") c.moveCursor(-1);
    else if (k == "<RIGHT>") c.moveCursor(1);
    else if (k == "<END>") c.moveCursorToEnd();
    else if (k.rfind("<LIT>", 0) == 0) c.insertLiteral(k.substr(5));
    else c.input(k);
  }
}

std::vector<std::string> keysOf(const std::string& typed) {
  std::vector<std::string> keys;
  for (const auto& ch : text::characters(typed)) keys.push_back(ch);
  return keys;
}

std::string joinRaws(const RomajiComposer& c) {
  std::string out;
  for (std::size_t i = 0; i < c.raws().size(); ++i) out += (i ? "|" : "") + c.raws()[i];
  return out;
}

struct TypingCase {
  std::vector<std::string> keys;
  std::string kana;
  std::string raws;  // joined with |
  std::string pending;
};

TEST(RomajiComposerTest, TypingTurnsRomajiIntoKanaAndKeepsKeystrokes) {
  const std::vector<TypingCase> cases = {
      {keysOf("ka"), "か", "ka", ""},
      {keysOf("kya"), "きゃ", "kya|", ""},
      {keysOf("kka"), "っか", "k|ka", ""},
      {keysOf("cchi"), "っち", "c|chi", ""},
      {keysOf("ssha"), "っしゃ", "s|sha|", ""},
      {keysOf("ww"), "っ", "w", "w"},
      {keysOf("yy"), "っ", "y", "y"},
      {keysOf("qq"), "っ", "q", "q"},
      {keysOf("nn"), "ん", "nn", ""},
      {keysOf("n'"), "ん", "n'", ""},
      {keysOf("nna"), "んあ", "nn|a", ""},
      {keysOf("nnn"), "ん", "nn", "n"},
      {keysOf("kanji"), "かんじ", "ka|n|ji", ""},
      {keysOf("konnnichiha"), "こんにちは", "ko|nn|ni|chi|ha", ""},
      {keysOf("n"), "", "", "n"},
      {keysOf("nyk"), "んy", "n|y", "k"},
      {keysOf("kq"), "k", "k", "q"},
      {keysOf("1"), "１", "1", ""},
      {keysOf("!"), "！", "!", ""},
      {keysOf("-"), "ー", "-", ""},
      {keysOf("~"), "〜", "~", ""},
      {keysOf(" "), " ", " ", ""},
      {keysOf("xka"), "ヵ", "xka", ""},
      {keysOf("lke"), "ヶ", "lke", ""},
      {keysOf("wu"), "う", "wu", ""},
      {keysOf("vu"), "ゔ", "vu", ""},
      {keysOf("qu"), "く", "qu", ""},
      {keysOf("di"), "ぢ", "di", ""},
      {keysOf("du"), "づ", "du", ""},
      {keysOf("ltsu"), "っ", "ltsu", ""},
      {keysOf("é"), "é", "é", ""},
      // Keys the table lacks fall back one character at a time.
      {keysOf("yi"), "yい", "y|i", ""},
      {keysOf("cya"), "cや", "c|ya", ""},
      {keysOf("xn"), "x", "x", "n"},
      {keysOf("dzu"), "dず", "d|zu", ""},
      // Pending romaji is lower-case even when the key is not a letter of ASCII.
      {keysOf("k2"), "k２", "k|2", ""},
      // Editing.
      {{"k", "t", "<BS>"}, "", "", "k"},
      {{"k", "t", "<BS>", "a"}, "か", "ka", ""},
      {{"k", "k", "<BS>"}, "っ", "k", ""},
      {{"k", "a", "<BS>"}, "", "", ""},
      {{"n", "<FLUSH>"}, "ん", "n", ""},
      {{"n", "y", "<FLUSH>"}, "ny", "n|y", ""},
      {{"k", "a", "n", "<LEFT>"}, "かん", "ka|n", ""},
      {{"k", "a", "<LEFT>", "<LIT>1"}, "1か", "1|ka", ""},
      {{"a", "i", "<LEFT>", "<LEFT>", "<DEL>"}, "い", "i", ""},
      {{"a", "<DEL>"}, "あ", "a", ""},
      {{"<BS>", "<DEL>", "<LEFT>", "<FLUSH>"}, "", "", ""},
      // Upper case starts an alphabet run in which everything goes in as typed.
      {keysOf("Tokyo"), "Tokyo", "T|o|k|y|o", ""},
      {keysOf("ToKyo"), "ToKyo", "T|o|K|y|o", ""},
      {keysOf("kaT1"), "かT1", "ka|T|1", ""},
      {keysOf("nT"), "んT", "n|T", ""},
      {{"T", "o", "<BS>", "<BS>", "k", "a"}, "か", "ka", ""},
  };
  for (const auto& tc : cases) {
    RomajiComposer c;
    play(c, tc.keys);
    std::string label;
    for (const auto& k : tc.keys) label += k;
    EXPECT_EQ(c.kana(), tc.kana) << label;
    EXPECT_EQ(joinRaws(c), tc.raws) << label;
    EXPECT_EQ(c.pending(), tc.pending) << label;
    EXPECT_GE(c.cursor(), 0) << label;
    EXPECT_LE(c.cursor(), c.length()) << label;
    EXPECT_EQ(c.raws().size(), static_cast<std::size_t>(c.length())) << label;
    if (c.isAlphabetRun()) {
      EXPECT_EQ(c.pending(), "") << label;
    }
  }
}

TEST(RomajiComposerTest, EquivalentSpellingsGiveTheSameKana) {
  const std::vector<std::pair<std::string, std::string>> pairs = {
      {"si", "shi"}, {"ti", "chi"}, {"tu", "tsu"}, {"hu", "fu"}, {"zi", "ji"},
      {"ca", "ka"},  {"sya", "sha"}, {"xtu", "ltu"}, {"jya", "ja"},
  };
  for (const auto& [a, b] : pairs) {
    RomajiComposer x, y;
    play(x, keysOf(a));
    play(y, keysOf(b));
    EXPECT_EQ(x.kana(), y.kana()) << a << " / " << b;
    EXPECT_FALSE(x.kana().empty()) << a;
  }
}

TEST(RomajiComposerTest, PendingRomajiShowsAtTheCursor) {
  RomajiComposer c;
  play(c, keysOf("kanaka"));  // かなか
  c.moveCursor(-2);
  play(c, {"s", "h"});
  EXPECT_EQ(c.text(), "かshなか");
  EXPECT_EQ(c.cursor(), 1);
  EXPECT_EQ(c.textCursor(), 3);
  c.input("i");
  EXPECT_EQ(c.text(), "かしなか");
  EXPECT_EQ(c.textCursor(), 2);
  EXPECT_EQ(c.raw(0, 2), "kashi");

  RomajiComposer k;
  play(k, keysOf("kan"));
  EXPECT_EQ(k.text(), "かn");
  EXPECT_EQ(k.textCursor(), 2);
}

TEST(RomajiComposerTest, CursorNeverLeavesTheComposition) {
  RomajiComposer c;
  play(c, keysOf("aiu"));
  for (int64_t by : {int64_t{-1}, int64_t{5}, INT64_MIN, INT64_MAX, int64_t{-2}, int64_t{1}, int64_t{-100}}) {
    c.moveCursor(by);
    EXPECT_GE(c.cursor(), 0) << by;
    EXPECT_LE(c.cursor(), 3) << by;
  }
  c.moveCursor(INT64_MIN);
  EXPECT_EQ(c.cursor(), 0);
  c.moveCursor(INT64_MAX);
  EXPECT_EQ(c.cursor(), 3);
}

TEST(RomajiComposerTest, AlphabetRunEndsOnlyWhenTheCompositionEmpties) {
  RomajiComposer c;
  play(c, keysOf("Ab"));
  c.moveCursor(-1);
  c.flush();
  c.insertLiteral("1");
  EXPECT_TRUE(c.isAlphabetRun());
  c.moveCursorToEnd();
  c.deleteForward();
  EXPECT_TRUE(c.isAlphabetRun());
  c.backspace();
  c.backspace();
  EXPECT_TRUE(c.isAlphabetRun());
  c.backspace();
  EXPECT_TRUE(c.isEmpty());
  EXPECT_FALSE(c.isAlphabetRun());

  play(c, keysOf("Xka"));
  c.moveCursor(-10);
  c.deleteForward();
  c.deleteForward();
  EXPECT_TRUE(c.isAlphabetRun());
  c.deleteForward();
  EXPECT_FALSE(c.isAlphabetRun());

  play(c, keysOf("Q"));
  c.reset();
  EXPECT_FALSE(c.isAlphabetRun());
  EXPECT_TRUE(c.isEmpty());
  EXPECT_EQ(c.cursor(), 0);
}

TEST(RomajiComposerTest, RawOfARangeJoinsItsKeystrokes) {
  RomajiComposer c;
  play(c, keysOf("kyoutoha"));  // きょうとは
  EXPECT_EQ(c.raw(0, 2), "kyo");
  EXPECT_EQ(c.raw(1, 2), "");
  EXPECT_EQ(c.raw(2, 5), "utoha");
  EXPECT_EQ(c.raw(0, c.length()), "kyoutoha");
  EXPECT_EQ(c.raw(3, 3), "");
  // A caller's range past the end is clamped, never read out of bounds.
  EXPECT_EQ(c.raw(4, 99), "ha");
  EXPECT_EQ(c.raw(-3, 1), "kyo");
}

TEST(RomajiComposerTest, TableAndPrefixesHaveTheirFixedSizes) {
  const auto& table = RomajiComposer::table();
  EXPECT_EQ(table.size(), 214u);
  const std::set<std::string> expected = {
      "b", "by", "c", "ch", "cy", "d",  "dh", "dw",  "dy", "f",  "fy", "g",  "gw", "gy",
      "h", "hy", "j", "jy", "k",  "kw", "ky", "l",   "lk", "lt", "lts", "lw", "ly", "m",
      "my", "n", "ny", "p", "py", "q",  "r",  "ry",  "s",  "sh", "sy", "t",  "th", "ts",
      "tw", "ty", "v", "w", "x",  "xk", "xt", "xts", "xw", "xy", "y",  "z",  "zy"};
  const auto& prefixes = RomajiComposer::prefixes();
  EXPECT_EQ(std::set<std::string>(prefixes.begin(), prefixes.end()), expected);
  for (const auto& [key, value] : table) {
    auto n = text::characterCount(value);
    EXPECT_TRUE(n == 1 || n == 2) << key;
  }
  for (const char* absent : {"yi", "wyi", "wye", "dzu", "cya", "cyu", "cyo", "xn"})
    EXPECT_FALSE(table.contains(absent)) << absent;
  EXPECT_EQ(table.at("~"), "\u301C");
  EXPECT_EQ(table.at("vu"), "\u3094");
}

}  // namespace
}  // namespace orvane

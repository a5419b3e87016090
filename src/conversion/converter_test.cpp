#include "conversion/converter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dictionary/emoji_support.h"
#include "dictionary/kana_dictionary.h"
#include "learning/learning.h"
#include "learning/segmentation.h"
#include "platform/services.h"
#include "testing/environment.h"

namespace orvane {
namespace {

using Converter::Node;
using testing::WordLine;

// Every string is one picture in the emoji font: the filter is not under test here.
class DrawsEverything final : public platform::TextLayout {
 public:
  platform::TextLayoutResult layout(std::string_view) override { return {1, "Emoji"}; }
  std::optional<std::string> fontName() const override { return "Emoji"; }
};

// Ids 10 to 13 are ordinary nouns, 20 a particle, 30 a noun suffix, 40 a
// prefix, 45 a symbol. The connection table is 50 x 50, so the fall-back ids
// 1851 and 2644 lie outside it and connect at cost 0.
class ConverterTest : public ::testing::Test {
 protected:
  void SetUp() override {
    env.writeParts({{10, "名詞,一般,*,*,*,*,*"},
                    {11, "名詞,一般,*,*,*,*,*"},
                    {12, "名詞,一般,*,*,*,*,*"},
                    {13, "名詞,一般,*,*,*,*,*"},
                    {20, "助詞,格助詞,一般,*,*,*,*"},
                    {30, "名詞,接尾,一般,*,*,*,*"},
                    {40, "接頭詞,名詞接続,*,*,*,*,*"},
                    {45, "記号,一般,*,*,*,*,*"}});
    env.writeConnection(50, 0);
    EmojiSupport::resetForTesting(&layout);
  }
  void TearDown() override { EmojiSupport::resetForTesting(); }

  static std::vector<Node> path(std::string_view reading, const std::set<int64_t>& boundaries = {}) {
    KanaDictionary::preload();
    Learning::reloadIfNeeded();
    Segmentation::reloadIfNeeded();
    return Converter::bestPath(text::characters(reading), boundaries);
  }

  // "surface@begin-end" per node: the shape of a path at a glance.
  static std::vector<std::string> shape(const std::vector<Node>& nodes) {
    std::vector<std::string> out;
    for (const auto& n : nodes) {
      out.push_back(n.word.surface + "@" + std::to_string(n.begin) + "-" + std::to_string(n.end));
    }
    return out;
  }

  static std::vector<int64_t> totals(const std::vector<Node>& nodes) {
    std::vector<int64_t> out;
    for (const auto& n : nodes) out.push_back(n.total);
    return out;
  }

  testing::Environment env;
  DrawsEverything layout;
};

using Strings = std::vector<std::string>;

TEST_F(ConverterTest, EmptyReadingGivesNoPathAndNoClauses) {
  EXPECT_TRUE(path("").empty());
  EXPECT_TRUE(Converter::convert(Characters{}).empty());
}

TEST_F(ConverterTest, UnknownTextFallsBackToItself) {
  // Kana fall back one character at a time (1851, 15000, plus 600 as
  // hiragana content or 500 as katakana); other runs fall back whole
  // (2644, 5000) and stop where kana begin.
  struct Case {
    std::string reading;
    Strings shape;
    std::vector<int64_t> totals;
    int64_t leftID;
  } cases[] = {
      {"ぬぬ", {"ぬ@0-1", "ぬ@1-2"}, {15600, 31200}, 1851},
      {"ヌ", {"ヌ@0-1"}, {15500}, 1851},
      {"か\u3099", {"か\u3099@0-1"}, {15600}, 1851},  // one character of two scalars
      {"ab12", {"ab12@0-4"}, {5000}, 2644},
      {"ab\U0001F600ぬ", {"ab\U0001F600@0-3", "ぬ@3-4"}, {5000, 20600}, 2644},
      {"ぬab", {"ぬ@0-1", "ab@1-3"}, {15600, 20600}, 1851},
  };
  for (const auto& c : cases) {
    auto nodes = path(c.reading);
    EXPECT_EQ(shape(nodes), c.shape) << c.reading;
    EXPECT_EQ(totals(nodes), c.totals) << c.reading;
    ASSERT_FALSE(nodes.empty());
    EXPECT_EQ(nodes.front().word.leftID, c.leftID) << c.reading;
    EXPECT_EQ(nodes.front().word.rightID, c.leftID) << c.reading;
    EXPECT_EQ(nodes.front().word.reading, nodes.front().word.surface) << c.reading;
  }
}

TEST_F(ConverterTest, FullWidthSymbolsAreLookedUpInASCII) {
  env.writeWords({{"!", 45, 45, 120, "!"}, {"1", 45, 45, 50, "1"}, {"A", 45, 45, 50, "A"}});
  auto bang = path("！！");
  EXPECT_EQ(shape(bang), (Strings{"！@0-1", "！@1-2"}));
  EXPECT_EQ(totals(bang), (std::vector<int64_t>{120, 240}));
  EXPECT_EQ(bang[0].word, (Word{"！", "！", 45, 45, 120}));

  // Full-width digits and letters are not symbols: only their fall-back.
  for (std::string reading : {"１", "Ａ"}) {
    auto nodes = path(reading);
    ASSERT_EQ(nodes.size(), 1u) << reading;
    EXPECT_EQ(nodes[0].word, (Word{reading, reading, 2644, 2644, 5000})) << reading;
  }
}

TEST_F(ConverterTest, LearnedBoundaryKeepsWordsFromStraddlingIt) {
  env.writeWords({{"あいうえ", 10, 10, 100, "亜伊宇絵"},
                  {"あい", 10, 10, 3000, "愛"},
                  {"うえ", 10, 10, 3000, "上"},
                  {"いう", 10, 10, 10, "言う"}});
  struct Case {
    std::string reading;
    std::set<int64_t> boundaries;
    Strings shape;
  } cases[] = {
      {"あいうえ", {}, {"亜伊宇絵@0-4"}},
      {"あいうえ", {2}, {"愛@0-2", "上@2-4"}},
      {"あいうえ", {0, 4}, {"亜伊宇絵@0-4"}},  // a word may begin or end on one
      {"abcd", {2}, {"abcd@0-4"}},             // the fall-back word is never dropped
  };
  for (const auto& c : cases) EXPECT_EQ(shape(path(c.reading, c.boundaries)), c.shape) << c.reading;
}

TEST_F(ConverterTest, EqualTotalsGoToTheNodeCreatedFirst) {
  // あい (made at 0) and あ+い (い made at 1) both reach 2 at 2000; the
  // first-made wins. 缶 and 館 tie at the same place; 缶 comes first in the file.
  env.writeWords({{"あ", 10, 10, 1000, "亜"},
                  {"い", 10, 10, 1000, "伊"},
                  {"あい", 10, 10, 2000, "愛"},
                  {"う", 10, 10, 500, "宇"},
                  {"かん", 10, 10, 700, "館"},
                  {"かん", 10, 10, 700, "缶"},
                  {"が", 20, 20, 100, "が"}});
  EXPECT_EQ(shape(path("あいう")), (Strings{"愛@0-2", "宇@2-3"}));
  EXPECT_EQ(shape(path("かん")), (Strings{"缶@0-2"}));
  EXPECT_EQ(shape(path("かんが")), (Strings{"缶@0-2", "が@2-3"}));
}

TEST_F(ConverterTest, SearchAdjustsWordCostsButKeepsTheDictionaryCost) {
  env.writeWords({{"やま", 10, 10, 2000, "山"},
                  {"そら", 10, 10, 2000, "そら"},
                  {"ぱん", 10, 10, 2000, "パン"},
                  {"を", 20, 20, 2000, "を"},
                  {"さん", 30, 30, 2000, "さん"},
                  {"め", 30, 30, 2000, "目"},
                  {"ご", 40, 40, 2000, "ご"},
                  {"かな", 10, 10, 2500, "仮名"},
                  {"さくら", 10, 10, 4000, "桜"},
                  {"かんじじ", 10, 10, 5000, "漢字時"},
                  {"いぬ", 10, 10, 1500, "犬"},
                  {"ねこ", 10, 10, 1000, "ねこ"}});
  Learning::record({{"かな", "仮名"}, {"さくら", "桜"}, {"かんじじ", "漢字時"}, {"いぬ", "犬"}, {"ねこ", "ねこ"}});
  struct Case {
    std::string reading;
    int64_t total;
  } cases[] = {
      {"やま", 2000},      // content word in kanji
      {"そら", 2600},      // content word in hiragana
      {"ぱん", 2500},      // content word in katakana
      {"を", 2000},        // attached: no script penalty
      {"さん", 2000},      // suffix of two characters
      {"め", 3000},        // suffix of one character
      {"ご", 2000},        // prefix: no script penalty
      {"かな", 500},       // learned, two characters: 2000 off
      {"さくら", 1000},    // learned, three characters: 3000 off
      {"かんじじ", 2000},  // learned, four characters: still 3000 off
      {"いぬ", 0},         // learned: never below 0
      {"ねこ", 0},         // the hiragana penalty comes before the bonus is cut at 0
  };
  for (const auto& c : cases) {
    auto nodes = path(c.reading);
    ASSERT_EQ(nodes.size(), 1u) << c.reading;
    EXPECT_EQ(nodes[0].total, c.total) << c.reading;
  }
  EXPECT_EQ(path("かな")[0].word.cost, 2500);
  EXPECT_EQ(path("ねこ")[0].word.cost, 1000);
}

TEST_F(ConverterTest, ConnectionCostsChooseThePathAndSumExactly) {
  env.writeWords({{"はし", 10, 10, 1000, "箸"},
                  {"はし", 11, 11, 1000, "橋"},
                  {"いち", 12, 13, -3'000'000'000, "壱"},
                  {"に", 13, 12, -3'000'000'000, "弐"}});
  // The end of text counts in the choice though it is not in any total.
  env.writeConnection(50, 0, {{{10, 0}, 300}, {{0, 12}, 5}, {{13, 13}, -7}});
  auto bridge = path("はし");
  EXPECT_EQ(shape(bridge), (Strings{"橋@0-2"}));
  EXPECT_EQ(totals(bridge), (std::vector<int64_t>{1000}));

  // Sums beyond 32 bits, with the start-of-text connection (5) and a negative one.
  EXPECT_EQ(totals(path("いちに")), (std::vector<int64_t>{-2'999'999'995, -6'000'000'002}));
}

// Clauses ------------------------------------------------------------------

struct Expected {
  std::string text;
  std::optional<ReadingSurface> head;
};

void expectCandidates(const Clause& clause, const std::vector<Expected>& expected) {
  ASSERT_EQ(clause.candidates.size(), expected.size()) << ::testing::PrintToString(clause.texts());
  for (std::size_t k = 0; k < expected.size(); ++k) {
    EXPECT_EQ(clause.candidates[k].text, expected[k].text) << k;
    EXPECT_EQ(clause.candidates[k].head, expected[k].head) << clause.candidates[k].text;
  }
}

std::vector<Clause> convert(std::string_view reading) { return Converter::convert(text::characters(reading)); }

std::vector<std::pair<std::string, Range>> clauseShape(const std::vector<Clause>& clauses) {
  std::vector<std::pair<std::string, Range>> out;
  for (const auto& c : clauses) out.emplace_back(c.surface(), c.range);
  return out;
}

class ClauseTest : public ConverterTest {
 protected:
  void SetUp() override {
    ConverterTest::SetUp();
    // Lattice: 猫 1000, ネコ 1700, 根子 1500; 寝子画 1700 loses to 猫が 1200.
    env.writeWords({{"ねこ", 10, 10, 1000, "猫"},
                    {"ねこ", 10, 10, 1200, "ネコ"},
                    {"ねこ", 11, 11, 1500, "根子"},
                    {"が", 20, 20, 200, "が"},
                    {"ねこが", 12, 12, 1700, "寝子画"}});
    env.writeSymbols("ねこ\t※ 〓\nねこが\t★\n");
    env.writeEmoji("ねこ\t\U0001F431\n");
  }
};

TEST_F(ClauseTest, CandidatesComeInSourceOrder) {
  // Scored: 猫が 1200, ネコが 1900 + 3000, 根子が 1700, then the whole
  // reading's 寝子画 1700, which ties with 根子が and so follows it.
  auto clauses = convert("ねこが");
  ASSERT_EQ(clauses.size(), 1u);
  EXPECT_EQ(clauses[0].range, (Range{0, 3}));
  EXPECT_EQ(clauses[0].reading, "ねこが");
  ReadingSurface cat{"ねこ", "猫"};
  expectCandidates(clauses[0], {{"猫が", cat},
                                {"根子が", ReadingSurface{"ねこ", "根子"}},
                                {"寝子画", ReadingSurface{"ねこが", "寝子画"}},
                                {"ネコが", ReadingSurface{"ねこ", "ネコ"}},
                                {"★", std::nullopt},
                                {"\U0001F431が", ReadingSurface{"ねこ", "\U0001F431"}},
                                {"※が", ReadingSurface{"ねこ", "※"}},
                                {"〓が", ReadingSurface{"ねこ", "〓"}},
                                {"ねこが", std::nullopt},
                                {"ネコガ", std::nullopt}});
}

TEST_F(ClauseTest, OneWordClauseHasNoHeadVariants) {
  // Emoji and symbols of the reading stay headless: a head variant would
  // have given them the head (ねこ, e).
  auto clauses = convert("ねこ");
  ASSERT_EQ(clauses.size(), 1u);
  ReadingSurface cat{"ねこ", "猫"};
  expectCandidates(clauses[0], {{"猫", cat},
                                {"根子", ReadingSurface{"ねこ", "根子"}},
                                {"ネコ", ReadingSurface{"ねこ", "ネコ"}},
                                {"\U0001F431", std::nullopt},
                                {"※", std::nullopt},
                                {"〓", std::nullopt},
                                {"ねこ", std::nullopt}});
}

TEST_F(ClauseTest, LearnedSurfacesComeFirstMostRecentFirst) {
  env.setNow(100);
  Learning::record({{"ねこが", "猫が"}});
  env.setNow(200);
  Learning::record({{"ねこが", "根子が"}});
  auto clauses = convert("ねこが");
  ASSERT_EQ(clauses.size(), 1u);
  // Both learned entries are headless; the path and the scored list fill the heads in.
  ASSERT_GE(clauses[0].candidates.size(), 3u);
  EXPECT_EQ(clauses[0].candidates[0], (Candidate{"根子が", ReadingSurface{"ねこ", "根子"}}));
  EXPECT_EQ(clauses[0].candidates[1], (Candidate{"猫が", ReadingSurface{"ねこ", "猫"}}));
  EXPECT_EQ(clauses[0].candidates[2].text, "寝子画");
  EXPECT_EQ(clauses[0].index, 0);
  EXPECT_EQ(clauses[0].surface(), "根子が");
}

TEST_F(ClauseTest, LearnedBoundaryCutsAnAttachedWordOff) {
  Segmentation::record({{"ねこが", 2}});
  auto clauses = convert("ねこが");
  EXPECT_EQ(clauseShape(clauses), (std::vector<std::pair<std::string, Range>>{{"猫", {0, 2}}, {"が", {2, 3}}}));
  EXPECT_EQ(clauseShape(convert("ねこがねこ")),
            (std::vector<std::pair<std::string, Range>>{{"猫", {0, 2}}, {"が", {2, 3}}, {"猫", {3, 5}}}));
}

TEST_F(ClauseTest, FirstClauseLengthIsKeptAndTheRestFollows) {
  Segmentation::record({{"ねこが", 2}});
  using Shape = std::vector<std::pair<std::string, Range>>;
  struct Case {
    std::string reading;
    int64_t k;
    Shape shape;
  } cases[] = {
      // The learned boundary at 2 does not split a first clause of 3...
      {"ねこが", 3, {{"猫が", {0, 3}}}},
      // ...but still applies in the rest, shifted by k.
      {"ねこがねこが", 3, {{"猫が", {0, 3}}, {"猫", {3, 5}}, {"が", {5, 6}}}},
      {"ねこがねこ", 2, {{"猫", {0, 2}}, {"が", {2, 3}}, {"猫", {3, 5}}}},
      {"ねこ", 1, {{"ね", {0, 1}}, {"こ", {1, 2}}}},
      {"ねこ", 0, {{"", {0, 0}}, {"猫", {0, 2}}}},
  };
  for (const auto& c : cases) {
    auto clauses = Converter::convert(text::characters(c.reading), c.k);
    EXPECT_EQ(clauseShape(clauses), c.shape) << c.reading << " " << c.k;
  }
  auto empty = Converter::convert(Characters{}, 0);
  ASSERT_EQ(empty.size(), 1u);
  EXPECT_EQ(empty[0].texts(), Strings{""});
}

TEST_F(ConverterTest, ScriptPenaltiesOfWholeReadingWords) {
  // Each tested word is filed between two words of the score it should get,
  // so it stays in the middle only if its score is exactly that.
  env.writeWords({{"かさ", 10, 10, 2000, "傘"},
                  {"かさ", 11, 11, 1400, "かさ"},  // 1400 + 600
                  {"かさ", 12, 12, 2000, "笠"},
                  {"かさ", 13, 13, 100, "嵩"},
                  {"かみ", 10, 10, 5000, "紙"},
                  {"かみ", 11, 11, 1500, "カミ"},  // 1500 + 500 + 3000
                  {"かみ", 12, 12, 5000, "髪"},
                  {"かみ", 13, 13, 100, "神"}});
  EXPECT_EQ(convert("かさ").at(0).texts(), (Strings{"嵩", "傘", "かさ", "笠", "カサ"}));
  EXPECT_EQ(convert("かみ").at(0).texts(), (Strings{"神", "紙", "カミ", "髪", "かみ"}));
}

TEST_F(ConverterTest, ScoringUsesAFlatLearnedBonusAndNoSuffixPenalty) {
  // Lattice: 久茂 2200 beats 雲 3000 and the learned 蜘蛛 5000 - 2000.
  // Scored: 蜘蛛が 5000 - 3000 + 200 comes before 雲が 3200.
  // め: 女 2400 wins the search over 目 2000 + 1000; scored, 目 is 2000.
  env.writeWords({{"くも", 10, 10, 3000, "雲"},
                  {"くも", 11, 11, 5000, "蜘蛛"},
                  {"くも", 12, 12, 2200, "久茂"},
                  {"が", 20, 20, 200, "が"},
                  {"め", 10, 10, 2500, "芽"},
                  {"め", 11, 11, 2400, "女"},
                  {"め", 30, 30, 2000, "目"}});
  Learning::record({{"くも", "蜘蛛"}});
  EXPECT_EQ(convert("くもが").at(0).texts(), (Strings{"久茂が", "蜘蛛が", "雲が", "くもが", "クモガ"}));
  EXPECT_EQ(convert("め").at(0).texts(), (Strings{"女", "目", "芽", "め", "メ"}));
}

TEST_F(ConverterTest, KanaFormsAreListedOnceInTheirFirstPlace) {
  env.writeWords({{"ぱん", 10, 10, 1000, "パン"}, {"ぱん", 10, 10, 900, "麺麭"}});
  auto clause = convert("ぱん").at(0);
  expectCandidates(clause, {{"麺麭", ReadingSurface{"ぱん", "麺麭"}},
                            {"パン", ReadingSurface{"ぱん", "パン"}},
                            {"ぱん", std::nullopt}});
  EXPECT_EQ(convert("ヌ").at(0).texts(), (Strings{"ヌ", "ﾇ"}));
  EXPECT_EQ(convert("ＡＢ").at(0).texts(), (Strings{"ＡＢ", "AB"}));
}

TEST_F(ConverterTest, PrefixOnlyPathHasNoHead) {
  // お and ご are prefixes, so the two make one clause without a main word:
  // no variants of お (such as 小御) are scored.
  env.writeWords({{"お", 40, 40, 100, "御"}, {"お", 40, 40, 300, "小"}, {"ご", 40, 40, 100, "御"}});
  expectCandidates(convert("おご").at(0), {{"御御", std::nullopt}, {"おご", std::nullopt}, {"オゴ", std::nullopt}});
  // Alone, the prefix is a whole-reading word, which supplies the missing head.
  expectCandidates(convert("お").at(0), {{"御", ReadingSurface{"お", "御"}},
                                          {"小", ReadingSurface{"お", "小"}},
                                          {"お", std::nullopt},
                                          {"オ", std::nullopt}});
}


TEST_F(ConverterTest, FirstClauseIgnoresLearnedBoundaries) {
  // The boundary at 2 keeps 亜伊宇絵 out of a plain conversion, but a first
  // clause the user sized is searched without it.
  env.writeWords({{"あいうえ", 10, 10, 100, "亜伊宇絵"}, {"あい", 10, 10, 3000, "愛"}, {"うえ", 10, 10, 3000, "上"}});
  Segmentation::record({{"あいうえ", 2}});
  EXPECT_EQ(clauseShape(convert("あいうえ")), (std::vector<std::pair<std::string, Range>>{{"愛", {0, 2}}, {"上", {2, 4}}}));
  EXPECT_EQ(clauseShape(Converter::convert(text::characters("あいうえ"), 4)),
            (std::vector<std::pair<std::string, Range>>{{"亜伊宇絵", {0, 4}}}));
}

TEST_F(ConverterTest, EqualScoresKeepTheirGatheringOrder) {
  // Enough equal entries that an unstable sort would reorder them.
  std::vector<WordLine> words;
  Strings expected;
  const char* surfaces[] = {"一", "丁", "七", "万", "丈", "三", "上", "下", "不", "与", "丑", "且",
                            "世", "丘", "丙", "両", "並", "中", "串", "丸", "丹", "主", "乃", "久"};
  for (const char* surface : surfaces) {
    words.push_back({"き", 10, 10, 1000, surface});
    expected.push_back(surface);  // UTF-8 byte order is the file's order
  }
  env.writeWords(words);
  expected.push_back("き");
  expected.push_back("キ");
  EXPECT_EQ(convert("き").at(0).texts(), expected);
}

}  // namespace
}  // namespace orvane

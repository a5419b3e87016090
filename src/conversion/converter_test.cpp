#include "conversion/converter.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <random>

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
using Strings = std::vector<std::string>;
using Totals = std::vector<int64_t>;
using Shape = std::vector<std::pair<std::string, Range>>;

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
    writeClasses(env);
    env.writeConnection(50, 0);
    EmojiSupport::resetForTesting(&layout);
  }
  void TearDown() override { EmojiSupport::resetForTesting(); }

  static void writeClasses(const testing::Environment& to) {
    const std::string noun = "名詞,一般,*,*,*,*,*";
    to.writeParts({{10, noun}, {11, noun}, {12, noun}, {13, noun}, {20, "助詞,格助詞,一般,*,*,*,*"},
                   {30, "名詞,接尾,一般,*,*,*,*"}, {40, "接頭詞,名詞接続,*,*,*,*,*"}, {45, "記号,一般,*,*,*,*,*"}});
  }

  static std::vector<Node> path(std::string_view reading, const std::set<int64_t>& boundaries = {}) {
    KanaDictionary::preload();
    Learning::reloadIfNeeded();
    Segmentation::reloadIfNeeded();
    return Converter::bestPath(text::characters(reading), boundaries);
  }

  // "surface@begin-end" per node: the shape of a path at a glance.
  static Strings shape(const std::vector<Node>& nodes) {
    Strings out;
    for (const auto& n : nodes)
      out.push_back(n.word.surface + "@" + std::to_string(n.begin) + "-" + std::to_string(n.end));
    return out;
  }

  static Totals totals(const std::vector<Node>& nodes) {
    Totals out;
    for (const auto& n : nodes) out.push_back(n.total);
    return out;
  }

  testing::Environment env;
  DrawsEverything layout;
};

std::vector<Clause> convert(std::string_view reading) { return Converter::convert(text::characters(reading)); }

Shape clauseShape(const std::vector<Clause>& clauses) {
  Shape out;
  for (const auto& c : clauses) out.emplace_back(c.surface(), c.range);
  return out;
}

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

TEST_F(ConverterTest, UnknownTextFallsBackToItself) {
  EXPECT_TRUE(path("").empty());
  EXPECT_TRUE(Converter::convert(Characters{}).empty());
  // Kana fall back one character at a time (1851, 15000, plus 600 as
  // hiragana content or 500 as katakana); other runs fall back whole
  // (2644, 5000) and stop where kana begin. Full-width digits and letters
  // are not symbols, so they only have their fall-back.
  struct Case {
    std::string reading;
    Strings shape;
    Totals totals;
    int64_t id;
  } cases[] = {
      {"ぬぬ", {"ぬ@0-1", "ぬ@1-2"}, {15600, 31200}, 1851},
      {"ヌ", {"ヌ@0-1"}, {15500}, 1851},
      {"か\u3099", {"か\u3099@0-1"}, {15600}, 1851},  // one character of two scalars
      {"ab12", {"ab12@0-4"}, {5000}, 2644},
      {"ab\U0001F600ぬ", {"ab\U0001F600@0-3", "ぬ@3-4"}, {5000, 20600}, 2644},
      {"ぬab", {"ぬ@0-1", "ab@1-3"}, {15600, 20600}, 1851},
      {"１", {"１@0-1"}, {5000}, 2644},
      {"Ａ", {"Ａ@0-1"}, {5000}, 2644},
      {"！！", {"！@0-1", "！@1-2"}, {120, 240}, 45},  // full-width symbols are looked up in ASCII
  };
  env.writeWords({{"!", 45, 45, 120, "!"}, {"1", 45, 45, 50, "1"}, {"A", 45, 45, 50, "A"}});
  for (const auto& c : cases) {
    auto nodes = path(c.reading);
    EXPECT_EQ(shape(nodes), c.shape) << c.reading;
    EXPECT_EQ(totals(nodes), c.totals) << c.reading;
    ASSERT_FALSE(nodes.empty());
    EXPECT_EQ(nodes.front().word.leftID, c.id) << c.reading;
    EXPECT_EQ(nodes.front().word.rightID, c.id) << c.reading;
    EXPECT_EQ(nodes.front().word.reading, nodes.front().word.surface) << c.reading;
  }
}

// The search with nothing saved: every reading of every length looked up
// through words(reading), every predecessor walked for every word. Of the
// price rules only the one these words meet: 600 on a content word spelled
// in hiragana, which only the fall-back words are; the random words have
// kanji surfaces and no suffix ids, and nothing is learned.
int64_t priceOf(const Word& w) { return w.cost + (Converter::isHiragana(w.surface) ? 600 : 0); }

int64_t plainBestTotal(const Characters& reading) {
  struct Placed {
    int64_t end;
    int64_t rightID;
    int64_t total;
  };
  const auto n = static_cast<int64_t>(reading.size());
  std::vector<Placed> placed;
  for (int64_t i = 0; i < n; ++i) {
    std::vector<Word> words;
    for (int64_t length = 1; length <= std::min<int64_t>(n - i, 24); ++length) {
      for (auto& w : KanaDictionary::words(text::join(reading, static_cast<std::size_t>(i),
                                                      static_cast<std::size_t>(i + length))))
        words.push_back(std::move(w));
    }
    const auto& character = reading[static_cast<std::size_t>(i)];
    words.push_back(Word{character, character, 1851, 1851, 15000});
    const std::vector<Placed> before = placed;
    for (const auto& w : words) {
      int64_t best = std::numeric_limits<int64_t>::max();
      if (i == 0) best = KanaDictionary::connectionCost(0, w.leftID);
      for (const auto& p : before)
        if (p.end == i) best = std::min(best, p.total + KanaDictionary::connectionCost(p.rightID, w.leftID));
      if (best == std::numeric_limits<int64_t>::max()) continue;
      placed.push_back({i + static_cast<int64_t>(text::characters(w.reading).size()), w.rightID, best + priceOf(w)});
    }
  }
  int64_t best = std::numeric_limits<int64_t>::max();
  for (const auto& p : placed)
    if (p.end == n) best = std::min(best, p.total + KanaDictionary::connectionCost(p.rightID, 0));
  return best;
}

TEST_F(ConverterTest, TheSearchFindsTheCheapestPathOfRandomDictionaries) {
  // Words spread over the system list, an extra list and the user
  // dictionary, sharing readings and prefixes, under random connection
  // costs: what the search saves (stopping look-ups early, one predecessor
  // walk per left id and position) must never lose the cheapest path.
  const std::vector<std::string> kana = {"か", "き", "く", "こ"};
  const std::vector<int64_t> ids = {10, 11, 12, 13, 20, 40};
  std::mt19937 random(15);
  auto pick = [&](auto& from) { return from[random() % from.size()]; };
  auto randomReading = [&](std::size_t length) {
    std::string out;
    for (std::size_t k = 0; k < length; ++k) out += pick(kana);
    return out;
  };
  for (int dictionary = 0; dictionary < 8; ++dictionary) {
    // A fresh directory each time: a rewrite within one clock tick could
    // pass unnoticed.
    testing::Environment fresh;
    writeClasses(fresh);
    std::map<std::pair<int64_t, int64_t>, int16_t> cells;
    for (int64_t from : {int64_t{0}, int64_t{10}, int64_t{11}, int64_t{12}, int64_t{13}, int64_t{20}, int64_t{40}})
      for (int64_t to : {int64_t{0}, int64_t{10}, int64_t{11}, int64_t{12}, int64_t{13}, int64_t{20}, int64_t{40}})
        cells[{from, to}] = static_cast<int16_t>(random() % 4000);
    fresh.writeConnection(50, 0, cells);
    std::vector<WordLine> system, extra;
    std::string user;
    for (int k = 0; k < 60; ++k) {
      const auto reading = randomReading(1 + random() % 6);
      const WordLine line{reading, pick(ids), pick(ids), static_cast<int64_t>(random() % 8000),
                          "字" + std::to_string(k)};
      switch (random() % 4) {
        case 0: extra.push_back(line); break;
        case 1: user += reading + "\t" + line.surface + "\n"; break;
        default: system.push_back(line);
      }
    }
    fresh.writeWords(system);
    fresh.writeWords(extra, "ut-extra.tsv");
    fresh.writeUserDictionary(user);
    for (int k = 0; k < 40; ++k) {
      const auto reading = text::characters(randomReading(1 + random() % 30));
      const auto nodes = path(text::join(reading));
      ASSERT_FALSE(nodes.empty());
      // The path must be whole, its totals its own words' costs, and the cheapest.
      int64_t total = 0;
      int64_t previousRight = 0;
      int64_t position = 0;
      for (const auto& node : nodes) {
        ASSERT_EQ(node.begin, position);
        total += KanaDictionary::connectionCost(previousRight, node.word.leftID) + priceOf(node.word);
        EXPECT_EQ(node.total, total);
        previousRight = node.word.rightID;
        position = node.end;
      }
      ASSERT_EQ(position, static_cast<int64_t>(reading.size()));
      total += KanaDictionary::connectionCost(previousRight, 0);
      EXPECT_EQ(total, plainBestTotal(reading)) << "dictionary " << dictionary << ": " << text::join(reading);
    }
  }
}

TEST_F(ConverterTest, SurfacesThatAreNotUTF8AreDecodedOnThePath) {
  // Bytes that are no UTF-8 are never hiragana: no penalty on 100.
  env.writeWords({{"か", 10, 10, 100, "\xff\xe3\x81"}, {"かか", 10, 10, 900, "\xe3\x81\x8b\xe3"}});
  const auto nodes = path("かか");
  EXPECT_EQ(shape(nodes), (Strings{"\uFFFD\uFFFD@0-1", "\uFFFD\uFFFD@1-2"}));
  EXPECT_EQ(totals(nodes), (Totals{100, 200}));
  EXPECT_EQ(nodes.back().word.reading, "か");
  EXPECT_EQ(nodes.back().previous, std::optional<int64_t>(0));
}

TEST_F(ConverterTest, LearnedBoundaryKeepsWordsFromStraddlingItExceptInASizedFirstClause) {
  env.writeWords({{"あいうえ", 10, 10, 100, "亜伊宇絵"}, {"あい", 10, 10, 3000, "愛"}, {"うえ", 10, 10, 3000, "上"},
                  {"いう", 10, 10, 10, "言う"}});
  const std::tuple<std::string, std::set<int64_t>, Strings> cases[] = {
      {"あいうえ", {}, {"亜伊宇絵@0-4"}},
      {"あいうえ", {2}, {"愛@0-2", "上@2-4"}},
      {"あいうえ", {0, 4}, {"亜伊宇絵@0-4"}},  // a word may begin or end on one
      {"abcd", {2}, {"abcd@0-4"}},             // the fall-back word is never dropped
  };
  for (const auto& [reading, boundaries, expected] : cases)
    EXPECT_EQ(shape(path(reading, boundaries)), expected) << reading;
}

TEST_F(ConverterTest, EqualTotalsGoToTheNodeCreatedFirst) {
  // あい (made at 0) and あ+い (い made at 1) both reach 2 at 2000; the
  // first-made wins. 缶 and 館 tie at the same place; 缶 comes first in the file.
  env.writeWords({{"あ", 10, 10, 1000, "亜"}, {"い", 10, 10, 1000, "伊"}, {"あい", 10, 10, 2000, "愛"},
                  {"う", 10, 10, 500, "宇"}, {"かん", 10, 10, 700, "館"}, {"かん", 10, 10, 700, "缶"},
                  {"が", 20, 20, 100, "が"}});
  EXPECT_EQ(shape(path("あいう")), (Strings{"愛@0-2", "宇@2-3"}));
  EXPECT_EQ(shape(path("かんが")), (Strings{"缶@0-2", "が@2-3"}));
}

TEST_F(ConverterTest, SearchAdjustsWordCostsButKeepsTheDictionaryCost) {
  env.writeWords({{"やま", 10, 10, 2000, "山"}, {"そら", 10, 10, 2000, "そら"}, {"ぱん", 10, 10, 2000, "パン"},
                  {"を", 20, 20, 2000, "を"}, {"さん", 30, 30, 2000, "さん"}, {"め", 30, 30, 2000, "目"},
                  {"ご", 40, 40, 2000, "ご"}, {"かな", 10, 10, 2500, "仮名"}, {"さくら", 10, 10, 4000, "桜"},
                  {"かんじじ", 10, 10, 5000, "漢字時"}, {"いぬ", 10, 10, 1500, "犬"}, {"ねこ", 10, 10, 1000, "ねこ"}});
  Learning::record({{"かな", "仮名"}, {"さくら", "桜"}, {"かんじじ", "漢字時"}, {"いぬ", "犬"}, {"ねこ", "ねこ"}});
  const std::pair<std::string, int64_t> cases[] = {
      {"やま", 2000}, {"そら", 2600}, {"ぱん", 2500},  // content word in kanji, hiragana, katakana
      {"を", 2000}, {"ご", 2000},                    // attached word or prefix: no script penalty
      {"さん", 2000}, {"め", 3000},                  // suffix of two characters, of one
      {"かな", 500}, {"さくら", 1000},               // learned: 2000 off for two characters, 3000 for three
      {"かんじじ", 2000},                            // ...and still 3000 for four
      {"いぬ", 0},                                   // learned: never below 0
      {"ねこ", 0},  // the hiragana penalty comes before the bonus is cut at 0
  };
  for (const auto& [reading, total] : cases) {
    auto nodes = path(reading);
    ASSERT_EQ(nodes.size(), 1u) << reading;
    EXPECT_EQ(nodes[0].total, total) << reading;
  }
  EXPECT_EQ(path("かな")[0].word.cost, 2500);
}

TEST_F(ConverterTest, ConnectionCostsChooseThePathAndSumExactly) {
  env.writeWords({{"はし", 10, 10, 1000, "箸"}, {"はし", 11, 11, 1000, "橋"}, {"いち", 12, 13, -3'000'000'000, "壱"},
                  {"に", 13, 12, -3'000'000'000, "弐"}});
  // The end of text counts in the choice though it is not in any total.
  env.writeConnection(50, 0, {{{10, 0}, 300}, {{0, 12}, 5}, {{13, 13}, -7}});
  auto bridge = path("はし");
  EXPECT_EQ(shape(bridge), (Strings{"橋@0-2"}));
  EXPECT_EQ(totals(bridge), (Totals{1000}));
  // Sums beyond 32 bits, with the start-of-text connection (5) and a negative one.
  EXPECT_EQ(totals(path("いちに")), (Totals{-2'999'999'995, -6'000'000'002}));
}

class ClauseTest : public ConverterTest {
 protected:
  void SetUp() override {
    ConverterTest::SetUp();
    // Lattice: 猫 1000, ネコ 1700, 根子 1500; 寝子画 1700 loses to 猫が 1200.
    env.writeWords({{"ねこ", 10, 10, 1000, "猫"}, {"ねこ", 10, 10, 1200, "ネコ"}, {"ねこ", 11, 11, 1500, "根子"},
                    {"が", 20, 20, 200, "が"}, {"ねこが", 12, 12, 1700, "寝子画"}});
    env.writeSymbols("ねこ\t※ 〓\nねこが\t★\n");
    env.writeEmoji("ねこ\t\U0001F431\n");
  }
  const ReadingSurface cat{"ねこ", "猫"}, root{"ねこ", "根子"}, kana{"ねこ", "ネコ"};
};

TEST_F(ClauseTest, CandidatesComeInSourceOrder) {
  // Scored: 猫が 1200, ネコが 1900 + 3000, 根子が 1700, then the whole
  // reading's 寝子画 1700, which ties with 根子が and so follows it.
  auto clauses = convert("ねこが");
  ASSERT_EQ(clauses.size(), 1u);
  EXPECT_EQ(clauses[0].range, (Range{0, 3}));
  EXPECT_EQ(clauses[0].reading, "ねこが");
  expectCandidates(clauses[0], {{"猫が", cat}, {"根子が", root}, {"寝子画", ReadingSurface{"ねこが", "寝子画"}},
                                {"ネコが", kana}, {"★", std::nullopt},
                                {"\U0001F431が", ReadingSurface{"ねこ", "\U0001F431"}},
                                {"※が", ReadingSurface{"ねこ", "※"}}, {"〓が", ReadingSurface{"ねこ", "〓"}},
                                {"ねこが", std::nullopt}, {"ネコガ", std::nullopt}});
  // In a one-word clause emoji and symbols stay headless: a head variant
  // would have given them the head (ねこ, e).
  expectCandidates(convert("ねこ").at(0), {{"猫", cat}, {"根子", root}, {"ネコ", kana}, {"\U0001F431", std::nullopt},
                                          {"※", std::nullopt}, {"〓", std::nullopt}, {"ねこ", std::nullopt}});
}

TEST_F(ClauseTest, LearnedSurfacesComeFirstMostRecentFirst) {
  env.setNow(100);
  Learning::record({{"ねこが", "猫が"}});
  env.setNow(200);
  Learning::record({{"ねこが", "根子が"}});
  // Both learned entries are headless; the path and the scored list fill the heads in.
  const Clause clause = convert("ねこが").at(0);
  ASSERT_GE(clause.candidates.size(), 3u);
  EXPECT_EQ(clause.candidates[0], (Candidate{"根子が", root}));
  EXPECT_EQ(clause.candidates[1], (Candidate{"猫が", cat}));
  EXPECT_EQ(clause.candidates[2].text, "寝子画");
  EXPECT_EQ(clause.index, 0);
}

TEST_F(ClauseTest, LearnedBoundaryAndFirstClauseLength) {
  Segmentation::record({{"ねこが", 2}});
  EXPECT_EQ(clauseShape(convert("ねこがねこ")), (Shape{{"猫", {0, 2}}, {"が", {2, 3}}, {"猫", {3, 5}}}));
  const std::tuple<std::string, int64_t, Shape> cases[] = {
      // The learned boundary at 2 does not split a first clause of 3, but
      // still applies in the rest, shifted by k.
      {"ねこが", 3, {{"猫が", {0, 3}}}},
      {"ねこがねこが", 3, {{"猫が", {0, 3}}, {"猫", {3, 5}}, {"が", {5, 6}}}},
      {"ねこ", 1, {{"ね", {0, 1}}, {"こ", {1, 2}}}},
      {"ねこ", 0, {{"", {0, 0}}, {"猫", {0, 2}}}},
  };
  for (const auto& [reading, k, expected] : cases)
    EXPECT_EQ(clauseShape(Converter::convert(text::characters(reading), k)), expected) << reading << " " << k;
  auto empty = Converter::convert(Characters{}, 0);
  ASSERT_EQ(empty.size(), 1u);
  EXPECT_EQ(empty[0].texts(), Strings{""});
}

TEST_F(ConverterTest, ScoringPenaltiesAndBonuses) {
  // Each word of かさ and かみ is filed between two of the score it should
  // get, so it stays in the middle only if its score is exactly that:
  // かさ 1400 + 600, カミ 1500 + 500 + 3000.
  // くも: 久茂 2200 beats 雲 3000 and the learned 蜘蛛 5000 - 2000 in the
  // search; scored, 蜘蛛が 5000 - 3000 + 200 comes before 雲が 3200.
  // め: 女 2400 wins the search over 目 2000 + 1000; scored, 目 is 2000.
  env.writeWords({{"かさ", 10, 10, 2000, "傘"}, {"かさ", 11, 11, 1400, "かさ"}, {"かさ", 12, 12, 2000, "笠"},
                  {"かさ", 13, 13, 100, "嵩"}, {"かみ", 10, 10, 5000, "紙"}, {"かみ", 11, 11, 1500, "カミ"},
                  {"かみ", 12, 12, 5000, "髪"}, {"かみ", 13, 13, 100, "神"}, {"くも", 10, 10, 3000, "雲"},
                  {"くも", 11, 11, 5000, "蜘蛛"}, {"くも", 12, 12, 2200, "久茂"}, {"が", 20, 20, 200, "が"},
                  {"め", 10, 10, 2500, "芽"}, {"め", 11, 11, 2400, "女"}, {"め", 30, 30, 2000, "目"}});
  Learning::record({{"くも", "蜘蛛"}});
  EXPECT_EQ(convert("かさ").at(0).texts(), (Strings{"嵩", "傘", "かさ", "笠", "カサ"}));
  EXPECT_EQ(convert("かみ").at(0).texts(), (Strings{"神", "紙", "カミ", "髪", "かみ"}));
  EXPECT_EQ(convert("くもが").at(0).texts(), (Strings{"久茂が", "蜘蛛が", "雲が", "くもが", "クモガ"}));
  EXPECT_EQ(convert("め").at(0).texts(), (Strings{"女", "目", "芽", "め", "メ"}));
}

TEST_F(ConverterTest, KanaFormsAreListedOnceInTheirFirstPlace) {
  env.writeWords({{"ぱん", 10, 10, 1000, "パン"}, {"ぱん", 10, 10, 900, "麺麭"}});
  expectCandidates(convert("ぱん").at(0), {{"麺麭", ReadingSurface{"ぱん", "麺麭"}},
                                          {"パン", ReadingSurface{"ぱん", "パン"}}, {"ぱん", std::nullopt}});
  EXPECT_EQ(convert("ヌ").at(0).texts(), (Strings{"ヌ", "ﾇ"}));
  EXPECT_EQ(convert("ＡＢ").at(0).texts(), (Strings{"ＡＢ", "AB"}));
}

TEST_F(ConverterTest, PrefixOnlyPathHasNoHead) {
  // お and ご are prefixes, so the two make one clause without a main word:
  // no variants of お (such as 小御) are scored.
  env.writeWords({{"お", 40, 40, 100, "御"}, {"お", 40, 40, 300, "小"}, {"ご", 40, 40, 100, "御"}});
  expectCandidates(convert("おご").at(0), {{"御御", std::nullopt}, {"おご", std::nullopt}, {"オゴ", std::nullopt}});
  // Alone, the prefix is a whole-reading word, which supplies the missing head.
  expectCandidates(convert("お").at(0), {{"御", ReadingSurface{"お", "御"}}, {"小", ReadingSurface{"お", "小"}},
                                          {"お", std::nullopt}, {"オ", std::nullopt}});
}

TEST_F(ConverterTest, EqualScoresKeepTheirGatheringOrder) {
  // Enough equal entries that an unstable sort would reorder them; UTF-8
  // byte order is the file's order.
  Strings expected = {"一", "丁", "七", "万", "丈", "三", "上", "下", "不", "与", "丑", "且",
                      "世", "丘", "丙", "両", "並", "中", "串", "丸", "丹", "主", "乃", "久"};
  std::vector<WordLine> words;
  for (const auto& surface : expected) words.push_back({"き", 10, 10, 1000, surface});
  env.writeWords(words);
  expected.insert(expected.end(), {"き", "キ"});
  EXPECT_EQ(convert("き").at(0).texts(), expected);
}

}  // namespace
}  // namespace orvane

#include "eval.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::eval {
namespace {

using ::testing::ElementsAre;

Clause clause(std::vector<std::string> texts) {
  Clause c;
  for (auto& t : texts) c.candidates.push_back({std::move(t), std::nullopt});
  return c;
}

TEST(ParseSetTest, ThreeLayoutsCommentsAndRepeatedReadings) {
  const TestSet set = parseSet(
      "# status\tinput\toutput\tcommand\targument\tversion\n"
      "OK:\tかんじ\t漢字\tConversion Expected\t9\t2.26\n"
      "OK:\tかんじ\t漢字\tConversion Match\t漢\t2.26\n"
      "FAILED:\tかんじ\t感じ\tConversion Match\t感\t2.26\n"
      "OK:\tぱわふる\tパワフル\tSuggestion Not Expected\tパワフル急速\t2.26\n"
      "regression\tこじんよう\t個人用\tConversion Expected\n"
      "regression\tこじん\t故人\tConversion Not Expected\n"
      "きょう\t今日\t京\r\n"
      "\n"
      "ひとりだけ\n");
  ASSERT_EQ(set.items.size(), 3u);
  EXPECT_EQ(set.items[0].reading, "かんじ");
  EXPECT_THAT(set.items[0].expected, ElementsAre("漢字", "感じ"));
  EXPECT_FALSE(set.items[0].containsCheck);
  EXPECT_TRUE(set.items[1].containsCheck);
  EXPECT_THAT(set.items[2].expected, ElementsAre("今日", "京"));
  EXPECT_EQ(set.items[2].line, 8u);
  EXPECT_EQ(set.skippedLines, 3u);
}

TEST(ReachableTest, ExactAndContainedAcrossClauses) {
  const std::vector<std::vector<std::string>> clauses = {{"これは", "コレは"}, {"嬉しい", "うれしい"}, {"５三", "誤算"}};
  using Case = std::tuple<std::string, bool, std::size_t, bool>;  // text, contains-check, depth, reachable
  for (const auto& [text, contains, depth, expected] : {
           Case{"これは嬉しい誤算", false, 10, true}, Case{"これは嬉しい誤算", false, 1, false},  // 誤算 is second
           Case{"これはうれしい５三", false, 2, true},
           Case{"これは嬉しい", false, 10, false}, Case{"これは嬉しい誤算です", false, 10, false},  // every clause
           Case{"は嬉し", true, 1, true},  // across a clause boundary
           Case{"しい誤", true, 2, true}, Case{"しい誤", true, 1, false}, Case{"れは嬉しいう", true, 10, false},
       })
    EXPECT_EQ(reachable(clauses, text, contains, depth), expected) << text << " depth " << depth;
}

TEST(JudgeTest, TopOneErrorsAndContainsChecks) {
  Item item{"きょうはれ", {"今日晴れ", "京晴れ"}, false, 1};
  const std::vector<Clause> clauses = {clause({"今日は", "今日"}), clause({"レ", "晴れ"})};
  Outcome outcome = judge(item, clauses, 10);
  EXPECT_FALSE(outcome.correct);
  EXPECT_TRUE(outcome.reachable) << "今日 and 晴れ are both second candidates";
  EXPECT_EQ(outcome.errors, 2u);  // nearest expected text: one insertion, one substitution
  EXPECT_EQ(describeFailure(outcome), "きょうはれ\t今日晴れ\t-> 今日は|レ\t(reachable)\t(boundaries right)"
                                      "\t[kana where the text has kanji: はレ for 晴れ]");
  EXPECT_TRUE(outcome.boundariesRight);
  EXPECT_EQ(outcome.clausesFirst, 0u) << "both clauses need their second candidate";
  EXPECT_FALSE(judge(item, clauses, 1).reachable);

  Item contained{"きょうはれ", {"はレ"}, true, 2};
  outcome = judge(contained, clauses, 10);
  EXPECT_TRUE(outcome.correct);
  EXPECT_EQ(outcome.length, 0u) << "contains-checks stay out of the error rate";

  Summary summary;
  add(summary, judge(item, clauses, 10));
  add(summary, outcome);
  EXPECT_DOUBLE_EQ(summary.top1(), 0.5);
  EXPECT_DOUBLE_EQ(summary.characterErrorRate(), 0.5);
}

TEST(ClauseTest, BoundariesAndFirstCandidatesTellRankingFromSegmentation) {
  const std::vector<std::vector<std::string>> clauses = {{"私は", "わたしは"}, {"気", "木"}, {"です"}};
  using Case = std::tuple<std::string, std::optional<std::size_t>>;  // text, clauses off their first candidate
  for (const auto& [text, off] : {
           Case{"私は気です", 0}, Case{"わたしは木です", 2}, Case{"私は木です", 1},
           Case{"私は気", std::nullopt},        // the last clause spells nothing of it
           Case{"私は来です", std::nullopt},    // no candidate of the clause
           Case{"私は気ですね", std::nullopt},  // text left over
       })
    EXPECT_EQ(clausesOffFirst(clauses, text), off) << text;

  // One reading right, one ranking miss, one segmentation miss, one contains-check.
  const std::vector<Clause> converted = {clause({"私は", "わたしは"}), clause({"気", "木"}), clause({"です"})};
  const Item right{"わたしはきです", {"私は気です"}, false, 1};
  const Item ranking{"わたしはきです", {"私は木です"}, false, 2};
  const Item segmentation{"わたしはきです", {"私吐きです"}, false, 3};
  const Item contained{"わたしはきです", {"吐き"}, true, 4};
  Summary summary;
  for (const Item* item : {&right, &ranking, &segmentation, &contained}) add(summary, judge(*item, converted, 10));
  EXPECT_EQ(summary.boundariesRight, 2u);
  EXPECT_EQ(summary.clauses, 6u);
  EXPECT_EQ(summary.clausesFirst, 5u);
  EXPECT_DOUBLE_EQ(summary.clauseTop1(), 5.0 / 6.0);
  EXPECT_EQ(summary.rankingMisses, 1u);
  EXPECT_EQ(summary.segmentationMisses, 1u) << "contains-checks are neither";
  EXPECT_EQ(summary.rankingByKind[static_cast<std::size_t>(MissKind::Spelling)], 1u) << "気 for 木";
  EXPECT_EQ(summary.segmentationByKind[static_cast<std::size_t>(MissKind::Spelling)], 1u) << "は気 for 吐き";
}

TEST(FirstMissTest, TheFirstDifferingStretchAndItsKind) {
  using Case = std::tuple<std::string, std::string, MissKind, std::string, std::string>;  // got, expected, kind, stretches
  for (const auto& [got, expected, kind, gotStretch, expectedStretch] : {
           Case{"彼は見方なのか", "彼は味方なのか", MissKind::Spelling, "見", "味"},
           Case{"風を引く", "風邪をひく", MissKind::Spelling, "風", "風邪"},  // one side empty: the kanji around it
           Case{"響きが豊か", "響が豊か", MissKind::Spelling, "響き", "響"},
           Case{"しかられて", "叱られて", MissKind::KanaForKanji, "しか", "叱"},
           Case{"私たちは", "私達は", MissKind::KanaForKanji, "たち", "達"},
           Case{"気にしない方が", "気にしないほうが", MissKind::KanjiForKana, "方", "ほう"},
           Case{"ありの巣", "アリの巣", MissKind::Script, "あり", "アリ"},
           Case{"一年半で", "１年半で", MissKind::Number, "一", "１"},
           Case{"ご年半", "５年半", MissKind::Number, "ご", "５"},
           Case{"浮津一番f", "浮津一番", MissKind::Other, "f", ""},
           Case{"オンラインショッピング", "オンライン・ショッピング", MissKind::Other, "", "・"},
           Case{"CJK統合漢字", "ＣＪＫ統合漢字", MissKind::Other, "CJK", "ＣＪＫ"},
           Case{"ABC", "", MissKind::Other, "ABC", ""},
       }) {
    const auto miss = firstMiss(got, expected);
    ASSERT_TRUE(miss) << got;
    EXPECT_EQ(miss->kind, kind) << got << " for " << expected;
    EXPECT_EQ(miss->got, gotStretch) << got;
    EXPECT_EQ(miss->expected, expectedStretch) << got;
  }
  EXPECT_FALSE(firstMiss("同じ", "同じ"));
  // Only the first stretch counts: the second (い for 言) is left for later.
  const auto first = firstMiss("セがいう", "背が言う");
  ASSERT_TRUE(first);
  EXPECT_EQ(first->got, "セ");
  EXPECT_EQ(first->kind, MissKind::KanaForKanji);
}

TEST(EditDistanceTest, CountsGraphemeClusters) {
  for (auto [a, b, distance] : {std::tuple{"", "漢字", 2u}, {"👍🏽です", "👍です", 1u}, {"abc", "acb", 2u}})
    EXPECT_EQ(editDistance(a, b), distance) << a << " " << b;
}

}  // namespace
}  // namespace orvane::eval

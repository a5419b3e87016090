#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "controller/controller_fixture.h"
#include "conversion/converter.h"
#include "learning/learning.h"
#include "learning/segmentation.h"
#include "testing/environment.h"

namespace orvane {
namespace {

using Strings = std::vector<std::string>;

// Nouns only, so every word starts a clause and the clauses are known: ねこ
// (猫, 根子), いぬ (an emoji first, then 犬), とり (鳥), and twelve words for か,
// which with its kana and alphabet forms make twenty candidates.
class ConversionTest : public ControllerFixture {
 protected:
  ConversionTest() {
    env.writeParts({{10, "名詞,一般,*,*,*,*,*"}, {20, "助詞,格助詞,一般,*,*,*,*"}});
    env.writeConnection(50, 0);
    std::vector<testing::WordLine> words = {
        {"ねこ", 10, 10, 100, "猫"}, {"ねこ", 10, 10, 300, "根子"}, {"いぬ", 10, 10, 50, "\U0001F436"},
        {"いぬ", 10, 10, 100, "犬"}, {"とり", 10, 10, 100, "鳥"},     {"きょう", 10, 10, 100, "今日"},
        {"Tokyo", 10, 10, 100, "東京都"},
    };
    for (int i = 0; i < 12; ++i) words.push_back({"か", 10, 10, 200 + i, "可" + std::to_string(i)});
    env.writeWords(words);
  }

  void convert(std::string_view typed) {
    type(typed);
    key(Key::space);
  }
  // Returns with a fresh log, so that only what the commit teaches is logged.
  void commit() {
    log->lines.clear();
    key(Key::returnKey);
  }

  Strings logged(std::string_view prefix) const {
    Strings out;
    for (const auto& m : log->messages("imk"))
      if (m.rfind(prefix, 0) == 0) out.push_back(m);
    return out;
  }

  testing::Environment env;
};

const std::string dog = "\U0001F436";

TEST_F(ConversionTest, SpaceConvertsAndFocusMovesBetweenClauses) {
  convert("nekoinutori");
  EXPECT_EQ(surfaces(), (Strings{"猫", dog, "鳥"}));
  EXPECT_EQ(logged("conversion:"), (Strings{"conversion: reading=ねこいぬとり clauses=猫|" + dog + "|鳥"}));
  EXPECT_EQ(client.markedString(), "猫" + dog + "鳥");
  EXPECT_EQ(styles(), (std::vector<int>{5, 4, 4}));
  EXPECT_EQ(client.caret(), 0);
  // The emoji counts two UTF-16 units in every range.
  std::vector<platform::TextRange> ranges;
  for (const auto& r : client.marked->text.runs) ranges.push_back({r.start, r.length});
  EXPECT_EQ(ranges, (std::vector<platform::TextRange>{{0, 1}, {1, 2}, {3, 1}}));
  EXPECT_EQ(panel->updates, 1);
  EXPECT_EQ(panel->hints, (std::vector<int>{2}));
  EXPECT_TRUE(panel->isVisible());
  EXPECT_EQ(panel->rows(), focused().texts());

  // Focus moves between clauses and stops at the ends.
  struct { uint16_t code; int64_t focus; std::vector<int> styles; int64_t caret; } steps[] = {
      {Key::left, 0, {5, 4, 4}, 0},  {Key::right, 1, {4, 5, 4}, 1}, {Key::right, 2, {4, 4, 5}, 3},
      {Key::right, 2, {4, 4, 5}, 3}, {Key::left, 1, {4, 5, 4}, 1},
  };
  for (const auto& s : steps) {
    EXPECT_TRUE(key(s.code));
    EXPECT_EQ(controller->focus(), s.focus);
    EXPECT_EQ(styles(), s.styles);
    EXPECT_EQ(client.caret(), s.caret);
    EXPECT_EQ(panel->rows(), focused().texts());
  }
  // The two moves that hit an end neither re-sent the text nor reloaded the window.
  EXPECT_EQ(panel->updates, 4);
  EXPECT_EQ(client.markedTexts.size(), 11u + 4u);
}

TEST_F(ConversionTest, AlphabetFormsFollowTheConvertersCandidatesOnce) {
  struct { std::string typed, reading; Strings alphabet; } cases[] = {
      {"kyou", "きょう", {"kyou", "Kyou", "KYOU", "ｋｙｏｕ", "Ｋｙｏｕ", "ＫＹＯＵ"}},
      {"neko", "ねこ", {"neko", "Neko", "NEKO", "ｎｅｋｏ", "Ｎｅｋｏ", "ＮＥＫＯ"}},
      {"1", "１", {}},  // no letter among the keystrokes
  };
  for (const auto& c : cases) {
    restart();
    convert(c.typed);
    ASSERT_EQ(controller->clauses().size(), 1u) << c.typed;
    auto expected = Converter::convert(text::characters(c.reading)).at(0).texts();
    expected.insert(expected.end(), c.alphabet.begin(), c.alphabet.end());
    EXPECT_EQ(focused().texts(), expected) << c.typed;
  }

  // A form the converter already offers keeps its place and is not repeated.
  env.writeWords({{"ねこ", 10, 10, 100, "猫"}, {"ねこ", 10, 10, 200, "Neko"}});
  testing::touch(env.mozcDirectory() / "mozc.tsv");
  restart();
  convert("neko");
  auto texts = focused().texts();
  EXPECT_EQ(std::count(texts.begin(), texts.end(), "Neko"), 1);
  EXPECT_EQ(texts.at(1), "Neko");
}

TEST_F(ConversionTest, UpperCaseMakesOneClauseWithAlphabetFormsAfterLearnedOnes) {
  Learning::record({{"Tokyo", "東京"}});
  convert("Tokyo");
  ASSERT_EQ(controller->clauses().size(), 1u);
  EXPECT_EQ(focused().range, (Range{0, 5}));
  EXPECT_EQ(focused().texts(),
            (Strings{"東京", "Tokyo", "tokyo", "TOKYO", "Ｔｏｋｙｏ", "ｔｏｋｙｏ", "ＴＯＫＹＯ", "東京都"}));

  // Kana before the capital still make one clause, whatever the dictionary says.
  restart();
  convert("nekoTori");
  ASSERT_EQ(controller->clauses().size(), 1u);
  EXPECT_EQ(focused().texts().at(0), "nekoTori");
}

TEST_F(ConversionTest, StepAndPageMoveTheIndexAndTheWindowTogether) {
  convert("ka");
  ASSERT_EQ(focused().candidates.size(), 20u);
  EXPECT_TRUE(key(Key::up));  // nothing above the first
  for (int i = 0; i < 15; ++i) key(Key::space);
  ASSERT_EQ(focused().index, 15);

  const std::vector<bool> nineUp(9, false);
  struct { uint16_t code; uint64_t flags; int64_t index; std::vector<bool> arrows; } steps[] = {
      {Key::tab, 0, 19, {true, true, true, true}}, {Key::tab, 0, 19, {}},     {Key::space, 0, 19, {}},
      {Key::tab, shiftFlag, 10, nineUp},           {Key::up, 0, 9, {false}},   {Key::tab, shiftFlag, 0, nineUp},
      {Key::down, 0, 1, {true}},                   {Key::space, 0, 2, {true}}, {Key::tab, shiftFlag, 0, {false, false}},
      {Key::tab, shiftFlag, 0, {}},
  };
  for (const auto& s : steps) {
    panel->clearRecords();
    EXPECT_TRUE(key(s.code, s.flags));
    EXPECT_EQ(focused().index, s.index) << s.code;
    EXPECT_EQ(panel->arrows, s.arrows) << s.code << " to " << s.index;
    EXPECT_EQ(panel->selectedCandidate(), s.index);
    EXPECT_EQ(client.markedString(), focused().texts().at(static_cast<std::size_t>(s.index)));
  }
}

TEST_F(ConversionTest, ResizeReconvertsFromTheFocusedClause) {
  convert("nekoinutori");
  key(Key::right);
  key(Key::space);  // clause 1 now 犬
  key(Key::left);
  log->lines.clear();

  EXPECT_TRUE(key(Key::right, shiftFlag));
  std::string joined;
  for (const auto& c : Converter::convert(text::characters("ねこいぬとり"), 3))
    joined += (joined.empty() ? "" : "|") + c.surface();
  EXPECT_EQ(logged("resize:"), (Strings{"resize: clauses=" + joined}));
  EXPECT_EQ(controller->clauses().at(0).range, (Range{0, 3}));
  for (const auto& c : controller->clauses()) EXPECT_EQ(c.index, 0);  // the choice of 犬 is gone
  EXPECT_EQ(panel->rows(), focused().texts());
  // The resized clause got its alphabet forms from its own keystrokes.
  EXPECT_EQ(focused().texts().back(), "ＮＥＫＯＩ");

  // Past the end nothing changes; shorter than one character neither.
  key(Key::right);
  key(Key::right);
  log->lines.clear();
  EXPECT_TRUE(key(Key::right, shiftFlag));
  while (focused().range.length() > 1) key(Key::left, shiftFlag);
  log->lines.clear();
  key(Key::left, shiftFlag);
  EXPECT_TRUE(logged("resize:").empty());
}

TEST_F(ConversionTest, ForgetDropsTheLearnedChoiceAndBoundariesAtTheClauseEdges) {
  Learning::record({{"ねこ", "根子"}});
  Segmentation::record({{"ねこいぬ", 2}, {"いぬとり", 2}});
  convert("nekoinutori");
  ASSERT_EQ(surfaces(), (Strings{"根子", dog, "鳥"}));
  log->lines.clear();
  panel->clearRecords();

  EXPECT_TRUE(key(Key::deleteForward));
  EXPECT_FALSE(Learning::isLearned("ねこ", "根子"));
  EXPECT_EQ(logged("forget"), (Strings{"forget: ねこ -> 根子", "forget segment: ねこいぬ"}));
  EXPECT_EQ(surfaces(), (Strings{"猫", dog, "鳥"}));
  EXPECT_EQ(focused().texts().back(), "ＮＥＫＯ");
  EXPECT_EQ(panel->updates, 1);

  // The boundary forgotten at the edge is not given up again at commit; the
  // other one is confirmed.
  commit();
  EXPECT_EQ(logged("forget segment"), Strings{});
  EXPECT_EQ(logged("learn segment"), (Strings{"learn segment: いぬとり at 2"}));
}

TEST_F(ConversionTest, CommitTeachesOnlyWhatTheUserChoseOrConfirmed) {
  convert("nekoinutori");
  commit();
  EXPECT_EQ(client.committed, "猫" + dog + "鳥");
  EXPECT_TRUE(logged("learn").empty());
  EXPECT_FALSE(panel->isVisible());

  // A picked candidate is learned, and confirmed at every later commit.
  convert("nekoinutori");
  key(Key::right);
  key(Key::space);
  commit();
  EXPECT_EQ(logged("learn"), (Strings{"learn: いぬ -> 犬"}));
  convert("inu");
  commit();
  EXPECT_EQ(logged("learn"), (Strings{"learn: いぬ -> 犬"}));
}

TEST_F(ConversionTest, CommitTeachesTheBoundaryTheUserMade) {
  // Both clauses touching the boundary are learned, and the two readings joined.
  convert("nekoinutori");
  key(Key::left, shiftFlag);
  const auto expected = Strings{"learn: ね -> " + surfaces()[0], "learn: こ -> " + surfaces()[1]};
  commit();
  EXPECT_EQ(logged("learn:"), expected);
  EXPECT_EQ(logged("learn segment"), (Strings{"learn segment: ねこ at 1"}));
}

TEST_F(ConversionTest, LearnedBoundaryIsConfirmedWhenKeptAndForgottenWhenMovedAway) {
  Segmentation::record({{"ねこいぬ", 2}});
  convert("nekoinutori");
  commit();
  EXPECT_EQ(logged("learn segment"), (Strings{"learn segment: ねこいぬ at 2"}));

  convert("nekoinutori");
  key(Key::right, shiftFlag);
  ASSERT_EQ(controller->clauses().at(1).range.lower, 3);
  const auto joined = controller->clauses().at(0).reading + controller->clauses().at(1).reading;
  commit();
  EXPECT_EQ(logged("forget segment"), (Strings{"forget segment: ねこいぬ"}));
  EXPECT_EQ(logged("learn segment"), (Strings{"learn segment: " + joined + " at 3"}));
}

TEST_F(ConversionTest, BackspaceAndEscapeReturnToComposingWithoutLearning) {
  for (uint16_t code : {Key::deleteBackward, Key::escape}) {
    restart();
    convert("nekoinutori");
    key(Key::right);
    key(Key::space);
    EXPECT_TRUE(key(code));
    EXPECT_FALSE(controller->isConverting());
    EXPECT_EQ(client.markedString(), "ねこいぬとり");
    EXPECT_EQ(client.caret(), 6);
    EXPECT_EQ(styles(), (std::vector<int>{2}));
    EXPECT_FALSE(panel->isVisible());
    key(Key::returnKey);
    EXPECT_EQ(client.committed, "ねこいぬとり");
    EXPECT_FALSE(Learning::hasEntries("いぬ"));
  }
}

TEST_F(ConversionTest, TypingOnCommitsTheConversion) {
  convert("neko");
  EXPECT_TRUE(character("a"));
  EXPECT_EQ(client.committed, "猫");
  EXPECT_EQ(client.markedString(), "あ");

  key(Key::space);
  const auto surface = focused().surface();
  EXPECT_FALSE(character("1", keypadFlag));  // commits, then the keypad digit passes
  EXPECT_EQ(client.committed, "猫" + surface);

  convert("neko");
  EXPECT_TRUE(key(Key::space, shiftFlag));
  EXPECT_EQ(client.committed, "猫" + surface + "猫\u3000");
}

// Whatever arrives, clauses stay contiguous over the reading and every index
// stays in range.
TEST_F(ConversionTest, NoKeySequenceBreaksTheConversion) {
  const uint16_t codes[] = {Key::space, Key::left,   Key::right,     Key::up,        Key::down, Key::tab,
                            Key::escape, Key::eisu, Key::returnKey, Key::deleteBackward, Key::deleteForward, Key::kana};
  const uint16_t editing[] = {Key::space, Key::left, Key::right, Key::up, Key::down, Key::tab, Key::deleteForward};
  const std::string letters = "kanejiutorinx-1T";
  std::mt19937 random(7);
  int convertingRounds = 0;
  for (int round = 0; round < 1500; ++round) {
    const uint64_t flags = (random() % 3 == 0) ? shiftFlag : 0;
    // While converting, mostly editing keys, so that conversions last.
    if (controller->isConverting() && random() % 5 != 0)
      key(editing[random() % std::size(editing)], flags);
    else if (random() % 4 == 0)
      character(std::string(1, letters[random() % letters.size()]));
    else
      key(codes[random() % std::size(codes)], flags);
    if (random() % 29 == 0) panel->highlightRow(static_cast<int64_t>(random() % 30));
    if (random() % 31 == 0) controller->candidateSelectionChanged("x");
    if (random() % 53 == 0) panel->selectRow(0);
    if (random() % 7 == 0) InputController::setInputMode(InputController::InputMode::kana);
    if (random() % 61 == 0) controller->deactivateServer(&client);
    if (random() % 67 == 0) controller->commitComposition(nullptr);
    if (random() % 71 == 0)
      controller->setValue(std::string("com.orvane.inputmethod.OrvaneIME.Roman"), InputController::inputModeTag, &client);

    const auto& clauses = controller->clauses();
    if (clauses.empty()) continue;
    ++convertingRounds;
    int64_t expected = 0;
    for (const auto& c : clauses) {
      ASSERT_EQ(c.range.lower, expected) << round;
      ASSERT_GT(c.range.upper, c.range.lower) << round;
      ASSERT_TRUE(c.index >= 0 && c.index < static_cast<int64_t>(c.candidates.size())) << round;
      expected = c.range.upper;
    }
    ASSERT_EQ(expected, static_cast<int64_t>(text::characterCount(controller->composer().kana()))) << round;
    ASSERT_LT(controller->focus(), static_cast<int64_t>(clauses.size()));
    ASSERT_EQ(panel->selectedCandidate(), focused().index) << round;
  }
  EXPECT_GT(convertingRounds, 50);
}

}  // namespace
}  // namespace orvane

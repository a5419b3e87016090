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

  std::vector<std::string> logged(std::string_view prefix) const {
    std::vector<std::string> out;
    for (const auto& m : log->messages("imk"))
      if (m.rfind(prefix, 0) == 0) out.push_back(m);
    return out;
  }

  std::vector<platform::TextRange> runRanges() const {
    std::vector<platform::TextRange> out;
    for (const auto& r : client.marked->text.runs) out.push_back({r.start, r.length});
    return out;
  }

  static Strings converterTexts(std::string_view reading) {
    return Converter::convert(text::characters(reading)).at(0).texts();
  }

  testing::Environment env;
};

const std::string dog = "\U0001F436";

TEST_F(ConversionTest, SpaceConvertsAndShowsTheWindowOnTheFirstRow) {
  convert("nekoinutori");
  ASSERT_TRUE(controller->isConverting());
  EXPECT_EQ(surfaces(), (Strings{"猫", dog, "鳥"}));
  EXPECT_EQ(logged("conversion:"), (Strings{"conversion: reading=ねこいぬとり clauses=猫|" + dog + "|鳥"}));
  EXPECT_EQ(client.markedString(), "猫" + dog + "鳥");
  EXPECT_EQ(styles(), (std::vector<int>{5, 4, 4}));
  EXPECT_EQ(client.caret(), 0);
  // The emoji counts two UTF-16 units in every range.
  EXPECT_EQ(runRanges(), (std::vector<platform::TextRange>{{0, 1}, {1, 2}, {3, 1}}));
  EXPECT_EQ(panel->updates, 1);
  EXPECT_EQ(panel->hints, (std::vector<int>{2}));
  EXPECT_TRUE(panel->arrows.empty());
  EXPECT_TRUE(panel->isVisible());
  EXPECT_EQ(panel->rows(), focused().texts());
}

TEST_F(ConversionTest, FocusMovesBetweenClausesAndStopsAtTheEnds) {
  convert("nekoinutori");
  struct Step {
    uint16_t code;
    int64_t focus;
    std::vector<int> styles;
    int64_t caret;
  } steps[] = {
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
  struct Case {
    std::string typed;
    std::string reading;
    Strings alphabet;
  } cases[] = {
      {"kyou", "きょう", {"kyou", "Kyou", "KYOU", "ｋｙｏｕ", "Ｋｙｏｕ", "ＫＹＯＵ"}},
      {"neko", "ねこ", {"neko", "Neko", "NEKO", "ｎｅｋｏ", "Ｎｅｋｏ", "ＮＥＫＯ"}},
      // No letter among the keystrokes: nothing is added.
      {"1", "１", {}},
  };
  for (const auto& c : cases) {
    restart();
    convert(c.typed);
    ASSERT_EQ(controller->clauses().size(), 1u) << c.typed;
    auto expected = converterTexts(c.reading);
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
  EXPECT_EQ(texts.back(), "ＮＥＫＯ");
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
  EXPECT_EQ(focused().reading, "ねこTori");
  EXPECT_EQ(focused().texts().at(0), "nekoTori");
}

TEST_F(ConversionTest, StepAndPageMoveTheIndexAndTheWindowTogether) {
  convert("ka");
  ASSERT_EQ(focused().candidates.size(), 20u);
  EXPECT_TRUE(key(Key::up));  // nothing above the first
  EXPECT_TRUE(panel->arrows.empty());
  for (int i = 0; i < 15; ++i) key(Key::space);
  EXPECT_EQ(focused().index, 15);
  EXPECT_EQ(panel->selectedCandidate(), 15);

  struct Step {
    uint16_t code;
    uint64_t flags;
    int64_t index;
    std::vector<bool> arrows;
  } steps[] = {
      {Key::tab, 0, 19, {true, true, true, true}},
      {Key::tab, 0, 19, {}},
      {Key::space, 0, 19, {}},
      {Key::down, 0, 19, {}},
      {Key::tab, shiftFlag, 10, std::vector<bool>(9, false)},
      {Key::up, 0, 9, {false}},
      {Key::tab, shiftFlag, 0, std::vector<bool>(9, false)},
      {Key::down, 0, 1, {true}},
      {Key::space, 0, 2, {true}},
      {Key::space, 0, 3, {true}},
      {Key::tab, shiftFlag, 0, {false, false, false}},
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
  auto expected = Converter::convert(text::characters("ねこいぬとり"), 3);
  Strings expectedSurfaces;
  for (const auto& c : expected) expectedSurfaces.push_back(c.surface());
  EXPECT_EQ(surfaces(), expectedSurfaces);
  EXPECT_EQ(controller->clauses().at(0).range, (Range{0, 3}));
  EXPECT_EQ(controller->focus(), 0);
  for (const auto& c : controller->clauses()) EXPECT_EQ(c.index, 0);  // the choice of 犬 is gone
  std::string joined;
  for (const auto& s : expectedSurfaces) joined += (joined.empty() ? "" : "|") + s;
  EXPECT_EQ(logged("resize:"), (Strings{"resize: clauses=" + joined}));
  EXPECT_EQ(panel->rows(), focused().texts());
  // The resized clause got its alphabet forms from its own keystrokes.
  EXPECT_EQ(focused().texts().back(), "ＮＥＫＯＩ");

  // Requests past either end change nothing.
  restart();
  convert("nekoinutori");
  key(Key::right);
  key(Key::right);
  log->lines.clear();
  EXPECT_TRUE(key(Key::right, shiftFlag));  // the last clause already reaches the end
  key(Key::left, shiftFlag);
  key(Key::left, shiftFlag);  // from length 1 nothing shorter
  EXPECT_EQ(controller->clauses().back().range.length(), 1);
  EXPECT_EQ(logged("resize:").size(), 1u);
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
  EXPECT_EQ(focused().range, (Range{0, 2}));
  EXPECT_EQ(focused().texts().back(), "ＮＥＫＯ");
  EXPECT_EQ(panel->updates, 1);
  EXPECT_EQ(client.markedString(), "猫" + dog + "鳥");

  // The boundary forgotten at the edge is not given up again at commit; the
  // other one is confirmed.
  log->lines.clear();
  key(Key::returnKey);
  EXPECT_EQ(logged("forget segment"), Strings{});
  EXPECT_EQ(logged("learn segment"), (Strings{"learn segment: いぬとり at 2"}));
}

TEST_F(ConversionTest, CommitTeachesOnlyWhatTheUserChoseOrConfirmed) {
  // Untouched: nothing to learn.
  convert("nekoinutori");
  key(Key::returnKey);
  EXPECT_EQ(client.committed, "猫" + dog + "鳥");
  EXPECT_TRUE(logged("learn").empty());
  EXPECT_FALSE(Learning::hasEntries("ねこ"));
  EXPECT_FALSE(panel->isVisible());
  EXPECT_TRUE(controller->composer().isEmpty());

  // A picked candidate is learned, and confirmed at every later commit.
  log->lines.clear();
  convert("nekoinutori");
  key(Key::right);
  key(Key::space);
  key(Key::returnKey);
  EXPECT_EQ(logged("learn"), (Strings{"learn: いぬ -> 犬"}));
  log->lines.clear();
  convert("inu");
  EXPECT_EQ(surfaces(), (Strings{"犬"}));
  key(Key::returnKey);
  EXPECT_EQ(logged("learn"), (Strings{"learn: いぬ -> 犬"}));
}

TEST_F(ConversionTest, CommitTeachesBoundariesTheUserMadeAndForgetsThoseMovedAway) {
  // Shift+Left makes a boundary at 1: both clauses touching it are learned,
  // and the boundary is recorded as the two readings joined.
  convert("nekoinutori");
  key(Key::left, shiftFlag);
  ASSERT_EQ(controller->clauses().at(1).range.lower, 1);
  const auto first = controller->clauses().at(0);
  const auto second = controller->clauses().at(1);
  log->lines.clear();
  key(Key::returnKey);
  EXPECT_EQ(logged("learn:"), (Strings{"learn: ね -> " + first.surface(), "learn: こ -> " + second.surface()}));
  EXPECT_EQ(logged("learn segment"), (Strings{"learn segment: ねこ at 1"}));

}

TEST_F(ConversionTest, LearnedBoundaryIsConfirmedWhenKeptAndForgottenWhenMovedAway) {
  Segmentation::record({{"ねこいぬ", 2}});
  convert("nekoinutori");
  log->lines.clear();
  key(Key::returnKey);
  EXPECT_EQ(logged("learn segment"), (Strings{"learn segment: ねこいぬ at 2"}));

  convert("nekoinutori");
  key(Key::right, shiftFlag);
  ASSERT_EQ(controller->clauses().at(1).range.lower, 3);
  const auto joined = controller->clauses().at(0).reading + controller->clauses().at(1).reading;
  log->lines.clear();
  key(Key::returnKey);
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
    EXPECT_TRUE(client.insertions.empty());
    // Composing again, Return commits the kana and teaches nothing.
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
  EXPECT_FALSE(controller->isConverting());

  key(Key::space);
  const auto surface = focused().surface();
  EXPECT_FALSE(character("1", keypadFlag));  // commits, then the keypad digit passes
  EXPECT_EQ(client.committed, "猫" + surface);
  EXPECT_TRUE(controller->composer().isEmpty());

  convert("neko");
  EXPECT_TRUE(key(Key::space, shiftFlag));
  EXPECT_EQ(client.committed, "猫" + surface + "猫\u3000");
}

// Whatever arrives, clauses stay contiguous over the reading and every index
// stays in range.
TEST_F(ConversionTest, NoKeySequenceBreaksTheConversion) {
  const uint16_t codes[] = {Key::space, Key::space,  Key::left,     Key::right,         Key::up,
                            Key::down,  Key::tab,    Key::deleteBackward, Key::deleteForward, Key::escape,
                            Key::returnKey, Key::eisu, Key::kana};
  const std::string letters = "kanejiutorinx-1T";
  std::mt19937 random(7);
  int convertingRounds = 0;
  for (int round = 0; round < 1500; ++round) {
    // While converting, mostly editing keys, so that conversions last.
    const uint16_t editing[] = {Key::space, Key::left, Key::right, Key::up, Key::down, Key::tab, Key::deleteForward};
    auto r = random() % 4;
    if (controller->isConverting() && random() % 5 != 0) {
      key(editing[random() % std::size(editing)], (random() % 3 == 0) ? shiftFlag : 0);
    } else if (r == 0) {
      character(std::string(1, letters[random() % letters.size()]));
    } else {
      uint64_t flags = (random() % 3 == 0) ? shiftFlag : 0;
      key(codes[random() % std::size(codes)], flags);
    }
    if (random() % 29 == 0) panel->highlightRow(static_cast<int64_t>(random() % 30));
    if (random() % 31 == 0) controller->candidateSelectionChanged("x");
    if (random() % 53 == 0) panel->selectRow(0);
    if (random() % 7 == 0) InputController::setInputMode(InputController::InputMode::kana);
    if (random() % 61 == 0) controller->deactivateServer(&client);
    if (random() % 67 == 0) controller->commitComposition(nullptr);
    if (random() % 71 == 0)
      controller->setValue(std::string("com.orvane.inputmethod.OrvaneIME.Roman"), InputController::inputModeTag, &client);

    const auto& clauses = controller->clauses();
    if (clauses.empty()) {
      EXPECT_EQ(controller->focus(), 0);
      continue;
    }
    ++convertingRounds;
    int64_t expected = 0;
    for (const auto& c : clauses) {
      ASSERT_EQ(c.range.lower, expected) << round;
      ASSERT_GT(c.range.upper, c.range.lower) << round;
      ASSERT_FALSE(c.candidates.empty()) << round;
      ASSERT_GE(c.index, 0);
      ASSERT_LT(c.index, static_cast<int64_t>(c.candidates.size())) << round;
      expected = c.range.upper;
    }
    ASSERT_EQ(expected, static_cast<int64_t>(text::characterCount(controller->composer().kana()))) << round;
    ASSERT_GE(controller->focus(), 0);
    ASSERT_LT(controller->focus(), static_cast<int64_t>(clauses.size()));
    ASSERT_EQ(panel->selectedCandidate(), focused().index) << round;
  }
  EXPECT_GT(convertingRounds, 50);
}

}  // namespace
}  // namespace orvane

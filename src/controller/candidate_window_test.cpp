#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "controller/controller_fixture.h"
#include "testing/environment.h"

namespace orvane {
namespace {

using Strings = std::vector<std::string>;

class CandidateWindowTest : public ControllerFixture {
 protected:
  CandidateWindowTest() {
    env.writeParts({{10, "名詞,一般,*,*,*,*,*"}});
    env.writeConnection(20, 0);
    env.writeWords({{"ねこ", 10, 10, 100, "猫"}, {"ねこ", 10, 10, 300, "根子"}, {"いぬ", 10, 10, 100, "犬"},
                    {"いぬ", 10, 10, 200, "戌"}, {"いぬ", 10, 10, 300, "狗"}});
  }
  void convert(std::string_view typed) {
    type(typed);
    key(Key::space);
  }
  Strings syncLines() const {
    Strings out;
    for (const auto& m : log->messages("imk"))
      if (m.rfind("sync:", 0) == 0) out.push_back(m);
    return out;
  }

  testing::Environment env;
};

TEST_F(CandidateWindowTest, ArrowsAreKeypadFunctionKeyEvents) {
  convert("inu");
  key(Key::down);
  key(Key::up);
  ASSERT_EQ(panel->events.size(), 2u);
  const struct { std::string characters; uint16_t code; } expected[] = {{"\uF701", 125}, {"\uF700", 126}};
  for (std::size_t i = 0; i < 2; ++i) {
    const auto& e = panel->events[i];
    EXPECT_EQ(e.type, 10u);
    EXPECT_EQ(e.keyCode, expected[i].code);
    EXPECT_EQ(e.modifierFlags, 0xA00000u);
    EXPECT_EQ(e.characters, expected[i].characters);
    EXPECT_EQ(e.charactersIgnoringModifiers, expected[i].characters);
  }
  EXPECT_EQ(syncLines(), (Strings{"sync: sent down selectedId=1", "sync: sent up selectedId=0"}));
}

TEST_F(CandidateWindowTest, FocusingAClauseWalksTheSelectionDownToItsIndex) {
  convert("nekoinu");
  key(Key::right);
  for (int i = 0; i < 3; ++i) key(Key::space);
  key(Key::left);
  EXPECT_EQ(panel->arrows, (std::vector<bool>{true, true, true}));  // none for clause 0 at index 0
  panel->clearRecords();
  log->lines.clear();

  key(Key::right);
  EXPECT_EQ(panel->updates, 1);
  EXPECT_EQ(panel->arrows, (std::vector<bool>{true, true, true}));
  EXPECT_EQ(panel->selectedCandidate(), 3);
  EXPECT_EQ(syncLines().back(), "sync: sent down selectedId=3");
}

TEST_F(CandidateWindowTest, MovingTheSelectionInTheWindowShowsTheCandidate) {
  convert("nekoinu");
  key(Key::right);
  client.clearRecords();
  panel->highlightRow(2);
  EXPECT_EQ(focused().index, 2);
  EXPECT_EQ(client.markedString(), "猫" + focused().texts()[2]);
  EXPECT_TRUE(client.insertions.empty());

  // Rows chosen commit every clause with its current candidate.
  panel->selectRow(1);
  EXPECT_EQ(client.committed, "猫戌");
  auto lines = log->messages("imk");
  auto chosen = std::find(lines.begin(), lines.end(), "candidateSelected: 戌");
  ASSERT_NE(chosen, lines.end());
  // The choice is logged before the commit learns from it.
  EXPECT_EQ(std::next(chosen), std::find(lines.begin(), lines.end(), "learn: いぬ -> 戌"));
  EXPECT_FALSE(panel->isVisible());
}

TEST_F(CandidateWindowTest, CallbacksThatDoNotFitAreIgnored) {
  EXPECT_TRUE(controller->candidates(nullptr).empty());
  controller->candidateSelected(std::string("猫"));
  controller->candidateSelectionChanged(std::string("猫"));
  EXPECT_TRUE(client.calls.empty());

  convert("neko");
  client.clearRecords();
  for (const auto& text : {std::optional<std::string>(), std::optional<std::string>("犬")}) {
    controller->candidateSelectionChanged(text);
    controller->candidateSelected(text);
  }
  EXPECT_TRUE(client.calls.empty());
  EXPECT_EQ(focused().index, 0);
  EXPECT_EQ(controller->candidates(nullptr), focused().texts());
}

TEST_F(CandidateWindowTest, ConvertingWithoutAPanelStillWorks) {
  setCandidatesWindow(nullptr);
  convert("nekoinu");
  key(Key::space);
  key(Key::right);
  key(Key::tab);
  EXPECT_EQ(focused().index, 9);
  const auto expected = "根子" + focused().surface();
  key(Key::returnKey);
  EXPECT_EQ(client.committed, expected);
}

}  // namespace
}  // namespace orvane

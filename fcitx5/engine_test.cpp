// The engine in a running Fcitx5, key for key: what the application sees
// (preedit, commits, keys let through) and what Fcitx5 shows (candidate
// list, status area).
#include <gtest/gtest.h>

#include <fcitx/inputpanel.h>
#include <fcitx/statusarea.h>

#include "fcitx_harness.h"

namespace orvane::fcitx5 {
namespace {

using testing::FcitxHarness;
using fcitx::TextFormatFlag;
using Commit = FcitxHarness::Commit;

class EngineTest : public ::testing::Test {
 protected:
  EngineTest() : fcitx(FcitxHarness::shared()) {
    fcitx.clear();
    ic = fcitx.createInputContext();
  }
  ~EngineTest() override {
    if (ic) fcitx.destroyInputContext(ic);
  }

  std::string preedit() const { return ic->inputPanel().clientPreedit().toString(); }
  int caret() const { return ic->inputPanel().clientPreedit().cursor(); }
  std::shared_ptr<fcitx::CandidateList> candidates() const { return ic->inputPanel().candidateList(); }
  std::vector<std::string> rowsOnPage() const {
    std::vector<std::string> rows;
    if (auto list = candidates())
      for (int i = 0; i < list->size(); ++i) rows.push_back(list->candidate(i).text().toString());
    return rows;
  }
  std::vector<std::string> commits() {
    std::vector<std::string> out;
    for (auto& c : fcitx.takeCommits()) out.push_back(c.text);
    return out;
  }

  FcitxHarness& fcitx;
  fcitx::InputContext* ic = nullptr;
};

TEST_F(EngineTest, PreeditFollowsTypingWithTheCaretAfterPendingRomaji) {
  struct Step {
    char key;
    std::string preedit;
    int caret;  // bytes
  };
  for (const auto& step : std::vector<Step>{{'k', "k", 1}, {'a', "か", 3}, {'n', "かn", 4},
                                           {'j', "かんj", 7}, {'i', "かんじ", 9}}) {
    EXPECT_TRUE(fcitx.press(ic, fcitx::Key(fcitx::Key::keySymFromUnicode(step.key))));
    EXPECT_EQ(preedit(), step.preedit);
    EXPECT_EQ(caret(), step.caret);
    const auto& text = ic->inputPanel().clientPreedit();
    ASSERT_EQ(text.size(), 1u);
    EXPECT_EQ(text.formatAt(0), fcitx::TextFormatFlags(TextFormatFlag::Underline));
  }
  EXPECT_TRUE(fcitx.press(ic, "Left"));
  EXPECT_EQ(caret(), 6);  // before じ
  EXPECT_EQ(candidates(), nullptr);
  EXPECT_TRUE(commits().empty());
}

TEST_F(EngineTest, KanjiSpaceReturnCommitsKanji) {
  fcitx.type(ic, "kanji");
  EXPECT_TRUE(fcitx.press(ic, "space"));
  EXPECT_EQ(preedit(), "漢字");
  EXPECT_EQ(ic->inputPanel().clientPreedit().formatAt(0),
            fcitx::TextFormatFlags({TextFormatFlag::Underline, TextFormatFlag::HighLight}));
  ASSERT_NE(candidates(), nullptr);
  EXPECT_EQ(candidates()->cursorIndex(), 0);
  EXPECT_EQ(rowsOnPage(), (std::vector<std::string>{"漢字", "感じ", "幹事", "監事", "莞爾", "完治", "寛治", "貫地",
                                                    "菅氏"}));
  EXPECT_TRUE(fcitx.press(ic, "Return"));
  EXPECT_EQ(commits(), std::vector<std::string>{"漢字"});
  EXPECT_EQ(preedit(), "");
  EXPECT_EQ(candidates(), nullptr);
  // With nothing composed, Return is the application's.
  EXPECT_FALSE(fcitx.press(ic, "Return"));
}

}  // namespace
}  // namespace orvane::fcitx5

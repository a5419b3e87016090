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

// The engine commits on leaving a context itself, so Fcitx5 must not commit
// the preedit a second time: every span is DontCommit.
const fcitx::TextFormatFlags underlined{TextFormatFlag::Underline, TextFormatFlag::DontCommit};
const fcitx::TextFormatFlags focused{TextFormatFlag::Underline, TextFormatFlag::HighLight, TextFormatFlag::DontCommit};

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
    EXPECT_EQ(text.formatAt(0), underlined);
  }
  EXPECT_TRUE(fcitx.press(ic, "Left"));
  EXPECT_EQ(caret(), 6);  // before じ
  EXPECT_EQ(candidates(), nullptr);
  EXPECT_TRUE(commits().empty());
}

TEST_F(EngineTest, CandidateListFollowsSpaceArrowsAndPages) {
  fcitx.type(ic, "kanji");
  EXPECT_TRUE(fcitx.press(ic, "space"));
  EXPECT_EQ(ic->inputPanel().clientPreedit().formatAt(0), focused);
  EXPECT_EQ(rowsOnPage(), (std::vector<std::string>{"漢字", "感じ", "幹事", "監事", "莞爾", "完治", "寛治", "貫地",
                                                    "菅氏"}));
  struct Step {
    std::string key;
    int selected;  // row among all candidates
  };
  for (const auto& step : std::vector<Step>{{"space", 1}, {"Down", 2}, {"Up", 1}, {"Tab", 10},
                                           {"Down", 11}, {"Shift+ISO_Left_Tab", 2}, {"Up", 1}, {"Up", 0}, {"Up", 0}}) {
    SCOPED_TRACE(step.key);
    EXPECT_TRUE(fcitx.press(ic, step.key));
    auto list = candidates();
    ASSERT_NE(list, nullptr);
    const auto* pages = list->toPageable();
    ASSERT_NE(pages, nullptr);
    EXPECT_EQ(pages->currentPage(), step.selected / 9);
    EXPECT_EQ(list->cursorIndex(), step.selected % 9);
    EXPECT_EQ(pages->hasPrev(), step.selected >= 9);
    // The preedit shows the selected row.
    EXPECT_EQ(preedit(), list->candidate(list->cursorIndex()).text().toString());
  }
  // Digits are text while converting: the conversion is committed, and 1
  // starts a new composition.
  EXPECT_TRUE(fcitx.press(ic, "1"));
  EXPECT_EQ(commits(), std::vector<std::string>{"漢字"});
  EXPECT_EQ(preedit(), "１");
  EXPECT_EQ(candidates(), nullptr);
}

TEST_F(EngineTest, TheMouseMovesTheSelectionAndChoosesARow) {
  fcitx.type(ic, "kanji");
  fcitx.press(ic, "space");
  // The wheel or the page button of the panel: the next page, then one row on.
  candidates()->toPageable()->next();
  EXPECT_EQ(candidates()->toPageable()->currentPage(), 1);
  EXPECT_EQ(preedit(), "換字");
  candidates()->toCursorMovable()->nextCandidate();
  EXPECT_EQ(preedit(), "観自");
  EXPECT_TRUE(commits().empty());
  // A click on a row commits the conversion with that row.
  candidates()->candidate(0).select(ic);
  EXPECT_EQ(commits(), std::vector<std::string>{"換字"});
  EXPECT_EQ(candidates(), nullptr);
  EXPECT_EQ(preedit(), "");
}

TEST_F(EngineTest, ClausesAreSeparateSpansWithTheFocusedOneHighlighted) {
  fcitx.type(ic, "kanjineko");
  fcitx.press(ic, "space");
  const auto& text = ic->inputPanel().clientPreedit();
  ASSERT_EQ(text.size(), 2u);
  EXPECT_EQ(text.stringAt(0), "漢字");
  EXPECT_EQ(text.stringAt(1), "猫");
  EXPECT_EQ(text.formatAt(0), focused);
  EXPECT_EQ(text.formatAt(1), underlined);
  EXPECT_EQ(caret(), 0);
  fcitx.press(ic, "Right");
  EXPECT_EQ(ic->inputPanel().clientPreedit().formatAt(1), focused);
  EXPECT_EQ(caret(), 6);
  EXPECT_EQ(candidates()->candidate(0).text().toString(), "猫");
  fcitx.press(ic, "Escape");
  EXPECT_EQ(preedit(), "かんじねこ");
  EXPECT_EQ(candidates(), nullptr);
}

TEST_F(EngineTest, KanaAndEisuKeysSwitchModesShownInTheStatusArea) {
  auto modeText = [&] { return ic->statusArea().actions(fcitx::StatusGroup::InputMethod).front()->shortText(ic); };
  EXPECT_EQ(modeText(), "かな");
  fcitx.type(ic, "ka");
  struct Step {
    std::string key;
    bool consumed;
    std::string mode;
    std::vector<std::string> commits;
  };
  for (const auto& step : std::vector<Step>{
           {"Muhenkan", true, "英数", {"か"}},          // Eisu commits first
           {"a", false, "英数", {}},                     // direct: the application types it
           {"Hiragana_Katakana", true, "かな", {}},
           {"a", true, "かな", {}},
           {"Eisu_toggle", true, "英数", {"あ"}},
           {"Henkan_Mode", true, "かな", {}},
       }) {
    SCOPED_TRACE(step.key);
    EXPECT_EQ(fcitx.press(ic, step.key), step.consumed);
    EXPECT_EQ(modeText(), step.mode);
    EXPECT_EQ(commits(), step.commits);
  }
  // The mode can be chosen from the status area's menu too; direct commits.
  fcitx.type(ic, "ne");
  auto* menu = ic->statusArea().actions(fcitx::StatusGroup::InputMethod).front()->menu();
  ASSERT_NE(menu, nullptr);
  ASSERT_EQ(menu->actions().size(), 2u);
  menu->actions()[1]->activate(ic);
  EXPECT_EQ(commits(), std::vector<std::string>{"ね"});
  EXPECT_EQ(modeText(), "英数");
  EXPECT_TRUE(menu->actions()[1]->isChecked(ic));
  menu->actions()[0]->activate(ic);
  EXPECT_EQ(modeText(), "かな");
}

TEST_F(EngineTest, KeysTheEngineDoesNotTakeReachTheApplication) {
  // With nothing composed.
  for (const char* key : {"Return", "space", "BackSpace", "Left", "F5", "Control+c", "Shift_L"}) {
    SCOPED_TRACE(key);
    EXPECT_FALSE(fcitx.press(ic, key));
  }
  // Releases always pass.
  EXPECT_FALSE(fcitx.release(ic, fcitx::Key("a")));
  // A shortcut while composing commits, then still reaches the application.
  fcitx.type(ic, "ka");
  EXPECT_FALSE(fcitx.press(ic, "Control+c"));
  EXPECT_EQ(commits(), std::vector<std::string>{"か"});
  // So does an Option chord (Alt).
  fcitx.type(ic, "ne");
  EXPECT_FALSE(fcitx.press(ic, "Alt+f"));
  EXPECT_EQ(commits(), std::vector<std::string>{"ね"});
  // Shift+Space is the ideographic space.
  EXPECT_TRUE(fcitx.press(ic, "Shift+space"));
  EXPECT_EQ(commits(), std::vector<std::string>{"\u3000"});
}

TEST_F(EngineTest, TwoInputContextsKeepSeparateCompositions) {
  auto* other = fcitx.createInputContext("other-app");
  fcitx.type(ic, "ka");
  fcitx.type(other, "ne");
  fcitx.type(ic, "n");
  fcitx.type(other, "ko");
  EXPECT_EQ(preedit(), "かn");
  EXPECT_EQ(other->inputPanel().clientPreedit().toString(), "ねこ");
  // The candidate list shows on the context that converts.
  fcitx.press(other, "space");
  EXPECT_EQ(candidates(), nullptr);
  ASSERT_NE(other->inputPanel().candidateList(), nullptr);
  fcitx.press(other, "Return");
  fcitx.press(ic, "Return");
  auto got = fcitx.takeCommits();
  EXPECT_EQ(got, (std::vector<Commit>{{other, "猫"}, {ic, "かん"}}));
  fcitx.destroyInputContext(other);
}

TEST_F(EngineTest, FocusOutAndResetCommit) {
  fcitx.type(ic, "kanji");
  fcitx.press(ic, "space");
  ic->focusOut();
  EXPECT_EQ(commits(), std::vector<std::string>{"漢字"});
  EXPECT_EQ(candidates(), nullptr);
  ic->focusIn();
  fcitx.type(ic, "neko");
  ic->reset();
  EXPECT_EQ(commits(), std::vector<std::string>{"ねこ"});
  EXPECT_EQ(preedit(), "");
}

TEST_F(EngineTest, DestroyingAContextMidConversionKeepsTheText) {
  auto* doomed = fcitx.createInputContext("doomed-app");
  fcitx.type(doomed, "kanji");
  fcitx.press(doomed, "space");
  fcitx.destroyInputContext(doomed);
  EXPECT_EQ(commits(), std::vector<std::string>{"漢字"});
  // The panel lives on and shows on the next context that converts.
  fcitx.type(ic, "inu");
  fcitx.press(ic, "space");
  ASSERT_NE(candidates(), nullptr);
  EXPECT_EQ(candidates()->candidate(0).text().toString(), "犬");
  EXPECT_TRUE(fcitx.press(ic, "Return"));
  EXPECT_EQ(commits(), std::vector<std::string>{"犬"});
  EXPECT_EQ(preedit(), "");
  EXPECT_EQ(candidates(), nullptr);
}

TEST_F(EngineTest, TheMenuIsInTheStatusArea) {
  std::vector<std::string> titles;
  fcitx::Action* copy = nullptr;
  for (auto* action : ic->statusArea().actions(fcitx::StatusGroup::InputMethod)) {
    titles.push_back(action->shortText(ic));
    if (action->name() == "orvane-copyLogCommand") copy = action;
  }
  EXPECT_EQ(titles, (std::vector<std::string>{"かな", "ユーザ辞書を編集...", "Orvane IME のログを見る方法をコピー",
                                              "Orvane IME について"}));
  ASSERT_NE(copy, nullptr);
  copy->activate(ic);
  auto* pasteboard = dynamic_cast<FcitxPasteboard*>(&platform::pasteboard());
  ASSERT_NE(pasteboard, nullptr);
  EXPECT_EQ(pasteboard->contents(), "log stream --predicate 'subsystem == \"com.orvane.inputmethod.OrvaneIME\"'");
}

TEST_F(EngineTest, WithoutTheDataTypingGivesKanaAndTheLogSaysWhy) {
  orvane::testing::Environment empty;  // no word lists, no connection table
  reportMissingData();
  auto errors = fcitx.log().lines;
  std::erase_if(errors, [](const auto& line) { return line.level != Log::Level::error; });
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].level, Log::Level::error);
  EXPECT_TRUE(errors[0].message.starts_with("dictionary load failed: " +
                                            (empty.mozcDirectory() / "mozc.tsv").string()));
  fcitx.type(ic, "kanji");
  EXPECT_TRUE(fcitx.press(ic, "space"));
  EXPECT_EQ(preedit(), "かんじ");
  EXPECT_TRUE(fcitx.press(ic, "Return"));
  EXPECT_EQ(commits(), std::vector<std::string>{"かんじ"});
}

}  // namespace
}  // namespace orvane::fcitx5

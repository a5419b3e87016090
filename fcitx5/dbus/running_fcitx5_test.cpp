// The engine as built, in the real fcitx5 program, driven over Fcitx5's DBus
// input-method interface as the GTK and Qt modules drive it: what only the
// running program shows (the library and its files loading, signals reaching
// the application, focus between applications, Fcitx5 going away). Key for
// key behaviour is the in-process tests' (fcitx5/engine_test.cpp).
#include <gtest/gtest.h>

#include <fcitx-utils/textformatflags.h>
#include <sys/wait.h>

#include <csignal>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "fcitx_harness.h"
#include "fcitx_process.h"
#include "session_bus.h"

namespace orvane::fcitx5 {
namespace {

namespace fs = std::filesystem;
using testing::FcitxProcess;
using testing::InputContext;
using testing::SessionBus;
using Strings = std::vector<std::string>;

constexpr int underlined = fcitx::TextFormatFlags{fcitx::TextFormatFlag::Underline, fcitx::TextFormatFlag::DontCommit}
                               .toInteger();
constexpr int focused = fcitx::TextFormatFlags{fcitx::TextFormatFlag::Underline, fcitx::TextFormatFlag::HighLight,
                                               fcitx::TextFormatFlag::DontCommit}
                            .toInteger();

class RunningFcitx5Test : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!fs::exists(FCITX5_PROGRAM))
      GTEST_SKIP() << "fcitx5 is not installed (" << FCITX5_PROGRAM << "); scripts/install-deps.sh installs it";
    std::string error;
    bus = SessionBus::connect(error);
    ASSERT_NE(bus, nullptr) << error;
    testing::writeTestDictionary(data);
    const auto mozc = data.mozcDirectory();
    bundle = testing::makeBundle(root.path(), &mozc);
  }

  // A fcitx5 that serves the engine, or nullptr (and a failure).
  FcitxProcess* start(const fs::path& home, const fs::path& withBundle, bool replace = false) {
    processes.push_back(std::make_unique<FcitxProcess>(FcitxProcess::Options{home, withBundle, replace}));
    auto& process = *processes.back();
    if (auto serving = process.waitUntilServing(*bus); !serving) {
      ADD_FAILURE() << serving.message();
      return nullptr;
    }
    return &process;
  }
  FcitxProcess* start() { return start(root / "home", bundle); }

  orvane::testing::TempDir root;
  orvane::testing::Environment data;
  fs::path bundle;
  std::unique_ptr<SessionBus> bus;
  std::vector<std::unique_ptr<FcitxProcess>> processes;  // stopped before the bus closes
};

TEST_F(RunningFcitx5Test, KanjiSpaceReturnCommitsKanjiThroughTheBuildTreesEngine) {
  auto* fcitx = start();
  ASSERT_NE(fcitx, nullptr);
  auto editor = InputContext::open(*bus, "editor");
  ASSERT_NE(editor, nullptr);
  EXPECT_EQ(fcitx->loadedEngine(), fs::canonical(ORVANE_FCITX5_ADDON_DIR "/orvane.so"));

  struct Step {
    std::string key;
    std::string preedit;
    int cursor;  // bytes
    int format;
  };
  for (const auto& step : std::vector<Step>{{"k", "k", 1, underlined},
                                           {"a", "か", 3, underlined},
                                           {"n", "かn", 4, underlined},
                                           {"j", "かんj", 7, underlined},
                                           {"i", "かんじ", 9, underlined},
                                           {"space", "漢字", 0, focused}}) {
    SCOPED_TRACE(step.key);
    EXPECT_TRUE(editor->press(step.key));
    const auto preedits = editor->takePreedits();
    ASSERT_FALSE(preedits.empty());
    EXPECT_EQ(preedits.back().spans, (std::vector<InputContext::Span>{{step.preedit, step.format}}));
    EXPECT_EQ(preedits.back().cursor, step.cursor);
  }
  EXPECT_TRUE(editor->takeCommits().empty());
  EXPECT_TRUE(editor->press("Return"));
  EXPECT_EQ(editor->takeCommits(), Strings{"漢字"});
  EXPECT_EQ(editor->preedit().text(), "");
  // Keys reported not handled reach the application: Return with nothing
  // composed, a shortcut (after committing), a key in direct mode.
  EXPECT_FALSE(editor->press("Return"));
  editor->type("ka");
  EXPECT_FALSE(editor->press("Control+a"));
  EXPECT_EQ(editor->takeCommits(), Strings{"か"});
  EXPECT_TRUE(editor->press("Muhenkan"));
  EXPECT_FALSE(editor->press("a"));
  EXPECT_EQ(editor->preedit().text(), "");
  EXPECT_TRUE(fcitx->running());
}

TEST_F(RunningFcitx5Test, TwoApplicationsKeepTheirOwnCompositionsAndFocusOutCommits) {
  ASSERT_NE(start(), nullptr);
  auto editor = InputContext::open(*bus, "editor");
  auto terminal = InputContext::open(*bus, "terminal");
  ASSERT_NE(editor, nullptr);
  ASSERT_NE(terminal, nullptr);
  editor->type("ka");
  terminal->type("neko");
  terminal->press("space");
  editor->type("n");
  EXPECT_EQ(editor->preedit().text(), "かn");
  EXPECT_EQ(terminal->preedit().text(), "猫");
  // The terminal's window loses the focus while it converts.
  EXPECT_TRUE(terminal->focusOut());
  EXPECT_EQ(terminal->preedit().text(), "");
  EXPECT_EQ(editor->preedit().text(), "かn");
  EXPECT_TRUE(editor->press("Return"));
  EXPECT_EQ(terminal->takeCommits(), Strings{"猫"});
  EXPECT_EQ(editor->takeCommits(), Strings{"かん"});
  EXPECT_EQ(bus->timeline(), (Strings{"terminal: 猫", "editor: かん"}));
}

TEST_F(RunningFcitx5Test, AnApplicationDrawingItsOwnCandidateWindowGetsTheRows) {
  ASSERT_NE(start(), nullptr);
  auto editor = InputContext::open(*bus, "editor", /*drawsCandidates=*/true);
  ASSERT_NE(editor, nullptr);
  editor->type("kanji");
  EXPECT_TRUE(editor->candidates().rows.empty());
  editor->press("space");
  EXPECT_EQ(editor->candidates().rows, (Strings{"漢字", "感じ", "幹事", "監事", "莞爾", "完治", "寛治", "貫地", "菅氏"}));
  EXPECT_EQ(editor->candidates().selected, 0);
  EXPECT_FALSE(editor->candidates().hasPrev);
  EXPECT_TRUE(editor->candidates().hasNext);
  editor->press("space");
  EXPECT_EQ(editor->candidates().selected, 1);
  // The window's page button, then a click on a row.
  EXPECT_TRUE(editor->nextPage());
  ASSERT_GE(editor->candidates().rows.size(), 2u);
  EXPECT_EQ(editor->candidates().rows[0], "換字");
  EXPECT_TRUE(editor->candidates().hasPrev);
  EXPECT_EQ(editor->preedit().text(), editor->candidates().rows[editor->candidates().selected]);
  EXPECT_TRUE(editor->selectCandidate(1));
  EXPECT_EQ(editor->takeCommits(), Strings{"観自"});
  EXPECT_TRUE(editor->candidates().rows.empty());
}

TEST_F(RunningFcitx5Test, WithoutTheDataDirectoryItComposesKanaAndKeepsRunning) {
  const auto bare = testing::makeBundle(root / "bare", nullptr);
  ASSERT_FALSE(fs::exists(bare / "Contents" / "Resources" / "Mozc"));
  auto* fcitx = start(root / "home", bare);
  ASSERT_NE(fcitx, nullptr);
  auto editor = InputContext::open(*bus, "editor");
  ASSERT_NE(editor, nullptr);
  EXPECT_TRUE(editor->type("kanji"));
  EXPECT_TRUE(editor->press("space"));
  EXPECT_EQ(editor->preedit().text(), "かんじ");
  EXPECT_TRUE(editor->press("Return"));
  EXPECT_EQ(editor->takeCommits(), Strings{"かんじ"});
  EXPECT_TRUE(fcitx->running());
}

// Fcitx5 going away while the user converts: told to exit over DBus, sent
// SIGTERM (a session ending), or replaced by `fcitx5 -r` (a restart).
enum class Ending { exitMethod, terminated, replaced };

std::string name(Ending ending) {
  switch (ending) {
    case Ending::exitMethod: return "ExitMethod";
    case Ending::terminated: return "Sigterm";
    case Ending::replaced: return "Replaced";
  }
  return "";
}
void PrintTo(Ending ending, std::ostream* out) { *out << name(ending); }

class Fcitx5GoesAwayTest : public RunningFcitx5Test, public ::testing::WithParamInterface<Ending> {};

TEST_P(Fcitx5GoesAwayTest, TheConversionIsCommittedFirstAndTheNextFcitx5ServesWhatWasLearned) {
  const auto home = root / "home";
  auto* first = start(home, bundle);
  ASSERT_NE(first, nullptr);
  auto editor = InputContext::open(*bus, "editor");
  ASSERT_NE(editor, nullptr);
  editor->type("kanji");
  editor->press("space");
  editor->press("space");
  ASSERT_EQ(editor->preedit().text(), "感じ");

  FcitxProcess* second = nullptr;
  switch (GetParam()) {
    case Ending::exitMethod:
      ASSERT_TRUE(bus->post("/controller", "org.fcitx.Fcitx.Controller1", "Exit")) << bus->lastError();
      break;
    case Ending::terminated:
      first->signal(SIGTERM);
      break;
    case Ending::replaced:
      second = start(home, bundle, /*replace=*/true);
      ASSERT_NE(second, nullptr);
      break;
  }
  const auto status = first->waitForExit(*bus);
  ASSERT_TRUE(status.has_value()) << "the first fcitx5 is still running";
  EXPECT_TRUE(WIFEXITED(*status) && WEXITSTATUS(*status) == 0) << "wait status " << *status;
  if (GetParam() == Ending::replaced) {
    // The new fcitx5 takes the bus name before the old one hears of it; the
    // text still comes, from the old one, to the context the editor had.
    EXPECT_EQ(bus->timeline(), (Strings{"fcitx5 left", "editor: 感じ"}));
  } else {
    // The application got the text before Fcitx5 left the bus.
    EXPECT_EQ(bus->timeline(), (Strings{"editor: 感じ", "fcitx5 left"}));
  }

  if (!second) second = start(home, bundle);
  ASSERT_NE(second, nullptr);
  // Applications make their contexts again when Fcitx5 comes back.
  auto again = InputContext::open(*bus, "editor");
  ASSERT_NE(again, nullptr);
  again->type("kanji");
  again->press("space");
  EXPECT_EQ(again->preedit().text(), "感じ");  // learned as the first one went
  again->press("Return");
  EXPECT_EQ(again->takeCommits(), Strings{"感じ"});
}

INSTANTIATE_TEST_SUITE_P(Endings, Fcitx5GoesAwayTest,
                         ::testing::Values(Ending::exitMethod, Ending::terminated, Ending::replaced),
                         [](const auto& info) { return name(info.param); });

}  // namespace
}  // namespace orvane::fcitx5

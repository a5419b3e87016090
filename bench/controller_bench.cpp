// Conversion cost through the controller: Space on a long composition, and
// candidate steps and pages with the window kept in step.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "controller/input_controller.h"
#include "dictionary/kana_dictionary.h"
#include "learning/learning.h"
#include "learning/segmentation.h"
#include "platform/bundle.h"
#include "platform/candidate_panel.h"
#include "platform/client.h"
#include "platform/key_event.h"
#include "testing/environment.h"
#include "testing/fake_client.h"

namespace orvane {
namespace {

namespace fs = std::filesystem;


// The real data directory: ORVANE_MOZC_DIR, or the Mozc folder of the bundle
// built beside this program.
fs::path mozcDirectory() {
  if (const char* env = std::getenv("ORVANE_MOZC_DIR"); env && *env) return env;
  return platform::Bundle::main().resourceURL() / "Mozc";
}

bool hasData(const fs::path& dir) {
  std::error_code ec;
  return fs::exists(dir / KanaDictionary::wordsFileName, ec) && fs::exists(dir / KanaDictionary::connectionFileName, ec);
}

// The dictionary and both learning stores pointed at the data and an empty
// user directory, loaded once; without data, a small made-up dictionary.
struct Data {
  Data() {
    real = hasData(mozcDirectory());
    if (real) {
      KanaDictionary::resetForTesting(user.path(), mozcDirectory(), std::nullopt);
      Learning::resetForTesting();
      Segmentation::resetForTesting();
    } else {
      made.emplace();
      made->writeParts({{10, "名詞,一般,*,*,*,*,*"}});
      made->writeConnection(20, 0);
      std::vector<testing::WordLine> words;
      for (int i = 0; i < 30; ++i) words.push_back({"かんじ", 10, 10, 100 + i, "漢" + std::to_string(i)});
      made->writeWords(words);
    }
    KanaDictionary::preload();
    Learning::reloadIfNeeded();
    Segmentation::reloadIfNeeded();
    setCandidatesWindow(std::make_unique<platform::ListCandidatePanel>());
  }
  bool real = false;
  testing::TempDir user;
  std::optional<testing::Environment> made;
};

Data& data() {
  static Data d;
  return d;
}

using testing::keyEvent;

void type(InputController& controller, platform::Client& client, std::string_view romaji) {
  for (char c : romaji) controller.handle(keyEvent(0, std::string(1, c)), &client);
}

const auto space = keyEvent(49, " ");
const auto backspace = keyEvent(51, "\x7f");

// わたしはきのうとうきょうへいきましたよね: twenty characters.
constexpr std::string_view twentyCharacters = "watashihakinoutoukyouheikimashitayone";

void BM_SpaceOnTwentyCharacters(benchmark::State& state) {
  if (!data().real) {
    state.SkipWithError(("no dictionary data at " + mozcDirectory().string() + "; set ORVANE_MOZC_DIR").c_str());
    return;
  }
  testing::CapturingClient client;
  InputController controller(&client);
  InputController::setInputMode(InputController::InputMode::kana);
  type(controller, client, twentyCharacters);
  for (auto _ : state) {
    controller.handle(space, &client);
    state.PauseTiming();
    controller.handle(backspace, &client);  // back to composing, nothing learned
    state.ResumeTiming();
  }
  controller.handle(space, &client);
  state.counters["clauses"] = static_cast<double>(controller.clauses().size());
}
BENCHMARK(BM_SpaceOnTwentyCharacters)->Unit(benchmark::kMicrosecond);

// Alternating steps (Down, Up) or pages (Tab, Shift+Tab) on the candidates of
// かんじ; every step re-sends the marked text and moves the window's selection.
void candidateMoves(benchmark::State& state, const platform::KeyEvent& forward, const platform::KeyEvent& back,
                    std::size_t needed) {
  data();
  testing::CapturingClient client;
  InputController controller(&client);
  InputController::setInputMode(InputController::InputMode::kana);
  type(controller, client, "kanji");
  controller.handle(space, &client);
  if (controller.clauses().empty() || controller.clauses()[0].candidates.size() < needed) {
    state.SkipWithError("too few candidates for the moves");
    return;
  }
  bool ahead = false;
  for (auto _ : state) {
    controller.handle(ahead ? back : forward, &client);
    ahead = !ahead;
  }
  state.counters["candidates"] = static_cast<double>(controller.clauses()[0].candidates.size());
  controller.handle(backspace, &client);
}

void BM_CandidateStep(benchmark::State& state) {
  candidateMoves(state, keyEvent(125, "\uF701"), keyEvent(126, "\uF700"), 2);
}
BENCHMARK(BM_CandidateStep);

void BM_CandidatePage(benchmark::State& state) {
  candidateMoves(state, keyEvent(48, "\t"), keyEvent(48, "\t", platform::ModifierFlag::shift), 10);
}
BENCHMARK(BM_CandidatePage);

}  // namespace
}  // namespace orvane

BENCHMARK_MAIN();

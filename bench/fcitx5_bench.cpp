// What the Fcitx5 engine adds: the same keystrokes and the same Space through
// a Fcitx5 instance in this process (test front-end, engine, preedit and
// candidate list built) and through the controller alone.
#include <benchmark/benchmark.h>

#include <fcitx/inputcontext.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

#include "controller/input_controller.h"
#include "dictionary/kana_dictionary.h"
#include "fcitx_harness.h"
#include "learning/learning.h"
#include "learning/segmentation.h"
#include "platform/bundle.h"
#include "testing/environment.h"
#include "testing/fake_client.h"

namespace orvane {
namespace {

namespace fs = std::filesystem;
using fcitx5::testing::FcitxHarness;

constexpr std::string_view sentence = "watashihamainichinihongowobenkyoushiteimasukyouhaiitenkidesu";
// わたしはきのうとうきょうへいきましたよね: twenty characters.
constexpr std::string_view twentyCharacters = "watashihakinoutoukyouheikimashitayone";

fs::path mozcDirectory() {
  if (const char* env = std::getenv("ORVANE_MOZC_DIR"); env && *env) return env;
  return fs::path(ORVANE_BUNDLE_DIR) / "Contents" / "Resources" / "Mozc";
}

// The harness's Fcitx5 with the real data when it is built (the small test
// dictionary otherwise), and one focused input context.
struct Fixture {
  Fixture() : fcitx(FcitxHarness::shared({.quiet = true})) {
    std::error_code ec;
    real = fs::exists(mozcDirectory() / KanaDictionary::connectionFileName, ec);
    if (real) {
      KanaDictionary::resetForTesting(user.path(), mozcDirectory(), std::nullopt);
      Learning::resetForTesting();
      Segmentation::resetForTesting();
    }
    ic = fcitx.createInputContext();
    KanaDictionary::preload();
    Learning::reloadIfNeeded();
    Segmentation::reloadIfNeeded();
  }
  FcitxHarness& fcitx;
  testing::TempDir user;
  fcitx::InputContext* ic = nullptr;
  bool real = false;
};

Fixture& fixture() {
  static Fixture f;
  return f;
}

fcitx::Key keyFor(char c) { return fcitx::Key(fcitx::Key::keySymFromUnicode(static_cast<unsigned char>(c))); }


// One printable key, press and release, through Fcitx5 and the engine.
void BM_KeystrokeThroughFcitx5(benchmark::State& state) {
  auto& f = fixture();
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(f.fcitx.press(f.ic, keyFor(sentence[i])));
    if (++i == sentence.size()) {
      state.PauseTiming();
      f.fcitx.press(f.ic, "Escape");
      i = 0;
      state.ResumeTiming();
    }
  }
  f.fcitx.press(f.ic, "Escape");
}
BENCHMARK(BM_KeystrokeThroughFcitx5);

// The same keys straight into a controller with a client that keeps the text.
void BM_KeystrokeControllerAlone(benchmark::State& state) {
  fixture();
  testing::CapturingClient client;
  InputController controller(&client);
  std::size_t i = 0;
  const auto escape = testing::keyEvent(53, "\x1b");
  for (auto _ : state) {
    benchmark::DoNotOptimize(controller.handle(testing::keyEvent(0, std::string(1, sentence[i])), &client));
    if (++i == sentence.size()) {
      state.PauseTiming();
      controller.handle(escape, &client);
      i = 0;
      state.ResumeTiming();
    }
  }
}
BENCHMARK(BM_KeystrokeControllerAlone);

void BM_SpaceOnTwentyCharactersThroughFcitx5(benchmark::State& state) {
  auto& f = fixture();
  if (!f.real) state.SkipWithError(("no dictionary data at " + mozcDirectory().string()).c_str());
  for (char c : twentyCharacters) f.fcitx.press(f.ic, keyFor(c));
  for (auto _ : state) {
    f.fcitx.press(f.ic, "space");
    state.PauseTiming();
    f.fcitx.press(f.ic, "BackSpace");  // back to composing, nothing learned
    state.ResumeTiming();
  }
  f.fcitx.press(f.ic, "Escape");
}
BENCHMARK(BM_SpaceOnTwentyCharactersThroughFcitx5)->Unit(benchmark::kMicrosecond);

void BM_SpaceOnTwentyCharactersControllerAlone(benchmark::State& state) {
  auto& f = fixture();
  if (!f.real) state.SkipWithError(("no dictionary data at " + mozcDirectory().string()).c_str());
  testing::CapturingClient client;
  InputController controller(&client);
  for (char c : twentyCharacters) controller.handle(testing::keyEvent(0, std::string(1, c)), &client);
  const auto space = testing::keyEvent(49, " ");
  const auto backspace = testing::keyEvent(51, "\x7f");
  for (auto _ : state) {
    controller.handle(space, &client);
    state.PauseTiming();
    controller.handle(backspace, &client);
    state.ResumeTiming();
  }
}
BENCHMARK(BM_SpaceOnTwentyCharactersControllerAlone)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace orvane

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  // Fcitx5 goes before the process's statics.
  orvane::fcitx5::testing::FcitxHarness::shared().stop();
  benchmark::Shutdown();
  return 0;
}

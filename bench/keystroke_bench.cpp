// Typing cost: a printable key through the controller, the composer alone, and
// a whole sentence typed and committed.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <string_view>

#include "app/log.h"
#include "composer/romaji_composer.h"
#include "controller/input_controller.h"
#include "platform/candidate_panel.h"
#include "platform/client.h"
#include "platform/key_event.h"
#include "testing/fake_client.h"

namespace orvane {
namespace {

using testing::keyEvent;

constexpr std::string_view sentence = "watashihamainichinihongowobenkyoushiteimasukyouhaiitenkidesu";

// A log that wants every line, so that formatting is paid as with the system log.
class DiscardingSink final : public Log::Sink {
 public:
  bool wants(Log::Level) const override { return true; }
  void write(std::string_view, Log::Level, std::string_view message) override { bytes += message.size(); }
  std::size_t bytes = 0;
};

void BM_PrintableKeystroke(benchmark::State& state) {
  std::shared_ptr<DiscardingSink> sink;
  if (state.range(0)) {
    sink = std::make_shared<DiscardingSink>();
    Log::addSink(sink);
  }
  testing::CapturingClient client;
  InputController controller(&client);
  InputController::setInputMode(InputController::InputMode::kana);
  std::vector<platform::KeyEvent> keys;
  for (char c : sentence) keys.push_back(keyEvent(0, std::string(1, c)));
  const auto escape = keyEvent(53, "\x1b");
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(controller.handle(keys[i], &client));
    if (++i == keys.size()) {
      state.PauseTiming();
      controller.handle(escape, &client);
      i = 0;
      state.ResumeTiming();
    }
  }
  benchmark::DoNotOptimize(client.caret);
  if (sink) Log::removeSink(sink);
}
BENCHMARK(BM_PrintableKeystroke)->ArgName("logged")->Arg(0)->Arg(1);

void BM_ComposerInput(benchmark::State& state) {
  RomajiComposer composer;
  std::size_t i = 0;
  for (auto _ : state) {
    composer.input(sentence.substr(i, 1));
    if (++i == sentence.size()) {
      state.PauseTiming();
      composer.reset();
      i = 0;
      state.ResumeTiming();
    }
  }
  benchmark::DoNotOptimize(composer.cursor());
}
BENCHMARK(BM_ComposerInput);

// Sixty keystrokes of romaji, then Return: the marked text is rebuilt after
// every key and the kana are committed at the end.
void BM_SentenceTypedAndCommitted(benchmark::State& state) {
  testing::CapturingClient client;
  InputController controller(&client);
  InputController::setInputMode(InputController::InputMode::kana);
  std::vector<platform::KeyEvent> keys;
  for (char c : sentence.substr(0, 60)) keys.push_back(keyEvent(0, std::string(1, c)));
  const auto returnKey = keyEvent(36, "\r");
  for (auto _ : state) {
    for (const auto& k : keys) controller.handle(k, &client);
    controller.handle(returnKey, &client);
  }
  benchmark::DoNotOptimize(client.committed);
  state.SetItemsProcessed(state.iterations() * 61);
}
BENCHMARK(BM_SentenceTypedAndCommitted)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace orvane

BENCHMARK_MAIN();

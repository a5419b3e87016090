// Start-up of the bundle's program with the built dictionary data: from
// starting the process to the answer of its first request, as a client
// connecting right after launch sees it.
//
// The data come from the bundle beside this program, or from ORVANE_BUNDLE
// when that names another one (a build whose data were made).
#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

#include "platform/bundle.h"
#include "platform/process.h"
#include "testing/environment.h"

namespace {
namespace fs = std::filesystem;
using orvane::platform::ChildProcess;

fs::path program() {
  return orvane::platform::executablePath().parent_path().parent_path() / "Orvane IME.app" / "Contents" / "MacOS" /
         "orvane";
}

bool hasData(const fs::path& bundle) {
  std::error_code ec;
  return fs::is_regular_file(bundle / "Contents" / "Resources" / "Mozc" / "mozc.tsv", ec) &&
         fs::is_regular_file(bundle / "Contents" / "Resources" / "Mozc" / "connection.bin", ec);
}

// Starts the program, sends the requests and waits for the line that answers
// the last of them.
void run(benchmark::State& state, const std::string& requests, std::string_view answerPrefix) {
  const auto bundle = orvane::platform::Bundle::main().bundleURL();
  if (!hasData(bundle)) {
    state.SkipWithError(("no dictionary data in " + bundle.string() + "; build it or set ORVANE_BUNDLE").c_str());
    return;
  }
  // One user directory for every iteration: the steady state after the
  // first launch installed the default user dictionary.
  orvane::testing::TempDir home;
  const ChildProcess::EnvironmentChanges environment = {{"ORVANE_BUNDLE", bundle.string()},
                                                        {"XDG_DATA_HOME", home.path().string()}};
  for (auto _ : state) {
    auto child = ChildProcess::start(program(), {}, environment);
    if (!child) {
      state.SkipWithError("cannot start the program");
      return;
    }
    child->write(requests);
    bool answered = false;
    while (auto line = child->readLine(60000)) {
      if (line->rfind(answerPrefix, 0) == 0 && !answered) {
        answered = true;
        break;
      }
    }
    state.PauseTiming();
    child->closeInput();
    child->readAllLines();
    child->wait();
    state.ResumeTiming();
    if (!answered) {
      state.SkipWithError("no answer");
      return;
    }
  }
}

void BM_StartupToFirstAnswer(benchmark::State& state) {
  run(state, "{\"op\":\"recognizedEvents\"}\n", "{\"mask\":");
}
BENCHMARK(BM_StartupToFirstAnswer)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

// The first conversion also loads what start-up leaves for later: the
// segmentation store and the connection costs in use.
void BM_StartupToFirstConversion(benchmark::State& state) {
  run(state,
      "{\"op\":\"type\",\"text\":\"kanji\"}\n{\"op\":\"key\",\"code\":49,\"chars\":\" \"}\n"
      "{\"op\":\"recognizedEvents\"}\n",
      "{\"mask\":");
}
BENCHMARK(BM_StartupToFirstConversion)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

}  // namespace

BENCHMARK_MAIN();

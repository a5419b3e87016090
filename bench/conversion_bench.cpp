// Conversion speed on the real data directory: one convert() per reading of
// 8 to 64 characters, the search alone, and a batch of 1000 typical readings.
// The data directory is $ORVANE_MOZC_DIR, or the bundle's beside this program.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>

#include "conversion/converter.h"
#include "dictionary/kana_dictionary.h"
#include "learning/learning.h"
#include "learning/segmentation.h"
#include "platform/bundle.h"
#include "testing/environment.h"

namespace {
namespace fs = std::filesystem;
using namespace orvane;

// Everyday prose, long enough to cut readings of every benchmarked length from.
constexpr std::string_view prose =
    "わたしはきのうともだちといっしょにとうきょうのあたらしいびじゅつかんへいって"
    "たくさんのえをみましたそのあとでえきのちかくのみせでおいしいらーめんをたべてから"
    "でんしゃにのっていえにかえりましたあしたはあめがふるそうなのでかさをもっていきます";

const Characters& proseCharacters() {
  static const Characters characters = text::characters(prose);
  return characters;
}

Characters prefix(std::size_t length) {
  const auto& all = proseCharacters();
  return Characters(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(std::min(length, all.size())));
}

void convertReading(benchmark::State& state) {
  const auto reading = prefix(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(Converter::convert(reading));
  state.SetLabel(std::to_string(reading.size()) + " characters");
}
BENCHMARK(convertReading)->Arg(8)->Arg(16)->Arg(32)->Arg(64)->Unit(benchmark::kMicrosecond);

void bestPathOnly(benchmark::State& state) {
  const auto reading = prefix(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(Converter::bestPath(reading, {}));
}
BENCHMARK(bestPathOnly)->Arg(8)->Arg(16)->Arg(32)->Arg(64)->Unit(benchmark::kMicrosecond);

// 1000 readings of 6 to 20 characters from every place in the prose: about
// what a day of typing or one run of the evaluation tool asks for.
void thousandReadings(benchmark::State& state) {
  const auto& all = proseCharacters();
  std::vector<Characters> readings;
  for (std::size_t k = 0; readings.size() < 1000; ++k) {
    std::size_t length = 6 + k % 15;
    std::size_t start = (k * 7) % (all.size() - length);
    readings.emplace_back(all.begin() + static_cast<std::ptrdiff_t>(start),
                          all.begin() + static_cast<std::ptrdiff_t>(start + length));
  }
  for (auto _ : state) {
    for (const auto& reading : readings) benchmark::DoNotOptimize(Converter::convert(reading));
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * 1000);
}
BENCHMARK(thousandReadings)->Unit(benchmark::kMillisecond);

fs::path dataDirectory() {
  if (const char* env = std::getenv("ORVANE_MOZC_DIR"); env && *env) return env;
  return platform::executablePath().parent_path().parent_path() / "Orvane IME.app" / "Contents" / "Resources" /
         "Mozc";
}

}  // namespace

int main(int argc, char** argv) {
  const auto directory = dataDirectory();
  std::error_code ec;
  if (!fs::is_regular_file(directory / KanaDictionary::wordsFileName, ec)) {
    std::cout << "conversion_bench: no " << KanaDictionary::wordsFileName << " in " << directory
              << "; build the data or set ORVANE_MOZC_DIR. Skipped.\n";
    return 0;
  }
  // The user's learning would make the figures depend on who runs them.
  testing::TempDir user;
  KanaDictionary::resetForTesting(user.path(), directory, std::nullopt);
  Learning::resetForTesting();
  Segmentation::resetForTesting();
  KanaDictionary::preload();

  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

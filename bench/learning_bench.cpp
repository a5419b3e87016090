// The learning stores at their limit of 10 000 entries: recording (with the
// eviction and the whole-file save), the look-ups the converter makes for
// every lattice word and clause, the boundary search of every conversion,
// and the load at start-up.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "learning/learning.h"
#include "learning/segmentation.h"
#include "testing/environment.h"
#include "text/text.h"

namespace {

using namespace orvane;
namespace fs = std::filesystem;

constexpr int64_t start = 1'700'000'000;

// Hiragana from あ (U+3042) to ん (U+3093), as typed readings are.
std::string kana(std::mt19937& random, int length) {
  std::uniform_int_distribution<int> pick(0x3042, 0x3093);
  std::string out;
  for (int i = 0; i < length; ++i) out += text::fromScalar(static_cast<char32_t>(pick(random)));
  return out;
}

// 10 000 entries over about 7 000 readings of 2 to 6 characters, some with
// several surfaces, as years of typing leave them.
std::string learningFile() {
  std::mt19937 random(7);
  std::uniform_int_distribution<int> length(2, 6);
  std::uniform_int_distribution<int> surfaces(1, 2);
  std::string content;
  int lines = 0;
  for (int r = 0; lines < 10000; ++r) {
    const auto reading = r == 0 ? std::string("かんじ") : kana(random, length(random));
    const int n = r == 0 ? 3 : surfaces(random);
    for (int s = 0; s < n && lines < 10000; ++s, ++lines)
      content += reading + "\t" + "漢字" + std::to_string(s) + "\t" + std::to_string(start - lines) + "\t1\n";
  }
  return content;
}

struct LearningFixture {
  LearningFixture() {
    ::orvane::testing::writeFile(file(), learningFile());
    Learning::reloadIfNeeded();
  }
  fs::path file() const { return env.userDirectory() / Learning::fileName; }
  ::orvane::testing::Environment env{start};
};

void recordIntoFullStore(benchmark::State& state) {
  LearningFixture fixture;
  int64_t i = 0;
  for (auto _ : state) {
    // Each new pair is the newest, so every call evicts the oldest entry.
    fixture.env.setNow(start + ++i);
    Learning::record({{"しんき" + std::to_string(i), "新規"}});
  }
  const auto content = ::orvane::testing::readFile(fixture.file());
  state.counters["lines"] = static_cast<double>(std::count(content.begin(), content.end(), '\n'));
}
BENCHMARK(recordIntoFullStore)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);

void surfacesOfALearnedReading(benchmark::State& state) {
  LearningFixture fixture;
  for (auto _ : state) benchmark::DoNotOptimize(Learning::surfaces("かんじ"));
}
BENCHMARK(surfacesOfALearnedReading);

void surfacesOfAnUnknownReading(benchmark::State& state) {
  LearningFixture fixture;
  for (auto _ : state) benchmark::DoNotOptimize(Learning::surfaces("ゔゔゔ"));
}
BENCHMARK(surfacesOfAnUnknownReading);

void isLearnedOfALearnedPair(benchmark::State& state) {
  LearningFixture fixture;
  for (auto _ : state) benchmark::DoNotOptimize(Learning::isLearned("かんじ", "漢字2"));
}
BENCHMARK(isLearnedOfALearnedPair);

void isLearnedOfAnUnknownReading(benchmark::State& state) {
  LearningFixture fixture;
  for (auto _ : state) benchmark::DoNotOptimize(Learning::isLearned("ゔゔゔ", "漢字"));
}
BENCHMARK(isLearnedOfAnUnknownReading);

void loadTenThousandLines(benchmark::State& state) {
  ::orvane::testing::Environment env{start};
  ::orvane::testing::writeFile(env.userDirectory() / Learning::fileName, learningFile());
  for (auto _ : state) {
    state.PauseTiming();
    Learning::resetForTesting();
    state.ResumeTiming();
    Learning::reloadIfNeeded();
  }
  state.counters["has"] = Learning::hasEntries("かんじ") ? 1 : 0;
}
BENCHMARK(loadTenThousandLines)->Unit(benchmark::kMillisecond);

void matchesInAFortyCharacterReading(benchmark::State& state) {
  ::orvane::testing::Environment env{start};
  std::mt19937 random(11);
  const auto reading = kana(random, 40);
  const auto characters = text::characters(reading);
  std::uniform_int_distribution<int> length(2, 8);
  std::string content;
  // A few keys occur in the reading, the rest are other typed stretches.
  for (int i = 0; i < 10000; ++i) {
    const int n = length(random);
    const auto key = i % 1000 == 0 ? text::join(characters, i / 1000, i / 1000 + n) : kana(random, n);
    content += key + "\t1\t" + std::to_string(start - i) + "\t1\n";
  }
  ::orvane::testing::writeFile(env.userDirectory() / Segmentation::fileName, content);
  Segmentation::reloadIfNeeded();
  std::size_t found = 0;
  for (auto _ : state) {
    auto matches = Segmentation::matches(characters);
    found = matches.size();
    benchmark::DoNotOptimize(matches);
  }
  state.counters["matches"] = static_cast<double>(found);
}
BENCHMARK(matchesInAFortyCharacterReading)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();

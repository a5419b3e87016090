// Dictionary look-up, reload and load costs over the real data directory.
// The directory comes from ORVANE_MOZC_DIR, else the bundle built next to
// this program (bin/../Orvane IME.app/Contents/Resources/Mozc).

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "dictionary/emoji_support.h"
#include "dictionary/kana_dictionary.h"
#include "platform/harfbuzz_text_layout.h"
#include "platform/bundle.h"
#include "testing/environment.h"

namespace {

namespace fs = std::filesystem;
using namespace orvane;

fs::path mozcDirectory() {
  if (const char* env = std::getenv("ORVANE_MOZC_DIR"); env && *env) return env;
  return platform::executablePath().parent_path().parent_path() / "Orvane IME.app" / "Contents" / "Resources" /
         "Mozc";
}

struct Setup {
  fs::path mozc;
  std::optional<fs::path> defaultUserDictionary;
  testing::TempDir user;
  std::string absentReading = "ゔぁゔぃゔぅゔぇゔぉ";
  std::string tenEntryReading;
  std::size_t tenEntryCount = 0;
};

Setup* setup = nullptr;

// Fresh, unloaded statics over the data; the user directory is a temporary
// one holding the shipped default, as on a first start.
void resetDictionary() {
  fs::remove_all(setup->user.path() / "user");
  KanaDictionary::resetForTesting(setup->user.path() / "user", setup->mozc, setup->defaultUserDictionary);
}

// The reading of the main list whose number of lines is nearest to ten.
void findTenEntryReading() {
  std::ifstream in(setup->mozc / KanaDictionary::wordsFileName, std::ios::binary);
  std::string line, current, best;
  std::size_t count = 0, bestCount = 0;
  auto consider = [&] {
    auto distance = [](std::size_t c) { return c > 10 ? c - 10 : 10 - c; };
    if (!current.empty() && (best.empty() || distance(count) < distance(bestCount))) {
      best = current;
      bestCount = count;
    }
  };
  while (std::getline(in, line)) {
    auto reading = line.substr(0, line.find('\t'));
    if (reading == current) {
      ++count;
      continue;
    }
    consider();
    if (bestCount == 10) break;
    current = reading;
    count = 1;
  }
  consider();
  setup->tenEntryReading = best;
}

long residentKilobytes() {
  std::ifstream status("/proc/self/status");
  std::string key;
  while (status >> key) {
    long value = 0;
    if (key == "VmRSS:" && status >> value) return value;
    status.ignore(1 << 10, '\n');
  }
  return -1;
}

void BM_WordsAbsentReading(benchmark::State& state) {
  resetDictionary();
  KanaDictionary::preload();
  for (auto _ : state) benchmark::DoNotOptimize(KanaDictionary::words(setup->absentReading));
}
BENCHMARK(BM_WordsAbsentReading);

void BM_WordsTenEntries(benchmark::State& state) {
  resetDictionary();
  KanaDictionary::preload();
  std::size_t found = 0;
  for (auto _ : state) {
    auto words = KanaDictionary::words(setup->tenEntryReading);
    found = words.size();
    benchmark::DoNotOptimize(words);
  }
  state.counters["words"] = static_cast<double>(found);
  state.SetLabel(setup->tenEntryReading);
}
BENCHMARK(BM_WordsTenEntries);

void BM_ReloadNothingChanged(benchmark::State& state) {
  resetDictionary();
  KanaDictionary::preload();
  for (auto _ : state) KanaDictionary::reloadIfNeeded();
}
BENCHMARK(BM_ReloadNothingChanged);

void BM_PreloadCold(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    resetDictionary();
    state.ResumeTiming();
    KanaDictionary::preload();
  }
}
BENCHMARK(BM_PreloadCold)->Unit(benchmark::kMillisecond)->Iterations(10);

// Emoji answers are cached per string, so after the first pass this is the
// cost of the look-up and the cache probes.
void BM_EmojiForReading(benchmark::State& state) {
  resetDictionary();
  KanaDictionary::preload();
  std::size_t found = 0;
  for (auto _ : state) {
    auto emoji = KanaDictionary::emoji("えがお");
    found = emoji.size();
    benchmark::DoNotOptimize(emoji);
  }
  state.counters["emoji"] = static_cast<double>(found);
}
BENCHMARK(BM_EmojiForReading);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  Setup s;
  s.mozc = mozcDirectory();
  if (!fs::exists(s.mozc / KanaDictionary::wordsFileName)) {
    std::printf("dictionary_bench: skipped, no %s in %s (build the data or set ORVANE_MOZC_DIR)\n",
                std::string(KanaDictionary::wordsFileName).c_str(), s.mozc.c_str());
    return 0;
  }
  if (auto shipped = s.mozc.parent_path() / KanaDictionary::userFileName; fs::exists(shipped))
    s.defaultUserDictionary = shipped;
  setup = &s;
  findTenEntryReading();

  // Memory first, in a process that has done nothing else yet: what start-up
  // costs, with the word lists mapped but not yet paged in by look-ups.
  const long before = residentKilobytes();
  resetDictionary();
  KanaDictionary::preload();
  const long after = residentKilobytes();
  std::printf("resident memory after preload: %.1f MB (%.1f MB before)\n", after / 1024.0, before / 1024.0);
  std::printf("reading with about ten entries: %s (%zu words)\n", s.tenEntryReading.c_str(),
              KanaDictionary::words(s.tenEntryReading).size());
  if (!KanaDictionary::words(s.absentReading).empty()) std::printf("warning: the absent reading has words\n");

  // The first emoji look-up of a process pays for finding and opening the font.
  const auto started = std::chrono::steady_clock::now();
  platform::HarfBuzzTextLayout layout;
  EmojiSupport::resetForTesting(&layout);
  const bool supported = EmojiSupport::isSupported("😀");
  const std::chrono::duration<double, std::milli> firstUse = std::chrono::steady_clock::now() - started;
  std::printf("emoji font found and first emoji laid out in %.1f ms (supported: %s)\n", firstUse.count(),
              supported ? "yes" : "no");

  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

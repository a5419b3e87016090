// The latency a client of `orvane` sees: the romaji keystrokes of a set of
// readings replayed through the bundle's program over the session protocol,
// one request at a time, timing each request from writing it to reading its
// closing line. Reports the median and the 95th percentile of Space (the
// first conversion of the reading) and of a printable keystroke.
//
//   protocol_bench [--readings=FILE] [--count=N] [--passes=N] [benchmark flags]
//   protocol_bench --print-requests [--readings=FILE] [--count=N]
//
// FILE is a set in any layout orvane-eval reads (default: the documents'
// mozc_evaluation.tsv beside the source tree, else tools/eval/everyday.tsv);
// the first N distinct readings (default 200) that romaji can type are used.
// One pass over them warms the program up, as a running input method is;
// the next passes (default 3) are measured. Each conversion is cancelled
// with Escape, so nothing is learned and every pass converts alike.
// --print-requests writes the requests of one pass to standard output
// instead, to feed the program under a profiler. After the figures it prints
// the program's resident memory after its first answer and after the
// passes, and how much of it is pages of the mapped data files.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "composer/romaji_composer.h"
#include "eval.h"
#include "platform/bundle.h"
#include "platform/file_system.h"
#include "platform/process.h"
#include "testing/environment.h"
#include "text/text.h"

namespace {
namespace fs = std::filesystem;
using namespace orvane;
using Clock = std::chrono::steady_clock;

struct Options {
  fs::path readings;
  std::size_t count = 200;
  std::size_t passes = 3;
  bool printRequests = false;
};
Options options;

fs::path defaultReadings() {
  const fs::path source = ORVANE_SOURCE_DIR;
  const fs::path documents = source.parent_path() / "shared" / "eval" / "mozc_evaluation.tsv";
  std::error_code ec;
  if (fs::is_regular_file(documents, ec)) return documents;
  return source / "tools" / "eval" / "everyday.tsv";
}

fs::path program() {
  return platform::executablePath().parent_path().parent_path() / "Orvane IME.app" / "Contents" / "MacOS" / "orvane";
}

// Romaji for kana: the shortest table entry for every output (the
// alphabetically first of equal length), ん as "nn", っ as the doubled
// consonant that follows it. Anything else is typed as itself.
class Romanizer {
 public:
  Romanizer() {
    for (const auto& [romaji, kana] : RomajiComposer::table()) {
      auto [it, added] = spelling_.emplace(kana, romaji);
      if (!added && (romaji.size() < it->second.size() ||
                     (romaji.size() == it->second.size() && romaji < it->second)))
        it->second = romaji;
    }
  }

  std::vector<std::string> keystrokes(const Characters& reading) const {
    std::vector<std::string> keys;
    bool doubleNext = false;
    for (std::size_t i = 0; i < reading.size();) {
      if (reading[i] == "っ" && i + 1 < reading.size() && reading[i + 1] != "っ") {
        doubleNext = true;
        ++i;
        continue;
      }
      std::string romaji;
      std::size_t used = 1;
      // Two characters first: きゃ is one entry, not き and a small ゃ.
      if (i + 1 < reading.size()) {
        if (auto it = spelling_.find(reading[i] + reading[i + 1]); it != spelling_.end()) {
          romaji = it->second;
          used = 2;
        }
      }
      if (romaji.empty()) {
        if (auto it = spelling_.find(reading[i]); it != spelling_.end()) romaji = it->second;
      }
      if (romaji.empty()) romaji = halfwidth(reading[i]);
      if (doubleNext) {
        const bool consonant = romaji[0] >= 'a' && romaji[0] <= 'z' && std::string_view("aeioun").find(romaji[0]) ==
                                                                            std::string_view::npos;
        keys.push_back(consonant ? std::string(1, romaji[0]) : std::string("xtu"));
        doubleNext = false;
      }
      if (romaji.size() > 1 && romaji.front() >= 'a' && romaji.front() <= 'z') {
        for (char c : romaji) keys.emplace_back(1, c);
      } else if (reading[i] == "ん") {
        keys.insert(keys.end(), {"n", "n"});
      } else {
        for (const auto& c : text::characters(romaji)) keys.push_back(c);
      }
      i += used;
    }
    return keys;
  }

 private:
  // Full-width digits, letters and symbols are typed on their ASCII keys.
  static std::string halfwidth(const std::string& character) {
    auto scalar = text::singleScalar(character);
    if (scalar && *scalar >= 0xFF01 && *scalar <= 0xFF5E) return std::string(1, static_cast<char>(*scalar - 0xFEE0));
    return character;
  }

  std::map<std::string, std::string> spelling_;
};

// Whether the keystrokes compose exactly the reading, as the controller's
// composer would make it.
bool composes(const std::vector<std::string>& keys, const std::string& reading) {
  RomajiComposer composer;
  for (const auto& k : keys) composer.input(k);
  composer.flush();
  return composer.kana() == reading;
}

struct Reading {
  std::string kana;
  std::vector<std::string> keys;
};

std::vector<Reading> loadReadings(std::size_t& untypeable) {
  std::string error;
  auto content = platform::readWholeFile(options.readings, &error);
  if (!content) {
    std::fprintf(stderr, "protocol_bench: %s: %s\n", options.readings.c_str(), error.c_str());
    return {};
  }
  const Romanizer romanizer;
  std::vector<Reading> readings;
  untypeable = 0;
  for (const auto& item : eval::parseSet(*content).items) {
    if (readings.size() == options.count) break;
    auto keys = romanizer.keystrokes(text::characters(item.reading));
    if (!composes(keys, item.reading)) {
      ++untypeable;
      continue;
    }
    readings.push_back({item.reading, std::move(keys)});
  }
  return readings;
}

std::string keyRequest(int code, std::string_view characters) {
  return nlohmann::json{{"op", "key"}, {"code", code}, {"chars", characters}}.dump() + "\n";
}

const std::string spaceRequest = keyRequest(49, " ");
const std::string escapeRequest = keyRequest(53, "\x1b");
const std::string idleRequest = "{\"op\":\"recognizedEvents\"}\n";

// The program serving one client, driven a request at a time.
class Session {
 public:
  Session() : home_(), child_(start(home_.path())) {}
  bool running() const { return child_.has_value(); }

  // Resident kilobytes of the program: all of them, and those of mapped files.
  struct Memory {
    long resident = -1;
    long files = -1;
  };
  Memory memory() const {
    Memory m;
    std::ifstream status("/proc/" + std::to_string(child_->pid()) + "/status");
    std::string key;
    while (status >> key) {
      if (key == "VmRSS:") status >> m.resident;
      if (key == "RssFile:") status >> m.files;
      status.ignore(1 << 10, '\n');
    }
    return m;
  }

  // Sends one request and reads up to its closing line; the seconds taken,
  // or nullopt when the program stopped answering. Every line before the
  // closing one goes to `seen`.
  std::optional<double> exchange(const std::string& request, std::vector<std::string>* seen = nullptr) {
    const auto started = Clock::now();
    if (!child_->write(request)) return std::nullopt;
    while (auto line = child_->readLine(60000)) {
      if (line->starts_with("{\"result\"") || line->starts_with("{\"error\"") || line->starts_with("{\"mask\"")) {
        return std::chrono::duration<double>(Clock::now() - started).count();
      }
      if (seen) seen->push_back(std::move(*line));
    }
    return std::nullopt;
  }

 private:
  static std::optional<platform::ChildProcess> start(const fs::path& home) {
    return platform::ChildProcess::start(program(), {},
                                         {{"XDG_DATA_HOME", home.string()}, {"ORVANE_NOW", "1700000000"}});
  }

  testing::TempDir home_;
  std::optional<platform::ChildProcess> child_;
};

struct Samples {
  std::vector<double> space;
  std::vector<double> keystroke;
  // A request that does nothing: what the pipes and the process switches
  // cost, the floor under the other two.
  std::vector<double> roundTrip;
  std::size_t readings = 0;
  std::size_t untypeable = 0;
  Session::Memory started;
  Session::Memory afterPasses;
  std::string failure;
};

// One warm-up pass, then the measured passes.
Samples replay() {
  Samples samples;
  const auto readings = loadReadings(samples.untypeable);
  samples.readings = readings.size();
  if (readings.empty()) {
    samples.failure = "no readings in " + options.readings.string();
    return samples;
  }
  Session session;
  if (!session.running() || !session.exchange(idleRequest)) {
    samples.failure = "cannot start " + program().string();
    return samples;
  }
  samples.started = session.memory();
  for (std::size_t pass = 0; pass <= options.passes; ++pass) {
    const bool measured = pass > 0;
    for (const auto& reading : readings) {
      for (const auto& key : reading.keys) {
        auto took = session.exchange(keyRequest(0, key));
        if (!took) {
          samples.failure = "no answer to a keystroke";
          return samples;
        }
        if (measured) samples.keystroke.push_back(*took);
      }
      std::vector<std::string> lines;
      auto took = session.exchange(spaceRequest, &lines);
      const std::string logged = "conversion: reading=" + reading.kana + " clauses=";
      const bool converted = std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
        auto j = nlohmann::json::parse(line, nullptr, false);
        return j.is_object() && j.value("message", std::string()).starts_with(logged);
      });
      if (!took || !converted) {
        samples.failure = "Space did not convert " + reading.kana;
        return samples;
      }
      if (measured) samples.space.push_back(*took);
      // Back to composing, then the composition discarded: nothing learned.
      if (!session.exchange(escapeRequest) || !session.exchange(escapeRequest)) {
        samples.failure = "no answer to Escape";
        return samples;
      }
      auto idle = session.exchange(idleRequest);
      if (!idle) {
        samples.failure = "no answer to recognizedEvents";
        return samples;
      }
      if (measured) samples.roundTrip.push_back(*idle);
    }
  }
  samples.afterPasses = session.memory();
  return samples;
}


const Samples& samples() {
  static const Samples s = replay();
  return s;
}

void printMemory() {
  const auto& s = samples();
  if (!s.failure.empty()) return;
  auto mb = [](long kilobytes) { return static_cast<double>(kilobytes) / 1024.0; };
  std::printf("resident memory of orvane: %.1f MB after the first answer (%.1f MB of it mapped files), "
              "%.1f MB after the passes (%.1f MB mapped files)\n",
              mb(s.started.resident), mb(s.started.files), mb(s.afterPasses.resident), mb(s.afterPasses.files));
}

double quantile(std::vector<double> values, double q) {
  std::sort(values.begin(), values.end());
  // Nearest rank: the smallest value with at least q of the samples at or below it.
  const auto rank = static_cast<std::size_t>(std::ceil(q * static_cast<double>(values.size())));
  return values[std::clamp<std::size_t>(rank, 1, values.size()) - 1];
}

void report(benchmark::State& state, const std::vector<double>& values) {
  const auto& s = samples();
  if (!s.failure.empty() || values.empty()) {
    state.SkipWithError(s.failure.empty() ? "no samples" : s.failure.c_str());
    return;
  }
  const double median = quantile(values, 0.5);
  for (auto _ : state) state.SetIterationTime(median);
  state.counters["median_us"] = median * 1e6;
  state.counters["p95_us"] = quantile(values, 0.95) * 1e6;
  state.counters["max_us"] = *std::max_element(values.begin(), values.end()) * 1e6;
  state.counters["samples"] = static_cast<double>(values.size());
  state.SetLabel(std::to_string(s.readings) + " readings (" + std::to_string(s.untypeable) + " untypeable skipped), " +
                 std::to_string(options.passes) + " passes");
}

void BM_SpaceOverProtocol(benchmark::State& state) { report(state, samples().space); }
BENCHMARK(BM_SpaceOverProtocol)->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);

void BM_PrintableKeystrokeOverProtocol(benchmark::State& state) { report(state, samples().keystroke); }
BENCHMARK(BM_PrintableKeystrokeOverProtocol)->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);

void BM_RoundTripOverProtocol(benchmark::State& state) { report(state, samples().roundTrip); }
BENCHMARK(BM_RoundTripOverProtocol)->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);

bool hasData() {
  std::error_code ec;
  const auto mozc = program().parent_path().parent_path() / "Resources" / "Mozc";
  return fs::is_regular_file(mozc / "mozc.tsv", ec) && fs::is_regular_file(mozc / "connection.bin", ec);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  options.readings = defaultReadings();
  for (int k = 1; k < argc; ++k) {
    std::string_view argument = argv[k];
    auto value = [&](std::string_view name) -> std::optional<std::string_view> {
      if (!argument.starts_with(name)) return std::nullopt;
      return argument.substr(name.size());
    };
    if (auto v = value("--readings=")) {
      options.readings = std::string(*v);
    } else if (auto v = value("--count=")) {
      options.count = std::strtoul(std::string(*v).c_str(), nullptr, 10);
    } else if (argument == "--print-requests") {
      options.printRequests = true;
    } else if (auto v = value("--passes=")) {
      options.passes = std::max<std::size_t>(1, std::strtoul(std::string(*v).c_str(), nullptr, 10));
    } else {
      std::fprintf(stderr, "protocol_bench: unknown argument %s\n", argv[k]);
      return 2;
    }
  }
  if (options.printRequests) {
    std::size_t untypeable = 0;
    for (const auto& reading : loadReadings(untypeable)) {
      for (const auto& key : reading.keys) std::fputs(keyRequest(0, key).c_str(), stdout);
      std::fputs((spaceRequest + escapeRequest + escapeRequest + idleRequest).c_str(), stdout);
    }
    return 0;
  }
  if (!hasData()) {
    std::printf("protocol_bench: skipped, no dictionary data in the bundle beside %s\n", program().c_str());
    return 0;
  }
  benchmark::RunSpecifiedBenchmarks();
  printMemory();
  benchmark::Shutdown();
  return 0;
}

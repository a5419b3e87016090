#include "convert_tool.h"

#include <unistd.h>

#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <istream>
#include <memory>
#include <ostream>
#include <random>
#include <system_error>

#include <nlohmann/json.hpp>

#include "app/log.h"
#include "composer/romaji_composer.h"
#include "conversion/converter.h"
#include "dictionary/kana_dictionary.h"
#include "learning/learning.h"
#include "learning/segmentation.h"
#include "platform/bundle.h"
#include "text/text.h"

namespace orvane::convert_tool {
namespace fs = std::filesystem;
namespace {

// Log lines on stderr, for --verbose: which files were loaded, what failed.
class StandardErrorSink final : public Log::Sink {
 public:
  explicit StandardErrorSink(std::ostream& err) : err_(err) {}
  bool wants(Log::Level) const override { return true; }
  void write(std::string_view category, Log::Level level, std::string_view message) override {
    err_ << "[" << category << (level == Log::Level::error ? " error" : "") << "] " << message << '\n';
  }

 private:
  std::ostream& err_;
};

std::optional<int64_t> parseCount(std::string_view s) {
  int64_t value = 0;
  auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), value);
  if (ec != std::errc() || end != s.data() + s.size() || value < 0) return std::nullopt;
  return value;
}

void splitLines(std::string_view text, std::vector<std::string>& into) {
  while (true) {
    auto newline = text.find('\n');
    into.emplace_back(text.substr(0, newline));
    if (newline == std::string_view::npos) return;
    text.remove_prefix(newline + 1);
  }
}

std::string_view withoutCarriageReturn(std::string_view line) {
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

nlohmann::ordered_json clauseJSON(const Clause& clause, const Options& options) {
  auto candidates = nlohmann::ordered_json::array();
  auto count = clause.candidates.size();
  if (options.candidates > 0) count = std::min<std::size_t>(count, static_cast<std::size_t>(options.candidates));
  for (std::size_t k = 0; k < count; ++k) {
    const auto& candidate = clause.candidates[k];
    nlohmann::ordered_json head = nullptr;
    if (candidate.head) head = {{"reading", candidate.head->reading}, {"surface", candidate.head->surface}};
    candidates.push_back({{"text", candidate.text}, {"head", head}});
  }
  return {{"range", {clause.range.lower, clause.range.upper}},
          {"reading", clause.reading},
          {"candidates", std::move(candidates)}};
}

std::string surfaces(const std::vector<Clause>& clauses, std::string_view separator) {
  std::string out;
  for (std::size_t k = 0; k < clauses.size(); ++k) {
    if (k > 0) out += separator;
    out += clauses[k].surface();
  }
  return out;
}

// What an interrupted run leaves in its private user data directory: the
// installed default user dictionary. Kept in plain buffers so that a signal
// handler can remove both with async-signal-safe calls.
char interruptedFile[4096];
char interruptedDirectory[4096];

void removeOnSignal(int signal) {
  ::unlink(interruptedFile);
  ::rmdir(interruptedDirectory);
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

void removeOnInterrupt(const fs::path& directory) {
  auto file = (directory / KanaDictionary::userFileName).string();
  if (file.size() >= sizeof interruptedFile) return;
  std::strcpy(interruptedFile, file.c_str());
  std::strcpy(interruptedDirectory, directory.c_str());
  for (int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) std::signal(signal, removeOnSignal);
}

fs::path makeTemporaryDirectory() {
  std::random_device random;
  auto base = fs::temp_directory_path();
  for (int attempt = 0; attempt < 100; ++attempt) {
    auto candidate = base / ("orvane-convert-" + std::to_string(random()) + std::to_string(random()));
    std::error_code ec;
    if (fs::create_directory(candidate, ec)) return candidate;
  }
  throw std::runtime_error("cannot create a temporary directory in " + base.string());
}

}  // namespace

std::string usage() {
  return R"(Usage: orvane-convert [options] [reading...]

Converts readings, one a line, as the input method's first conversion would.
Readings come from the arguments, or from standard input when there are none.

Options:
  --romaji          type each line as romaji keystrokes before converting it
  --separator S     put S between clauses (default: nothing)
  --candidates N    list the first N candidates of every clause
                    (in JSON: at most N; all of them by default)
  --json            one JSON object a line: the reading, the conversion and
                    every clause's range, reading and candidates
  --data DIR        use the data directory DIR instead of the bundle's
  --no-learning     ignore the user's learned choices, boundaries and user
                    dictionary (a fresh, temporary user data directory)
  --verbose         show the dictionary's and the stores' log lines on stderr
  -h, --help        show this text

A line that is not valid UTF-8 is reported on stderr with its number and
skipped (an empty output line keeps the lines aligned); the exit status is
then 1. Bad options exit with status 2.
)";
}

ParsedArguments parseArguments(const std::vector<std::string>& arguments) {
  Options options;
  bool onlyReadings = false;
  for (std::size_t k = 0; k < arguments.size(); ++k) {
    const std::string& argument = arguments[k];
    if (onlyReadings || argument.size() < 2 || argument[0] != '-') {
      options.readings.push_back(argument);
      continue;
    }
    std::string name = argument;
    std::optional<std::string> value;
    if (auto equals = argument.find('='); argument.starts_with("--") && equals != std::string::npos) {
      name = argument.substr(0, equals);
      value = argument.substr(equals + 1);
    }
    auto takeValue = [&]() -> std::optional<std::string> {
      if (value) return value;
      if (k + 1 < arguments.size()) return arguments[++k];
      return std::nullopt;
    };
    auto fail = [](std::string message) { return ParsedArguments{std::nullopt, std::move(message)}; };
    auto noValue = [&]() { return !value.has_value(); };

    if (name == "--") {
      onlyReadings = true;
    } else if ((name == "--help" || name == "-h") && noValue()) {
      options.help = true;
    } else if (name == "--romaji" && noValue()) {
      options.romaji = true;
    } else if (name == "--json" && noValue()) {
      options.json = true;
    } else if (name == "--no-learning" && noValue()) {
      options.learning = false;
    } else if (name == "--verbose" && noValue()) {
      options.verbose = true;
    } else if (name == "--separator") {
      auto v = takeValue();
      if (!v) return fail("--separator needs a value");
      options.separator = *v;
    } else if (name == "--candidates") {
      auto v = takeValue();
      auto count = v ? parseCount(*v) : std::nullopt;
      if (!count) return fail("--candidates needs a number of 0 or more");
      options.candidates = *count;
    } else if (name == "--data") {
      auto v = takeValue();
      if (!v || v->empty()) return fail("--data needs a directory");
      options.dataDirectory = fs::path(*v);
    } else {
      return fail("unknown option " + argument);
    }
  }
  return ParsedArguments{std::move(options), {}};
}

std::optional<std::string> readingFor(std::string_view line, bool romaji) {
  if (!text::isValidUTF8(line)) return std::nullopt;
  if (!romaji) return std::string(line);
  RomajiComposer composer;
  for (const auto& character : text::characters(line)) composer.input(character);
  composer.flush();
  return composer.kana();
}

std::string formatPlain(const std::vector<Clause>& clauses, const Options& options) {
  std::string out = surfaces(clauses, options.separator);
  if (options.candidates <= 0) return out;
  // One indented line per clause: its reading, then its first candidates.
  for (const auto& clause : clauses) {
    out += "\n\t";
    out += clause.reading;
    auto count = std::min<std::size_t>(clause.candidates.size(), static_cast<std::size_t>(options.candidates));
    for (std::size_t k = 0; k < count; ++k) {
      out += '\t';
      out += clause.candidates[k].text;
    }
  }
  return out;
}

std::string formatJSON(int64_t lineNumber, std::string_view reading, const std::vector<Clause>& clauses,
                       const Options& options) {
  auto clauseList = nlohmann::ordered_json::array();
  for (const auto& clause : clauses) clauseList.push_back(clauseJSON(clause, options));
  nlohmann::ordered_json object = {{"line", lineNumber},
                           {"reading", reading},
                           {"conversion", surfaces(clauses, options.separator)},
                           {"clauses", std::move(clauseList)}};
  // Dictionary text is trusted to be UTF-8, but one bad entry must not stop a long run.
  return object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

int64_t run(const Options& options, std::istream& in, std::ostream& out, std::ostream& err) {
  std::shared_ptr<Log::Sink> sink;
  if (options.verbose) {
    sink = std::make_shared<StandardErrorSink>(err);
    Log::addSink(sink);
  }

  int64_t failures = 0;
  int64_t lineNumber = 0;
  auto convertLine = [&](std::string_view rawLine) {
    ++lineNumber;
    std::string_view line = withoutCarriageReturn(rawLine);
    auto reading = readingFor(line, options.romaji);
    if (!reading) {
      ++failures;
      err << "orvane-convert: line " << lineNumber << ": invalid UTF-8\n";
      if (options.json) {
        out << nlohmann::ordered_json{{"line", lineNumber}, {"error", "invalid UTF-8"}}.dump() << '\n';
      } else {
        out << '\n';
      }
      return;
    }
    auto clauses = Converter::convert(text::characters(*reading));
    if (options.json) {
      out << formatJSON(lineNumber, *reading, clauses, options) << '\n';
    } else {
      out << formatPlain(clauses, options) << '\n';
    }
  };

  if (!options.readings.empty()) {
    std::vector<std::string> lines;
    for (const auto& reading : options.readings) splitLines(reading, lines);
    for (const auto& line : lines) convertLine(line);
  } else {
    std::string line;
    while (std::getline(in, line)) convertLine(line);
  }
  out.flush();

  if (sink) Log::removeSink(sink);
  return failures;
}

StoreSetup::StoreSetup(const Options& options) {
  if (options.learning && !options.dataDirectory) return;
  fs::path userDirectory;
  if (options.learning) {
    userDirectory = KanaDictionary::directoryURL();
  } else {
    temporaryDirectory_ = makeTemporaryDirectory();
    userDirectory = *temporaryDirectory_;
    removeOnInterrupt(userDirectory);
  }
  fs::path mozcDirectory = options.dataDirectory ? *options.dataDirectory : KanaDictionary::mozcDirectoryURL();
  // A fresh user data directory gets the bundle's default user dictionary, as
  // on the input method's first start.
  KanaDictionary::resetForTesting(userDirectory, mozcDirectory,
                                  platform::Bundle::main().pathForResource("dictionary", "txt"));
  Learning::resetForTesting();
  Segmentation::resetForTesting();
}

StoreSetup::~StoreSetup() {
  if (!temporaryDirectory_) return;
  for (int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) std::signal(signal, SIG_DFL);
  std::error_code ec;
  fs::remove_all(*temporaryDirectory_, ec);
}

}  // namespace orvane::convert_tool

// orvane-convert: converts readings, one a line, as the input method's first
// conversion would, for looking at conversions and scoring them in bulk.
#pragma once

#include <cstdint>
#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "conversion/records.h"

namespace orvane::convert_tool {

struct Options {
  std::string separator;
  // How many candidates of every clause to list; 0 lists none in plain output
  // and all of them in JSON.
  int64_t candidates = 0;
  bool json = false;
  bool romaji = false;
  bool learning = true;
  bool verbose = false;
  bool help = false;
  std::optional<std::filesystem::path> dataDirectory;
  // Readings given on the command line; stdin is read when there are none.
  std::vector<std::string> readings;
};

struct ParsedArguments {
  std::optional<Options> options;
  std::string error;  // set when options is absent
};

ParsedArguments parseArguments(const std::vector<std::string>& arguments);
std::string usage();

// The kana reading for one input line: the line itself, or the line typed
// key by key into a romaji composer. Absent when the line is not UTF-8.
std::optional<std::string> readingFor(std::string_view line, bool romaji);

// What is printed for one converted line, without its final newline.
std::string formatPlain(const std::vector<Clause>& clauses, const Options& options);
std::string formatJSON(int64_t lineNumber, std::string_view reading, const std::vector<Clause>& clauses,
                       const Options& options);

// Converts every line of `in` (or the readings of the options when given) to
// `out`; a line that is not UTF-8 is reported on `err` by its number and
// skipped. Returns the number of such lines.
int64_t run(const Options& options, std::istream& in, std::ostream& out, std::ostream& err);

// Points the dictionary and the learning stores where the options say, for as
// long as the object lives. A private user data directory stands in for the
// user's own when learning is off, so nothing the user taught is read or touched.
class StoreSetup {
 public:
  explicit StoreSetup(const Options& options);
  ~StoreSetup();
  StoreSetup(const StoreSetup&) = delete;
  StoreSetup& operator=(const StoreSetup&) = delete;

 private:
  std::optional<std::filesystem::path> temporaryDirectory_;
};

}  // namespace orvane::convert_tool

// The records that carry conversion data between the dictionary, the
// converter, the controller and the learning stores.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvane {

struct Word {
  std::string reading;
  std::string surface;
  int64_t leftID = 0;
  int64_t rightID = 0;
  int64_t cost = 0;
  bool operator==(const Word&) const = default;
};

// A (reading, surface) pair: a candidate's main word, or what the candidate
// learning store is told.
struct ReadingSurface {
  std::string reading;
  std::string surface;
  bool operator==(const ReadingSurface&) const = default;
};

struct Candidate {
  std::string text;
  std::optional<ReadingSurface> head;
  bool operator==(const Candidate&) const = default;
};

// Half-open range of character positions.
struct Range {
  int64_t lower = 0;
  int64_t upper = 0;
  int64_t length() const { return upper - lower; }
  bool operator==(const Range&) const = default;
};

struct Clause {
  Range range;
  std::string reading;
  std::vector<Candidate> candidates;
  int64_t index = 0;

  // The text of the chosen candidate: what the clause shows and commits.
  const std::string& surface() const;
  std::vector<std::string> texts() const;
  // The choice for the whole clause reading, then for its main word alone
  // when the clause holds more than that word.
  std::vector<ReadingSurface> learningPairs() const;
};

}  // namespace orvane

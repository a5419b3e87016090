// Kana-kanji conversion: the cheapest path through the word lattice, cut
// into clauses with ranked candidates. No state of its own.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string_view>
#include <vector>

#include "conversion/records.h"
#include "text/text.h"

namespace orvane::Converter {

std::vector<Clause> convert(const Characters& reading);
std::vector<Clause> convert(const Characters& reading, int64_t firstClauseLength);

// The search itself, visible to tests and benchmarks.
struct Node {
  Word word;
  int64_t begin = 0;
  int64_t end = 0;
  int64_t total = 0;
  std::optional<int64_t> previous;
};

std::vector<Node> bestPath(const Characters& reading, const std::set<int64_t>& boundaries);
std::set<int64_t> learnedBoundaries(const Characters& reading);

bool isKana(std::string_view character);
bool isHiragana(std::string_view s);
bool isKatakana(std::string_view s);

}  // namespace orvane::Converter

#include <algorithm>
#include <numeric>

#include "mkdict.h"

namespace orvane::mkdict {
namespace {

// Ids that no word carries still need a row and a column; the highest cost
// keeps any path through them from ever winning.
constexpr int16_t unusedCost = INT16_MAX;

int32_t find(const std::vector<std::string>& names, std::string_view name) {
  auto it = std::find(names.begin(), names.end(), name);
  if (it == names.end())
    throw SourceError("the context ids have no part of speech " + std::string(name) +
                      "; the input method needs it for user words and fall-backs");
  return static_cast<int32_t>(it - names.begin());
}

}  // namespace

int16_t clampCost(int64_t cost) {
  return static_cast<int16_t>(std::clamp<int64_t>(cost, INT16_MIN, INT16_MAX));
}

std::vector<int32_t> renumber(Lexicon& lexicon) {
  Grammar& grammar = lexicon.grammar;
  const int32_t oldSize = grammar.size();
  if (oldSize == 0 || grammar.names[0].rfind("BOS/EOS", 0) != 0)
    throw SourceError("context id 0 must be the sentence boundary (BOS/EOS)");
  const int32_t noun = find(grammar.names, userWordName);
  const int32_t symbol = find(grammar.names, fallbackSymbolName);
  const int32_t size = std::max(oldSize, fallbackSymbolID + 1);

  // target: old id -> new id; source: new id -> old id (both permutations).
  std::vector<int32_t> target(size), source(size);
  std::iota(target.begin(), target.end(), 0);
  std::iota(source.begin(), source.end(), 0);
  auto place = [&](int32_t old, int32_t wanted) {
    const int32_t current = target[old];
    const int32_t displaced = source[wanted];
    target[old] = wanted;
    source[wanted] = old;
    target[displaced] = current;
    source[current] = displaced;
  };
  place(noun, userWordID);
  place(symbol, fallbackSymbolID);

  std::vector<std::string> names(size);
  for (int32_t old = 0; old < oldSize; ++old) names[target[old]] = std::move(grammar.names[old]);
  std::vector<int16_t> costs(static_cast<std::size_t>(size) * size, unusedCost);
  for (int32_t a = 0; a < oldSize; ++a) {
    if (names[target[a]].empty()) continue;
    for (int32_t b = 0; b < oldSize; ++b) {
      if (names[target[b]].empty()) continue;
      costs[static_cast<std::size_t>(target[a]) * size + target[b]] =
          grammar.costs[static_cast<std::size_t>(a) * oldSize + b];
    }
  }
  grammar.names = std::move(names);
  grammar.costs = std::move(costs);
  for (auto& word : lexicon.words) {
    word.leftID = target[word.leftID];
    word.rightID = target[word.rightID];
  }
  target.resize(oldSize);
  return target;
}

std::string connectionBytes(const Grammar& grammar) {
  const auto n = static_cast<uint32_t>(grammar.size());
  std::string out;
  out.reserve(4 + grammar.costs.size() * 2);
  for (int shift = 0; shift < 32; shift += 8) out += static_cast<char>((n >> shift) & 0xFF);
  for (int16_t cost : grammar.costs) {
    const auto bits = static_cast<uint16_t>(cost);
    out += static_cast<char>(bits & 0xFF);
    out += static_cast<char>(bits >> 8);
  }
  return out;
}

std::string idDefinitions(const Grammar& grammar) {
  std::string out;
  for (int32_t id = 0; id < grammar.size(); ++id) {
    if (grammar.names[id].empty()) continue;
    out += std::to_string(id);
    out += ' ';
    out += grammar.names[id];
    out += '\n';
  }
  return out;
}

}  // namespace orvane::mkdict

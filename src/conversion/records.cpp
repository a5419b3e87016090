#include "conversion/records.h"

namespace orvane {

const std::string& Clause::surface() const { return candidates[static_cast<std::size_t>(index)].text; }

std::vector<std::string> Clause::texts() const {
  std::vector<std::string> out;
  out.reserve(candidates.size());
  for (const auto& c : candidates) out.push_back(c.text);
  return out;
}

std::vector<ReadingSurface> Clause::learningPairs() const {
  const auto& chosen = candidates[static_cast<std::size_t>(index)];
  std::vector<ReadingSurface> pairs{{reading, chosen.text}};
  if (chosen.head && chosen.head->reading != reading) pairs.push_back(*chosen.head);
  return pairs;
}

}  // namespace orvane

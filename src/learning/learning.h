// The candidate learning store: which surface the user committed for a
// reading, most recent first.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "conversion/records.h"

namespace orvane::Learning {

struct Entry {
  std::string surface;
  int64_t lastUsed = 0;
  int64_t count = 1;
  bool operator==(const Entry&) const = default;
};

inline constexpr std::string_view fileName = "learning.tsv";
inline constexpr std::size_t maxEntries = 10000;

std::vector<std::string> surfaces(std::string_view reading);
bool isLearned(std::string_view reading, std::string_view surface);
bool hasEntries(std::string_view reading);
void record(const std::vector<ReadingSurface>& pairs);
void forget(const std::vector<ReadingSurface>& pairs);
void reloadIfNeeded();

// A fresh, never-loaded store whose file is in KanaDictionary::directoryURL() (tests).
void resetForTesting();

}  // namespace orvane::Learning

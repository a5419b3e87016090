// The segmentation learning store: clause boundaries the user placed, as a
// key (two clause readings joined) and the boundary's offset inside it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "text/text.h"

namespace orvane::Segmentation {

struct Entry {
  int64_t offset = 0;
  int64_t lastUsed = 0;
  int64_t count = 0;
  bool operator==(const Entry&) const = default;
};

struct Match {
  std::string key;
  int64_t offset = 0;
  int64_t position = 0;
  bool operator==(const Match&) const = default;
};

struct KeyOffset {
  std::string key;
  int64_t offset = 0;
  bool operator==(const KeyOffset&) const = default;
};

inline constexpr std::string_view fileName = "segments.tsv";
inline constexpr std::size_t maxEntries = 10000;

std::vector<Match> matches(const Characters& reading);
void record(const std::vector<KeyOffset>& pairs);
void forget(const std::vector<std::string>& keys);
void reloadIfNeeded();

// A fresh, never-loaded store whose file is in KanaDictionary::directoryURL() (tests).
void resetForTesting();

}  // namespace orvane::Segmentation

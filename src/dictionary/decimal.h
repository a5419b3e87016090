// Whole-field decimal numbers as the dictionary files write them.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

namespace orvane::dictionary {

// An optional sign, then one or more ASCII digits, nothing else, within the
// range of int64_t. Anything else (spaces, "+-1", an empty field) is no number,
// so that a damaged line is skipped rather than read as a wrong id.
inline std::optional<int64_t> parseDecimal(std::string_view s) {
  bool negative = false;
  if (!s.empty() && (s.front() == '+' || s.front() == '-')) {
    negative = s.front() == '-';
    s.remove_prefix(1);
  }
  if (s.empty()) return std::nullopt;
  // Eighteen digits never leave the range: no overflow checks, no division,
  // for the ids and costs of every word a conversion reads.
  if (s.size() <= 18) {
    int64_t value = 0;
    for (char c : s) {
      if (c < '0' || c > '9') return std::nullopt;
      value = value * 10 + (c - '0');
    }
    return negative ? -value : value;
  }
  // Accumulate toward the negative side, which holds one more value.
  constexpr int64_t min = std::numeric_limits<int64_t>::min();
  int64_t value = 0;
  for (char c : s) {
    if (c < '0' || c > '9') return std::nullopt;
    int digit = c - '0';
    if (value < (min + digit) / 10) return std::nullopt;
    value = value * 10 - digit;
  }
  if (!negative) {
    if (value == min) return std::nullopt;
    value = -value;
  }
  return value;
}

}  // namespace orvane::dictionary

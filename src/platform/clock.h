// The current time, fixable for tests and pinned by ORVANE_NOW for the program.
#pragma once

#include <cstdint>
#include <optional>

namespace orvane::platform {

// Whole seconds since 1970-01-01 00:00:00 UTC, truncated toward zero.
int64_t secondsSince1970();
// Seconds since the system started, for event timestamps.
double systemUptime();

// Pins the clock (tests); nullopt returns to ORVANE_NOW or the real time.
void setFixedTime(std::optional<int64_t> seconds);

class ScopedFixedTime {
 public:
  explicit ScopedFixedTime(int64_t seconds) { setFixedTime(seconds); }
  ~ScopedFixedTime() { setFixedTime(std::nullopt); }
  void set(int64_t seconds) { setFixedTime(seconds); }
  ScopedFixedTime(const ScopedFixedTime&) = delete;
  ScopedFixedTime& operator=(const ScopedFixedTime&) = delete;
};

}  // namespace orvane::platform

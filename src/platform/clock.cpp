#include "platform/clock.h"

#include <chrono>
#include <cstdlib>
#include <string>

namespace orvane::platform {
namespace {

std::optional<int64_t>& fixedTime() {
  static std::optional<int64_t> value;
  return value;
}

std::optional<int64_t> environmentTime() {
  static const std::optional<int64_t> value = []() -> std::optional<int64_t> {
    const char* text = std::getenv("ORVANE_NOW");
    if (!text || !*text) return std::nullopt;
    try {
      std::size_t used = 0;
      auto v = std::stoll(text, &used);
      if (used != std::string(text).size()) return std::nullopt;
      return v;
    } catch (...) {
      return std::nullopt;
    }
  }();
  return value;
}

}  // namespace

int64_t secondsSince1970() {
  if (auto t = fixedTime()) return *t;
  if (auto t = environmentTime()) return *t;
  using namespace std::chrono;
  return duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
}

double systemUptime() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

void setFixedTime(std::optional<int64_t> seconds) { fixedTime() = seconds; }

}  // namespace orvane::platform

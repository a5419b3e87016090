// Keeps the latest log lines for the pane the user can open.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "app/log.h"

namespace orvane::term {

class LogPane final : public Log::Sink {
 public:
  explicit LogPane(std::size_t capacity = 200) : capacity_(capacity) {}
  bool wants(Log::Level) const override { return true; }
  void write(std::string_view category, Log::Level level, std::string_view message) override {
    std::string line(category);
    line += level == Log::Level::error ? " error: " : ": ";
    line += message;
    lines_.push_back(std::move(line));
    if (lines_.size() > capacity_) lines_.pop_front();
  }
  std::vector<std::string> lines() const { return {lines_.begin(), lines_.end()}; }

 private:
  std::size_t capacity_;
  std::deque<std::string> lines_;
};

}  // namespace orvane::term

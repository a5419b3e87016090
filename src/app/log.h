// The program's loggers: one subsystem, three categories, two levels, and the
// system log's format syntax ("%{public}s", "%ld", "%hu", "%u", "%.*f").
// A message is formatted only when some sink wants its level.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

namespace orvane::platform {
class SystemLogConnection;
}

namespace orvane::Log {

inline constexpr std::string_view subsystem = "com.orvane.inputmethod.OrvaneIME";

enum class Level { defaultLevel, error };

// Where formatted lines go: the system log, the session protocol, a test capture.
class Sink {
 public:
  virtual ~Sink() = default;
  virtual bool wants(Level level) const = 0;
  virtual void write(std::string_view category, Level level, std::string_view message) = 0;
};

void addSink(std::shared_ptr<Sink> sink);
void removeSink(const std::shared_ptr<Sink>& sink);
bool anySinkWants(Level level);
void dispatch(std::string_view category, Level level, std::string_view message);

// One argument of a message, kept by reference until formatting.
using Argument = std::variant<std::string_view, long long, unsigned long long, double>;

std::string format(std::string_view format, std::initializer_list<Argument> arguments);

namespace detail {
template <class T>
Argument argument(const T& value) {
  if constexpr (std::is_convertible_v<const T&, std::string_view>) {
    return std::string_view(value);
  } else if constexpr (std::is_floating_point_v<T>) {
    return static_cast<double>(value);
  } else if constexpr (std::is_signed_v<T>) {
    return static_cast<long long>(value);
  } else {
    return static_cast<unsigned long long>(value);
  }
}
}  // namespace detail

class Logger {
 public:
  constexpr explicit Logger(std::string_view category) : category_(category) {}

  std::string_view category() const { return category_; }

  template <class... A>
  void log(std::string_view fmt, const A&... args) const {
    emit(Level::defaultLevel, fmt, args...);
  }
  template <class... A>
  void error(std::string_view fmt, const A&... args) const {
    emit(Level::error, fmt, args...);
  }

 private:
  template <class... A>
  void emit(Level level, std::string_view fmt, const A&... args) const {
    if (!anySinkWants(level)) return;
    dispatch(category_, level, format(fmt, {detail::argument(args)...}));
  }

  std::string_view category_;
};

inline constexpr Logger imk{"imk"};
inline constexpr Logger key{"key"};
inline constexpr Logger client{"client"};

// The Linux system log: identity the subsystem string, the category at the
// start of every message, one connection to the daemon kept for every line.
std::shared_ptr<Sink> makeSystemLogSink();
std::shared_ptr<Sink> makeSystemLogSink(std::unique_ptr<platform::SystemLogConnection> connection);

// Keeps every line for tests to read.
class CaptureSink final : public Sink {
 public:
  struct Line {
    std::string category;
    Level level;
    std::string message;
  };
  bool wants(Level) const override { return true; }
  void write(std::string_view category, Level level, std::string_view message) override {
    lines.push_back({std::string(category), level, std::string(message)});
  }
  std::vector<std::string> messages(std::string_view category = {}) const {
    std::vector<std::string> out;
    for (const auto& l : lines)
      if (category.empty() || l.category == category) out.push_back(l.message);
    return out;
  }
  std::vector<Line> lines;
};

// Installs a capture sink for the lifetime of the object.
class ScopedCapture {
 public:
  ScopedCapture() : sink_(std::make_shared<CaptureSink>()) { addSink(sink_); }
  ~ScopedCapture() { removeSink(sink_); }
  ScopedCapture(const ScopedCapture&) = delete;
  ScopedCapture& operator=(const ScopedCapture&) = delete;
  CaptureSink& operator*() const { return *sink_; }
  CaptureSink* operator->() const { return sink_.get(); }

 private:
  std::shared_ptr<CaptureSink> sink_;
};

}  // namespace orvane::Log

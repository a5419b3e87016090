#include "app/log.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

#include "platform/system_log.h"

namespace orvane::Log {
namespace {

std::vector<std::shared_ptr<Sink>>& sinks() {
  static std::vector<std::shared_ptr<Sink>> list;
  return list;
}

class SystemLogSink final : public Sink {
 public:
  explicit SystemLogSink(std::unique_ptr<platform::SystemLogConnection> connection)
      : connection_(std::move(connection)) {}
  // Without a daemon nothing is formatted for it, unless another sink asks.
  bool wants(Level) const override { return connection_->available(); }
  void write(std::string_view category, Level level, std::string_view message) override {
    line_.assign(category);
    line_ += ": ";
    line_ += message;
    connection_->send(level == Level::error ? platform::SystemLogConnection::error
                                            : platform::SystemLogConnection::notice,
                      line_);
  }

 private:
  std::unique_ptr<platform::SystemLogConnection> connection_;
  std::string line_;
};

// std::to_chars rather than snprintf: no format string to parse on every
// key's log line.
template <class Integer>
void appendInteger(std::string& out, Integer value) {
  char buf[24];
  const auto end = std::to_chars(buf, buf + sizeof buf, value).ptr;
  out.append(buf, end);
}

// A number given for a string conversion, printed as a signed integer.
void appendAsString(std::string& out, const Argument& a) {
  if (const auto* i = std::get_if<long long>(&a)) {
    appendInteger(out, *i);
  } else if (const auto* u = std::get_if<unsigned long long>(&a)) {
    appendInteger(out, static_cast<long long>(*u));
  } else if (const auto* d = std::get_if<double>(&a)) {
    appendInteger(out, static_cast<long long>(*d));
  } else {
    out += std::get<std::string_view>(a);
  }
}

long long asInteger(const Argument& a) {
  if (const auto* i = std::get_if<long long>(&a)) return *i;
  if (const auto* u = std::get_if<unsigned long long>(&a)) return static_cast<long long>(*u);
  if (const auto* d = std::get_if<double>(&a)) return static_cast<long long>(*d);
  return 0;
}

}  // namespace

void addSink(std::shared_ptr<Sink> sink) { sinks().push_back(std::move(sink)); }

void removeSink(const std::shared_ptr<Sink>& sink) {
  auto& list = sinks();
  list.erase(std::remove(list.begin(), list.end(), sink), list.end());
}

bool anySinkWants(Level level) {
  for (const auto& s : sinks())
    if (s->wants(level)) return true;
  return false;
}

void dispatch(std::string_view category, Level level, std::string_view message) {
  for (const auto& s : sinks())
    if (s->wants(level)) s->write(category, level, message);
}

std::shared_ptr<Sink> makeSystemLogSink() {
  return makeSystemLogSink(std::make_unique<platform::SystemLogConnection>(std::string(subsystem)));
}

std::shared_ptr<Sink> makeSystemLogSink(std::unique_ptr<platform::SystemLogConnection> connection) {
  return std::make_shared<SystemLogSink>(std::move(connection));
}

std::string format(std::string_view fmt, std::initializer_list<Argument> arguments) {
  const auto* args = arguments.begin();
  std::string out;
  out.reserve(fmt.size() + 32);
  std::size_t next = 0;
  auto take = [&]() -> const Argument* { return next < arguments.size() ? &args[next++] : nullptr; };
  for (std::size_t i = 0; i < fmt.size(); ++i) {
    char c = fmt[i];
    if (c != '%' || i + 1 >= fmt.size()) {
      out += c;
      continue;
    }
    auto rest = fmt.substr(i + 1);
    if (rest.front() == '%') {
      out += '%';
      i += 1;
    } else if (rest.starts_with("{public}s") || rest.starts_with("{private}s") || rest.front() == 's') {
      auto len = rest.front() == 's' ? 1 : rest.find('}') + 2;
      if (const auto* a = take()) appendAsString(out, *a);
      i += len;
    } else if (rest.starts_with(".*f")) {
      const auto* precision = take();
      const auto* value = take();
      char buf[64];
      double v = 0;
      if (value) {
        if (const auto* d = std::get_if<double>(value)) v = *d;
        else v = static_cast<double>(asInteger(*value));
      }
      std::snprintf(buf, sizeof buf, "%.*f", precision ? static_cast<int>(asInteger(*precision)) : 6, v);
      out += buf;
      i += 3;
    } else {
      // Integer conversions: %ld, %lld, %d, %u, %lu, %hu, %zu.
      std::size_t j = 0;
      while (j < rest.size() && (rest[j] == 'l' || rest[j] == 'h' || rest[j] == 'z')) ++j;
      if (j < rest.size() && (rest[j] == 'd' || rest[j] == 'u' || rest[j] == 'i')) {
        if (const auto* a = take()) {
          long long v = asInteger(*a);
          bool isUnsigned = rest[j] == 'u';
          bool isShort = rest.substr(0, j) == "h";
          if (isShort && isUnsigned) appendInteger(out, static_cast<unsigned short>(v));
          else if (isUnsigned) appendInteger(out, static_cast<unsigned long long>(v));
          else appendInteger(out, v);
        }
        i += j + 1;
      } else {
        out += c;
      }
    }
  }
  return out;
}

}  // namespace orvane::Log

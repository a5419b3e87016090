#include "app/log.h"

#include <syslog.h>

#include <algorithm>
#include <cstdio>

namespace orvane::Log {
namespace {

std::vector<std::shared_ptr<Sink>>& sinks() {
  static std::vector<std::shared_ptr<Sink>> list;
  return list;
}

class SystemLogSink final : public Sink {
 public:
  SystemLogSink() {
    static const std::string identity(subsystem);
    openlog(identity.c_str(), LOG_PID, LOG_USER);
  }
  bool wants(Level) const override { return true; }
  void write(std::string_view category, Level level, std::string_view message) override {
    syslog(level == Level::error ? LOG_ERR : LOG_NOTICE, "%.*s: %.*s",
           static_cast<int>(category.size()), category.data(), static_cast<int>(message.size()),
           message.data());
  }
};

void appendNumber(std::string& out, const char* pattern, const Argument& a) {
  char buf[64];
  if (const auto* i = std::get_if<long long>(&a)) {
    std::snprintf(buf, sizeof buf, pattern, *i);
  } else if (const auto* u = std::get_if<unsigned long long>(&a)) {
    std::snprintf(buf, sizeof buf, pattern, *u);
  } else if (const auto* d = std::get_if<double>(&a)) {
    std::snprintf(buf, sizeof buf, "%lld", static_cast<long long>(*d));
  } else {
    out += std::get<std::string_view>(a);
    return;
  }
  out += buf;
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

std::shared_ptr<Sink> makeSystemLogSink() { return std::make_shared<SystemLogSink>(); }

std::string format(std::string_view fmt, const std::vector<Argument>& args) {
  std::string out;
  out.reserve(fmt.size() + 32);
  std::size_t next = 0;
  auto take = [&]() -> const Argument* { return next < args.size() ? &args[next++] : nullptr; };
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
      if (const auto* a = take()) {
        if (const auto* s = std::get_if<std::string_view>(a)) out += *s;
        else appendNumber(out, "%lld", *a);
      }
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
          char buf[32];
          if (isShort && isUnsigned) std::snprintf(buf, sizeof buf, "%hu", static_cast<unsigned short>(v));
          else if (isUnsigned) std::snprintf(buf, sizeof buf, "%llu", static_cast<unsigned long long>(v));
          else std::snprintf(buf, sizeof buf, "%lld", v);
          out += buf;
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

#include "learning/store_file.h"

#include <algorithm>
#include <charconv>
#include <system_error>

#include "app/log.h"
#include "platform/clock.h"
#include "text/text.h"

namespace orvane::store {
namespace fs = std::filesystem;

namespace {

// Length of the newline sequence starting at i, 0 when there is none.
std::size_t newlineLength(std::string_view text, std::size_t i) {
  const auto byte = [&](std::size_t k) { return k < text.size() ? static_cast<unsigned char>(text[k]) : 0u; };
  const unsigned c = byte(i);
  if (c >= 0x0A && c <= 0x0D) return c == 0x0D && byte(i + 1) == 0x0A ? 2 : 1;
  if (c == 0xC2 && byte(i + 1) == 0x85) return 2;                                    // NEL
  if (c == 0xE2 && byte(i + 1) == 0x80 && (byte(i + 2) == 0xA8 || byte(i + 2) == 0xA9)) return 3;  // LS, PS
  return 0;
}

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

}  // namespace

void forEachLine(std::string_view text, const std::function<void(std::string_view)>& body) {
  std::size_t start = 0;
  std::size_t i = 0;
  while (i < text.size()) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    // Only these lead bytes can begin a newline; everything else is skipped fast.
    if (c > 0x0D && c != 0xC2 && c != 0xE2) {
      ++i;
      continue;
    }
    const std::size_t length = newlineLength(text, i);
    if (length == 0) {
      ++i;
      continue;
    }
    if (i > start) body(text.substr(start, i - start));
    i += length;
    start = i;
  }
  if (start < text.size()) body(text.substr(start));
}

void splitFields(std::string_view line, std::vector<std::string_view>& fields) {
  fields.clear();
  std::size_t start = 0;
  for (;;) {
    const auto tab = line.find('\t', start);
    if (tab == std::string_view::npos) {
      fields.push_back(line.substr(start));
      return;
    }
    fields.push_back(line.substr(start, tab - start));
    start = tab + 1;
  }
}

std::optional<int64_t> parseInteger(std::string_view field) {
  std::string_view digits = field;
  bool negative = false;
  if (!digits.empty() && (digits.front() == '+' || digits.front() == '-')) {
    negative = digits.front() == '-';
    digits.remove_prefix(1);
  }
  if (digits.empty() || digits.front() < '0' || digits.front() > '9') return std::nullopt;
  // Parsing with the sign keeps the one value whose magnitude has no positive twin.
  const char* first = negative ? digits.data() - 1 : digits.data();
  const char* last = digits.data() + digits.size();
  int64_t value = 0;
  const auto [end, ec] = std::from_chars(first, last, value);
  if (ec != std::errc() || end != last) return std::nullopt;
  return value;
}

void appendRecord(std::string& out, std::initializer_list<std::string_view> texts,
                  std::initializer_list<int64_t> numbers) {
  bool first = true;
  for (auto t : texts) {
    if (!first) out += '\t';
    out += t;
    first = false;
  }
  for (auto n : numbers) {
    if (!first) out += '\t';
    appendInteger(out, n);
    first = false;
  }
  out += '\n';
}

void appendInteger(std::string& out, int64_t value) {
  char buffer[24];
  const auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
  out.append(buffer, end);
}

Cutoff evictionCutoff(std::vector<int64_t>& times, std::size_t limit) {
  const auto last = times.begin() + static_cast<std::ptrdiff_t>(limit - 1);
  std::nth_element(times.begin(), last, times.end(), std::greater<>());
  Cutoff cutoff{*last, 0};
  const auto newer = std::count_if(times.begin(), times.end(), [&](int64_t t) { return t > cutoff.lastUsed; });
  cutoff.keptAtCutoff = limit - static_cast<std::size_t>(newer);
  return cutoff;
}

bool holdsSeparator(std::string_view s) {
  for (std::size_t i = 0; i < s.size(); ++i)
    if (s[i] == '\t' || newlineLength(s, i) > 0) return true;
  return false;
}

File::File(fs::path url, std::string_view keptAsideFormat)
    : url_(std::move(url)), keptAsideFormat_(keptAsideFormat) {}

File::Reload File::reloadIfNeeded() {
  const bool firstLook = !looked_;
  looked_ = true;
  const auto date = platform::modificationDate(url_);
  // Swept at the first look and at every load, not at every check: the
  // directory is listed once at start-up and then only when the file changed.
  if (firstLook || date != loadedModificationDate_) platform::removeLeftoverTemporaries(url_);
  if (date == loadedModificationDate_) return {};
  loadedModificationDate_ = date;
  unreadable_ = false;
  Reload result;
  result.changed = true;
  if (!date) return result;
  auto content = platform::readWholeFile(url_);
  std::error_code ec;
  const bool regular = fs::is_regular_file(url_, ec);
  if (!content || !text::isValidUTF8(*content)) {
    // A directory in the file's place is left to make the save fail; a file
    // of the user's is moved aside before anything replaces it.
    unreadable_ = regular;
    return result;
  }
  if (std::string_view(*content).starts_with(byteOrderMark)) content->erase(0, byteOrderMark.size());
  result.text = std::move(content);
  return result;
}

bool File::keepUnreadableAside(std::string* error) {
  if (!unreadable_) return true;
  std::error_code ec;
  if (!fs::exists(fs::symlink_status(url_, ec))) {
    unreadable_ = false;
    return true;
  }
  const std::string base = url_.string() + ".unreadable-" + std::to_string(platform::secondsSince1970());
  for (int attempt = 0; attempt < 10000; ++attempt) {
    const fs::path target = attempt == 0 ? fs::path(base) : fs::path(base + "-" + std::to_string(attempt));
    if (fs::exists(fs::symlink_status(target, ec))) continue;
    // A second name for the same content cannot overwrite anything, and the
    // atomic save then only takes the original name away from it.
    fs::create_hard_link(url_, target, ec);
    if (ec && ec != std::errc::file_exists) {
      ec.clear();
      fs::copy_file(url_, target, fs::copy_options::none, ec);
    }
    if (ec == std::errc::file_exists) continue;
    if (ec) {
      if (error) *error = "cannot keep the unreadable file aside: " + ec.message();
      return false;
    }
    Log::imk.error(keptAsideFormat_, target.string());
    unreadable_ = false;
    return true;
  }
  if (error) *error = "cannot keep the unreadable file aside: no free name beside it";
  return false;
}

bool File::save(std::string_view content, std::string* error) {
  looked_ = true;
  if (!platform::createDirectories(url_.parent_path(), error)) return false;
  if (!keepUnreadableAside(error)) return false;
  if (!platform::writeAtomically(url_, content, error)) return false;
  loadedModificationDate_ = platform::modificationDate(url_);
  return true;
}

}  // namespace orvane::store

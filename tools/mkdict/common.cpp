#include <algorithm>
#include <charconv>
#include <fstream>
#include <sstream>

#include "mkdict.h"
#include "text/text.h"

namespace orvane::mkdict {

void ReadingTable::add(std::string_view reading, std::string_view value) {
  auto it = table_.find(reading);
  if (it == table_.end()) it = table_.emplace(std::string(reading), std::vector<std::string>{}).first;
  auto& values = it->second;
  if (std::find(values.begin(), values.end(), value) == values.end()) values.emplace_back(value);
}

std::size_t ReadingTable::valueCount() const {
  std::size_t n = 0;
  for (const auto& [reading, values] : table_) n += values.size();
  return n;
}

const std::vector<std::string>* ReadingTable::find(std::string_view reading) const {
  auto it = table_.find(reading);
  return it == table_.end() ? nullptr : &it->second;
}

std::string ReadingTable::lines() const {
  std::string out;
  for (const auto& [reading, values] : table_) {
    out += reading;
    char separator = '\t';
    for (const auto& value : values) {
      out += separator;
      out += value;
      separator = ' ';
    }
    out += '\n';
  }
  return out;
}

void Diagnostics::malformed(const std::string& file, std::string_view line) {
  if (counts_[file]++ == 0) examples_[file] = std::string(line.substr(0, 120));
}

std::size_t Diagnostics::count() const {
  std::size_t n = 0;
  for (const auto& [file, count] : counts_) n += count;
  return n;
}

namespace {

void replaceAll(std::string& s, std::string_view from, std::string_view to) {
  for (std::size_t at = s.find(from); at != std::string::npos; at = s.find(from, at + to.size()))
    s.replace(at, from.size(), to);
}

}  // namespace

std::optional<std::string> hiraganaReading(std::string_view katakana) {
  // A private-use character stands in for ー: the transliterator leaves it alone.
  constexpr std::string_view longVowel = "ー", standIn = "\uE000";
  std::string text(katakana);
  replaceAll(text, longVowel, standIn);
  auto converted = text::katakanaToHiragana(text);
  if (!converted) return std::nullopt;
  replaceAll(*converted, standIn, longVowel);
  return converted;
}

std::string readWhole(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) throw SourceError("cannot read " + file.string());
  std::ostringstream content;
  content << in.rdbuf();
  return std::move(content).str();
}

void forEachLine(std::string_view text, const std::function<void(std::string_view)>& visit) {
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    std::string_view line = text.substr(start, end - start);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    visit(line);
    start = end + 1;
  }
}

double median(std::vector<double> values) {
  if (values.empty()) return 0;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

std::vector<std::string_view> splitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  forEachLine(text, [&](std::string_view line) { lines.push_back(line); });
  return lines;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> pieces;
  std::size_t start = 0;
  while (true) {
    std::size_t end = text.find(separator, start);
    if (end == std::string_view::npos) {
      pieces.push_back(text.substr(start));
      return pieces;
    }
    pieces.push_back(text.substr(start, end - start));
    start = end + 1;
  }
}

bool parseInt(std::string_view text, int64_t& value) {
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return !text.empty() && error == std::errc() && end == text.data() + text.size();
}

std::optional<int64_t> parseInt(std::string_view text) {
  int64_t value = 0;
  if (!parseInt(text, value)) return std::nullopt;
  return value;
}

std::optional<std::string> debianVersion(std::string_view package, const fs::path& status) {
  std::ifstream in(status);
  if (!in) return std::nullopt;
  std::string line;
  bool inPackage = false;
  const std::string header = "Package: " + std::string(package);
  while (std::getline(in, line)) {
    if (line.empty()) inPackage = false;
    else if (line.rfind("Package: ", 0) == 0) inPackage = line == header;
    else if (inPackage && line.rfind("Version: ", 0) == 0) return line.substr(9);
  }
  return std::nullopt;
}

}  // namespace orvane::mkdict

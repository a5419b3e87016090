#include "dictionary/dictionary_file.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#include "app/log.h"
#include "text/text.h"

namespace orvane {

DictionaryFile::Index DictionaryFile::buildIndex(std::string_view bytes) {
  Index index;
  const std::size_t n = bytes.size();
  std::size_t s = 0;
  while (s < n) {
    const void* lf = std::memchr(bytes.data() + s, '\n', n - s);
    std::size_t e = lf ? static_cast<std::size_t>(static_cast<const char*>(lf) - bytes.data()) : n;
    std::size_t c = e;
    if (c > s && bytes[c - 1] == '\r') --c;
    if (c > s && bytes[s] != '#') {
      std::size_t p = s;
      while (p < c && bytes[p] != '\t' && bytes[p] != ' ') ++p;
      if (p < c && p > s) {
        std::string key = text::decodeLossy(bytes.substr(s, p - s));
        if (!text::isNFC(key)) key = text::nfc(key);
        index[std::move(key)].push_back({p + 1, c});
      }
    }
    s = e + 1;
  }
  return index;
}

void DictionaryFile::reloadIfNeeded() {
  auto date = platform::modificationDate(url_);
  if (date == loadedModificationDate_) return;
  loadedModificationDate_ = date;
  if (!date) {
    bytes_.clear();
    index_.clear();
    sortedKeys_.clear();
    return;
  }
  const auto started = std::chrono::steady_clock::now();
  const std::string path = url_.string();
  std::string error;
  auto content = platform::readWholeFile(url_, &error);
  if (!content) {
    Log::imk.error("dictionary load failed: %{public}s %{public}s", path, error);
    return;
  }
  bytes_ = std::move(*content);
  index_ = buildIndex(bytes_);
  sortedKeys_.clear();
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - started;
  Log::imk.log("dictionary loaded: %ld readings in %.*fs from %{public}s", static_cast<long>(index_.size()), 2,
               elapsed.count(), path);
}

const std::vector<DictionaryFile::ByteRange>* DictionaryFile::find(std::string_view reading) const {
  if (index_.empty()) return nullptr;
  if (text::isNFC(reading)) {
    auto it = index_.find(reading);
    return it == index_.end() ? nullptr : &it->second;
  }
  // Rare: a decomposed or invalid reading from outside the composer.
  auto it = index_.find(text::nfc(text::decodeLossy(reading)));
  return it == index_.end() ? nullptr : &it->second;
}

bool DictionaryFile::hasLongerReading(std::string_view reading) const {
  if (index_.empty()) return false;
  // Sorted on the first question after a load: only the user dictionary is
  // asked, and start-up need not sort the emoji and symbol readings.
  if (sortedKeys_.empty()) {
    sortedKeys_.reserve(index_.size());
    for (const auto& entry : index_) sortedKeys_.push_back(entry.first);
    std::sort(sortedKeys_.begin(), sortedKeys_.end());
  }
  std::string normalized;
  if (!text::isNFC(reading)) {
    normalized = text::nfc(text::decodeLossy(reading));
    reading = normalized;
  }
  auto it = std::upper_bound(sortedKeys_.begin(), sortedKeys_.end(), reading);
  return it != sortedKeys_.end() && it->starts_with(reading);
}

std::vector<std::string> DictionaryFile::lines(std::string_view reading) const {
  std::vector<std::string> out;
  forEachValue(reading, [&](std::string_view value) { out.push_back(text::decodeLossy(value)); });
  return out;
}

}  // namespace orvane

#include "dictionary/sorted_dictionary_file.h"

#include <algorithm>
#include <cstring>

#include "app/log.h"
#include "text/text.h"

namespace orvane {

void SortedDictionaryFile::reloadIfNeeded() {
  auto date = platform::modificationDate(url_);
  if (date == loadedModificationDate_) return;
  loadedModificationDate_ = date;
  if (!date) {
    mapping_.reset();
    return;
  }
  const std::string path = url_.string();
  std::string error;
  mapping_ = platform::MappedFile::map(url_, &error);
  if (mapping_) {
    Log::imk.log("dictionary mapped: %{public}s", path);
  } else {
    Log::imk.error("dictionary load failed: %{public}s %{public}s", path, error);
  }
}

std::size_t SortedDictionaryFile::lowerBound(std::string_view d, std::string_view key) {
  const std::size_t n = d.size();
  const std::size_t k = key.size();
  const auto* bytes = reinterpret_cast<const unsigned char*>(d.data());
  const auto* keyBytes = reinterpret_cast<const unsigned char*>(key.data());
  constexpr unsigned char tab = '\t';
  // Readings hold no TAB, and then the bytes they share with a line compare
  // as memcmp compares them; only a key with a TAB needs the byte loop.
  const bool plainKey = k == 0 || std::memchr(keyBytes, tab, k) == nullptr;
  std::size_t lo = 0;
  std::size_t hi = n;
  while (lo < hi) {
    const std::size_t m = lo + (hi - lo) / 2;
    // Back to the start of m's line; memrchr scans a word at a time.
    const void* before = m == 0 ? nullptr : ::memrchr(bytes, '\n', m);
    const std::size_t t = before ? static_cast<std::size_t>(static_cast<const unsigned char*>(before) - bytes) + 1 : 0;
    // Compare the line at t with key + TAB; bytes past the end read as TAB.
    bool greaterOrEqual = false;
    if (plainKey) {
      const std::size_t shared = std::min(k, n - t);
      const int order = shared == 0 ? 0 : std::memcmp(bytes + t, keyBytes, shared);
      if (order != 0) {
        greaterOrEqual = order > 0;
      } else if (shared < k) {
        greaterOrEqual = tab > keyBytes[shared];
      } else {
        greaterOrEqual = (t + k < n ? bytes[t + k] : tab) >= tab;
      }
    }
    for (std::size_t i = 0; !plainKey; ++i) {
      const unsigned char b = t + i < n ? bytes[t + i] : tab;
      if (i < k) {
        if (b != keyBytes[i]) {
          greaterOrEqual = b > keyBytes[i];
          break;
        }
        if (b == tab) {
          greaterOrEqual = true;
          break;
        }
      } else {
        greaterOrEqual = b >= tab;
        break;
      }
    }
    if (greaterOrEqual) {
      hi = t;
    } else {
      const void* lf = std::memchr(bytes + t, '\n', n - t);
      lo = lf ? static_cast<std::size_t>(static_cast<const unsigned char*>(lf) - bytes) + 1 : n + 1;
    }
  }
  return lo;
}

std::vector<std::string> SortedDictionaryFile::lines(std::string_view reading) const {
  std::vector<std::string> out;
  forEachValue(reading, [&](std::string_view value) { out.push_back(text::decodeLossy(value)); });
  return out;
}

}  // namespace orvane

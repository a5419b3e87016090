// The reader of the large word lists: mapped read-only, never copied, and
// searched by binary search over the bytes of a file sorted by whole lines.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/file_system.h"
#include "platform/mapped_file.h"

namespace orvane {

class SortedDictionaryFile final {
 public:
  explicit SortedDictionaryFile(std::filesystem::path url) : url_(std::move(url)) {}

  // Maps the file again only when its modification date moved. The previous
  // mapping stays until then, so a file renamed over a mapped one keeps
  // answering from the old content; a failed map leaves the reader empty.
  void reloadIfNeeded();

  // Values of every line whose reading has exactly these bytes, file order,
  // decoded with U+FFFD for invalid UTF-8.
  std::vector<std::string> lines(std::string_view reading) const;

  // Calls visit with the raw bytes of each matching value, in file order.
  template <class Visit>
  void forEachValue(std::string_view reading, Visit&& visit) const {
    forEachValueAndLonger(reading, std::forward<Visit>(visit));
  }

  // The same, and whether a longer reading begins with this one: its lines
  // follow the matching ones directly, TAB sorting below every byte a
  // reading holds.
  template <class Visit>
  bool forEachValueAndLonger(std::string_view reading, Visit&& visit) const {
    const std::string_view d = data();
    const std::size_t n = d.size();
    if (n == 0) return false;
    const std::size_t k = reading.size();
    for (std::size_t p = lowerBound(d, reading); p < n;) {
      if (n - p <= k || d.compare(p, k, reading) != 0) return false;
      if (d[p + k] != '\t') return true;
      std::size_t e = d.find('\n', p + k + 1);
      if (e == std::string_view::npos) e = n;
      visit(d.substr(p + k + 1, e - (p + k + 1)));
      p = e + 1;
    }
    return false;
  }

  const std::filesystem::path& url() const { return url_; }
  std::string_view data() const { return mapping_ ? mapping_->bytes() : std::string_view(); }

 private:
  // The first byte offset whose line is not below reading + TAB.
  static std::size_t lowerBound(std::string_view d, std::string_view reading);

  std::filesystem::path url_;
  std::shared_ptr<const platform::MappedFile> mapping_;
  platform::FileDate loadedModificationDate_;

};

}  // namespace orvane

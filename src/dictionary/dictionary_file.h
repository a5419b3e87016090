// The reader of the small keyed text files (the user dictionary, the emoji and
// symbol lists): read whole, indexed by reading once per change of the file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/file_system.h"

namespace orvane {

class DictionaryFile final {
 public:
  // Half-open byte range of one value inside the loaded content.
  struct ByteRange {
    std::size_t lower = 0;
    std::size_t upper = 0;
    bool operator==(const ByteRange&) const = default;
  };

  struct KeyHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
  };
  // Keys are NFC, so that a reading typed with a combining voiced mark finds
  // the line written with the precomposed kana and the other way round.
  using Index = std::unordered_map<std::string, std::vector<ByteRange>, KeyHash, std::equal_to<>>;

  explicit DictionaryFile(std::filesystem::path url) : url_(std::move(url)) {}
  // Moved, never copied: the sorted keys point into the index.
  DictionaryFile(DictionaryFile&&) = default;
  DictionaryFile& operator=(DictionaryFile&&) = default;
  DictionaryFile(const DictionaryFile&) = delete;
  DictionaryFile& operator=(const DictionaryFile&) = delete;

  // Rereads the file only when its modification date moved. A failed read
  // keeps the previous content: a user dictionary that is being rewritten
  // should not make the user's words vanish for a conversion.
  void reloadIfNeeded();

  // The values of every line whose reading is canonically equal to the
  // argument, in file order, decoded with U+FFFD for invalid UTF-8.
  std::vector<std::string> lines(std::string_view reading) const;

  // Calls visit with the raw bytes of each value; no decoding, no allocation
  // when the reading is already NFC.
  template <class Visit>
  void forEachValue(std::string_view reading, Visit&& visit) const {
    if (const auto* ranges = find(reading)) {
      for (const auto& r : *ranges) visit(std::string_view(bytes_).substr(r.lower, r.upper - r.lower));
    }
  }

  // Whether a reading longer than this one begins with it (canonically,
  // in whole characters).
  bool hasLongerReading(std::string_view reading) const;

  static Index buildIndex(std::string_view bytes);

  const std::filesystem::path& url() const { return url_; }
  std::size_t readingCount() const { return index_.size(); }

 private:
  const std::vector<ByteRange>* find(std::string_view reading) const;

  std::filesystem::path url_;
  std::string bytes_;
  Index index_;
  // The index's keys in byte order, for prefix questions; made when first
  // asked after a load, emptied with every load.
  mutable std::vector<std::string_view> sortedKeys_;
  platform::FileDate loadedModificationDate_;
};

}  // namespace orvane

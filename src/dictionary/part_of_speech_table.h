// Classes of context ids by their part-of-speech name: words that attach to
// the word before them, prefixes, and noun suffixes.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/file_system.h"

namespace orvane {

class PartOfSpeechTable final {
 public:
  static constexpr std::array<std::string_view, 10> attachedCategories = {
      "助詞,",         "助動詞,",       "動詞,非自立,", "動詞,接尾,", "形容詞,非自立,",
      "形容詞,接尾,", "名詞,接尾,",   "名詞,非自立,", "記号,句点,", "記号,読点,"};
  static constexpr std::string_view suffixCategory = "名詞,接尾,";
  static constexpr std::string_view prefixCategory = "接頭詞,";

  explicit PartOfSpeechTable(std::filesystem::path url) : url_(std::move(url)) {}

  void reloadIfNeeded();

  // On the converter's inner loops: no hashing, no allocation.
  bool isAttached(int64_t id) const { return has(id, attachedFlag); }
  bool isPrefix(int64_t id) const { return has(id, prefixFlag); }
  bool isSuffix(int64_t id) const { return has(id, suffixFlag); }

  const std::filesystem::path& url() const { return url_; }

 private:
  static constexpr uint8_t attachedFlag = 1;
  static constexpr uint8_t prefixFlag = 2;
  static constexpr uint8_t suffixFlag = 4;
  // Real id files number their ids densely from 0; a bound keeps a stray
  // huge id from allocating a huge table, and such ids go to a sorted list.
  static constexpr int64_t denseLimit = 1 << 16;

  bool has(int64_t id, uint8_t flag) const {
    if (id >= 0 && id < static_cast<int64_t>(dense_.size())) return dense_[static_cast<std::size_t>(id)] & flag;
    if (sparse_.empty()) return false;
    auto it = std::lower_bound(sparse_.begin(), sparse_.end(), id,
                               [](const auto& entry, int64_t key) { return entry.first < key; });
    return it != sparse_.end() && it->first == id && (it->second & flag);
  }
  void add(int64_t id, uint8_t flags);
  void clear();

  std::filesystem::path url_;
  std::vector<uint8_t> dense_;
  std::vector<std::pair<int64_t, uint8_t>> sparse_;
  platform::FileDate loadedModificationDate_;
};

}  // namespace orvane

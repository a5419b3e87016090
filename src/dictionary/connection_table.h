// The square matrix of connection costs between context ids, from a
// little-endian file of 4 + 2·N·N bytes.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <vector>

#include "platform/file_system.h"
#include "platform/mapped_file.h"

namespace orvane {

class ConnectionTable final {
 public:
  explicit ConnectionTable(std::filesystem::path url) : url_(std::move(url)) {}

  // Empties the table first whenever the date moved, so that any failure
  // leaves every cost at 0 instead of costs of a half-read file.
  void reloadIfNeeded();

  // On the lattice search's innermost loop: one bounds check, one load.
  int64_t cost(int64_t from, int64_t to) const {
    if (static_cast<uint64_t>(from) >= size_ || static_cast<uint64_t>(to) >= size_) return 0;
    return costs_[static_cast<std::size_t>(from) * size_ + static_cast<std::size_t>(to)];
  }

  uint64_t size() const { return size_; }
  const std::filesystem::path& url() const { return url_; }

 private:
  std::filesystem::path url_;
  uint64_t size_ = 0;
  // The costs are read in place from the mapped file: tens of megabytes
  // that start-up neither reads nor copies, of which a conversion touches
  // the pages of the id pairs it meets. Only a big-endian processor decodes
  // them into `decoded_`.
  const int16_t* costs_ = nullptr;
  std::shared_ptr<const platform::MappedFile> mapping_;
  std::vector<int16_t> decoded_;
  platform::FileDate loadedModificationDate_;
};

}  // namespace orvane

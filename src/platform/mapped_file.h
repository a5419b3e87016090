// Files mapped read-only into memory: the large dictionary files are
// searched in place, so only the pages that look-ups touch are ever read
// and they stay shared with the page cache instead of copied.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace orvane::platform {

class MappedFile {
 public:
  // The file's content mapped, or nullptr with the system's description of
  // the failure in error. An empty file is a valid, empty mapping. The
  // mapping lives as long as someone holds it, whatever becomes of the file:
  // a file renamed over this one leaves it answering from the old content.
  // Look-ups jump around the file, so the pages are not read ahead: that
  // would only fill memory with lines and costs nobody asked for.
  static std::shared_ptr<const MappedFile> map(const std::filesystem::path& path, std::string* error = nullptr);

  MappedFile(const void* address, std::size_t length) : address_(address), length_(length) {}
  ~MappedFile();
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;

  std::string_view bytes() const { return {static_cast<const char*>(address_), length_}; }

 private:
  const void* address_;
  std::size_t length_;
};

}  // namespace orvane::platform

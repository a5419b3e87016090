#include "dictionary/connection_table.h"

#include <bit>
#include <string_view>

#include "app/log.h"

namespace orvane {

void ConnectionTable::reloadIfNeeded() {
  auto date = platform::modificationDate(url_);
  if (date == loadedModificationDate_) return;
  loadedModificationDate_ = date;
  size_ = 0;
  costs_ = nullptr;
  mapping_.reset();
  decoded_ = {};
  if (!date) return;

  auto mapping = platform::MappedFile::map(url_);
  if (!mapping) return;
  const std::string_view bytes = mapping->bytes();
  const uint64_t length = bytes.size();
  if (length < 4) return;
  const auto byte = [&](std::size_t i) { return uint64_t{static_cast<unsigned char>(bytes[i])}; };
  const uint64_t n = byte(0) | byte(1) << 8 | byte(2) << 16 | byte(3) << 24;
  // n < 2^32, so n·n fits in 64 bits; the doubling is compared by halving.
  const uint64_t rest = length - 4;
  if (rest % 2 != 0 || n * n != rest / 2) {
    Log::imk.error("connection table size mismatch: %ld", static_cast<long>(length));
    return;
  }
  if constexpr (std::endian::native == std::endian::little) {
    // A mapping starts on a page, so the costs after the 4-byte count are
    // aligned for 16-bit loads.
    costs_ = reinterpret_cast<const int16_t*>(bytes.data() + 4);
    mapping_ = std::move(mapping);
  } else {
    decoded_.resize(n * n);
    for (std::size_t i = 0; i < decoded_.size(); ++i)
      decoded_[i] = static_cast<int16_t>(static_cast<uint16_t>(byte(4 + 2 * i) | byte(5 + 2 * i) << 8));
    costs_ = decoded_.data();
  }
  size_ = n;
  Log::imk.log("connection table loaded: %u x %u", static_cast<unsigned>(n), static_cast<unsigned>(n));
}

}  // namespace orvane

#include "dictionary/connection_table.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <bit>
#include <cerrno>

#include "app/log.h"

namespace orvane {
namespace {

// Reads exactly length bytes from the current position.
bool readFully(int fd, void* buffer, std::size_t length) {
  auto* p = static_cast<unsigned char*>(buffer);
  while (length > 0) {
    ssize_t n = ::read(fd, p, length);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    p += n;
    length -= static_cast<std::size_t>(n);
  }
  return true;
}

class File {
 public:
  explicit File(const std::filesystem::path& path) : fd_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
  ~File() {
    if (fd_ >= 0) ::close(fd_);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  int fd() const { return fd_; }

 private:
  int fd_;
};

}  // namespace

void ConnectionTable::reloadIfNeeded() {
  auto date = platform::modificationDate(url_);
  if (date == loadedModificationDate_) return;
  loadedModificationDate_ = date;
  size_ = 0;
  costs_ = {};
  if (!date) return;

  // Read straight into the cost array: the real table is some megabytes, and
  // a whole-file copy next to it would double the peak for nothing.
  File file(url_);
  struct stat st;
  if (file.fd() < 0 || ::fstat(file.fd(), &st) != 0 || !S_ISREG(st.st_mode)) return;
  const auto length = static_cast<uint64_t>(st.st_size);
  unsigned char header[4];
  if (length < 4 || !readFully(file.fd(), header, 4)) return;
  const uint64_t n = uint64_t{header[0]} | uint64_t{header[1]} << 8 | uint64_t{header[2]} << 16 |
                     uint64_t{header[3]} << 24;
  // n < 2^32, so n·n fits in 64 bits; the doubling is compared by halving.
  const uint64_t rest = length - 4;
  if (rest % 2 != 0 || n * n != rest / 2) {
    Log::imk.error("connection table size mismatch: %ld", static_cast<long>(length));
    return;
  }
  std::vector<int16_t> costs(n * n);
  if (!costs.empty() && !readFully(file.fd(), costs.data(), costs.size() * sizeof(int16_t))) return;
  // The file is little-endian; only a processor of the other order needs to
  // decode, and start-up should not pay for a pass over megabytes otherwise.
  if constexpr (std::endian::native != std::endian::little) {
    auto* raw = reinterpret_cast<unsigned char*>(costs.data());
    for (std::size_t i = 0; i < costs.size(); ++i) {
      const auto value = static_cast<uint16_t>(raw[2 * i] | raw[2 * i + 1] << 8);
      costs[i] = static_cast<int16_t>(value);
    }
  }
  costs_ = std::move(costs);
  size_ = n;
  Log::imk.log("connection table loaded: %u x %u", static_cast<unsigned>(n), static_cast<unsigned>(n));
}

}  // namespace orvane

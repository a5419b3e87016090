#include "platform/mapped_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace orvane::platform {

std::shared_ptr<const MappedFile> MappedFile::map(const std::filesystem::path& path, std::string* error) {
  auto fail = [&](int reason) {
    if (error) *error = std::strerror(reason);
    return nullptr;
  };
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return fail(errno);
  struct stat st;
  if (::fstat(fd, &st) != 0) {
    const int reason = errno;
    ::close(fd);
    return fail(reason);
  }
  if (!S_ISREG(st.st_mode)) {
    ::close(fd);
    // mmap would say "No such device" for a directory, which tells the user nothing.
    return fail(S_ISDIR(st.st_mode) ? EISDIR : ENODEV);
  }
  const auto length = static_cast<std::size_t>(st.st_size);
  if (length == 0) {
    ::close(fd);
    return std::make_shared<const MappedFile>(nullptr, 0);
  }
  void* address = ::mmap(nullptr, length, PROT_READ, MAP_PRIVATE, fd, 0);
  const int mapError = errno;
  // The mapping keeps the file's pages; the descriptor is no longer needed.
  ::close(fd);
  if (address == MAP_FAILED) return fail(mapError);
  ::madvise(address, length, MADV_RANDOM);
  return std::make_shared<const MappedFile>(address, length);
}

MappedFile::~MappedFile() {
  if (address_) ::munmap(const_cast<void*>(address_), length_);
}

}  // namespace orvane::platform

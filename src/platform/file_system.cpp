#include "platform/file_system.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <random>
#include <system_error>

namespace orvane::platform {
namespace {

std::string describe(int err) { return std::strerror(err); }

bool writeAll(int fd, std::string_view content) {
  const char* p = content.data();
  std::size_t left = content.size();
  while (left > 0) {
    ssize_t n = ::write(fd, p, left);
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    p += n;
    left -= static_cast<std::size_t>(n);
  }
  return true;
}

}  // namespace

FileDate modificationDate(const std::filesystem::path& path) {
  struct stat st;
  if (::stat(path.c_str(), &st) != 0) return std::nullopt;
  return static_cast<long long>(st.st_mtim.tv_sec) * 1'000'000'000LL + st.st_mtim.tv_nsec;
}

std::optional<std::string> readWholeFile(const std::filesystem::path& path, std::string* error) {
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    if (error) *error = describe(errno);
    return std::nullopt;
  }
  std::string out;
  struct stat st;
  if (::fstat(fd, &st) == 0 && st.st_size > 0) out.reserve(static_cast<std::size_t>(st.st_size));
  char buf[1 << 16];
  for (;;) {
    ssize_t n = ::read(fd, buf, sizeof buf);
    if (n < 0) {
      if (errno == EINTR) continue;
      if (error) *error = describe(errno);
      ::close(fd);
      return std::nullopt;
    }
    if (n == 0) break;
    out.append(buf, static_cast<std::size_t>(n));
  }
  ::close(fd);
  return out;
}

bool writeAtomically(const std::filesystem::path& path, std::string_view content, std::string* error) {
  auto dir = path.parent_path();
  if (dir.empty()) dir = ".";
  std::random_device rd;
  std::string name = ".";
  name += path.filename().string();
  name += ".tmp-" + std::to_string(::getpid()) + "-" + std::to_string(rd());
  auto temp = dir / name;
  int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
  if (fd < 0) {
    if (error) *error = describe(errno);
    return false;
  }
  bool ok = writeAll(fd, content) && ::fsync(fd) == 0;
  int err = errno;
  if (::close(fd) != 0 && ok) {
    ok = false;
    err = errno;
  }
  if (ok && ::rename(temp.c_str(), path.c_str()) != 0) {
    ok = false;
    err = errno;
  }
  if (!ok) {
    ::unlink(temp.c_str());
    if (error) *error = describe(err);
    return false;
  }
  // The rename itself is made durable by syncing the directory.
  int dfd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dfd >= 0) {
    ::fsync(dfd);
    ::close(dfd);
  }
  return true;
}

bool createDirectories(const std::filesystem::path& path, std::string* error) {
  std::error_code ec;
  std::filesystem::create_directories(path, ec);
  if (ec) {
    if (error) *error = ec.message();
    return false;
  }
  return true;
}

}  // namespace orvane::platform

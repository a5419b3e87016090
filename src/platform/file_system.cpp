#include "platform/file_system.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <climits>
#include <cstring>
#include <ctime>
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

// A save writes ".<name>.tmp-<pid>-<random>" beside the file: hidden, and
// never a name that a reader of the file's directory takes for data.
// Built by appends: GCC 12 at -O3 takes a chain of + on temporaries for an
// overlapping copy and warns.
std::string temporaryPrefix(const std::filesystem::path& path) {
  std::string prefix = ".";
  prefix += path.filename().string();
  prefix += ".tmp-";
  return prefix;
}

// No save keeps its temporary file this long, even on a slow disk; an older
// one is a leftover whatever its process id says, since the id may have been
// reused since or belong to another process namespace.
constexpr time_t staleAfterSeconds = 10 * 60;

// The writer's process id in "<pid>-<random>", nullopt for any other name.
std::optional<pid_t> writerOf(std::string_view suffix) {
  const auto dash = suffix.find('-');
  if (dash == std::string_view::npos || dash + 1 == suffix.size()) return std::nullopt;
  const auto digitsOnly = [](std::string_view s) {
    return !s.empty() && s.find_first_not_of("0123456789") == std::string_view::npos;
  };
  if (!digitsOnly(suffix.substr(0, dash)) || !digitsOnly(suffix.substr(dash + 1))) return std::nullopt;
  long long pid = 0;
  const auto [end, ec] = std::from_chars(suffix.data(), suffix.data() + dash, pid);
  if (ec != std::errc() || pid <= 0 || pid > INT_MAX) return std::nullopt;
  return static_cast<pid_t>(pid);
}

// A process we may not signal still runs; only "no such process" means gone.
bool isRunning(pid_t pid) { return ::kill(pid, 0) == 0 || errno != ESRCH; }

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
  std::string name = temporaryPrefix(path);
  name += std::to_string(::getpid());
  name += '-';
  name += std::to_string(rd());
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

std::size_t removeLeftoverTemporaries(const std::filesystem::path& path) {
  auto dir = path.parent_path();
  if (dir.empty()) dir = ".";
  const std::string prefix = temporaryPrefix(path);
  std::size_t removed = 0;
  std::error_code ec;
  for (std::filesystem::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
    const std::string name = it->path().filename().string();
    if (!name.starts_with(prefix)) continue;
    const auto writer = writerOf(std::string_view(name).substr(prefix.size()));
    struct stat st;
    if (!writer || ::lstat(it->path().c_str(), &st) != 0 || !S_ISREG(st.st_mode)) continue;
    const bool stale = ::time(nullptr) - st.st_mtim.tv_sec > staleAfterSeconds;
    if (!stale && isRunning(*writer)) continue;
    if (::unlink(it->path().c_str()) == 0) ++removed;
  }
  return removed;
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

#include "platform/system_log.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace orvane::platform {

SystemLogConnection::SystemLogConnection(std::string identity, std::filesystem::path socket,
                                         std::chrono::steady_clock::duration retryInterval)
    : identity_(std::move(identity)), socket_(std::move(socket)), retryInterval_(retryInterval) {}

SystemLogConnection::~SystemLogConnection() { disconnect(); }

void SystemLogConnection::disconnect() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
}

bool SystemLogConnection::connect() {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string path = socket_.string();
  if (path.size() >= sizeof address.sun_path) return false;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  // Daemons listen on datagrams; a few take a stream, as syslog(3) allows.
  for (int type : {SOCK_DGRAM, SOCK_STREAM}) {
    int fd = ::socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
    if (fd < 0) return false;
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
      fd_ = fd;
      stream_ = type == SOCK_STREAM;
      return true;
    }
    const int reason = errno;
    ::close(fd);
    if (reason != EPROTOTYPE) return false;
  }
  return false;
}

bool SystemLogConnection::available() {
  if (fd_ >= 0) return true;
  const auto now = std::chrono::steady_clock::now();
  if (failedBefore_ && now - failedAt_ < retryInterval_) return false;
  if (connect()) return true;
  failedBefore_ = true;
  failedAt_ = now;
  return false;
}

bool SystemLogConnection::sendOnce(const std::string& line) {
  while (true) {
    // A stream frames each line with its terminating NUL.
    const ssize_t sent = ::send(fd_, line.c_str(), line.size() + (stream_ ? 1 : 0), MSG_NOSIGNAL);
    if (sent >= 0) return true;
    if (errno != EINTR) return false;
  }
}

void SystemLogConnection::send(int priority, std::string_view message) {
  if (!available()) return;
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  ::localtime_r(&now, &local);
  char stamp[32];
  const std::size_t stampLength = std::strftime(stamp, sizeof stamp, "%h %e %T", &local);
  char head[64];
  std::snprintf(head, sizeof head, "<%d>", priority);
  buffer_.assign(head);
  buffer_.append(stamp, stampLength);
  buffer_ += ' ';
  buffer_ += identity_;
  std::snprintf(head, sizeof head, "[%ld]: ", static_cast<long>(::getpid()));
  buffer_ += head;
  buffer_ += message;
  if (sendOnce(buffer_)) return;
  disconnect();
  if (connect() && sendOnce(buffer_)) return;
  disconnect();
  failedBefore_ = true;
  failedAt_ = std::chrono::steady_clock::now();
}

}  // namespace orvane::platform

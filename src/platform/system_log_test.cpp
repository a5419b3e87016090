#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <regex>

#include "app/log.h"
#include "platform/system_log.h"
#include "testing/environment.h"

namespace orvane::platform {
namespace {
namespace fs = std::filesystem;
using namespace std::chrono_literals;

// A log daemon's socket: bound at a path, read without waiting.
class FakeDaemon {
 public:
  FakeDaemon(const fs::path& path, int type) : path_(path) {
    fd_ = ::socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, path.c_str());
    EXPECT_EQ(::bind(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    if (type == SOCK_STREAM) {
      EXPECT_EQ(::listen(fd_, 1), 0);
    }
  }
  ~FakeDaemon() {
    if (peer_ >= 0) ::close(peer_);
    ::close(fd_);
    ::unlink(path_.c_str());
  }

  // The next message, or "" when none has come.
  std::string receive() {
    int from = fd_;
    if (listening()) {
      if (peer_ < 0) peer_ = ::accept4(fd_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
      from = peer_;
    }
    char buffer[4096];
    const ssize_t n = ::recv(from, buffer, sizeof buffer, MSG_DONTWAIT);
    return n > 0 ? std::string(buffer, static_cast<std::size_t>(n)) : std::string();
  }

 private:
  bool listening() const {
    int type = 0;
    socklen_t length = sizeof type;
    ::getsockopt(fd_, SOL_SOCKET, SO_TYPE, &type, &length);
    return type == SOCK_STREAM;
  }

  fs::path path_;
  int fd_ = -1;
  int peer_ = -1;
};

const std::regex syslogLine(R"(<13>[A-Z][a-z]{2} [ 123]\d \d\d:\d\d:\d\d ident\[\d+\]: imk: hello)");

TEST(SystemLogConnectionTest, SendsTheSyslogLineOnDatagramsAndStreams) {
  for (int type : {SOCK_DGRAM, SOCK_STREAM}) {
    testing::TempDir dir;
    FakeDaemon daemon(dir / "log", type);
    SystemLogConnection connection("ident", dir / "log");
    ASSERT_TRUE(connection.available()) << type;
    connection.send(SystemLogConnection::notice, "imk: hello");
    auto received = daemon.receive();
    // A stream frames every line with its NUL.
    if (type == SOCK_STREAM) {
      ASSERT_FALSE(received.empty());
      EXPECT_EQ(received.back(), '\0');
      received.pop_back();
    }
    EXPECT_TRUE(std::regex_match(received, syslogLine)) << received;
    connection.send(SystemLogConnection::error, "imk: second");
    EXPECT_TRUE(daemon.receive().starts_with("<11>")) << type;
  }
}

TEST(SystemLogConnectionTest, AMissingDaemonIsTriedAgainOnlyAfterTheInterval) {
  testing::TempDir dir;
  SystemLogConnection patient("ident", dir / "log", 1h);
  SystemLogConnection eager("ident", dir / "log", 0s);
  EXPECT_FALSE(patient.available());
  EXPECT_FALSE(eager.available());
  FakeDaemon daemon(dir / "log", SOCK_DGRAM);
  patient.send(SystemLogConnection::notice, "imk: lost");
  EXPECT_FALSE(patient.available());
  EXPECT_EQ(daemon.receive(), "");
  eager.send(SystemLogConnection::notice, "imk: hello");
  EXPECT_TRUE(std::regex_match(daemon.receive(), syslogLine));
}

TEST(SystemLogConnectionTest, FollowsARestartedDaemon) {
  testing::TempDir dir;
  SystemLogConnection connection("ident", dir / "log", 1h);
  auto daemon = std::make_unique<FakeDaemon>(dir / "log", SOCK_DGRAM);
  connection.send(SystemLogConnection::notice, "imk: hello");
  EXPECT_TRUE(std::regex_match(daemon->receive(), syslogLine));
  daemon.reset();
  daemon = std::make_unique<FakeDaemon>(dir / "log", SOCK_DGRAM);
  connection.send(SystemLogConnection::notice, "imk: hello");
  EXPECT_TRUE(std::regex_match(daemon->receive(), syslogLine));
}

TEST(SystemLogSinkTest, WantsNothingWithoutADaemon) {
  testing::TempDir dir;
  auto sink = Log::makeSystemLogSink(std::make_unique<SystemLogConnection>("ident", dir / "log", 1h));
  EXPECT_FALSE(sink->wants(Log::Level::error));
  FakeDaemon daemon(dir / "log", SOCK_DGRAM);
  auto connected = Log::makeSystemLogSink(std::make_unique<SystemLogConnection>("ident", dir / "log", 1h));
  EXPECT_TRUE(connected->wants(Log::Level::defaultLevel));
  connected->write("imk", Log::Level::defaultLevel, "hello");
  EXPECT_TRUE(std::regex_match(daemon.receive(), syslogLine));
}

}  // namespace
}  // namespace orvane::platform

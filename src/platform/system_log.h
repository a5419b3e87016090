// The connection to the system log daemon: datagrams (or a stream) on its
// socket, in the line format syslog(3) sends, "<priority>Mmm dd hh:mm:ss
// identity[pid]: message".
//
// Kept open between lines; a missing daemon costs one failed attempt, then
// nothing until the retry interval has passed, so that a machine without a
// log daemon does not pay a socket, a connect and a close for every line.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>

namespace orvane::platform {

class SystemLogConnection {
 public:
  static constexpr std::string_view defaultSocket = "/dev/log";
  static constexpr std::chrono::seconds defaultRetryInterval{10};
  // Facility "user" with the severities the program uses.
  static constexpr int notice = 8 | 5;
  static constexpr int error = 8 | 3;

  explicit SystemLogConnection(std::string identity, std::filesystem::path socket = std::string(defaultSocket),
                               std::chrono::steady_clock::duration retryInterval = defaultRetryInterval);
  ~SystemLogConnection();
  SystemLogConnection(const SystemLogConnection&) = delete;
  SystemLogConnection& operator=(const SystemLogConnection&) = delete;

  // Whether a line sent now can reach a daemon: connects when there is no
  // connection and the last failed attempt is older than the retry interval.
  bool available();

  // Sends one line. A daemon that restarted since the last line is
  // reconnected to once and the line sent again; if that fails too, the
  // line is lost and the connection waits out the retry interval.
  void send(int priority, std::string_view message);

 private:
  bool connect();
  bool sendOnce(const std::string& line);
  void disconnect();

  std::string identity_;
  std::filesystem::path socket_;
  std::chrono::steady_clock::duration retryInterval_;
  int fd_ = -1;
  bool stream_ = false;
  bool failedBefore_ = false;
  std::chrono::steady_clock::time_point failedAt_{};
  std::string buffer_;
};

}  // namespace orvane::platform

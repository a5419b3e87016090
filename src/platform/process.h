// Starting other programs: the dictionary editor, detached from us, and
// programs driven over pipes (front-ends and tests that speak the session
// protocol to `orvane`).
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvane::platform {

// Runs the executable in a session of its own with standard streams on
// /dev/null, so that it neither reads our input nor writes into our output,
// and is not left as our child. Returns the reason when it could not be run.
std::optional<std::string> launchDetached(const std::filesystem::path& executable);

// A program whose standard input and output are pipes to us; standard error
// is inherited.
class ChildProcess {
 public:
  // Environment changes on top of ours: a value sets the variable, nullopt
  // removes it.
  using EnvironmentChanges = std::map<std::string, std::optional<std::string>>;

  // The arguments follow the program name, which is the executable's path
  // unless another is given.
  static std::optional<ChildProcess> start(const std::filesystem::path& executable,
                                           const std::vector<std::string>& arguments,
                                           const EnvironmentChanges& environment = {},
                                           std::optional<std::string> programName = std::nullopt);
  ChildProcess(ChildProcess&& other) noexcept;
  ChildProcess& operator=(ChildProcess&&) = delete;
  ChildProcess(const ChildProcess&) = delete;
  ~ChildProcess();

  bool write(std::string_view data);
  void closeInput();
  // The next line of output without its newline; nullopt at the end of the
  // output or when nothing complete arrived within the timeout.
  std::optional<std::string> readLine(int timeoutMilliseconds = 10000);
  // Every remaining line, up to the end of the output.
  std::vector<std::string> readAllLines(int timeoutMilliseconds = 10000);
  // Waits for the exit; the exit status, or 128 + signal number.
  int wait();
  pid_t pid() const { return pid_; }

 private:
  ChildProcess(pid_t pid, int input, int output) : pid_(pid), input_(input), output_(output) {}

  pid_t pid_ = -1;
  int input_ = -1;
  int output_ = -1;
  std::string buffer_;
  bool ended_ = false;
  std::optional<int> status_;
};

}  // namespace orvane::platform

#include "platform/process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>

extern char** environ;

namespace orvane::platform {
namespace {

void closeQuietly(int& fd) {
  if (fd >= 0) ::close(fd);
  fd = -1;
}

std::vector<std::string> mergedEnvironment(const ChildProcess::EnvironmentChanges& changes) {
  std::vector<std::string> out;
  for (char** e = environ; e && *e; ++e) {
    std::string_view entry(*e);
    auto name = std::string(entry.substr(0, entry.find('=')));
    if (!changes.count(name)) out.emplace_back(entry);
  }
  for (const auto& [name, value] : changes)
    if (value) out.push_back(name + "=" + *value);
  return out;
}

std::vector<char*> pointers(std::vector<std::string>& strings) {
  std::vector<char*> out;
  for (auto& s : strings) out.push_back(s.data());
  out.push_back(nullptr);
  return out;
}

}  // namespace

std::optional<std::string> launchDetached(const std::filesystem::path& executable) {
  // The grandchild reports a failed exec through this pipe; a successful exec
  // closes it (close-on-exec) and the parent reads nothing.
  int report[2];
  if (::pipe2(report, O_CLOEXEC) != 0) return std::strerror(errno);
  std::string path = executable.string();

  pid_t child = ::fork();
  if (child < 0) {
    int err = errno;
    ::close(report[0]);
    ::close(report[1]);
    return std::strerror(err);
  }
  if (child == 0) {
    ::close(report[0]);
    ::setsid();
    pid_t grandchild = ::fork();
    if (grandchild != 0) {
      if (grandchild < 0) {
        int err = errno;
        [[maybe_unused]] auto n = ::write(report[1], &err, sizeof err);
      }
      ::_exit(0);
    }
    int null = ::open("/dev/null", O_RDWR);
    if (null >= 0) {
      ::dup2(null, 0);
      ::dup2(null, 1);
      ::dup2(null, 2);
      if (null > 2) ::close(null);
    }
    char* argv[] = {path.data(), nullptr};
    ::execv(path.c_str(), argv);
    int err = errno;
    [[maybe_unused]] auto n = ::write(report[1], &err, sizeof err);
    ::_exit(127);
  }
  ::close(report[1]);
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  int err = 0;
  ssize_t got;
  do {
    got = ::read(report[0], &err, sizeof err);
  } while (got < 0 && errno == EINTR);
  ::close(report[0]);
  if (got == static_cast<ssize_t>(sizeof err)) return std::strerror(err);
  return std::nullopt;
}

std::optional<ChildProcess> ChildProcess::start(const std::filesystem::path& executable,
                                                const std::vector<std::string>& arguments,
                                                const EnvironmentChanges& environment,
                                                std::optional<std::string> programName) {
  int in[2], out[2];
  if (::pipe2(in, O_CLOEXEC) != 0) return std::nullopt;
  if (::pipe2(out, O_CLOEXEC) != 0) {
    ::close(in[0]);
    ::close(in[1]);
    return std::nullopt;
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, in[0], 0);
  posix_spawn_file_actions_adddup2(&actions, out[1], 1);

  std::vector<std::string> args{arguments};
  args.insert(args.begin(), programName ? *programName : executable.string());
  auto argv = pointers(args);
  auto env = mergedEnvironment(environment);
  auto envp = pointers(env);

  pid_t pid = -1;
  int rc = ::posix_spawn(&pid, executable.c_str(), &actions, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  ::close(in[0]);
  ::close(out[1]);
  if (rc != 0) {
    ::close(in[1]);
    ::close(out[0]);
    return std::nullopt;
  }
  // A child that stops reading must not kill us with SIGPIPE.
  ::signal(SIGPIPE, SIG_IGN);
  return ChildProcess(pid, in[1], out[0]);
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept
    : pid_(other.pid_),
      input_(other.input_),
      output_(other.output_),
      buffer_(std::move(other.buffer_)),
      ended_(other.ended_),
      status_(other.status_) {
  other.pid_ = -1;
  other.input_ = -1;
  other.output_ = -1;
}

ChildProcess::~ChildProcess() {
  closeInput();
  closeQuietly(output_);
  if (pid_ > 0 && !status_) {
    ::kill(pid_, SIGKILL);
    wait();
  }
}

bool ChildProcess::write(std::string_view data) {
  while (!data.empty()) {
    if (input_ < 0) return false;
    ssize_t n = ::write(input_, data.data(), data.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    data.remove_prefix(static_cast<std::size_t>(n));
  }
  return true;
}

void ChildProcess::closeInput() { closeQuietly(input_); }

std::optional<std::string> ChildProcess::readLine(int timeoutMilliseconds) {
  using Clock = std::chrono::steady_clock;
  auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMilliseconds);
  while (true) {
    if (auto nl = buffer_.find('\n'); nl != std::string::npos) {
      std::string line = buffer_.substr(0, nl);
      buffer_.erase(0, nl + 1);
      return line;
    }
    if (ended_ || output_ < 0) return std::nullopt;
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) return std::nullopt;
    pollfd p{output_, POLLIN, 0};
    int ready = ::poll(&p, 1, static_cast<int>(left));
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) return std::nullopt;
    char chunk[8192];
    ssize_t n = ::read(output_, chunk, sizeof chunk);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      ended_ = true;
      continue;
    }
    buffer_.append(chunk, static_cast<std::size_t>(n));
  }
}

std::vector<std::string> ChildProcess::readAllLines(int timeoutMilliseconds) {
  std::vector<std::string> lines;
  while (auto line = readLine(timeoutMilliseconds)) lines.push_back(std::move(*line));
  return lines;
}

int ChildProcess::wait() {
  if (status_) return *status_;
  if (pid_ <= 0) return -1;
  int status = 0;
  while (::waitpid(pid_, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return *status_;
}

}  // namespace orvane::platform

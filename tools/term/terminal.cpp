#include "terminal.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace orvane::term {
namespace {

// xterm private modes and friends.
constexpr std::string_view kEnterSequence =
    "\x1b[?1049h"  // alternate screen
    "\x1b="        // application keypad
    "\x1b[?2004h"  // bracketed paste
    "\x1b[?7l";    // no autowrap: the last cell must not scroll the screen
constexpr std::string_view kLeaveSequence = "\x1b[0m\x1b[?7h\x1b[?2004l\x1b>\x1b[?25h\x1b[?1049l";

int pipeFds[2] = {-1, -1};

void onSignal(int signal) {
  int saved = errno;
  char byte = signal == SIGWINCH ? 'w' : 'q';
  if (pipeFds[1] >= 0) {
    ssize_t n = ::write(pipeFds[1], &byte, 1);
    (void)n;
  }
  errno = saved;
}

}  // namespace

int signalPipe() { return pipeFds[0]; }

void installSignalHandlers() {
  if (pipeFds[0] < 0 && ::pipe2(pipeFds, O_CLOEXEC | O_NONBLOCK) != 0) return;
  struct sigaction action {};
  action.sa_handler = onSignal;
  sigemptyset(&action.sa_mask);
  for (int s : {SIGWINCH, SIGTERM, SIGHUP, SIGINT, SIGQUIT}) sigaction(s, &action, nullptr);
}

std::unique_ptr<Terminal> Terminal::open() {
  int fd = ::open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY);
  if (fd < 0) return nullptr;
  return std::unique_ptr<Terminal>(new Terminal(fd));
}

Terminal::Terminal(int fd) : fd_(fd) { tcgetattr(fd_, &saved_); }

Terminal::~Terminal() {
  leave();
  ::close(fd_);
}

void Terminal::enter() {
  if (entered_) return;
  termios raw = saved_;
  raw.c_iflag &= ~static_cast<tcflag_t>(BRKINT | ICRNL | INLCR | IGNCR | INPCK | ISTRIP | IXON);
  raw.c_oflag &= ~static_cast<tcflag_t>(OPOST);
  raw.c_cflag |= CS8;
  raw.c_lflag &= ~static_cast<tcflag_t>(ECHO | ICANON | IEXTEN | ISIG);
  raw.c_cc[VMIN] = 1;
  raw.c_cc[VTIME] = 0;
  tcsetattr(fd_, TCSAFLUSH, &raw);
  write(kEnterSequence);
  entered_ = true;
}

void Terminal::leave() {
  if (!entered_) return;
  write(kLeaveSequence);
  tcsetattr(fd_, TCSAFLUSH, &saved_);
  entered_ = false;
}

void Terminal::write(std::string_view bytes) {
  while (!bytes.empty()) {
    ssize_t n = ::write(fd_, bytes.data(), bytes.size());
    if (n < 0) {
      if (errno == EINTR || errno == EAGAIN) continue;
      return;
    }
    bytes.remove_prefix(static_cast<std::size_t>(n));
  }
}

Terminal::Size Terminal::size() const {
  winsize ws{};
  if (ioctl(fd_, TIOCGWINSZ, &ws) == 0 && ws.ws_row > 0 && ws.ws_col > 0) return {ws.ws_row, ws.ws_col};
  return {};
}

int Terminal::run(const std::vector<std::string>& argv) {
  if (argv.empty()) return -1;
  bool wasEntered = entered_;
  leave();
  pid_t pid = fork();
  if (pid == 0) {
    // The child reads and writes the terminal, not the redirected output.
    dup2(fd_, STDIN_FILENO);
    dup2(fd_, STDOUT_FILENO);
    std::vector<char*> args;
    for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    execvp(args[0], args.data());
    _exit(127);
  }
  int status = -1;
  if (pid > 0) {
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    status = WIFEXITED(status) && WEXITSTATUS(status) != 127 ? WEXITSTATUS(status) : -1;
  }
  if (wasEntered) enter();
  return status;
}

}  // namespace orvane::term

// The controlling terminal: raw input, the alternate screen, the size, and
// handing the terminal over to another program for a while. The UI goes to
// /dev/tty so that standard output stays free for the text written.
#pragma once

#include <termios.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orvane::term {

class Terminal {
 public:
  // Nullptr when the process has no controlling terminal.
  static std::unique_ptr<Terminal> open();
  ~Terminal();
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  // Raw mode, alternate screen, application keypad, bracketed paste; and back.
  void enter();
  void leave();
  bool entered() const { return entered_; }

  int fd() const { return fd_; }
  void write(std::string_view bytes);
  struct Size {
    int rows = 24;
    int cols = 80;
  };
  Size size() const;

  // Runs a program with the terminal as it was before enter(), then takes
  // the terminal back. The exit status, or -1 when it could not start.
  int run(const std::vector<std::string>& argv);

 private:
  explicit Terminal(int fd);
  int fd_;
  termios saved_{};
  bool entered_ = false;
};

// Signals become bytes on a pipe that the main loop polls: 'w' for a
// resized window, 'q' for a request to end.
int signalPipe();
void installSignalHandlers();

}  // namespace orvane::term

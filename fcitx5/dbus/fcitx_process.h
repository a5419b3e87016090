// A real fcitx5 for a test: the engine's shared library and its two files
// from the build tree, of the system's addons only the keyboard layouts and
// DBus (the controller and the input-method front-end), a home of its own
// and the bundle it is given, on the session bus the test runs in.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

#include "session_bus.h"

namespace orvane::fcitx5::testing {

class FcitxProcess {
 public:
  struct Options {
    std::filesystem::path home;    // HOME, with the XDG folders inside
    std::filesystem::path bundle;  // ORVANE_BUNDLE
    bool replace = false;          // fcitx5 -r: take over from the one running
  };
  // Starts it; the profile written on first use of `home` has the US layout
  // and "orvane" as its input methods.
  explicit FcitxProcess(Options options);
  // Stops it if it still runs (SIGTERM, then SIGKILL); its log goes to the
  // test's output when the test failed.
  ~FcitxProcess();
  FcitxProcess(const FcitxProcess&) = delete;
  FcitxProcess& operator=(const FcitxProcess&) = delete;

  pid_t pid() const { return pid_; }
  bool running();
  // Waits until this process owns org.fcitx.Fcitx5 and lists "orvane"
  // among its input methods.
  ::testing::AssertionResult waitUntilServing(SessionBus& bus);
  // Waits for the process to end, handling the bus meanwhile: its wait
  // status, or nothing if it still runs after `timeout`.
  std::optional<int> waitForExit(SessionBus& bus, std::chrono::milliseconds timeout = busTimeout);
  void signal(int number);
  // The engine's shared library as the process mapped it; empty if it has not.
  std::filesystem::path loadedEngine() const;
  std::string log() const;

 private:
  bool reap(int flags);

  std::filesystem::path logFile_;
  pid_t pid_ = -1;
  std::optional<int> status_;
};

}  // namespace orvane::fcitx5::testing

#include "fcitx_process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <thread>
#include <vector>

#include "testing/environment.h"

namespace orvane::fcitx5::testing {
namespace fs = std::filesystem;
namespace {

// Start-up loads the keyboard layouts; a machine shared with other builds
// can take seconds.
constexpr std::chrono::seconds startTimeout{60};
constexpr std::chrono::seconds stopTimeout{10};
constexpr std::size_t logLinesShown = 40;

std::string environmentValue(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

}  // namespace

FcitxProcess::FcitxProcess(Options options) {
  const auto& home = options.home;
  const auto config = home / ".config";
  // What a desktop user's profile holds after adding Orvane: the layout
  // first (the inactive state), then the engine.
  if (!fs::exists(config / "fcitx5" / "profile")) {
    fs::create_directories(config / "fcitx5");
    fs::copy_file(ORVANE_FCITX5_PROFILE, config / "fcitx5" / "profile");
  }
  static int started = 0;
  logFile_ = home / ("fcitx5-" + std::to_string(++started) + ".log");

  std::vector<std::string> args = {FCITX5_PROGRAM, "--disable=all", "--enable=keyboard,dbus,dbusfrontend,orvane"};
  if (options.replace) args.push_back("--replace");
  const std::vector<std::string> environment = {
      "PATH=" + environmentValue("PATH"),
      "DBUS_SESSION_BUS_ADDRESS=" + environmentValue("DBUS_SESSION_BUS_ADDRESS"),
      "LANG=C.UTF-8",
      "HOME=" + home.string(),
      "XDG_CONFIG_HOME=" + config.string(),
      "XDG_DATA_HOME=" + (home / ".local" / "share").string(),
      "XDG_CACHE_HOME=" + (home / ".cache").string(),
      // The build tree's engine and files first, Fcitx5's own after them.
      "FCITX_ADDON_DIRS=" ORVANE_FCITX5_ADDON_DIR ":" FCITX5_SYSTEM_ADDON_DIR,
      "FCITX_DATA_DIRS=" ORVANE_FCITX5_DATA ":" FCITX5_SYSTEM_DATA_DIR,
      "ORVANE_BUNDLE=" + options.bundle.string(),
      "ORVANE_NOW=1700000000",
  };
  // Made before fork: the child only calls what is safe there.
  std::vector<char*> argv;
  for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  std::vector<char*> envp;
  for (const auto& e : environment) envp.push_back(const_cast<char*>(e.c_str()));
  envp.push_back(nullptr);
  const int log = ::open(logFile_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  const int null = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
  const pid_t parent = ::getpid();

  pid_ = ::fork();
  if (pid_ == 0) {
    // Never outlive the test, whatever ends it.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) ::_exit(127);
    ::dup2(null, STDIN_FILENO);
    ::dup2(log, STDOUT_FILENO);
    ::dup2(log, STDERR_FILENO);
    ::execve(argv[0], argv.data(), envp.data());
    ::_exit(127);
  }
  if (log >= 0) ::close(log);
  if (null >= 0) ::close(null);
  if (pid_ < 0) ADD_FAILURE() << "cannot start " << FCITX5_PROGRAM;
}

FcitxProcess::~FcitxProcess() {
  if (running()) {
    signal(SIGTERM);
    const auto deadline = std::chrono::steady_clock::now() + stopTimeout;
    while (!reap(WNOHANG) && std::chrono::steady_clock::now() < deadline)
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    if (!status_) {
      ::kill(pid_, SIGKILL);
      reap(0);
    }
  }
  if (::testing::Test::HasFailure()) {
    std::istringstream lines(log());
    std::vector<std::string> tail;
    for (std::string line; std::getline(lines, line);) tail.push_back(line);
    const auto from = tail.size() > logLinesShown ? tail.size() - logLinesShown : 0;
    std::cerr << "--- the end of fcitx5's log (" << logFile_.string() << "):\n";
    for (auto i = from; i < tail.size(); ++i) std::cerr << tail[i] << "\n";
  }
}

bool FcitxProcess::reap(int flags) {
  if (status_ || pid_ <= 0) return true;
  int status = 0;
  if (::waitpid(pid_, &status, flags) != pid_) return false;
  status_ = status;
  return true;
}

bool FcitxProcess::running() { return pid_ > 0 && !reap(WNOHANG); }

void FcitxProcess::signal(int number) {
  if (running()) ::kill(pid_, number);
}

::testing::AssertionResult FcitxProcess::waitUntilServing(SessionBus& bus) {
  std::string owner;
  const bool owns = bus.waitUntil(
      [&] {
        if (!running()) return true;
        if (bus.fcitxOwner().empty() || bus.fcitxOwner() == owner) return false;
        owner = bus.fcitxOwner();
        return bus.processOf(owner) == pid_;
      },
      startTimeout);
  if (!running()) return ::testing::AssertionFailure() << "fcitx5 ended while starting, wait status " << *status_;
  if (!owns)
    return ::testing::AssertionFailure() << "fcitx5 did not take " << fcitxBusName << " in " << startTimeout.count()
                                         << " s";
  // It answers once it has loaded its addons and input methods.
  auto reply = bus.callTo(owner, "/controller", "org.fcitx.Fcitx.Controller1", "AvailableInputMethods", nullptr);
  if (!reply) return ::testing::AssertionFailure() << bus.lastError();
  if (sd_bus_message_enter_container(reply.get(), 'a', "(ssssssb)") < 0)
    return ::testing::AssertionFailure() << "AvailableInputMethods: an unexpected reply";
  std::vector<std::string> names;
  const char* name = nullptr;
  const char* ignored = nullptr;
  int configurable = 0;
  while (sd_bus_message_read(reply.get(), "(ssssssb)", &name, &ignored, &ignored, &ignored, &ignored, &ignored,
                             &configurable) > 0)
    names.push_back(name);
  if (std::find(names.begin(), names.end(), "orvane") == names.end())
    return ::testing::AssertionFailure() << "fcitx5 serves " << names.size() << " input methods, none of them orvane";
  return ::testing::AssertionSuccess();
}

std::optional<int> FcitxProcess::waitForExit(SessionBus& bus, std::chrono::milliseconds timeout) {
  bus.waitUntil([&] { return !running(); }, timeout);
  return status_;
}

fs::path FcitxProcess::loadedEngine() const {
  std::ifstream maps("/proc/" + std::to_string(pid_) + "/maps");
  for (std::string line; std::getline(maps, line);) {
    const auto path = line.find('/');
    if (path != std::string::npos && line.ends_with("/orvane.so")) return line.substr(path);
  }
  return {};
}

std::string FcitxProcess::log() const { return orvane::testing::readFile(logFile_); }

}  // namespace orvane::fcitx5::testing

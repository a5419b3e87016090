// The tests run on a session bus of their own, never the desktop's (where a
// real fcitx5 may serve the user): the program starts itself again under
// dbus-run-session, which ends the bus when the tests end.
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

namespace {

constexpr const char* insideMarker = "ORVANE_TEST_PRIVATE_BUS";

bool onlyListing(int argc, char** argv) {
  for (int i = 1; i < argc; ++i)
    if (std::strcmp(argv[i], "--gtest_list_tests") == 0) return true;
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  // Without fcitx5 the tests skip, and listing them needs no bus.
  const bool needsBus = std::filesystem::exists(FCITX5_PROGRAM) && !onlyListing(argc, argv);
  if (needsBus && !std::getenv(insideMarker)) {
    ::setenv(insideMarker, "1", 1);
    std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
    std::string config = "--config-file=" ORVANE_PRIVATE_BUS_CONFIG;
    std::vector<char*> args = {const_cast<char*>(DBUS_RUN_SESSION), config.data(), const_cast<char*>("--"),
                               self.data()};
    for (int i = 1; i < argc; ++i) args.push_back(argv[i]);
    args.push_back(nullptr);
    ::execv(DBUS_RUN_SESSION, args.data());
    std::cerr << "error: cannot start " << DBUS_RUN_SESSION << " (" << std::strerror(errno)
              << "); scripts/install-deps.sh installs it (dbus-bin)\n";
    return 1;
  }
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}

#include "app/registration.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

namespace orvane::app {
namespace {

TEST(WantsRegistration, OnlyAnArgumentEqualToTheOption) {
  struct Case {
    std::vector<const char*> argv;
    bool registers;
  };
  const Case cases[] = {
      {{"orvane"}, false},
      {{"orvane", "--register"}, true},
      {{"orvane", "-v", "x", "--register"}, true},
      {{"--register"}, true},
      {{"orvane", "--registered"}, false},
      {{"orvane", "--register="}, false},
      {{"orvane", "-register"}, false},
      {{"orvane", " --register"}, false},
      {{"/Applications/--register/orvane"}, false},
  };
  for (const auto& c : cases)
    EXPECT_EQ(wantsRegistration(static_cast<int>(c.argv.size()), c.argv.data()), c.registers) << c.argv.back();
}

class FixedRegistry final : public platform::InputSourceRegistry {
 public:
  explicit FixedRegistry(int32_t status) : status_(status) {}
  int32_t registerInputSource(const std::filesystem::path& url) override {
    asked = url;
    return status_;
  }
  std::filesystem::path asked;

 private:
  int32_t status_;
};

TEST(RegisterBundle, PrintsTheStatusAndExitsByIt) {
  struct Case {
    int32_t status;
    const char* line;
    int exitStatus;
  };
  const Case cases[] = {
      {0, "TISRegisterInputSource: 0\n", 0},
      {-50, "TISRegisterInputSource: -50\n", 1},
      {12, "TISRegisterInputSource: 12\n", 1},
      {INT32_MIN, "TISRegisterInputSource: -2147483648\n", 1},
  };
  for (const auto& c : cases) {
    FixedRegistry registry(c.status);
    std::ostringstream out;
    EXPECT_EQ(registerBundle(registry, "/tmp/Orvane IME.app", out), c.exitStatus);
    EXPECT_EQ(out.str(), c.line);
    EXPECT_EQ(registry.asked, "/tmp/Orvane IME.app");
  }
}

}  // namespace
}  // namespace orvane::app

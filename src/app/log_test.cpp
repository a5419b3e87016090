#include "app/log.h"

#include <gtest/gtest.h>

namespace orvane::Log {
namespace {

TEST(Log, FormatsTheSystemLogSyntax) {
  EXPECT_EQ(format("learn: %{public}s -> %{public}s", {std::string_view("かな"), std::string_view("仮名")}),
            "learn: かな -> 仮名");
  EXPECT_EQ(format("dictionary loaded: %ld readings in %.*fs from %{public}s",
                   {7LL, 2LL, 0.1234, std::string_view("/x")}),
            "dictionary loaded: 7 readings in 0.12s from /x");
  EXPECT_EQ(format("keyDown: code=%hu chars=%{public}s -> %{public}s",
                   {36LL, std::string_view(""), std::string_view("pass")}),
            "keyDown: code=36 chars= -> pass");
  EXPECT_EQ(format("connection table loaded: %u x %u", {2645ULL, 2645ULL}), "connection table loaded: 2645 x 2645");
  EXPECT_EQ(format("sync: sent %{public}s selectedId=%ld", {std::string_view("down"), -1LL}),
            "sync: sent down selectedId=-1");
  EXPECT_EQ(format("100%% %{public}s", {std::string_view("%ld")}), "100% %ld");
}

TEST(Log, WritesToEverySinkWithTheCategory) {
  ScopedCapture capture;
  imk.log("inputMode: %{public}s", std::string("com.orvane.inputmethod.OrvaneIME.Roman"));
  key.error("x=%ld", 5);
  ASSERT_EQ(capture->lines.size(), 2u);
  EXPECT_EQ(capture->lines[0].category, "imk");
  EXPECT_EQ(capture->lines[0].message, "inputMode: com.orvane.inputmethod.OrvaneIME.Roman");
  EXPECT_EQ(capture->lines[1].level, Level::error);
}

class CountingSink final : public Sink {
 public:
  bool wants(Level level) const override { return level == Level::error; }
  void write(std::string_view, Level, std::string_view) override { ++writes; }
  int writes = 0;
};

TEST(Log, FormatsOnlyForSinksThatWantTheLevel) {
  auto sink = std::make_shared<CountingSink>();
  addSink(sink);
  imk.log("ignored %ld", 1);
  imk.error("kept %ld", 2);
  removeSink(sink);
  EXPECT_EQ(sink->writes, 1);
  EXPECT_FALSE(anySinkWants(Level::defaultLevel));
}

}  // namespace
}  // namespace orvane::Log

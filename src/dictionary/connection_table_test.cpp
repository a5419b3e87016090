#include "dictionary/connection_table.h"

#include <gtest/gtest.h>

#include "app/log.h"
#include "testing/environment.h"

namespace orvane {
namespace {

using testing::TempDir;
using testing::writeFile;

std::string bytes(std::initializer_list<int> values) {
  std::string out;
  for (int v : values) out.push_back(static_cast<char>(v));
  return out;
}

TEST(ConnectionTableTest, LoadsOnlyFilesOfExactlyTheRightLength) {
  const std::string two = bytes({2, 0, 0, 0, 1, 0, 2, 0, 3, 0, 4, 0});
  const struct {
    const char* name;
    std::string content;
    uint64_t size;
    std::vector<std::string> log;
  } cases[] = {
      {"N = 0 in four bytes", bytes({0, 0, 0, 0}), 0, {"connection table loaded: 0 x 0"}},
      {"N = 2 in 12 bytes", two, 2, {"connection table loaded: 2 x 2"}},
      {"one byte too many", two + bytes({0}), 0, {"connection table size mismatch: 13"}},
      {"truncated", two.substr(0, 10), 0, {"connection table size mismatch: 10"}},
      {"N = 2^32 - 1", bytes({0xFF, 0xFF, 0xFF, 0xFF, 0, 0}), 0, {"connection table size mismatch: 6"}},
      {"fewer than four bytes", bytes({1, 0, 0}), 0, {}},
  };
  for (const auto& c : cases) {
    TempDir dir;
    writeFile(dir / "c.bin", c.content);
    ConnectionTable table(dir / "c.bin");
    Log::ScopedCapture capture;
    table.reloadIfNeeded();
    EXPECT_EQ(table.size(), c.size) << c.name;
    EXPECT_EQ(capture->messages("imk"), c.log) << c.name;
    for (const auto& line : capture->lines)
      EXPECT_EQ(line.level == Log::Level::error, line.message.find("mismatch") != std::string::npos) << c.name;
  }
}

TEST(ConnectionTableTest, CostsAreRowMajorSignedLittleEndian) {
  TempDir dir;
  writeFile(dir / "c.bin", bytes({2, 0, 0, 0, 1, 0, 0xFF, 0xFF, 0x02, 0x01, 0x00, 0x80}));
  ConnectionTable table(dir / "c.bin");
  table.reloadIfNeeded();
  const struct {
    int64_t from, to, cost;
  } cases[] = {
      {0, 0, 1}, {0, 1, -1}, {1, 0, 0x0102}, {1, 1, -32768}, {2, 0, 0}, {0, 2, 0}, {0, -1, 0}, {INT64_MIN, 0, 0},
  };
  for (const auto& c : cases) EXPECT_EQ(table.cost(c.from, c.to), c.cost) << c.from << "," << c.to;
}

TEST(ConnectionTableTest, EveryFailureAfterAGoodLoadEmptiesTheTable) {
  TempDir dir;
  const auto path = dir / "c.bin";
  const std::string good = bytes({1, 0, 0, 0, 7, 0});
  ConnectionTable table(path);
  int seconds = 0;
  auto replace = [&](auto change) {
    std::filesystem::remove_all(path);
    writeFile(path, good);
    testing::touch(path, seconds += 2);
    table.reloadIfNeeded();
    EXPECT_EQ(table.cost(0, 0), 7);
    change();
    table.reloadIfNeeded();
    return table.cost(0, 0);
  };
  EXPECT_EQ(replace([&] { writeFile(path, good + "x"), testing::touch(path, seconds += 2); }), 0) << "malformed";
  EXPECT_EQ(replace([&] { std::filesystem::remove(path), std::filesystem::create_directory(path); }), 0)
      << "unreadable";
  EXPECT_EQ(replace([&] { std::filesystem::remove(path); }), 0) << "deleted";
}

}  // namespace
}  // namespace orvane

#include "dictionary/dictionary_file.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "app/log.h"
#include "testing/environment.h"

namespace orvane {
namespace {

using Values = std::vector<std::string>;
using testing::TempDir;
using testing::touch;
using testing::writeFile;

struct LookupCase {
  const char* name;
  std::string content;
  std::string reading;
  Values expected;
};

TEST(DictionaryFileTest, LooksUpValuesOfEveryLineFormat) {
  const std::vector<LookupCase> cases = {
      {"tab, comment, space, empty reading, no separator",
       "かな\tA\n#かな\tC\nかな B\n\tX\nかな\n", "かな", {"A", "B"}},
      {"only the first separator counts", "かな\tA B\tC\n", "かな", {"A B\tC"}},
      {"a reading with a separator and nothing else gives one empty value", "かな\t\n", "かな", {""}},
      {"CRLF ends drop the CR", "かな\tA\r\nき\tB\r\n", "かな", {"A"}},
      {"a CR at the very end of the last line is dropped", "き\tB\r", "き", {"B"}},
      {"the last line needs no LF", "あ\t1\nかな\tZ", "かな", {"Z"}},
      {"lines in any order keep file order", "か\t1\nき\t2\nか\t3\n", "か", {"1", "3"}},
      {"empty lines are skipped", "\n\n\nか\t1\n\n", "か", {"1"}},
      {"a decomposed key matches a precomposed reading", "か\u3099\tG\n", "が", {"G"}},
      {"a precomposed key matches a decomposed reading", "が\tG\n", "か\u3099", {"G"}},
      {"a comment mark after the start is part of the reading", "a#\tv\n", "a#", {"v"}},
      {"invalid UTF-8 in a value is replaced", "か\t\xff" "x\n", "か", {"\uFFFDx"}},
      {"invalid UTF-8 in a key is replaced", "\xff\tv\n", "\uFFFD", {"v"}},
      {"the empty reading finds nothing", "\tX\n", "", {}},
      {"an unknown reading finds nothing", "か\t1\n", "き", {}},
      {"a longer reading is another key", "か\t1\nかな\t2\n", "かな", {"2"}},
  };
  for (const auto& c : cases) {
    TempDir dir;
    writeFile(dir / "d.txt", c.content);
    DictionaryFile file(dir / "d.txt");
    file.reloadIfNeeded();
    EXPECT_EQ(file.lines(c.reading), c.expected) << c.name;
  }
}

TEST(DictionaryFileTest, IndexHoldsRangesOfValuesOnly) {
  const std::string bytes = "かな\tA\n#x y\nかな B\n\tX\nかな\n";
  auto index = DictionaryFile::buildIndex(bytes);
  ASSERT_EQ(index.size(), 1u);
  const auto& ranges = index.at("かな");
  ASSERT_EQ(ranges.size(), 2u);
  for (const auto& r : ranges) EXPECT_LE(r.upper, bytes.size());
  EXPECT_EQ(bytes.substr(ranges[0].lower, ranges[0].upper - ranges[0].lower), "A");
  EXPECT_EQ(bytes.substr(ranges[1].lower, ranges[1].upper - ranges[1].lower), "B");
}

TEST(DictionaryFileTest, LogsEveryLoadWithItsReadingCount) {
  TempDir dir;
  const auto path = dir / "d.txt";
  writeFile(path, "");
  DictionaryFile file(path);
  Log::ScopedCapture capture;
  file.reloadIfNeeded();
  writeFile(path, "か\t1\nき\t2\nか\t3\n");
  touch(path);
  file.reloadIfNeeded();
  const auto messages = capture->messages("imk");
  ASSERT_EQ(messages.size(), 2u);
  // The time taken varies; everything around it is fixed.
  const std::string prefix0 = "dictionary loaded: 0 readings in ";
  const std::string prefix2 = "dictionary loaded: 2 readings in ";
  const std::string suffix = "s from " + path.string();
  EXPECT_TRUE(messages[0].starts_with(prefix0) && messages[0].ends_with(suffix)) << messages[0];
  EXPECT_TRUE(messages[1].starts_with(prefix2) && messages[1].ends_with(suffix)) << messages[1];
  // Two digits after the point.
  const auto seconds = messages[0].substr(prefix0.size(), messages[0].size() - prefix0.size() - suffix.size());
  ASSERT_GE(seconds.size(), 4u);
  EXPECT_EQ(seconds[seconds.size() - 3], '.') << seconds;
}

TEST(DictionaryFileTest, FollowsTheFileThroughItsLife) {
  TempDir dir;
  const auto path = dir / "d.txt";
  DictionaryFile file(path);
  Log::ScopedCapture capture;

  // Missing: empty and silent.
  file.reloadIfNeeded();
  EXPECT_TRUE(file.lines("か").empty());
  EXPECT_TRUE(capture->lines.empty());

  // Created later: loaded at the next check.
  writeFile(path, "か\t1\n");
  file.reloadIfNeeded();
  EXPECT_EQ(file.lines("か"), Values{"1"});

  // Rewritten with the same date: the old content stays.
  const auto date = std::filesystem::last_write_time(path);
  writeFile(path, "か\t2\n");
  std::filesystem::last_write_time(path, date);
  file.reloadIfNeeded();
  EXPECT_EQ(file.lines("か"), Values{"1"});

  // A read failure after a good load keeps the old content and logs why.
  std::filesystem::remove(path);
  std::filesystem::create_directory(path);
  capture->lines.clear();
  file.reloadIfNeeded();
  EXPECT_EQ(file.lines("か"), Values{"1"});
  ASSERT_EQ(capture->lines.size(), 1u);
  EXPECT_EQ(capture->lines[0].level, Log::Level::error);
  EXPECT_EQ(capture->lines[0].message, "dictionary load failed: " + path.string() + " Is a directory");
  // The failure is not retried until the date moves.
  file.reloadIfNeeded();
  EXPECT_EQ(capture->lines.size(), 1u);

  // Deleted: emptied without a log line.
  std::filesystem::remove(path);
  capture->lines.clear();
  file.reloadIfNeeded();
  EXPECT_TRUE(file.lines("か").empty());
  EXPECT_TRUE(capture->lines.empty());
}

}  // namespace
}  // namespace orvane

#include "dictionary/sorted_dictionary_file.h"

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

Values lookUp(const std::string& content, const std::string& reading) {
  TempDir dir;
  writeFile(dir / "w.tsv", content);
  SortedDictionaryFile file(dir / "w.tsv");
  file.reloadIfNeeded();
  return file.lines(reading);
}

TEST(SortedDictionaryFileTest, FindsEveryLineOfAReadingAndNoOther) {
  const std::string fourLines = "か\t1\nかな\t2\nかな\t3\nかなa\t4\n";
  struct Case {
    std::string content;
    std::string reading;
    Values expected;
  };
  const std::vector<Case> cases = {
      {fourLines, "かな", {"2", "3"}},
      {fourLines, "か", {"1"}},
      {fourLines, "かなa", {"4"}},
      {fourLines, "き", {}},
      {fourLines, "あ", {}},    // before the first line
      {fourLines, "ん", {}},    // after the last line
      {fourLines, "かなb", {}}, // between lines, sharing a prefix
      {"か\t1\nかな\t2\nかな\t3\nかなa\t4", "かなa", {"4"}},  // last line without LF
      {"\tA\n\tB\nか\t1\n", "", {"A", "B"}},  // the empty reading matches lines starting with TAB
      {"か\t1\r\nき\t2\r\n", "か", {"1\r"}},  // no CR handling in word lists
      {"か\t1\nかな", "かな", {}},             // a last line ending right after the reading
      {"か\t1\nかな\t", "かな", {""}},         // a last line ending right after the TAB
      {"か\t\xff\n", "か", {"\uFFFD"}},
      {"", "か", {}},
      {"a\t1\nb\t2\nc\t3\nd\t4\ne\t5\nf\t6\ng\t7\nh\t8\n", "a", {"1"}},
      {"a\t1\nb\t2\nc\t3\nd\t4\ne\t5\nf\t6\ng\t7\nh\t8\n", "h", {"8"}},
      {"a\t1\nb\t2\nc\t3\nd\t4\ne\t5\nf\t6\ng\t7\nh\t8\n", "e", {"5"}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(lookUp(c.content, c.reading), c.expected) << "reading '" << c.reading << "' in\n" << c.content;
  }
}

TEST(SortedDictionaryFileTest, FindsEveryReadingOfALargerFile) {
  // Many readings of mixed lengths and several values each exercise every
  // branch of the probe: starts, middles and ends of lines.
  std::vector<std::string> lines;
  for (int i = 0; i < 300; ++i) {
    const std::string reading = "r" + std::to_string(i * 7919 % 1000);
    for (int v = 0; v < i % 4; ++v) lines.push_back(reading + "\t" + std::to_string(v) + std::string(i % 13, 'x'));
  }
  std::sort(lines.begin(), lines.end());
  std::string content;
  for (const auto& l : lines) content += l + "\n";
  TempDir dir;
  writeFile(dir / "w.tsv", content);
  SortedDictionaryFile file(dir / "w.tsv");
  file.reloadIfNeeded();
  for (int i = 0; i < 300; ++i) {
    const std::string reading = "r" + std::to_string(i * 7919 % 1000);
    EXPECT_EQ(file.lines(reading).size(), static_cast<std::size_t>(i % 4)) << reading;
  }
  EXPECT_TRUE(file.lines("r").empty());
  EXPECT_TRUE(file.lines("r1000").empty());
}

TEST(SortedDictionaryFileTest, UnsortedFileIsSearchedNotRejected) {
  // Lookups may miss lines, but nothing fails and sorted neighbours still answer.
  const std::string content = "き\t1\nか\t2\nく\t3\n";
  EXPECT_NO_FATAL_FAILURE(lookUp(content, "か"));
  EXPECT_EQ(lookUp(content, "く"), Values{"3"});
}

TEST(SortedDictionaryFileTest, FollowsTheFileThroughItsLife) {
  TempDir dir;
  const auto path = dir / "w.tsv";
  SortedDictionaryFile file(path);
  Log::ScopedCapture capture;

  file.reloadIfNeeded();
  EXPECT_TRUE(file.lines("か").empty());
  EXPECT_TRUE(capture->lines.empty());

  writeFile(path, "か\t1\n");
  file.reloadIfNeeded();
  EXPECT_EQ(file.lines("か"), Values{"1"});
  EXPECT_EQ(capture->messages(), Values{"dictionary mapped: " + path.string()});

  // A map failure after a good load leaves the reader empty.
  std::filesystem::remove(path);
  std::filesystem::create_directory(path);
  capture->lines.clear();
  file.reloadIfNeeded();
  EXPECT_TRUE(file.lines("か").empty());
  ASSERT_EQ(capture->lines.size(), 1u);
  EXPECT_EQ(capture->lines[0].level, Log::Level::error);
  EXPECT_EQ(capture->lines[0].message, "dictionary load failed: " + path.string() + " Is a directory");

  std::filesystem::remove(path);
  capture->lines.clear();
  file.reloadIfNeeded();
  EXPECT_TRUE(file.lines("か").empty());
  EXPECT_TRUE(capture->lines.empty());

  // An empty file maps to nothing, without an error.
  writeFile(path, "");
  file.reloadIfNeeded();
  EXPECT_TRUE(file.lines("").empty());
  EXPECT_EQ(capture->messages(), Values{"dictionary mapped: " + path.string()});
}

TEST(SortedDictionaryFileTest, KeepsAnsweringFromTheOldMappingUntilReload) {
  TempDir dir;
  const auto path = dir / "w.tsv";
  writeFile(path, "か\told\n");
  SortedDictionaryFile file(path);
  file.reloadIfNeeded();

  writeFile(dir / "new.tsv", "か\tnew\n");
  std::filesystem::rename(dir / "new.tsv", path);
  touch(path);
  EXPECT_EQ(file.lines("か"), Values{"old"});
  // A copy shares the mapping and outlives the reload of the original.
  SortedDictionaryFile copy = file;
  file.reloadIfNeeded();
  EXPECT_EQ(file.lines("か"), Values{"new"});
  EXPECT_EQ(copy.lines("か"), Values{"old"});
}

TEST(SortedDictionaryFileTest, RewriteWithTheSameDateIsNotReloaded) {
  TempDir dir;
  const auto path = dir / "w.tsv";
  writeFile(path, "か\t1\n");
  SortedDictionaryFile file(path);
  file.reloadIfNeeded();
  const auto date = std::filesystem::last_write_time(path);
  writeFile(dir / "new.tsv", "か\t2\n");
  std::filesystem::rename(dir / "new.tsv", path);
  std::filesystem::last_write_time(path, date);
  file.reloadIfNeeded();
  EXPECT_EQ(file.lines("か"), Values{"1"});
}

}  // namespace
}  // namespace orvane

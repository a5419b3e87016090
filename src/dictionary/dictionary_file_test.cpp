#include "dictionary/dictionary_file.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "app/log.h"
#include "testing/environment.h"

namespace orvane {
namespace {

using Values = std::vector<std::string>;
using testing::TempDir;
using testing::writeFile;

TEST(DictionaryFileTest, LooksUpValuesOfEveryLineFormat) {
  const struct { const char* name; std::string content, reading; Values expected; } cases[] = {
      {"tab, comment, space, empty reading, no separator", "かな\tA\n#かな\tC\nかな B\n\tX\nかな\n", "かな", {"A", "B"}},
      {"only the first separator counts", "かな\tA B\tC\n", "かな", {"A B\tC"}},
      {"a separator alone gives one empty value", "かな\t\n", "かな", {""}},
      {"CRLF ends drop the CR", "かな\tA\r\nき\tB\r\n", "かな", {"A"}},
      {"a CR ending the last line is dropped", "き\tB\r", "き", {"B"}},
      {"any order, file order kept", "か\t1\nき\t2\nか\t3\n", "か", {"1", "3"}},
      {"a decomposed key matches a precomposed reading", "か\u3099\tG\n", "が", {"G"}},
      {"a precomposed key matches a decomposed reading", "が\tG\n", "か\u3099", {"G"}},
      {"invalid UTF-8 in a value", "か\t\xff" "x\n", "か", {"\uFFFDx"}},
      {"invalid UTF-8 in a key", "\xff\tv\n", "\uFFFD", {"v"}},
      {"the empty reading finds nothing", "\tX\n", "", {}},
      {"a longer reading is another key", "か\t1\nかな\t2\n", "か", {"1"}},
  };
  for (const auto& c : cases) {
    TempDir dir;
    writeFile(dir / "d.txt", c.content);
    DictionaryFile file(dir / "d.txt");
    file.reloadIfNeeded();
    EXPECT_EQ(file.lines(c.reading), c.expected) << c.name;
    if (c.content.starts_with("かな\tA\n#")) {
      EXPECT_EQ(file.readingCount(), 1u);
    }
  }
}

TEST(DictionaryFileTest, FollowsTheFileThroughItsLife) {
  TempDir dir;
  const auto path = dir / "d.txt";
  DictionaryFile file(path);
  Log::ScopedCapture capture;
  auto reload = [&] {
    capture->lines.clear();
    file.reloadIfNeeded();
    return capture->messages();
  };

  EXPECT_TRUE(reload().empty()) << "a missing file is silent";

  writeFile(path, "");
  auto log = reload();
  ASSERT_EQ(log.size(), 1u);
  // The seconds vary; they are printed with two decimals.
  EXPECT_TRUE(log[0].starts_with("dictionary loaded: 0 readings in 0.")) << log[0];
  EXPECT_TRUE(log[0].ends_with("s from " + path.string())) << log[0];
  EXPECT_EQ(log[0].find('.') + 3, log[0].find("s from"));

  writeFile(path, "か\t1\nき\t2\nか\t3\n");
  testing::touch(path);
  log = reload();
  EXPECT_TRUE(log.size() == 1 && log[0].starts_with("dictionary loaded: 2 readings in "));
  EXPECT_FALSE(file.hasLongerReading("か"));
  // Longer readings are those of the content loaded last.
  writeFile(path, "か\t1\nき\t2\nか\t3\nかな\t4\n");
  testing::touch(path, 4);
  reload();
  EXPECT_TRUE(file.hasLongerReading("か"));
  EXPECT_FALSE(file.hasLongerReading("かな"));
  writeFile(path, "か\t1\nき\t2\nか\t3\n");
  testing::touch(path, 6);
  reload();
  EXPECT_FALSE(file.hasLongerReading("か"));

  const auto date = std::filesystem::last_write_time(path);
  writeFile(path, "か\tsame date\n");
  std::filesystem::last_write_time(path, date);
  EXPECT_TRUE(reload().empty());
  EXPECT_EQ(file.lines("か"), (Values{"1", "3"}));

  // A failed read keeps the old content, logs once and is not retried.
  std::filesystem::remove(path);
  std::filesystem::create_directory(path);
  EXPECT_EQ(reload(), Values{"dictionary load failed: " + path.string() + " Is a directory"});
  EXPECT_EQ(capture->lines[0].level, Log::Level::error);
  EXPECT_EQ(file.lines("か"), (Values{"1", "3"}));
  EXPECT_TRUE(reload().empty());

  std::filesystem::remove(path);
  EXPECT_TRUE(reload().empty());
  EXPECT_TRUE(file.lines("か").empty());
}

}  // namespace
}  // namespace orvane

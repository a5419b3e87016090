#include "dictionary/part_of_speech_table.h"

#include <gtest/gtest.h>

#include "testing/environment.h"

namespace orvane {
namespace {

using testing::TempDir;
using testing::writeFile;

// Attached, prefix, suffix, as a string for readable failures.
std::string classesOf(const PartOfSpeechTable& table, int64_t id) {
  return std::string(table.isAttached(id) ? "A" : "-") + (table.isPrefix(id) ? "P" : "-") +
         (table.isSuffix(id) ? "S" : "-");
}

TEST(PartOfSpeechTableTest, ClassesIdsByTheirNames) {
  const struct {
    std::string line;
    int64_t id;
    std::string classes;
  } cases[] = {
      {"12 助詞,格助詞,一般,*,*,*,*", 12, "A--"},
      {"13 助動詞,*,*,*,特殊・デス,基本形,です", 13, "A--"},
      {"14 動詞,非自立,*,*,一段,基本形,てる", 14, "A--"},
      {"15 動詞,接尾,*,*,五段・ラ行,基本形,がる", 15, "A--"},
      {"16 形容詞,非自立,*,*,形容詞・アウオ段,基本形,ない", 16, "A--"},
      {"17 形容詞,接尾,*,*,形容詞・アウオ段,基本形,っぽい", 17, "A--"},
      {"18 名詞,非自立,一般,*,*,*,*", 18, "A--"},
      {"30 名詞,接尾,助数詞,*,*,*,*", 30, "A-S"},
      {"40 接頭詞,名詞接続,*,*,*,*,*", 40, "-P-"},
      {"50 名詞,一般,*,*,*,*,*", 50, "---"},
      {"51 動詞,自立,*,*,五段・カ行イ音便,基本形,*", 51, "---"},
      {"60 記号,句点,*,*,*,*,*", 60, "A--"},
      {"61 記号,一般,*,*,*,*,*", 61, "---"},
      {"62 記号,読点,*,*,*,*,*", 62, "A--"},
      {"70  助詞,格助詞,一般,*,*,*,*", 70, "---"},  // two spaces: the name starts with one
      {"7x 助詞,格助詞,一般,*,*,*,*", 7, "---"},
      {"71", 71, "---"},
      {"   73 助詞,係助詞,*,*,*,*,*", 73, "A--"},
      {"-75 接頭詞,名詞接続,*,*,*,*,*", -75, "-P-"},
      {"76 助詞", 76, "---"},                        // no comma after the feature
      {"77 助詞,\u0301格助詞", 77, "---"},         // the comma carries a combining mark
      {"78 助詞,\u200D格助詞", 78, "---"},         // a joiner, a spacing mark: one character with the comma
      {"79 接頭詞,\u0903", 79, "---"},
      {"80 助詞,\u3099格助詞", 80, "---"},
      {"81 助詞,\u00e9", 81, "A--"},               // a letter after the comma is a character of its own
      {"82 接頭詞,\uFF9E", 82, "---"},             // the half-width voiced mark extends too
      {"100000 名詞,接尾,*", 100000, "A-S"},        // far beyond the ids of real files
  };
  for (const auto& c : cases) {
    TempDir dir;
    writeFile(dir / "id.def", c.line + "\n");
    PartOfSpeechTable table(dir / "id.def");
    table.reloadIfNeeded();
    EXPECT_EQ(classesOf(table, c.id), c.classes) << c.line;
  }
}

TEST(PartOfSpeechTableTest, SplitsAtEveryLineBreakAndAccumulatesRepeatedIds) {
  for (std::string br : {"\n", "\r", "\r\n", "\v", "\f", "\u0085", "\u2028", "\u2029", "\n\n"}) {
    TempDir dir;
    writeFile(dir / "id.def", "1 助詞,*" + br + "2 接頭詞,*" + br + "3 名詞,接尾,*" + br + "2 助詞,*" + br +
                                  "2 名詞,一般");
    PartOfSpeechTable table(dir / "id.def");
    table.reloadIfNeeded();
    EXPECT_EQ(classesOf(table, 1) + classesOf(table, 2) + classesOf(table, 3), "A--" "AP-" "A-S")
        << ::testing::PrintToString(br);
  }
}

TEST(PartOfSpeechTableTest, FailuresEmptyEverySet) {
  TempDir dir;
  const auto path = dir / "id.def";
  PartOfSpeechTable table(path);
  EXPECT_EQ(classesOf(table, 0), "---") << "before any load";
  int seconds = 0;
  auto replace = [&](auto change) {
    std::filesystem::remove_all(path);
    writeFile(path, "1 名詞,接尾,*\n2 接頭詞,*\n");
    testing::touch(path, seconds += 2);
    table.reloadIfNeeded();
    EXPECT_EQ(classesOf(table, 1) + classesOf(table, 2), "A-S-P-");
    change();
    table.reloadIfNeeded();
    return classesOf(table, 1) + classesOf(table, 2);
  };
  EXPECT_EQ(replace([&] { writeFile(path, "1 助詞,*\n\xff\n"), testing::touch(path, seconds += 2); }), "------")
      << "invalid UTF-8";
  EXPECT_EQ(replace([&] { std::filesystem::remove(path), std::filesystem::create_directory(path); }), "------")
      << "unreadable";
  EXPECT_EQ(replace([&] { std::filesystem::remove(path); }), "------") << "deleted";
}

}  // namespace
}  // namespace orvane

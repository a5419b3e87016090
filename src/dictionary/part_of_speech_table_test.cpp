#include "dictionary/part_of_speech_table.h"

#include <gtest/gtest.h>

#include "testing/environment.h"

namespace orvane {
namespace {

using testing::TempDir;
using testing::touch;
using testing::writeFile;

struct Classes {
  bool attached, prefix, suffix;
  bool operator==(const Classes&) const = default;
};

std::ostream& operator<<(std::ostream& os, const Classes& c) {
  return os << "attached=" << c.attached << " prefix=" << c.prefix << " suffix=" << c.suffix;
}

Classes classesOf(const PartOfSpeechTable& table, int64_t id) {
  return {table.isAttached(id), table.isPrefix(id), table.isSuffix(id)};
}

TEST(PartOfSpeechTableTest, ClassesIdsByTheirNames) {
  struct Case {
    std::string line;
    int64_t id;
    Classes classes;
  };
  const std::vector<Case> cases = {
      {"12 助詞,格助詞,一般,*,*,*,*", 12, {true, false, false}},
      {"13 助動詞,*,*,*,特殊・デス,基本形,です", 13, {true, false, false}},
      {"14 動詞,非自立,*,*,一段,基本形,てる", 14, {true, false, false}},
      {"15 動詞,接尾,*,*,五段・ラ行,基本形,がる", 15, {true, false, false}},
      {"16 形容詞,非自立,*,*,形容詞・アウオ段,基本形,ない", 16, {true, false, false}},
      {"17 形容詞,接尾,*,*,形容詞・アウオ段,基本形,っぽい", 17, {true, false, false}},
      {"18 名詞,非自立,一般,*,*,*,*", 18, {true, false, false}},
      {"30 名詞,接尾,助数詞,*,*,*,*", 30, {true, false, true}},
      {"40 接頭詞,名詞接続,*,*,*,*,*", 40, {false, true, false}},
      {"50 名詞,一般,*,*,*,*,*", 50, {false, false, false}},
      {"51 動詞,自立,*,*,五段・カ行イ音便,基本形,*", 51, {false, false, false}},
      {"60 記号,句点,*,*,*,*,*", 60, {true, false, false}},
      {"61 記号,一般,*,*,*,*,*", 61, {false, false, false}},
      {"62 記号,読点,*,*,*,*,*", 62, {true, false, false}},
      {"70  助詞,格助詞,一般,*,*,*,*", 70, {false, false, false}},  // two spaces
      {"7x 助詞,格助詞,一般,*,*,*,*", 7, {false, false, false}},
      {"71", 71, {false, false, false}},
      {"72 ", 72, {false, false, false}},
      {"   73 助詞,係助詞,*,*,*,*,*", 73, {true, false, false}},      // leading spaces
      {"+74 助詞,係助詞,*,*,*,*,*", 74, {true, false, false}},
      {"-75 接頭詞,名詞接続,*,*,*,*,*", -75, {false, true, false}},
      {"76 助詞", 76, {false, false, false}},                            // no comma after the feature
      {"77 助詞,\u0301格助詞", 77, {false, false, false}},             // the comma carries a mark
      {"100000 助詞,格助詞,一般,*,*,*,*", 100000, {true, false, false}},  // beyond the dense table
      {"9223372036854775808 助詞,*", 0, {false, false, false}},          // no Int
  };
  for (const auto& c : cases) {
    TempDir dir;
    writeFile(dir / "id.def", c.line + "\n");
    PartOfSpeechTable table(dir / "id.def");
    table.reloadIfNeeded();
    EXPECT_EQ(classesOf(table, c.id), c.classes) << c.line;
  }
}

TEST(PartOfSpeechTableTest, SplitsAtEveryLineBreak) {
  const std::vector<std::string> breaks = {"\n", "\r", "\r\n", "\v", "\f", "\u0085", "\u2028", "\u2029", "\n\n"};
  for (const auto& br : breaks) {
    TempDir dir;
    writeFile(dir / "id.def", "1 助詞,*" + br + "2 接頭詞,*" + br + "3 名詞,接尾,*");
    PartOfSpeechTable table(dir / "id.def");
    table.reloadIfNeeded();
    EXPECT_EQ(classesOf(table, 1), (Classes{true, false, false})) << ::testing::PrintToString(br);
    EXPECT_EQ(classesOf(table, 2), (Classes{false, true, false})) << ::testing::PrintToString(br);
    EXPECT_EQ(classesOf(table, 3), (Classes{true, false, true})) << ::testing::PrintToString(br);
  }
}

TEST(PartOfSpeechTableTest, RepeatedIdsAccumulate) {
  TempDir dir;
  writeFile(dir / "id.def", "5 接頭詞,*\n5 助詞,*\n5 名詞,一般\n");
  PartOfSpeechTable table(dir / "id.def");
  table.reloadIfNeeded();
  EXPECT_EQ(classesOf(table, 5), (Classes{true, true, false}));
}

TEST(PartOfSpeechTableTest, FailuresEmptyEverySet) {
  TempDir dir;
  const auto path = dir / "id.def";
  PartOfSpeechTable table(path);
  EXPECT_FALSE(table.isAttached(0));  // never loaded

  writeFile(path, "1 助詞,*\n");
  table.reloadIfNeeded();
  ASSERT_TRUE(table.isAttached(1));

  writeFile(path, "1 助詞,*\n\xff\n");  // invalid UTF-8 anywhere rejects the file
  touch(path);
  table.reloadIfNeeded();
  EXPECT_FALSE(table.isAttached(1));

  writeFile(path, "1 助詞,*\n");
  touch(path, 4);
  table.reloadIfNeeded();
  ASSERT_TRUE(table.isAttached(1));
  std::filesystem::remove(path);
  table.reloadIfNeeded();
  EXPECT_FALSE(table.isAttached(1));
}

}  // namespace
}  // namespace orvane

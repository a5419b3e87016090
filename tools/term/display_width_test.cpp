#include "display_width.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orvane::term {
namespace {

TEST(DisplayWidthTest, CellsOfCharacters) {
  struct Case {
    std::string character;
    int width;
  };
  const std::vector<Case> cases = {
      {"a", 1},
      {"あ", 2},
      {"漢", 2},
      {"ア", 2},
      {"ｱ", 1},             // half-width katakana
      {"Ａ", 2},             // full-width Latin
      {"\u3000", 2},        // ideographic space
      {"😀", 2},
      {"\u2764\uFE0F", 2},  // heart asked to show as a picture
      {"\u2764", 1},        // the same heart as text
      {"🇯🇵", 2},
      {"e\u0301", 1},       // combining accent joins its letter
      {"\u0301", 0},        // alone it takes no cell
      {"\u200B", 0},        // zero width space
      {"○", 1},             // ambiguous width counts narrow
      {"한", 2},
  };
  for (const auto& c : cases) EXPECT_EQ(characterWidth(c.character), c.width) << c.character;
  EXPECT_EQ(displayWidth("私はAB😀"), 2 + 2 + 1 + 1 + 2);
}

TEST(DisplayWidthTest, UTF16PositionsBecomeColumns) {
  struct Case {
    std::string text;
    int64_t offset;
    int column;
  };
  const std::vector<Case> cases = {
      {"かn", 0, 0},
      {"かn", 1, 2},   // after the wide kana
      {"かn", 2, 3},   // after the pending romaji
      {"😀あ", 2, 2},  // an emoji is two UTF-16 units and two cells
      {"😀あ", 3, 4},
      {"😀あ", 1, 0},  // inside the surrogate pair: the emoji's start
      {"ab", 99, 2},   // past the end: the end
      {"e\u0301x", 2, 1},
      {"", 0, 0},
  };
  for (const auto& c : cases) EXPECT_EQ(columnAtUTF16(c.text, c.offset), c.column) << c.text << " @" << c.offset;
}

}  // namespace
}  // namespace orvane::term

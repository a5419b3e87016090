#include "screen.h"

#include "text/text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orvane::term {
namespace {

using platform::AttributedRun;
using platform::AttributedString;
namespace Mark = platform::MarkStyle;

// One letter per cell: p plain, r raw, c converted, F focused, _ continuation.
std::string styles(const std::vector<Cell>& line) {
  std::string out;
  for (const auto& cell : line)
    out += cell.continuation                ? '_'
           : cell.style == Style::plain     ? 'p'
           : cell.style == Style::raw       ? 'r'
           : cell.style == Style::converted ? 'c'
           : cell.style == Style::focused   ? 'F'
                                            : '?';
  return out;
}

std::string texts(const std::vector<Cell>& line) {
  std::string out;
  for (const auto& cell : line) out += cell.text;
  return out;
}

AttributedString clauses(std::vector<std::pair<std::string, int>> parts) {
  AttributedString s;
  int64_t start = 0;
  for (auto& [text, style] : parts) {
    auto length = static_cast<int64_t>(orvane::text::utf16Length(text));
    s.runs.push_back(AttributedRun{start, length, style, {}});
    s.text += text;
    start += length;
  }
  return s;
}

TEST(ScreenTest, MarkedTextRunsBecomeStyledCells) {
  // Three clauses with the second focused, caret at its start.
  Page page = layoutPage(
      "> ", clauses({{"私は", Mark::converted}, {"日本人", Mark::selectedConverted}, {"です", Mark::converted}}), 2, 80);
  ASSERT_EQ(page.lines.size(), 1u);
  EXPECT_EQ(styles(page.lines[0]), "ppc_c_F_F_F_c_c_");
  EXPECT_EQ(texts(page.lines[0]), "> 私は日本人です");
  EXPECT_EQ(page.caret, (Position{0, 6}));
  EXPECT_EQ(page.markStart, (Position{0, 2}));

  // While composing: one raw run, caret after the pending romaji.
  page = layoutPage("", clauses({{"かn", Mark::raw}}), 2, 80);
  EXPECT_EQ(styles(page.lines[0]), "r_r");
  EXPECT_EQ(page.caret, (Position{0, 3}));

  // An emoji clause counts two UTF-16 units before the focused clause.
  page = layoutPage("", clauses({{"😀", Mark::converted}, {"顔", Mark::selectedConverted}}), 2, 80);
  EXPECT_EQ(styles(page.lines[0]), "c_F_");
  EXPECT_EQ(page.caret, (Position{0, 2}));

  // No marked text: the caret follows the committed text and nothing is marked.
  page = layoutPage("ab\ncd", {}, 0, 80);
  EXPECT_EQ(page.lines.size(), 2u);
  EXPECT_EQ(page.caret, (Position{1, 2}));
  EXPECT_FALSE(page.markStart);
}

TEST(ScreenTest, WrapsByCellsWithoutSplittingWideCharacters) {
  // Width 5: "abcd" then あ does not fit in the last cell and moves down.
  Page page = layoutPage("abcdあい", {}, 0, 5);
  ASSERT_EQ(page.lines.size(), 2u);
  EXPECT_EQ(texts(page.lines[0]), "abcd");
  EXPECT_EQ(texts(page.lines[1]), "あい");
  EXPECT_EQ(page.caret, (Position{1, 4}));

  // A line filled exactly puts the caret at the start of the next one.
  page = layoutPage("あい", clauses({{"x", Mark::raw}}), 1, 5);
  EXPECT_EQ(page.caret, (Position{1, 0}));
  page = layoutPage("abcde", {}, 0, 5);
  EXPECT_EQ(page.caret, (Position{1, 0}));

  // A tab moves to the next stop of eight; a control character is shown, not obeyed.
  page = layoutPage("a\tb\x07", {}, 0, 80);
  EXPECT_EQ(texts(page.lines[0]), "a       b\xEF\xBF\xBD");
}

ScreenState converting(std::vector<std::string> rows, int64_t selected) {
  ScreenState state;
  state.marked = clauses({{"私は", Mark::selectedConverted}, {"日本", Mark::converted}});
  state.caretUTF16 = 0;
  state.candidates = CandidateList{std::move(rows), selected};
  state.mode = "かな";
  return state;
}

int findRow(const Grid& grid, const std::string& needle) {
  for (int r = 0; r < grid.rows(); ++r)
    if (grid.rowText(r).find(needle) != std::string::npos) return r;
  return -1;
}

TEST(ScreenTest, CandidateWindowSitsUnderTheClauseAndHighlightsTheSelection) {
  Frame frame = compose(converting({"私は", "渡しは", "わたしは"}, 1), 24, 80);
  EXPECT_EQ(frame.cursor, (Position{0, 0}));
  int row = findRow(frame.grid, "渡しは");
  EXPECT_EQ(row, 3);  // border on row 1, then 私は, then the selected 渡しは
  EXPECT_EQ(findRow(frame.grid, "私は"), 0);
  // Every cell of the selected row is highlighted, the others are not.
  EXPECT_EQ(frame.grid.at(row, 3).style, Style::candidateSelected);
  EXPECT_EQ(frame.grid.at(row - 1, 3).style, Style::candidate);
  EXPECT_EQ(findRow(frame.grid, "2/3"), 5);

  // A long list shows the page of the selection.
  std::vector<std::string> rows;
  for (int i = 0; i < 20; ++i) rows.push_back("c" + std::to_string(i));
  frame = compose(converting(rows, 15), 24, 80);
  EXPECT_EQ(findRow(frame.grid, "c8 "), -1);
  int selected = findRow(frame.grid, "c15");
  ASSERT_GE(selected, 0);
  EXPECT_EQ(frame.grid.at(selected, 3).style, Style::candidateSelected);
  EXPECT_GE(findRow(frame.grid, "c17"), 0);
  EXPECT_GE(findRow(frame.grid, "16/20"), 0);
}

TEST(ScreenTest, CandidateWindowKeepsTheMarkedTextVisible) {
  // The focused clause on the first line, the marked text going on below.
  auto wrapped = converting({"x", "y"}, 0);
  wrapped.marked = clauses({{"あいうえお", Mark::selectedConverted}, {"かきくけこさしすせそ", Mark::converted}});
  Frame frame = compose(wrapped, 24, 20);
  EXPECT_EQ(frame.cursor, (Position{0, 0}));
  EXPECT_TRUE(frame.grid.rowText(1).starts_with("さしすせそ"));
  EXPECT_EQ(findRow(frame.grid, "│ x"), 3);  // border on row 2, under all of it

  // No room below: the window goes above.
  auto state = converting({"a", "b", "c"}, 0);
  state.committed = std::string(20, '\n');  // marked text on the 21st line
  frame = compose(state, 24, 80);
  EXPECT_EQ(frame.cursor.row, 20);  // the text does not scroll
  int window = findRow(frame.grid, "│ a");
  EXPECT_LT(window, 20);
  EXPECT_GE(window, 15);

  // Neither below nor above: the text scrolls to make room below.
  state.committed = "\n\n";
  Frame small = compose(state, 7, 80);
  EXPECT_EQ(small.cursor.row, 0);
  EXPECT_EQ(findRow(small.grid, "私は"), 0);
  EXPECT_EQ(findRow(small.grid, "│ a"), 2);
}

TEST(ScreenTest, StatusLineAndOverlays) {
  ScreenState state;
  state.mode = "英数";
  state.help = "F2 menu";
  state.notice = "copied";  // a notice takes the help's place
  EXPECT_TRUE(compose(state, 10, 40).grid.rowText(9).starts_with(" 英数   copied "));
  state.notice.clear();
  Frame frame = compose(state, 10, 40);
  EXPECT_TRUE(frame.grid.rowText(9).starts_with(" 英数  F2 menu"));
  EXPECT_TRUE(frame.cursorVisible);

  state.menu = MenuView{"menu", {"one", "two"}, 1};
  frame = compose(state, 10, 40);
  int two = findRow(frame.grid, "2  two");
  ASSERT_GE(two, 0);
  EXPECT_EQ(frame.grid.at(two, 20).style, Style::overlaySelected);
  EXPECT_FALSE(frame.cursorVisible);
}

TEST(ScreenTest, WrapTextPrefersSpaces) {
  EXPECT_EQ(wrapText("hello wide world", 11), (std::vector<std::string>{"hello wide", "world"}));
  EXPECT_EQ(wrapText("あいうえお", 4), (std::vector<std::string>{"あい", "うえ", "お"}));
  EXPECT_EQ(wrapText("a\n\nb", 10), (std::vector<std::string>{"a", "", "b"}));
}

TEST(ScreenTest, RenderDrawsWideCharactersOnce) {
  Grid grid(1, 4);
  grid.put(0, 0, "あb", Style::raw);
  Frame frame{grid, {0, 3}, true};
  std::string out = render(frame);
  EXPECT_NE(out.find("\x1b[0;4mあb\x1b[0m "), std::string::npos) << out;
  EXPECT_NE(out.find("\x1b[1;4H\x1b[?25h"), std::string::npos);

  // Writing over half of a wide character blanks the other half.
  grid.put(0, 1, "x", Style::plain);
  EXPECT_EQ(grid.rowText(0), " xb ");
}

}  // namespace
}  // namespace orvane::term

// The screen as a grid of styled cells, built from what the front-end knows
// (committed text, marked text, candidate rows, overlays), and turned into
// terminal output. Nothing here touches the terminal itself.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/client.h"

namespace orvane::term {

enum class Style : uint8_t {
  plain,
  raw,        // text being composed
  converted,  // a clause that is not focused
  focused,    // the focused clause
  candidate,
  candidateSelected,
  frame,
  status,
  statusMode,
  notice,
  log,
  overlay,
  overlaySelected,
};

// The marking style the controller chose, as a screen style.
Style styleForMark(int markStyle);

struct Cell {
  std::string text = " ";
  Style style = Style::plain;
  // The right half of a two-cell character: drawn by the cell before it.
  bool continuation = false;
  bool operator==(const Cell&) const = default;
};

struct Position {
  int row = 0;
  int col = 0;
  bool operator==(const Position&) const = default;
};

class Grid {
 public:
  Grid(int rows, int cols);
  int rows() const { return rows_; }
  int cols() const { return cols_; }
  const Cell& at(int row, int col) const { return cells_[static_cast<std::size_t>(row * cols_ + col)]; }
  // Writes text from (row, col), clipped at the right edge; a wide character
  // that would straddle the edge becomes a space. Returns the column after.
  int put(int row, int col, std::string_view text, Style style);
  void fill(int row, int col, int width, Style style);
  // The row's characters, continuation cells left out (tests, debugging).
  std::string rowText(int row) const;

 private:
  void set(int row, int col, Cell cell);
  int rows_;
  int cols_;
  std::vector<Cell> cells_;
};

// The committed text followed by the marked text, wrapped into lines of a
// width. The caret is where the terminal cursor goes.
struct Page {
  std::vector<std::vector<Cell>> lines;
  Position caret;
  std::optional<Position> markStart;
};
Page layoutPage(std::string_view committed, const platform::AttributedString& marked, int64_t caretUTF16,
                int width);

// Splits text into lines no wider than width, breaking after a space where
// one is near, else between characters.
std::vector<std::string> wrapText(std::string_view text, int width);

struct CandidateList {
  std::vector<std::string> rows;
  int64_t selected = 0;
};

struct MenuView {
  std::string title;
  std::vector<std::string> items;
  int selected = 0;
};

struct TextView {
  std::string title;
  std::vector<std::string> lines;  // already wrapped
  int scroll = 0;
};

struct ScreenState {
  std::string committed;
  platform::AttributedString marked;
  int64_t caretUTF16 = 0;
  std::optional<CandidateList> candidates;  // set while the window shows
  std::string mode;
  std::string help;
  std::string notice;
  bool showLog = false;
  std::vector<std::string> logLines;
  std::optional<MenuView> menu;
  std::optional<TextView> about;
};

struct Frame {
  Grid grid;
  Position cursor;
  bool cursorVisible = true;
};

// Rows of candidates shown at once; longer lists page, as Tab does.
inline constexpr int candidatePageSize = 9;

Frame compose(const ScreenState& state, int rows, int cols);

// Rows the about text can show in a screen of this size (for scrolling).
int aboutVisibleLines(int rows);

// The escape sequences that draw the frame over the whole screen.
std::string render(const Frame& frame);

}  // namespace orvane::term

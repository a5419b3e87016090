#include "screen.h"

#include <algorithm>

#include "display_width.h"
#include "text/text.h"

namespace orvane::term {
namespace {

constexpr int kTabStop = 8;
constexpr int kMaxLogRows = 8;

std::string_view sgr(Style style) {
  switch (style) {
    case Style::plain: return "\x1b[0m";
    case Style::raw: return "\x1b[0;4m";
    case Style::converted: return "\x1b[0;4;36m";
    case Style::focused: return "\x1b[0;1;4;7m";
    case Style::candidate: return "\x1b[0m";
    case Style::candidateSelected: return "\x1b[0;1;7m";
    case Style::frame: return "\x1b[0;36m";
    case Style::status: return "\x1b[0;7m";
    case Style::statusMode: return "\x1b[0;1;7;32m";
    case Style::notice: return "\x1b[0;1;7;33m";
    case Style::log: return "\x1b[0;2m";
    case Style::overlay: return "\x1b[0m";
    case Style::overlaySelected: return "\x1b[0;1;7m";
  }
  return "\x1b[0m";
}

// A control character shown as a visible stand-in, so that it can neither
// move the terminal's cursor nor vanish.
std::string visible(const std::string& character) {
  auto c = text::singleScalar(character);
  if (c && (*c < 0x20 || *c == 0x7f)) return "\xEF\xBF\xBD";  // U+FFFD
  return character;
}

struct Placer {
  int width;
  Page page;
  int col = 0;

  Position here() {
    if (col >= width) newLine();
    return {static_cast<int>(page.lines.size()) - 1, col};
  }
  void newLine() {
    page.lines.emplace_back();
    col = 0;
  }
  void place(const std::string& character, Style style) {
    if (character == "\n" || character == "\r\n" || character == "\r") {
      newLine();
      return;
    }
    if (character == "\t") {
      int spaces = kTabStop - col % kTabStop;
      for (int i = 0; i < spaces && col < width; ++i) place(" ", style);
      return;
    }
    std::string shown = visible(character);
    int w = std::min(characterWidth(shown), width);
    if (w == 0) {
      // A lone combining mark or format control: attach it to the cell before.
      auto& line = page.lines.back();
      if (!line.empty()) {
        auto it = line.end() - 1;
        while (it != line.begin() && it->continuation) --it;
        it->text += shown;
        return;
      }
      shown = " " + shown;
      w = 1;
    }
    if (col + w > width) newLine();
    auto& line = page.lines.back();
    line.push_back({shown, style, false});
    for (int i = 1; i < w; ++i) line.push_back({"", style, true});
    col += w;
  }
};

}  // namespace

Style styleForMark(int markStyle) {
  switch (markStyle) {
    case platform::MarkStyle::converted: return Style::converted;
    case platform::MarkStyle::selectedConverted: return Style::focused;
    default: return Style::raw;
  }
}

Grid::Grid(int rows, int cols)
    : rows_(std::max(rows, 0)), cols_(std::max(cols, 0)), cells_(static_cast<std::size_t>(rows_ * cols_)) {}

void Grid::set(int row, int col, Cell cell) {
  if (row < 0 || row >= rows_ || col < 0 || col >= cols_) return;
  auto& target = cells_[static_cast<std::size_t>(row * cols_ + col)];
  // Overwriting half of a wide character leaves the other half blank.
  if (target.continuation && col > 0) {
    auto& left = cells_[static_cast<std::size_t>(row * cols_ + col - 1)];
    if (!left.continuation) left.text = " ";
  }
  if (!target.continuation && col + 1 < cols_) {
    auto& right = cells_[static_cast<std::size_t>(row * cols_ + col + 1)];
    if (right.continuation && !cell.continuation) right = Cell{" ", right.style, false};
  }
  target = std::move(cell);
}

int Grid::put(int row, int col, std::string_view s, Style style) {
  for (const auto& character : text::characters(s)) {
    std::string shown = visible(character);
    int w = characterWidth(shown);
    if (w == 0) continue;
    if (col + w > cols_) {
      if (col < cols_) set(row, col, {" ", style, false});
      return cols_;
    }
    set(row, col, {shown, style, false});
    for (int i = 1; i < w; ++i) set(row, col + i, {"", style, true});
    col += w;
  }
  return col;
}

void Grid::fill(int row, int col, int width, Style style) {
  for (int i = 0; i < width; ++i) set(row, col + i, {" ", style, false});
}

std::string Grid::rowText(int row) const {
  std::string out;
  for (int c = 0; c < cols_; ++c)
    if (!at(row, c).continuation) out += at(row, c).text;
  return out;
}

Page layoutPage(std::string_view committed, const platform::AttributedString& marked, int64_t caretUTF16,
                int width) {
  Placer placer{std::max(width, 1), {}};
  placer.newLine();
  for (const auto& c : text::characters(committed)) placer.place(c, Style::plain);
  if (marked.text.empty()) {
    placer.page.caret = placer.here();
    return std::move(placer.page);
  }
  placer.page.markStart = placer.here();
  bool caretPlaced = false;
  int64_t position = 0;
  for (const auto& c : text::characters(marked.text)) {
    Style style = Style::raw;
    for (const auto& run : marked.runs)
      if (position >= run.start && position < run.start + run.length) style = styleForMark(run.style);
    if (!caretPlaced && position >= caretUTF16) {
      placer.page.caret = placer.here();
      caretPlaced = true;
    }
    placer.place(c, style);
    position += static_cast<int64_t>(text::utf16Length(c));
  }
  if (!caretPlaced) placer.page.caret = placer.here();
  return std::move(placer.page);
}

std::vector<std::string> wrapText(std::string_view s, int width) {
  width = std::max(width, 1);
  std::vector<std::string> lines;
  std::size_t begin = 0;
  while (begin <= s.size()) {
    auto end = s.find('\n', begin);
    std::string_view paragraph = s.substr(begin, end == std::string_view::npos ? s.size() - begin : end - begin);
    if (!paragraph.empty() && paragraph.back() == '\r') paragraph.remove_suffix(1);
    Characters chars = text::characters(paragraph);
    std::size_t start = 0;
    while (true) {
      int used = 0;
      std::size_t i = start;
      std::optional<std::size_t> lastSpace;
      while (i < chars.size() && used + characterWidth(chars[i]) <= width) {
        used += characterWidth(chars[i]);
        if (chars[i] == " ") lastSpace = i;
        ++i;
      }
      if (i >= chars.size()) {
        lines.push_back(text::join(chars, start, chars.size()));
        break;
      }
      std::size_t cut = lastSpace && *lastSpace > start ? *lastSpace + 1 : std::max(i, start + 1);
      std::string line = text::join(chars, start, cut);
      while (!line.empty() && line.back() == ' ') line.pop_back();
      lines.push_back(line);
      start = cut;
    }
    if (end == std::string_view::npos) break;
    begin = end + 1;
  }
  return lines;
}

int aboutVisibleLines(int rows) { return std::max(rows - 1 - 2, 1); }

namespace {

int logRowsFor(const ScreenState& state, int rows) {
  if (!state.showLog) return 0;
  return std::clamp(rows / 3, 0, kMaxLogRows);
}

void drawBox(Grid& grid, int top, int left, int height, int width) {
  grid.put(top, left, "┌", Style::frame);
  grid.put(top + height - 1, left, "└", Style::frame);
  for (int c = 1; c < width - 1; ++c) {
    grid.put(top, left + c, "─", Style::frame);
    grid.put(top + height - 1, left + c, "─", Style::frame);
  }
  grid.put(top, left + width - 1, "┐", Style::frame);
  grid.put(top + height - 1, left + width - 1, "┘", Style::frame);
  for (int r = 1; r < height - 1; ++r) {
    grid.put(top + r, left, "│", Style::frame);
    grid.put(top + r, left + width - 1, "│", Style::frame);
  }
}

// The candidate window: its size depends only on the rows, so that it does
// not jump while the selection pages.
struct CandidateBox {
  int height = 0;
  int width = 0;
};

CandidateBox candidateBoxSize(const CandidateList& list, int cols) {
  int visibleRows = std::min<int>(static_cast<int>(list.rows.size()), candidatePageSize);
  int widest = 0;
  for (const auto& row : list.rows) widest = std::max(widest, displayWidth(row));
  std::string counter = std::to_string(list.rows.size()) + "/" + std::to_string(list.rows.size());
  widest = std::max(widest, static_cast<int>(counter.size()) + 1);
  return {visibleRows + 2, std::min(widest + 4, cols)};
}

void drawCandidates(Grid& grid, const CandidateList& list, Position anchor, int lastMarkedRow, int areaRows) {
  if (list.rows.empty() || grid.cols() < 4) return;
  auto size = candidateBoxSize(list, grid.cols());
  int top = lastMarkedRow + 1;
  if (top + size.height > areaRows && anchor.row - size.height >= 0) top = anchor.row - size.height;
  top = std::clamp(top, 0, std::max(areaRows - size.height, 0));
  int left = std::clamp(anchor.col - 2, 0, std::max(grid.cols() - size.width, 0));
  drawBox(grid, top, left, size.height, size.width);
  auto count = static_cast<int64_t>(list.rows.size());
  int64_t selected = std::clamp<int64_t>(list.selected, 0, count - 1);
  int64_t first = selected / candidatePageSize * candidatePageSize;
  for (int r = 0; r < size.height - 2; ++r) {
    int64_t index = first + r;
    bool isSelected = index == selected;
    Style style = isSelected ? Style::candidateSelected : Style::candidate;
    grid.fill(top + 1 + r, left + 1, size.width - 2, style);
    if (index < count) grid.put(top + 1 + r, left + 2, list.rows[static_cast<std::size_t>(index)], style);
  }
  std::string counter = std::to_string(selected + 1) + "/" + std::to_string(count);
  grid.put(top + size.height - 1, left + size.width - 1 - static_cast<int>(counter.size()) - 1, counter, Style::frame);
}

void drawMenu(Grid& grid, const MenuView& menu, int areaRows) {
  int widest = displayWidth(menu.title);
  std::vector<std::string> items;
  for (std::size_t i = 0; i < menu.items.size(); ++i) {
    items.push_back(std::to_string(i + 1) + "  " + menu.items[i]);
    widest = std::max(widest, displayWidth(items.back()));
  }
  int width = std::min(widest + 6, grid.cols());
  int height = static_cast<int>(items.size()) + 4;
  int left = std::max((grid.cols() - width) / 2, 0);
  int top = std::clamp(areaRows / 4, 0, std::max(areaRows - height, 0));
  drawBox(grid, top, left, height, width);
  grid.fill(top + 1, left + 1, width - 2, Style::overlay);
  grid.put(top + 1, left + 3, menu.title, Style::overlay);
  grid.fill(top + 2, left + 1, width - 2, Style::overlay);
  for (std::size_t i = 0; i < items.size(); ++i) {
    int row = top + 3 + static_cast<int>(i);
    Style style = static_cast<int>(i) == menu.selected ? Style::overlaySelected : Style::overlay;
    grid.fill(row, left + 1, width - 2, style);
    grid.put(row, left + 3, items[i], style);
  }
  grid.put(top + height - 1, left + 2, " Enter / Esc ", Style::frame);
}

void drawAbout(Grid& grid, const TextView& about, int areaRows) {
  int height = std::max(areaRows, 3);
  int width = grid.cols();
  drawBox(grid, 0, 0, height, width);
  grid.put(0, 2, " " + about.title + " ", Style::frame);
  int visibleLines = height - 2;
  int last = std::max(static_cast<int>(about.lines.size()) - visibleLines, 0);
  int scroll = std::clamp(about.scroll, 0, last);
  grid.put(height - 1, 2, last > 0 ? " ↑↓ PgUp PgDn · Esc " : " Esc ", Style::frame);
  for (int r = 0; r < visibleLines; ++r) {
    grid.fill(1 + r, 1, width - 2, Style::overlay);
    auto index = static_cast<std::size_t>(scroll + r);
    if (index < about.lines.size()) grid.put(1 + r, 2, about.lines[index], Style::overlay);
  }
  if (last > 0) {
    std::string where = std::to_string(scroll + 1) + "-" +
                        std::to_string(std::min(scroll + visibleLines, static_cast<int>(about.lines.size()))) + "/" +
                        std::to_string(about.lines.size());
    grid.put(height - 1, width - 2 - static_cast<int>(where.size()) - 1, " " + where + " ", Style::frame);
  }
}

}  // namespace

Frame compose(const ScreenState& state, int rows, int cols) {
  Frame frame{Grid(rows, cols), {}, true};
  Grid& grid = frame.grid;
  if (rows < 2 || cols < 1) return frame;
  int logRows = logRowsFor(state, rows);
  int areaRows = rows - 1 - logRows;

  Page page = layoutPage(state.committed, state.marked, state.caretUTF16, cols);
  int lastRow = static_cast<int>(page.lines.size()) - 1;
  int top = std::max(lastRow - areaRows + 1, 0);
  if (page.caret.row - top >= areaRows) top = page.caret.row - areaRows + 1;
  // The window hangs under the last line of the marked text, so that it
  // hides none of it, at the column of the focused clause.
  int anchorRow = page.markStart ? lastRow : page.caret.row;
  if (state.candidates) {
    // Under the marked text or else above it; only when neither has room
    // does the text scroll, so that it does not jump.
    int height = candidateBoxSize(*state.candidates, cols).height;
    int below = anchorRow - top;
    int above = page.caret.row - top;
    if (below + 1 + height > areaRows && above - height < 0)
      top = std::clamp(anchorRow + 1 + height - areaRows, 0, page.caret.row);
  }
  for (int r = 0; r < areaRows; ++r) {
    int line = top + r;
    if (line > lastRow) break;
    int col = 0;
    for (const auto& cell : page.lines[static_cast<std::size_t>(line)]) {
      if (!cell.continuation) grid.put(r, col, cell.text, cell.style);
      col += cell.continuation ? 0 : characterWidth(cell.text);
    }
  }
  Position caret{page.caret.row - top, std::min(page.caret.col, cols - 1)};
  frame.cursor = caret;
  if (state.candidates) drawCandidates(grid, *state.candidates, caret, anchorRow - top, areaRows);

  if (logRows > 0) {
    int first = rows - 1 - logRows;
    grid.put(first, 0, std::string("── log "), Style::frame);
    for (int c = displayWidth("── log "); c < cols; ++c) grid.put(first, c, "─", Style::frame);
    int shown = logRows - 1;
    auto count = static_cast<int>(state.logLines.size());
    for (int r = 0; r < shown; ++r) {
      int index = count - shown + r;
      if (index >= 0) grid.put(first + 1 + r, 0, state.logLines[static_cast<std::size_t>(index)], Style::log);
    }
  }

  int statusRow = rows - 1;
  grid.fill(statusRow, 0, cols, Style::status);
  int col = grid.put(statusRow, 0, " " + state.mode + " ", Style::statusMode);
  // A notice stands in for the help until it fades: it is what just happened.
  if (state.notice.empty()) {
    grid.put(statusRow, col, " " + state.help, Style::status);
  } else {
    grid.put(statusRow, col + 1, " " + state.notice + " ", Style::notice);
  }

  if (state.menu) {
    drawMenu(grid, *state.menu, areaRows);
    frame.cursorVisible = false;
  }
  if (state.about) {
    drawAbout(grid, *state.about, rows - 1);
    frame.cursorVisible = false;
  }
  return frame;
}

std::string render(const Frame& frame) {
  const Grid& grid = frame.grid;
  std::string out = "\x1b[?2026h\x1b[?25l";
  for (int r = 0; r < grid.rows(); ++r) {
    out += "\x1b[" + std::to_string(r + 1) + ";1H";
    std::optional<Style> current;
    for (int c = 0; c < grid.cols(); ++c) {
      const Cell& cell = grid.at(r, c);
      if (cell.continuation) continue;
      if (current != cell.style) {
        out += sgr(cell.style);
        current = cell.style;
      }
      out += cell.text;
    }
  }
  out += "\x1b[0m";
  out += "\x1b[" + std::to_string(frame.cursor.row + 1) + ";" + std::to_string(frame.cursor.col + 1) + "H";
  if (frame.cursorVisible) out += "\x1b[?25h";
  out += "\x1b[?2026l";
  return out;
}

}  // namespace orvane::term

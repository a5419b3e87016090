#include <algorithm>
#include <utility>

#include "mkdict.h"

namespace orvane::mkdict {
namespace {

// A source tree keeps its data under src/data; a flat directory of the same
// files (as copied out of a tree) works too.
std::optional<fs::path> firstExisting(const fs::path& root, std::initializer_list<const char*> candidates) {
  for (const char* candidate : candidates) {
    fs::path p = root / candidate;
    if (fs::is_regular_file(p)) return p;
  }
  return std::nullopt;
}

void addReadings(ReadingTable& table, std::string_view readings, std::string_view value) {
  for (auto reading : split(readings, ' ')) {
    // "#" starts a comment line in the output format.
    if (reading.empty() || reading.front() == '#') continue;
    table.add(reading, value);
  }
}

// Comments may sit in any column, after empty leading fields.
bool isComment(std::string_view line) {
  const auto first = line.find_first_not_of("\t ");
  return first == std::string_view::npos || line[first] == '#';
}

bool usableValue(std::string_view value) {
  return !value.empty() && value.find_first_of(" \t\r\n") == std::string_view::npos;
}

}  // namespace

std::vector<std::string> readIdNames(const fs::path& file, Diagnostics& diagnostics) {
  std::vector<std::string> names;
  const std::string content = readWhole(file);
  for (auto line : splitLines(content)) {
    if (line.empty()) continue;
    const auto space = line.find(' ');
    int64_t id = 0;
    if (space == std::string_view::npos || !parseInt(line.substr(0, space), id) || id < 0 || id > 65535 ||
        space + 1 >= line.size()) {
      diagnostics.malformed(file.filename().string(), line);
      continue;
    }
    if (names.size() <= static_cast<std::size_t>(id)) names.resize(id + 1);
    names[id] = std::string(line.substr(space + 1));
  }
  return names;
}

MozcFiles locateMozc(const fs::path& root) {
  if (!fs::is_directory(root)) throw SourceError("Mozc sources not found: " + root.string() + " is not a directory");
  MozcFiles files;
  for (const char* dir : {"src/data/dictionary_oss", "data/dictionary_oss", "dictionary_oss", "."}) {
    if (!fs::is_directory(root / dir)) continue;
    for (const auto& entry : fs::directory_iterator(root / dir)) {
      const std::string name = entry.path().filename().string();
      // dictionary00.txt ... dictionary09.txt; not the README beside them.
      const std::string_view stem = std::string_view(name).substr(0, name.size() - 4);
      if (name.size() > 14 && name.rfind("dictionary", 0) == 0 && name.ends_with(".txt") &&
          stem.substr(10).find_first_not_of("0123456789") == std::string_view::npos)
        files.dictionaries.push_back(entry.path());
    }
    if (!files.dictionaries.empty()) break;
  }
  std::sort(files.dictionaries.begin(), files.dictionaries.end());
  files.idDef = firstExisting(root, {"src/data/dictionary_oss/id.def", "data/dictionary_oss/id.def",
                                     "dictionary_oss/id.def", "id.def"});
  files.connection = firstExisting(
      root, {"src/data/dictionary_oss/connection_single_column.txt", "data/dictionary_oss/connection_single_column.txt",
             "dictionary_oss/connection_single_column.txt", "connection_single_column.txt"});
  files.emoji = firstExisting(root, {"src/data/emoji/emoji_data.tsv", "data/emoji/emoji_data.tsv", "emoji_data.tsv"});
  files.symbols = firstExisting(root, {"src/data/symbol/symbol.tsv", "data/symbol/symbol.tsv", "symbol.tsv"});
  files.license = firstExisting(root, {"LICENSE", "src/data/dictionary_oss/README.txt"});
  files.version = firstExisting(root, {"SOURCE"});
  if (files.dictionaries.empty() && !files.emoji && !files.symbols)
    throw SourceError("no Mozc data under " + root.string() +
                      ": expected src/data/dictionary_oss/dictionary*.txt, src/data/emoji/emoji_data.tsv "
                      "or src/data/symbol/symbol.tsv");
  return files;
}

Lexicon readMozcLexicon(const MozcFiles& files, Diagnostics& diagnostics, const Progress& progress) {
  if (!files.idDef || !files.connection)
    throw SourceError("the Mozc word lists need id.def and connection_single_column.txt beside them");
  Lexicon lexicon;
  auto& grammar = lexicon.grammar;
  progress("Mozc: context ids");
  grammar.names = readIdNames(*files.idDef, diagnostics);

  progress("Mozc: connection costs");
  const std::string content = readWhole(*files.connection);
  const auto n = static_cast<std::size_t>(grammar.size());
  std::size_t cell = 0;
  bool header = true;
  grammar.costs.assign(n * n, 0);
  forEachLine(content, [&](std::string_view line) {
    if (line.empty()) return;
    int64_t value = 0;
    const bool parsed = parseInt(line, value);
    if (header) {
      header = false;
      if (!parsed || static_cast<std::size_t>(value) != n)
        throw SourceError(files.connection->string() + ": the first line must be " + std::to_string(n) +
                          ", the number of ids in id.def");
      return;
    }
    if (!parsed || cell >= n * n) {
      diagnostics.malformed("connection_single_column.txt", line);
      return;
    }
    grammar.costs[cell++] = clampCost(value);
  });
  if (cell != n * n)
    throw SourceError(files.connection->string() + " holds " + std::to_string(cell) + " costs, not " +
                      std::to_string(n * n));

  for (const auto& file : files.dictionaries) {
    progress("Mozc: words " + file.filename().string());
    const std::string label = file.filename().string();
    const std::string text = readWhole(file);
    for (auto line : splitLines(text)) {
      if (line.empty()) continue;
      auto f = split(line, '\t');
      int64_t left = 0, right = 0, cost = 0;
      if (f.size() != 5 || !parseInt(f[1], left) || !parseInt(f[2], right) || !parseInt(f[3], cost) ||
          f[0].empty() || left < 0 || right < 0 || static_cast<std::size_t>(left) >= n ||
          static_cast<std::size_t>(right) >= n) {
        diagnostics.malformed(label, line);
        continue;
      }
      lexicon.words.push_back({std::string(f[0]), static_cast<int32_t>(left), static_cast<int32_t>(right),
                               static_cast<int32_t>(std::clamp<int64_t>(cost, INT32_MIN, INT32_MAX)),
                               std::string(f[4])});
    }
  }
  return lexicon;
}

ReadingTable readMozcEmoji(const fs::path& file, Diagnostics& diagnostics) {
  ReadingTable table;
  const std::string label = file.filename().string();
  const std::string content = readWhole(file);
  for (auto line : splitLines(content)) {
    if (isComment(line)) continue;
    auto f = split(line, '\t');
    if (f.size() < 3 || !usableValue(f[1])) {
      diagnostics.malformed(label, line);
      continue;
    }
    addReadings(table, f[2], f[1]);
  }
  return table;
}

ReadingTable readMozcSymbols(const fs::path& file, Diagnostics& diagnostics) {
  ReadingTable table;
  const std::string label = file.filename().string();
  bool header = true;
  const std::string content = readWhole(file);
  for (auto line : splitLines(content)) {
    if (std::exchange(header, false) || isComment(line)) continue;
    auto f = split(line, '\t');
    if (f.size() < 3 || !usableValue(f[1])) {
      diagnostics.malformed(label, line);
      continue;
    }
    addReadings(table, f[2], f[1]);
  }
  return table;
}

}  // namespace orvane::mkdict

#include <algorithm>
#include <optional>

#include "mkdict.h"
#include "text/text.h"

namespace orvane::mkdict {
namespace {

std::string decode(const fs::path& file) {
  auto text = text::fromEUCJP(readWhole(file));
  if (!text) throw SourceError("cannot decode " + file.string() + " as EUC-JP");
  return std::move(*text);
}

std::vector<std::string> readNames(const fs::path& file, Diagnostics& diagnostics) {
  std::vector<std::string> names;
  const std::string label = file.filename().string();
  const std::string content = decode(file);
  for (auto line : splitLines(content)) {
    if (line.empty()) continue;
    auto space = line.find(' ');
    int64_t id = 0;
    if (space == std::string_view::npos || !parseInt(line.substr(0, space), id) || id < 0 || id > 65535 ||
        space + 1 >= line.size()) {
      diagnostics.malformed(label, line);
      continue;
    }
    if (names.size() <= static_cast<std::size_t>(id)) names.resize(id + 1);
    names[id] = std::string(line.substr(space + 1));
  }
  return names;
}

// Conjugation fields stay in the names: the converter's classes look only at
// the leading features, and keeping them keeps ids one-to-one with names.
void readMatrix(const fs::path& file, Grammar& grammar, Diagnostics& diagnostics) {
  const std::string content = readWhole(file);
  const std::string label = file.filename().string();
  const auto n = grammar.size();
  grammar.costs.assign(static_cast<std::size_t>(n) * n, 0);
  bool header = true;
  forEachLine(content, [&](std::string_view line) {
    if (line.empty()) return;
    auto fields = split(line, ' ');
    if (header) {
      header = false;
      int64_t rights = 0, lefts = 0;
      if (fields.size() != 2 || !parseInt(fields[0], rights) || !parseInt(fields[1], lefts) || rights != n ||
          lefts != n)
        throw SourceError(file.string() + ": the first line must give " + std::to_string(n) + " " +
                          std::to_string(n) + " (the number of context ids)");
      return;
    }
    int64_t right = 0, left = 0, cost = 0;
    if (fields.size() != 3 || !parseInt(fields[0], right) || !parseInt(fields[1], left) ||
        !parseInt(fields[2], cost) || right < 0 || right >= n || left < 0 || left >= n) {
      diagnostics.malformed(label, line);
      return;
    }
    grammar.costs[static_cast<std::size_t>(right) * n + left] = clampCost(cost);
  });
}

// A few of IPADIC's spellings carry slips: a space after the word
// (ルーマニア followed by an ideographic space), a key struck by mistake
// after a place name (浮津一番f, read ウキツイチバン), or a description of a
// character the encoding lacks (徐煕[女弟]). Spaces at either end go; a
// single Latin letter ending a Japanese spelling that has no other goes,
// where a letter that begins one is read (Tシャツ); a described character
// cannot be typed, so its word goes (nothing).
std::optional<std::string_view> cleanSpelling(std::string_view surface) {
  static constexpr std::string_view ideographicSpace = "\u3000";
  // A space alone is a word of its own: IPADIC's blank.
  if (surface == " " || surface == ideographicSpace) return surface;
  for (bool trimmed = true; trimmed;) {
    trimmed = false;
    for (std::string_view space : {std::string_view(" "), ideographicSpace}) {
      if (surface.starts_with(space)) {
        surface.remove_prefix(space.size());
        trimmed = true;
      }
      if (surface.ends_with(space)) {
        surface.remove_suffix(space.size());
        trimmed = true;
      }
    }
  }
  if (surface.empty() || surface.find('[') != std::string_view::npos) return std::nullopt;
  const char last = surface.back();
  const bool letter = (last >= 'a' && last <= 'z') || (last >= 'A' && last <= 'Z');
  const std::string_view rest = surface.substr(0, surface.size() - 1);
  if (letter && !rest.empty() &&
      std::none_of(rest.begin(), rest.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; }))
    return rest;
  return surface;
}

}  // namespace

Lexicon readIPADIC(const fs::path& dir, Diagnostics& diagnostics, const Progress& progress) {
  if (!fs::is_directory(dir) || !fs::exists(dir / "matrix.def"))
    throw SourceError("IPADIC not found at " + dir.string() +
                      ": install the Debian package mecab-ipadic or pass --ipadic DIR");
  Lexicon lexicon;
  progress("IPADIC: context ids");
  auto lefts = readNames(dir / "left-id.def", diagnostics);
  auto rights = readNames(dir / "right-id.def", diagnostics);
  // One id.def names both sides, so the two lists must agree.
  if (lefts != rights)
    throw SourceError(dir.string() + ": left-id.def and right-id.def differ; one id list cannot describe both");
  lexicon.grammar.names = std::move(lefts);
  progress("IPADIC: connection costs");
  readMatrix(dir / "matrix.def", lexicon.grammar, diagnostics);

  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(dir))
    if (entry.path().extension() == ".csv") files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  if (files.empty()) throw SourceError(dir.string() + " holds no *.csv word files (package mecab-ipadic)");

  const auto n = lexicon.grammar.size();
  std::size_t done = 0;
  for (const auto& file : files) {
    progress("IPADIC: words " + std::to_string(++done) + "/" + std::to_string(files.size()) + " " +
             file.filename().string());
    const std::string label = file.filename().string();
    const std::string content = decode(file);
    const std::size_t first = lexicon.words.size();
    // Readings are converted in one batch per file: one transliteration call
    // per word would dominate the build time.
    std::string readings;
    for (auto line : splitLines(content)) {
      if (line.empty()) continue;
      auto f = split(line, ',');
      int64_t left = 0, right = 0, cost = 0;
      if (f.size() < 12 || !parseInt(f[1], left) || !parseInt(f[2], right) || !parseInt(f[3], cost) ||
          f[0].empty() || f[11].empty() || f[11] == "*" || left < 0 || left >= n || right < 0 || right >= n ||
          lexicon.grammar.names[left].empty()) {
        diagnostics.malformed(label, line);
        continue;
      }
      const auto surface = cleanSpelling(f[0]);
      if (!surface) continue;
      lexicon.words.push_back({"", static_cast<int32_t>(left), static_cast<int32_t>(right),
                               static_cast<int32_t>(std::clamp<int64_t>(cost, INT32_MIN, INT32_MAX)),
                               std::string(*surface)});
      readings.append(f[11]);
      readings += '\n';
    }
    auto converted = hiraganaReading(readings);
    auto pieces = converted ? splitLines(*converted) : std::vector<std::string_view>{};
    const std::size_t count = lexicon.words.size() - first;
    if (pieces.size() == count) {
      for (std::size_t i = 0; i < count; ++i) lexicon.words[first + i].reading = std::string(pieces[i]);
    } else {
      auto original = splitLines(readings);
      for (std::size_t i = 0; i < count; ++i) {
        auto one = hiraganaReading(original[i]);
        lexicon.words[first + i].reading = one ? *one : std::string(original[i]);
      }
    }
  }
  return lexicon;
}

}  // namespace orvane::mkdict

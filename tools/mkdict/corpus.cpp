#include "corpus.h"

#include <algorithm>
#include <map>
#include <set>

#include "text/text.h"

namespace orvane::mkdict {
namespace {

// The first six fields of a part-of-speech name: kind, three sub-kinds,
// conjugation type and form, the fields the analyser reports.
std::string conjugatedKind(std::string_view name) {
  std::size_t at = 0;
  for (int field = 0; field < 6; ++field) {
    at = name.find(',', at);
    if (at == std::string_view::npos) return std::string(name);
    if (field < 5) ++at;
  }
  return std::string(name.substr(0, at));
}

std::string key(std::string_view surface, std::string_view katakanaReading, std::string_view kind) {
  std::string k;
  k.reserve(surface.size() + katakanaReading.size() + kind.size() + 2);
  k.append(surface).append("\t").append(katakanaReading).append("\t").append(kind);
  return k;
}

}  // namespace

CorpusCounts readCorpusCounts(const fs::path& file, Diagnostics& diagnostics) {
  if (!fs::exists(file))
    throw SourceError("word counts not found at " + file.string() +
                      ": make them with scripts/corpus-stats.sh (Debian packages mecab, mecab-ipadic-utf8 "
                      "and the -ja documentation), or pass --no-corpus");
  CorpusCounts counts;
  const std::string label = file.filename().string();
  const std::string content = readWhole(file);
  for (auto line : splitLines(content)) {
    if (line.empty()) continue;
    auto fields = split(line, '\t');
    int64_t count = 0;
    if (fields.size() != 4 || fields[0].empty() ||
        !std::all_of(fields[0].begin(), fields[0].end(), [](char c) { return c >= '0' && c <= '9'; }) ||
        fields[0].size() > 15) {
      diagnostics.malformed(label, line);
      continue;
    }
    for (char c : fields[0]) count = count * 10 + (c - '0');
    counts[key(fields[1], fields[2], fields[3])] += count;
  }
  return counts;
}

std::size_t preferCountedSpellings(Lexicon& lexicon, const CorpusCounts& counts) {
  // Entries grouped by word: reading and conjugated kind of their left id.
  std::map<std::pair<std::string, std::string>, std::vector<std::size_t>> words;
  const auto& names = lexicon.grammar.names;
  for (std::size_t i = 0; i < lexicon.words.size(); ++i) {
    const auto& w = lexicon.words[i];
    if (w.leftID < 0 || static_cast<std::size_t>(w.leftID) >= names.size()) continue;
    words[{w.reading, conjugatedKind(names[static_cast<std::size_t>(w.leftID)])}].push_back(i);
  }
  std::size_t changed = 0;
  for (const auto& [word, entries] : words) {
    std::set<std::string_view> spellings;
    for (auto i : entries) spellings.insert(lexicon.words[i].surface);
    if (spellings.size() < 2) continue;
    const auto katakana = text::hiraganaToKatakana(word.first).value_or(word.first);
    std::string_view best;
    int64_t bestCount = 0, runnerUp = 0;
    for (auto spelling : spellings) {
      auto it = counts.find(key(spelling, katakana, word.second));
      const int64_t n = it == counts.end() ? 0 : it->second;
      if (n > bestCount) {
        runnerUp = bestCount;
        bestCount = n;
        best = spelling;
      } else {
        runnerUp = std::max(runnerUp, n);
      }
    }
    if (bestCount < corpusMinimumCount || bestCount < corpusDominance * std::max<int64_t>(runnerUp, 1)) continue;
    int32_t cheapestOther = INT32_MAX;
    for (auto i : entries)
      if (lexicon.words[i].surface != best) cheapestOther = std::min(cheapestOther, lexicon.words[i].cost);
    const int32_t target = cheapestOther - corpusMargin;
    for (auto i : entries) {
      auto& w = lexicon.words[i];
      if (w.surface == best && w.cost > target) {
        w.cost = target;
        ++changed;
      }
    }
  }
  return changed;
}

}  // namespace orvane::mkdict

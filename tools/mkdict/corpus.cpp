#include "corpus.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>

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

// The dictionary form of a conjugated spelling, found among the word list's
// own dictionary forms of its conjugation type: 住ん and 住む share the stem 住.
class Lemmas {
 public:
  explicit Lemmas(const Lexicon& lexicon) {
    const auto& names = lexicon.grammar.names;
    for (const auto& w : lexicon.words) {
      if (w.leftID < 0 || static_cast<std::size_t>(w.leftID) >= names.size()) continue;
      const auto fields = split(names[static_cast<std::size_t>(w.leftID)], ',');
      if (fields.size() < 6 || fields[4] == "*" || fields[5] != "基本形") continue;
      const auto surface = text::characters(w.surface), reading = text::characters(w.reading);
      if (surface.size() < 2 || reading.size() < 2 || surface.back() != reading.back()) continue;
      stems_.try_emplace(std::string(fields[4]) + "\t" + text::join(surface, 0, surface.size() - 1) + "\t" +
                             text::join(reading, 0, reading.size() - 1),
                         std::pair<std::string, std::string>(w.surface, w.reading));
    }
  }

  // (surface, reading) of the dictionary form to look up, or nothing.
  std::optional<std::pair<std::string, std::string>> of(std::string_view surface, std::string_view reading,
                                                       std::string_view kind) const {
    const auto fields = split(kind, ',');
    if (fields.size() < 6 || fields[4] == "*") return std::pair<std::string, std::string>(surface, reading);
    const auto s = text::characters(surface), r = text::characters(reading);
    // Endings are kana, written alike in both: at most three of them go.
    for (std::size_t k = 0; k <= 3 && k < s.size() && k < r.size(); ++k) {
      if (k > 0 && s[s.size() - k] != r[r.size() - k]) break;
      auto it = stems_.find(std::string(fields[4]) + "\t" + text::join(s, 0, s.size() - k) + "\t" +
                            text::join(r, 0, r.size() - k));
      if (it != stems_.end()) return it->second;
    }
    return std::nullopt;
  }

 private:
  std::unordered_map<std::string, std::pair<std::string, std::string>> stems_;
};

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

std::size_t preferCountedSpellings(Lexicon& lexicon, const CorpusCounts& counts, const EdictDictionary* edict,
                                   bool modelPriced) {
  const auto& names = lexicon.grammar.names;
  // Entries grouped by reading and conjugated kind of their left id.
  std::map<std::pair<std::string, std::string>, std::vector<std::size_t>> groups;
  for (std::size_t i = 0; i < lexicon.words.size(); ++i) {
    const auto& w = lexicon.words[i];
    if (w.leftID < 0 || static_cast<std::size_t>(w.leftID) >= names.size()) continue;
    groups[{w.reading, conjugatedKind(names[static_cast<std::size_t>(w.leftID)])}].push_back(i);
  }
  // Dictionary forms matter only for looking words up in EDICT.
  std::optional<Lemmas> lemmas;
  if (edict) lemmas.emplace(lexicon);
  std::size_t changed = 0;
  for (const auto& [group, entries] : groups) {
    std::set<std::string_view> spellings;
    for (auto i : entries) spellings.insert(lexicon.words[i].surface);
    if (spellings.size() < 2) continue;
    const auto katakana = text::hiraganaToKatakana(group.first).value_or(group.first);
    std::string_view best;
    int64_t bestCount = 0, runnerUp = 0;
    for (auto spelling : spellings) {
      auto it = counts.find(key(spelling, katakana, group.second));
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
    const bool kanaBest = allHiragana(best) || allKatakana(best);
    if (kanaBest && modelPriced) continue;
    // Only spellings of the best one's word give way: kana spellings, which
    // write any word, and kanji spellings with EDICT's glosses of the best.
    auto meaningOf = [&](std::string_view spelling) -> std::optional<uint32_t> {
      if (auto lemma = lemmas->of(spelling, group.first, group.second))
        if (auto it = edict->find(*lemma); it != edict->end()) return it->second.meaning;
      return std::nullopt;
    };
    const auto bestMeaning = edict && !kanaBest ? meaningOf(best) : std::nullopt;
    auto sameWord = [&](std::string_view spelling) {
      if (!edict || kanaBest || allHiragana(spelling) || allKatakana(spelling)) return true;
      return bestMeaning && meaningOf(spelling) == bestMeaning;
    };
    int32_t cheapestOther = INT32_MAX;
    for (auto i : entries)
      if (lexicon.words[i].surface != best && sameWord(lexicon.words[i].surface))
        cheapestOther = std::min(cheapestOther, lexicon.words[i].cost);
    if (cheapestOther == INT32_MAX) continue;
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

#include <algorithm>
#include <cmath>
#include <map>
#include <unordered_map>

#include "context.h"
#include "text/text.h"

namespace orvane::mkdict {
namespace {

// Part-of-speech names whose most frequent words may get ids of their own:
// function words, whose members connect very differently (こと and もの, 的
// and 性); IPADIC already gave most particles and auxiliaries their own.
bool lexicalizable(std::string_view name) {
  static constexpr std::string_view kinds[] = {"名詞,非自立,", "名詞,接尾,", "動詞,非自立,", "動詞,接尾,",
                                               "形容詞,非自立,", "形容詞,接尾,", "助動詞,", "助詞,"};
  if (!name.ends_with(",*")) return false;  // a word's own id already
  return std::any_of(std::begin(kinds), std::end(kinds), [&](std::string_view k) { return name.starts_with(k); });
}

// The id's name with the surface in its last field, where IPADIC puts the
// word of the ids it gave single words: the leading fields, which the input
// method classifies by, stay.
std::string ownName(std::string_view name, std::string_view surface) {
  return std::string(name.substr(0, name.rfind(',') + 1)) + std::string(surface);
}

std::string entryKey(std::string_view reading, std::string_view surface, int32_t id) {
  std::string key;
  key.reserve(reading.size() + surface.size() + 8);
  key.append(reading).append("\t").append(surface).append("\t").append(std::to_string(id));
  return key;
}

// What the converter adds to a content word written all in kana, which the
// cost of a counted word already accounts for. Single characters keep it:
// their kana spellings are where the analyser's guesses on odd text gather
// (a stray き or い read as a verb).
double kanaCharge(std::string_view name, std::string_view surface) {
  if (!isContentWord(name) || text::characterCount(surface) < 2) return 0;
  if (allHiragana(surface)) return hiraganaCharge;
  if (allKatakana(surface)) return katakanaCharge;
  return 0;
}

// Gives the most frequent function words of the text ids of their own, in
// the grammar's unused ids first (the table grows only past them), each
// starting as a copy of the id it came from. Returns (id, surface) -> new id.
std::map<std::pair<int32_t, std::string>, int32_t> addOwnIDs(Grammar& grammar, const TaggedText& text,
                                                              const std::vector<int32_t>& taggedID,
                                                              const std::vector<uint64_t>& tokens,
                                                              std::size_t limit) {
  std::map<std::pair<int32_t, std::string>, uint64_t> byWord;
  for (std::size_t w = 0; w < text.words.size(); ++w)
    if (text.words[w].known && taggedID[w] > 0 && lexicalizable(grammar.names[static_cast<std::size_t>(taggedID[w])]))
      byWord[{taggedID[w], text.words[w].surface}] += tokens[w];
  std::vector<std::pair<uint64_t, std::pair<int32_t, std::string>>> ranked;
  for (const auto& [word, count] : byWord) ranked.push_back({count, word});
  std::sort(ranked.begin(), ranked.end(), [](const auto& a, const auto& b) {
    return a.first != b.first ? a.first > b.first : a.second < b.second;
  });
  if (ranked.size() > limit) ranked.resize(limit);

  std::map<std::pair<int32_t, std::string>, int32_t> own;
  std::vector<std::string> names = grammar.names;
  std::vector<int32_t> parent(names.size());
  for (std::size_t id = 0; id < parent.size(); ++id) parent[id] = static_cast<int32_t>(id);
  std::size_t free = 1;
  for (const auto& [count, word] : ranked) {
    while (free < names.size() && (!names[free].empty() || free == static_cast<std::size_t>(userWordID) ||
                                   free == static_cast<std::size_t>(fallbackSymbolID)))
      ++free;
    if (free == names.size()) {
      names.emplace_back();
      parent.push_back(0);
    }
    names[free] = ownName(grammar.names[static_cast<std::size_t>(word.first)], word.second);
    parent[free] = word.first;
    own[word] = static_cast<int32_t>(free);
  }
  const std::size_t oldSize = grammar.names.size(), size = names.size();
  std::vector<int16_t> costs(size * size);
  for (std::size_t a = 0; a < size; ++a)
    for (std::size_t b = 0; b < size; ++b)
      costs[a * size + b] =
          grammar.costs[static_cast<std::size_t>(parent[a]) * oldSize + static_cast<std::size_t>(parent[b])];
  grammar.names = std::move(names);
  grammar.costs = std::move(costs);
  return own;
}

}  // namespace

bool isDigitRun(std::string_view surface) {
  const auto scalars = text::scalars(surface);
  return !scalars.empty() && std::all_of(scalars.begin(), scalars.end(), [](char32_t c) {
    return (c >= U'0' && c <= U'9') || (c >= U'０' && c <= U'９');
  });
}

ContextReport applyContextStatistics(Lexicon& lexicon, const TaggedText& text, const std::vector<int32_t>& newID,
                                     const ContextOptions& options,
                                     const UnigramProbabilities* modelLogProbability) {
  ContextReport report;
  Grammar& grammar = lexicon.grammar;
  const double scale = options.scale;

  // Ids of the tagged words in the renumbered grammar.
  std::vector<int32_t> taggedID(text.words.size(), -1);
  for (std::size_t w = 0; w < text.words.size(); ++w) {
    const int32_t old = text.words[w].id;
    if (old >= 0 && static_cast<std::size_t>(old) < newID.size()) taggedID[w] = newID[static_cast<std::size_t>(old)];
  }
  std::vector<uint64_t> tokens(text.words.size(), 0);
  for (const auto& sentence : text.sentences)
    for (uint32_t w : sentence.words) ++tokens[w];

  const auto own = addOwnIDs(grammar, text, taggedID, tokens, options.ownIDs);
  report.ownIDs = own.size();
  const std::size_t n = grammar.names.size();

  // The id of every tagged word, and the counts of ids and of pairs of ids.
  std::vector<int32_t> classOf(taggedID);
  for (std::size_t w = 0; w < text.words.size(); ++w)
    if (auto it = own.find({taggedID[w], text.words[w].surface}); it != own.end() && text.words[w].known)
      classOf[w] = it->second;
  std::vector<double> classCount(n, 0), leftCount(n, 0);
  std::unordered_map<uint64_t, double> pairCount;
  auto countPair = [&](int32_t a, int32_t b) {
    if (a < 0 || b < 0) return;
    pairCount[static_cast<uint64_t>(a) * n + static_cast<uint64_t>(b)] += 1;
    leftCount[static_cast<std::size_t>(a)] += 1;
  };
  // Digits typed in a reading become one word of the converter's fall-back
  // id, whose costs IPADIC's symbols alone would set: what comes before and
  // after the text's numbers in digits (the analyser cuts them digit by
  // digit, and they keep counting as numbers) counts for that id too.
  std::vector<char> digits(text.words.size(), 0);
  if (static_cast<std::size_t>(fallbackSymbolID) < n)
    for (std::size_t w = 0; w < text.words.size(); ++w) digits[w] = isDigitRun(text.words[w].surface);
  for (const auto& sentence : text.sentences) {
    int32_t previous = sentence.starts ? sentenceBoundaryID : -1;
    bool inRun = false;
    for (uint32_t w : sentence.words) {
      const int32_t c = classOf[w];
      if (digits[w] && !inRun) {
        // What precedes the run already counts once, before its first digit.
        if (previous >= 0) pairCount[static_cast<uint64_t>(previous) * n + static_cast<uint64_t>(fallbackSymbolID)] += 1;
        inRun = true;
      } else if (!digits[w] && inRun) {
        countPair(fallbackSymbolID, c);
        inRun = false;
      }
      if (c >= 0) classCount[static_cast<std::size_t>(c)] += 1;
      countPair(previous, c);
      previous = c;
    }
    if (inRun && sentence.ends) countPair(fallbackSymbolID, sentenceBoundaryID);
    if (sentence.ends) countPair(previous, sentenceBoundaryID);
  }

  // Counts of the word list's entries, found by their ids before any new
  // one; then the entries of words with ids of their own move to them.
  std::unordered_map<std::string, double> entryCount;
  for (std::size_t w = 0; w < text.words.size(); ++w) {
    const auto& word = text.words[w];
    if (!word.known || word.reading.empty() || taggedID[w] < 0) continue;
    entryCount[entryKey(word.reading, word.surface, taggedID[w])] += static_cast<double>(tokens[w]);
  }
  std::vector<double> counted(lexicon.words.size(), 0);
  for (std::size_t i = 0; i < lexicon.words.size(); ++i) {
    auto& word = lexicon.words[i];
    if (auto it = entryCount.find(entryKey(word.reading, word.surface, word.leftID)); it != entryCount.end())
      counted[i] = it->second;
    if (auto it = own.find({word.leftID, word.surface}); it != own.end()) word.leftID = word.rightID = it->second;
  }

  // -log P(word | id) for the words counted often enough.
  std::vector<double> learned(lexicon.words.size(), 0);
  std::vector<char> isLearned(lexicon.words.size(), 0);
  std::vector<std::vector<double>> differences(n);
  for (std::size_t i = 0; i < lexicon.words.size(); ++i) {
    const auto& word = lexicon.words[i];
    const double total = classCount[static_cast<std::size_t>(word.leftID)];
    if (counted[i] < options.minimumWordCount || total <= 0) continue;
    learned[i] = -scale * std::log(counted[i] / total);
    isLearned[i] = 1;
    differences[static_cast<std::size_t>(word.leftID)].push_back(word.cost - learned[i]);
  }
  // Each id's word costs move to IPADIC's level (the median difference over
  // its counted words) and its column of connection costs the other way,
  // which changes no counted path's cost: the words only IPADIC knows, and
  // those the rules and the user add at IPADIC's costs, then compete fairly
  // with the counted ones, and the converter's fixed charges keep their weight.
  // Ids without counted words take the median over all words; the sentence
  // boundary and ids no word has stay as they are.
  std::vector<double> level(n, 0);
  {
    std::vector<double> all;
    for (const auto& d : differences) all.insert(all.end(), d.begin(), d.end());
    const double global = median(all);
    std::vector<char> hasWords(n, 0);
    for (const auto& word : lexicon.words) hasWords[static_cast<std::size_t>(word.leftID)] = 1;
    for (std::size_t c = 1; c < n; ++c)
      if (hasWords[c]) level[c] = differences[c].empty() ? global : median(differences[c]);
  }
  // The words the text showed too rarely but the model knows: their cost
  // from the model's probability, on the footing of the counted words of
  // their id (the median of count-based cost against the model's).
  std::vector<double> modelCost(lexicon.words.size(), std::nan(""));
  if (modelLogProbability) {
    auto probabilityOf = [&](const WordEntry& word) -> std::optional<double> {
      const auto it = modelLogProbability->find(word.reading + "\t" + word.surface);
      if (it == modelLogProbability->end()) return std::nullopt;
      return it->second;
    };
    std::unordered_map<std::string, char> anyLearned;
    for (std::size_t i = 0; i < lexicon.words.size(); ++i) {
      char& learnedPair = anyLearned[lexicon.words[i].reading + "\t" + lexicon.words[i].surface];
      learnedPair = learnedPair || isLearned[i];
    }
    std::vector<std::vector<double>> offsets(n);
    std::vector<double> all;
    for (std::size_t i = 0; i < lexicon.words.size(); ++i)
      if (isLearned[i])
        if (auto p = probabilityOf(lexicon.words[i])) {
          offsets[static_cast<std::size_t>(lexicon.words[i].leftID)].push_back(learned[i] + scale * *p);
          all.push_back(learned[i] + scale * *p);
        }
    const double global = median(all);
    std::vector<double> offset(n, global);
    for (std::size_t c = 0; c < n; ++c)
      if (offsets[c].size() >= 10) offset[c] = median(offsets[c]);
    for (std::size_t i = 0; i < lexicon.words.size(); ++i) {
      const auto& word = lexicon.words[i];
      if (isLearned[i] || anyLearned[word.reading + "\t" + word.surface]) continue;
      if (auto p = probabilityOf(word)) modelCost[i] = offset[static_cast<std::size_t>(word.leftID)] - scale * *p;
    }
  }
  for (std::size_t i = 0; i < lexicon.words.size(); ++i) {
    auto& word = lexicon.words[i];
    const auto c = static_cast<std::size_t>(word.leftID);
    double cost = word.cost;
    if (!std::isnan(modelCost[i])) {
      cost = modelCost[i] + level[c] - kanaCharge(grammar.names[c], word.surface);
      ++report.wordsCosted;
      word.fromModel = true;
    } else if (isLearned[i]) {
      cost = learned[i] + level[c] - kanaCharge(grammar.names[c], word.surface);
      ++report.wordsCosted;
      word.fromModel = true;
    } else if (classCount[c] > 0) {
      // A word the text did not show often enough is no likelier than one
      // it showed unseenWordCount times.
      cost = std::max(cost, -scale * std::log(options.unseenWordCount / classCount[c]) + level[c]);
    }
    word.cost = static_cast<int32_t>(std::lround(cost));
  }

  // -log P(id2 | id1) for the pairs counted often enough; the others keep
  // IPADIC's cost (of the ids the new ones came from) moved by the median
  // difference, and are no likelier than a pair counted minimumPairCount times.
  std::vector<double> pairDifferences;
  for (const auto& [key, count] : pairCount) {
    const std::size_t a = key / n, b = key % n;
    if (count < options.minimumPairCount) continue;
    pairDifferences.push_back(-scale * std::log(count / leftCount[a]) - level[b] - grammar.costs[a * n + b]);
  }
  const double shift = median(pairDifferences);
  std::vector<int16_t> costs = grammar.costs;
  for (std::size_t a = 0; a < n; ++a) {
    if (grammar.names[a].empty()) continue;
    for (std::size_t b = 0; b < n; ++b) {
      if (grammar.names[b].empty()) continue;
      const auto it = pairCount.find(static_cast<uint64_t>(a) * n + b);
      const double count = it == pairCount.end() ? 0 : it->second;
      double cost;
      if (count >= options.minimumPairCount) {
        cost = -scale * std::log(count / leftCount[a]) - level[b];
        ++report.pairsCosted;
      } else {
        cost = grammar.costs[a * n + b] + shift;
        if (leftCount[a] > 0) cost = std::max(cost, -scale * std::log(options.minimumPairCount / leftCount[a]) - level[b]);
      }
      costs[a * n + b] = clampCost(std::lround(cost));
    }
  }
  grammar.costs = std::move(costs);
  report.wordIDs = std::move(classOf);
  return report;
}

}  // namespace orvane::mkdict

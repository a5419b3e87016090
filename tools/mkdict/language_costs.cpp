#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "language_model.h"
#include "text/text.h"

namespace orvane::mkdict {
LanguageCostReport applyLanguageModel(Lexicon& lexicon, const LanguageModel& model) {
  const auto& names = lexicon.grammar.names;
  LanguageCostReport report;

  // The model knows spellings, not parts of speech: all entries of one
  // reading and surface share its probability. The cheapest of them (the
  // anchor) is moved and the others move with it, keeping the differences
  // IPADIC made between its parts of speech (に as a particle and as a form
  // of 似る).
  std::map<std::pair<std::string_view, std::string_view>, std::vector<std::size_t>> spellings;
  for (std::size_t i = 0; i < lexicon.words.size(); ++i)
    spellings[{lexicon.words[i].reading, lexicon.words[i].surface}].push_back(i);

  struct Known {
    std::size_t anchor;
    double logProbability;
    const std::vector<std::size_t>* entries;
  };
  std::vector<Known> known;
  std::string key;
  for (const auto& [spelling, entries] : spellings) {
    const auto& [reading, surface] = spelling;
    const std::size_t anchor = *std::min_element(entries.begin(), entries.end(), [&](std::size_t a, std::size_t b) {
      return lexicon.words[a].cost < lexicon.words[b].cost;
    });
    key.assign(reading).append("/").append(surface);
    std::optional<uint32_t> id = model.id(key);
    // A conjugated form the model splits (行わ as 行 + わ, 変える as 変え +
    // る) is known by its stem, with or without the kana that follow it.
    if (id) {
      report.matched += entries.size();
    } else if (inflects(names[lexicon.words[anchor].leftID])) {
      if (auto stem = stemKey(reading, surface)) {
        const std::string_view ending = reading.substr(stem->first.size());
        // The ending is hiragana, three bytes a kana in UTF-8.
        for (std::size_t kana = 0; !id && kana < ending.size(); kana += 3) {
          key.assign(stem->first).append(ending.substr(0, kana)).append("/").append(stem->second).append(ending.substr(0, kana));
          id = model.id(key);
        }
        if (id) report.stemMatched += entries.size();
      }
    }
    if (!id) {
      report.unknown += entries.size();
      continue;
    }
    known.push_back({anchor, model.unigram(*id), &entries});
  }

  std::set<const std::vector<std::size_t>*> knownEntries;
  for (const auto& k : known) knownEntries.insert(k.entries);
  // A kanji spelling the model never saw, in all its text, is rare: it
  // should not win a split of a longer word (痴なわ for おこなわ).
  for (const auto& [spelling, entries] : spellings) {
    if (knownEntries.count(&entries) || !hasHan(spelling.second)) continue;
    for (std::size_t i : entries)
      if (isContentWord(names[lexicon.words[i].leftID])) lexicon.words[i].cost += languageUnseenPenalty;
  }

  // The model's frequencies order the spellings of a reading; IPADIC's
  // costs still decide how a reading competes with other ways of cutting
  // the text. So each known spelling of a content word moves part of the
  // way (languageOrderWeight) towards the reading's cheapest cost plus
  // languageCostScale per factor of ten it is rarer than the likeliest one.
  double floor = 0;
  for (const auto& k : known) floor = std::min(floor, k.logProbability);
  std::map<std::string_view, std::vector<const Known*>> knownByReading;
  for (const auto& k : known)
    if (isContentWord(names[lexicon.words[k.anchor].leftID]))
      knownByReading[lexicon.words[k.anchor].reading].push_back(&k);
  std::map<std::string_view, int32_t> cheapestUnknown;
  for (const auto& [spelling, entries] : spellings) {
    if (knownEntries.count(&entries)) continue;
    for (std::size_t i : entries) {
      const auto& w = lexicon.words[i];
      if (!isContentWord(names[w.leftID])) continue;
      auto [it, fresh] = cheapestUnknown.emplace(spelling.first, w.cost);
      if (!fresh) it->second = std::min(it->second, w.cost);
    }
  }
  for (const auto& [reading, group] : knownByReading) {
    int32_t base = INT32_MAX;
    double best = floor;
    for (const Known* k : group) {
      base = std::min(base, lexicon.words[k->anchor].cost);
      best = std::max(best, k->logProbability);
    }
    if (auto it = cheapestUnknown.find(reading); it != cheapestUnknown.end()) base = std::min(base, it->second);
    for (const Known* k : group) {
      const auto& anchor = lexicon.words[k->anchor];
      const double target = base + languageCostScale * (best - k->logProbability);
      const auto shift = static_cast<int32_t>(std::lround(languageOrderWeight * (target - anchor.cost)));
      for (std::size_t i : *k->entries) lexicon.words[i].cost += shift;
    }
  }
  return report;
}

}  // namespace orvane::mkdict

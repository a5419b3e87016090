#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <unordered_map>

#include "context.h"
#include "text/text.h"

namespace orvane::mkdict {
namespace {

constexpr int32_t shortSuffixCharge = 1000;  // the converter's, for a one-character suffix
constexpr std::size_t longestWord = 24;      // the converter looks no further ahead

// A run must hold two content words: a content word and the particle after
// it (機会が, を機に) say more about the genre of the model's text than about
// which homophone is meant, and the ids already price such pairs. A noun
// suffix counts as one (フランス領, ガンビア川: which suffix a noun takes is
// the noun's own), unless it is a person's (氏, さん), which any name takes.
constexpr std::ptrdiff_t runContentWords = 2;

// What the converter adds to a word of the lattice besides its cost.
int32_t charges(const Grammar& grammar, const WordEntry& word, std::size_t characters) {
  const std::string_view name = grammar.names[static_cast<std::size_t>(word.leftID)];
  int32_t charge = 0;
  if (isContentWord(name)) {
    if (allHiragana(word.surface)) charge = hiraganaCharge;
    else if (allKatakana(word.surface)) charge = katakanaCharge;
  }
  if (characters == 1 && name.starts_with("名詞,接尾,")) charge += shortSuffixCharge;
  return charge;
}

// Where the n-th comma of a part-of-speech name is (the name's end if fewer).
std::size_t nthComma(std::string_view name, int n) {
  std::size_t at = 0;
  for (int k = 0; k < n; ++k) {
    at = name.find(',', k == 0 ? 0 : at + 1);
    if (at == std::string_view::npos) return name.size();
  }
  return at;
}

// What a run of words costs word by word under the ids, its ends aside.
int64_t costApart(const Grammar& grammar, const std::vector<const WordEntry*>& words) {
  int64_t sum = 0;
  for (std::size_t k = 0; k < words.size(); ++k) {
    if (k > 0) sum += grammar.cost(words[k - 1]->rightID, words[k]->leftID);
    sum += words[k]->cost + charges(grammar, *words[k], text::characterCount(words[k]->reading));
  }
  return sum;
}

// Byte offsets of the characters of a reading (one more for the end).
std::vector<std::size_t> characterOffsets(std::string_view reading) {
  std::vector<std::size_t> offsets = {0};
  for (const auto& character : text::characters(reading)) offsets.push_back(offsets.back() + character.size());
  return offsets;
}

// The converter's search over the word list for a reading standing alone:
// its cheapest total (sentence boundaries included) and surface.
class Search {
 public:
  explicit Search(const Lexicon& lexicon) : lexicon_(lexicon) {
    for (std::size_t i = 0; i < lexicon.words.size(); ++i) byReading_[lexicon.words[i].reading].push_back(i);
  }

  // The entries of a reading, in the list's order.
  const std::vector<std::size_t>& entries(std::string_view reading) const {
    static const std::vector<std::size_t> noEntries;
    const auto it = byReading_.find(reading);
    return it == byReading_.end() ? noEntries : it->second;
  }

  std::pair<int64_t, std::string> best(std::string_view reading) const {
    const auto offsets = characterOffsets(reading);
    const std::size_t n = offsets.size() - 1;
    struct Arrival {
      int64_t total;
      std::size_t word, from;
      int32_t previous;  // right id the word was entered from
    };
    // Arrivals by position and right id, kept sparse: readings are short.
    std::vector<std::unordered_map<int32_t, Arrival>> at(n + 1);
    at[0][sentenceBoundaryID] = {0, 0, 0, -1};
    const Grammar& grammar = lexicon_.grammar;
    for (std::size_t i = 0; i < n; ++i) {
      if (at[i].empty()) continue;
      for (std::size_t j = i + 1; j <= n && j - i <= longestWord; ++j) {
        const auto it = byReading_.find(reading.substr(offsets[i], offsets[j] - offsets[i]));
        if (it == byReading_.end()) continue;
        for (std::size_t w : it->second) {
          const WordEntry& word = lexicon_.words[w];
          const auto [into, previous] = cheapestInto(at[i], word.leftID);
          const int64_t total = into + word.cost + charges(grammar, word, j - i);
          auto [slot, added] = at[j].try_emplace(word.rightID, Arrival{total, w, i, previous});
          if (!added && total < slot->second.total) slot->second = {total, w, i, previous};
        }
      }
    }
    if (at[n].empty()) return {std::numeric_limits<int64_t>::max(), {}};
    auto [total, right] = cheapestInto(at[n], sentenceBoundaryID);
    std::vector<std::size_t> words;
    for (std::size_t j = n; j > 0;) {
      const Arrival& arrival = at[j].at(right);
      words.push_back(arrival.word);
      j = arrival.from;
      right = arrival.previous;
    }
    std::string surface;
    for (auto it = words.rbegin(); it != words.rend(); ++it) surface += lexicon_.words[*it].surface;
    return {total, surface};
  }

 private:
  template <class Arrivals>
  std::pair<int64_t, int32_t> cheapestInto(const Arrivals& arrivals, int32_t left) const {
    std::pair<int64_t, int32_t> best = {std::numeric_limits<int64_t>::max(), -1};
    for (const auto& [right, arrival] : arrivals) {
      const int64_t t = arrival.total + lexicon_.grammar.cost(right, left);
      if (t < best.first) best = {t, right};
    }
    return best;
  }

  const Lexicon& lexicon_;
  std::unordered_map<std::string_view, std::vector<std::size_t>> byReading_;
};

}  // namespace

std::size_t addPhrases(Lexicon& lexicon, const LanguageModel& model, const TaggedText& text,
                       const std::vector<int32_t>& wordIDs, const ContextOptions& options) {
  constexpr uint64_t bits = 21, none = (uint64_t{1} << bits) - 1;
  if (text.words.size() >= none || wordIDs.size() != text.words.size()) return 0;
  const Grammar& grammar = lexicon.grammar;
  // The words of the list by reading: for the tagged words' entries, for the
  // words alone, for a word's homophones on its ids and for the other forms
  // of a spelling.
  const Search search(lexicon);

  // The entry of the word list each tagged word is, where there is one.
  // Words read in kana only: a bracket or a digit in a run would make a
  // word of punctuation (「軍).
  std::vector<int64_t> entry(text.words.size(), -1);
  for (std::size_t w = 0; w < text.words.size(); ++w) {
    const auto& word = text.words[w];
    if (!word.known || word.reading.empty() || wordIDs[w] < 0 || !allHiragana(word.reading)) continue;
    for (std::size_t i : search.entries(word.reading))
      if (lexicon.words[i].surface == word.surface && lexicon.words[i].leftID == wordIDs[w]) {
        entry[w] = static_cast<int64_t>(i);
        break;
      }
  }

  // A run counts only where the model stored it: runs the sampler made by
  // backing off to lone words are its guesses, not the text's. The model
  // cuts an inflected word after its stem (ふ/降 っ/っ), so a word is known
  // to it by its first and its last piece.
  struct Pieces {
    int64_t first = -1, last = -1;
  };
  std::vector<Pieces> pieces(text.words.size());
  auto modelID = [&](std::string_view reading, std::string_view surface) -> int64_t {
    const auto id = model.id(std::string(reading) + "/" + std::string(surface));
    return id ? static_cast<int64_t>(*id) : -1;
  };
  for (std::size_t w = 0; w < text.words.size(); ++w) {
    if (entry[w] < 0) continue;
    const auto& word = text.words[w];
    if (const int64_t whole = modelID(word.reading, word.surface); whole >= 0) {
      pieces[w] = {whole, whole};
    } else if (auto stem = stemKey(word.reading, word.surface)) {
      const std::string_view ending = std::string_view(word.reading).substr(stem->first.size());
      pieces[w] = {modelID(stem->first, stem->second), modelID(ending, ending)};
      if (pieces[w].first < 0 || pieces[w].last < 0) pieces[w] = {};
    }
  }
  auto id = [](int64_t i) { return static_cast<uint32_t>(i); };
  auto stored = [&](uint32_t a, uint32_t b, std::optional<uint32_t> c) {
    if (pieces[a].last < 0 || pieces[b].first < 0 || (c && pieces[*c].first < 0)) return false;
    if (!c) return model.bigram(id(pieces[a].last), id(pieces[b].first)).has_value();
    // A middle word of two pieces leaves no trigram to look up: its two pairs must be stored.
    if (pieces[b].first != pieces[b].last) return model.bigram(id(pieces[b].last), id(pieces[*c].first)).has_value();
    return model.trigram(id(pieces[a].last), id(pieces[b].first), id(pieces[*c].first)).has_value();
  };

  // Counts of the words and of the runs of two and three words of the text.
  std::vector<double> tokens(text.words.size(), 0);
  std::unordered_map<uint64_t, double> runs;
  for (const auto& sentence : text.sentences) {
    const auto& s = sentence.words;
    for (std::size_t i = 0; i < s.size(); ++i) {
      tokens[s[i]] += 1;
      if (i + 1 >= s.size() || !stored(s[i], s[i + 1], std::nullopt)) continue;
      runs[(uint64_t{s[i]} << (2 * bits)) | (uint64_t{s[i + 1]} << bits) | none] += 1;
      if (i + 2 < s.size() && stored(s[i], s[i + 1], s[i + 2]))
        runs[(uint64_t{s[i]} << (2 * bits)) | (uint64_t{s[i + 1]} << bits) | s[i + 2]] += 1;
    }
  }

  // Each run seen often enough as a word of its own, costed by the text:
  // its first word's cost and the chance of the rest after it. A run whose
  // words the ids would spell with a homophone instead (雨が振っ), where the
  // run costs less than that, comes in when seen as often as a word must be
  // to be counted: the ids alone can only toss a coin between homophones.
  // The others compete per reading, the cheapest spelling with each of its
  // ids, against what the words alone make of the reading.
  struct Phrase {
    std::vector<std::pair<WordEntry, const WordEntry*>> words;  // one spelling, its ids; the run's last word
    int64_t total;  // standing alone, sentence boundaries included
  };
  std::map<std::string, Phrase> phrases;
  std::vector<std::pair<WordEntry, const WordEntry*>> accepted;
  std::set<std::pair<std::string, std::string>> byHomophone;  // reading and spelling of runs that beat a homophone
  // A run of nouns alone is a compound (帝国領, 世紀初め): which noun follows
  // which is theirs alone, so fewer sightings tell it from chance than a run
  // with a verb or a particle in it needs.
  const double compoundWordCount = std::min(options.minimumNounRunCount, options.minimumWordCount);
  const double compoundPairCount = std::min(options.minimumNounRunCount, options.minimumPairCount);
  for (const auto& [key, count] : runs) {
    // Most runs are seen too rarely for any test.
    if (count < compoundWordCount) continue;
    std::vector<const WordEntry*> words = {&lexicon.words[static_cast<std::size_t>(entry[key >> (2 * bits)])],
                                           &lexicon.words[static_cast<std::size_t>(entry[(key >> bits) & none])]};
    if ((key & none) != none) words.push_back(&lexicon.words[static_cast<std::size_t>(entry[key & none])]);
    const bool compound = std::all_of(words.begin(), words.end(), [&](const WordEntry* w) {
      return grammar.names[static_cast<std::size_t>(w->leftID)].starts_with("名詞,");
    });
    const double wordCount = compound ? compoundWordCount : options.minimumWordCount;
    const double pairCount = compound ? compoundPairCount : options.minimumPairCount;
    if (count < wordCount) continue;
    const auto contentWords = std::count_if(words.begin(), words.end(), [&](const WordEntry* w) {
      const std::string_view name = grammar.names[static_cast<std::size_t>(w->leftID)];
      return isContentWord(name) || (name.starts_with("名詞,接尾,") && !name.starts_with("名詞,接尾,人名,"));
    });
    if (contentWords < runContentWords) continue;
    WordEntry phrase;
    for (const WordEntry* w : words) {
      phrase.reading += w->reading;
      phrase.surface += w->surface;
      phrase.rightID = w->rightID;
    }
    phrase.leftID = words.front()->leftID;
    const double first = static_cast<double>(tokens[key >> (2 * bits)]);
    const double cost = words.front()->cost + charges(grammar, *words.front(), 2) -
                        options.scale * std::log(count / first) - charges(grammar, phrase, 2);
    phrase.cost = static_cast<int32_t>(std::lround(std::max(cost, 0.0)));
    const int64_t own = phrase.cost + charges(grammar, phrase, 2);
    const int64_t apart = costApart(grammar, words);
    int64_t homophone = std::numeric_limits<int64_t>::max();
    for (std::size_t k = 0; k < words.size(); ++k) {
      for (std::size_t i : search.entries(words[k]->reading)) {
        const WordEntry& rival = lexicon.words[i];
        if (rival.leftID != words[k]->leftID || rival.rightID != words[k]->rightID ||
            !homophones(words[k]->surface, rival.surface))
          continue;
        auto other = words;
        other[k] = &rival;
        homophone = std::min(homophone, costApart(grammar, other));
      }
    }
    if (homophone < apart && own < homophone) {
      accepted.push_back({phrase, words.back()});
      byHomophone.emplace(phrase.reading, phrase.surface);
      continue;
    }
    if (count < pairCount) continue;
    const int64_t total =
        grammar.cost(sentenceBoundaryID, phrase.leftID) + own + grammar.cost(phrase.rightID, sentenceBoundaryID);
    auto [it, added] = phrases.try_emplace(phrase.reading, Phrase{{{phrase, words.back()}}, total});
    if (added) continue;
    Phrase& p = it->second;
    if (p.words.front().first.surface == phrase.surface) {
      p.words.push_back({phrase, words.back()});
      p.total = std::min(p.total, total);
    } else if (std::tie(total, phrase.surface) < std::tie(p.total, p.words.front().first.surface)) {
      p = {{{phrase, words.back()}}, total};
    }
  }

  // Those only where the words alone would convert the reading otherwise,
  // and the run is cheaper than what they make of it.
  for (const auto& [reading, phrase] : phrases) {
    const auto [total, surface] = search.best(reading);
    if (surface != phrase.words.front().first.surface && phrase.total < total)
      accepted.insert(accepted.end(), phrase.words.begin(), phrase.words.end());
  }

  // A run that ends in an inflected form comes in every form its last
  // spelling has (し is both the form before ない and before た): one form
  // alone would turn the others' readings into odd splits (気にし内なら).
  // A run that won over a homophone comes in every form of its last word
  // (雨が降っ brings 雨が降り and 雨が降る): the model knows a verb by its
  // stem, so what the text says of one form it says of them all. A run that
  // came in because its reading alone converts otherwise says no more than
  // that of its own spelling (必要の無い is no reason for 必要の無かった).
  auto formsKey = [&](const WordEntry& w) -> std::optional<std::string> {
    const std::string_view name = grammar.names[static_cast<std::size_t>(w.leftID)];
    if (!inflects(name)) return std::nullopt;
    const auto stem = stemKey(w.reading, w.surface);
    if (!stem) return std::nullopt;
    return stem->first + "\t" + stem->second + "\t" + std::string(name.substr(0, nthComma(name, 5)));
  };
  std::unordered_map<std::string, std::vector<std::size_t>> forms;  // stem and conjugation type -> entries
  for (const auto& [word, last] : accepted)
    if (byHomophone.count({word.reading, word.surface}))
      if (auto key = formsKey(*last)) forms.try_emplace(std::move(*key));
  if (!forms.empty())
    for (std::size_t i = 0; i < lexicon.words.size(); ++i)
      if (auto key = formsKey(lexicon.words[i]))
        if (auto it = forms.find(*key); it != forms.end()) it->second.push_back(i);

  std::vector<WordEntry> kept;
  for (const auto& run : accepted) {
    const WordEntry& word = run.first;
    const WordEntry* last = run.second;
    kept.push_back(word);
    auto inflected = [&](const WordEntry& form) {
      WordEntry other = word;
      other.reading = word.reading.substr(0, word.reading.size() - last->reading.size()) + form.reading;
      other.surface = word.surface.substr(0, word.surface.size() - last->surface.size()) + form.surface;
      other.rightID = form.rightID;
      other.cost = std::max(0, word.cost + form.cost - last->cost);
      kept.push_back(std::move(other));
    };
    if (byHomophone.count({word.reading, word.surface})) {
      if (auto key = formsKey(*last))
        for (std::size_t i : forms[*key])
          if (&lexicon.words[i] != last) inflected(lexicon.words[i]);
      continue;
    }
    const std::string_view name = grammar.names[static_cast<std::size_t>(last->leftID)];
    if (!inflects(name)) continue;
    const std::string_view type = name.substr(0, nthComma(name, 5));
    for (std::size_t i : search.entries(last->reading)) {
      const WordEntry& form = lexicon.words[i];
      const std::string_view formName = grammar.names[static_cast<std::size_t>(form.leftID)];
      if (form.surface == last->surface && form.leftID != last->leftID && formName.starts_with(type)) inflected(form);
    }
  }
  std::sort(kept.begin(), kept.end(), [](const WordEntry& a, const WordEntry& b) {
    return std::tie(a.reading, a.surface, a.leftID, a.rightID, a.cost) <
           std::tie(b.reading, b.surface, b.leftID, b.rightID, b.cost);
  });
  kept.erase(std::unique(kept.begin(), kept.end(), [](const WordEntry& a, const WordEntry& b) {
               return std::tie(a.reading, a.surface, a.leftID, a.rightID) ==
                      std::tie(b.reading, b.surface, b.leftID, b.rightID);
             }),
             kept.end());
  lexicon.words.insert(lexicon.words.end(), kept.begin(), kept.end());
  return kept.size();
}

}  // namespace orvane::mkdict

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <unordered_map>

#include "context.h"
#include "text/text.h"

namespace orvane::mkdict {
namespace {

// What follows a word in the text: the left id of the next word (0 for the
// end of the sentence), with counts.
using Followers = std::unordered_map<int32_t, double>;

// One word of an id, all its spellings together: the spellings of one
// reading that are the word written two ways (通り and とおり, 取扱い and
// 取り扱い) share their followers and their right id, since which of them to
// write is for the words' costs to say.
struct Word {
  std::string reading;
  std::string surface;  // its first spelling with kanji, or its kana
  double count = 0;
  Followers followers;
};

// The words of one reading on one id, each by its first spelling. A kanji
// spelling joins the first word it is not a homophone of; a spelling in kana
// alone joins the commonest word.
class ReadingWords {
 public:
  std::optional<std::size_t> find(std::string_view surface) const {
    if (!hasHan(surface)) {
      if (words_.empty()) return std::nullopt;
      return static_cast<std::size_t>(
          std::max_element(words_.begin(), words_.end(), [](const Word& a, const Word& b) { return a.count < b.count; }) -
          words_.begin());
    }
    for (std::size_t w = 0; w < words_.size(); ++w)
      if (!hasHan(words_[w].surface) || !homophones(words_[w].surface, surface)) return w;
    return std::nullopt;
  }
  void add(std::string_view reading, std::string_view surface, const Followers& followers) {
    auto at = find(surface);
    if (!at) {
      at = words_.size();
      words_.push_back({std::string(reading), std::string(surface), 0, {}});
    }
    for (const auto& [b, c] : followers) {
      words_[*at].followers[b] += c;
      words_[*at].count += c;
    }
  }
  const std::vector<Word>& words() const { return words_; }

 private:
  std::vector<Word> words_;
};

// Groups the words into k classes by what follows them: each word goes to
// the class under whose followers its own are likeliest, and a class's
// followers are its words' pooled, smoothed towards the id's (k-means under
// the log-likelihood). The k most frequent words seed the classes, so every
// run gives the same classes.
std::vector<std::size_t> cluster(const std::vector<const Word*>& words, std::size_t k,
                                 const std::vector<double>& parent, double smoothing) {
  constexpr int rounds = 8;
  const std::size_t n = parent.size();
  std::vector<std::size_t> order(words.size());
  for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return words[a]->count > words[b]->count; });
  std::vector<std::size_t> assignment(words.size(), k);
  for (std::size_t c = 0; c < k; ++c) assignment[order[c]] = c;

  std::vector<double> logP(k * n);
  auto estimate = [&] {
    std::vector<double> counts(k * n, 0), totals(k, 0);
    for (std::size_t i = 0; i < words.size(); ++i) {
      const std::size_t c = assignment[i];
      if (c == k) continue;  // not yet placed
      for (const auto& [b, count] : words[i]->followers) counts[c * n + static_cast<std::size_t>(b)] += count;
      totals[c] += words[i]->count;
    }
    for (std::size_t c = 0; c < k; ++c)
      for (std::size_t b = 0; b < n; ++b)
        if (parent[b] > 0) logP[c * n + b] = std::log((counts[c * n + b] + smoothing * parent[b]) / (totals[c] + smoothing));
  };
  estimate();
  for (int round = 0; round < rounds; ++round) {
    bool moved = false;
    for (std::size_t i = 0; i < words.size(); ++i) {
      double best = -std::numeric_limits<double>::infinity();
      std::size_t bestClass = assignment[i];
      for (std::size_t c = 0; c < k; ++c) {
        double score = 0;
        for (const auto& [b, count] : words[i]->followers) score += count * logP[c * n + static_cast<std::size_t>(b)];
        if (score > best) {
          best = score;
          bestClass = c;
        }
      }
      moved = moved || bestClass != assignment[i];
      assignment[i] = bestClass;
    }
    estimate();
    if (!moved) break;
  }
  return assignment;
}

}  // namespace

bool homophones(std::string_view a, std::string_view b) {
  auto kanji = [](std::string_view s) {
    std::u32string out;
    for (char32_t c : text::scalars(s))
      if (isHanScalar(c)) out += c;
    return out;
  };
  auto within = [](const std::u32string& part, const std::u32string& whole) {
    std::size_t k = 0;
    for (char32_t c : whole)
      if (k < part.size() && part[k] == c) ++k;
    return k == part.size();
  };
  const auto x = kanji(a), y = kanji(b);
  return !x.empty() && !y.empty() && !within(x, y) && !within(y, x);
}

std::size_t splitRightContexts(Lexicon& lexicon, const TaggedText& text, const std::vector<int32_t>& wordIDs,
                               const ContextOptions& options) {
  Grammar& grammar = lexicon.grammar;
  const std::size_t n = grammar.names.size();
  if (options.rightClasses == 0 || wordIDs.size() != text.words.size()) return 0;

  // What follows each id as a whole, counted as its connection costs were,
  // and what follows each spelling of a content word.
  std::vector<std::vector<double>> idFollowers(n);
  std::vector<Followers> followers(text.words.size());
  for (const auto& sentence : text.sentences) {
    const auto& s = sentence.words;
    for (std::size_t i = 0; i < s.size(); ++i) {
      const int32_t id = wordIDs[s[i]];
      const int32_t next = i + 1 < s.size() ? wordIDs[s[i + 1]] : sentence.ends ? sentenceBoundaryID : -1;
      if (id < 0 || next < 0) continue;
      auto& row = idFollowers[static_cast<std::size_t>(id)];
      if (row.empty()) row.assign(n, 0);
      row[static_cast<std::size_t>(next)] += 1;
      followers[s[i]][next] += 1;
    }
  }
  std::map<std::pair<std::string, int32_t>, ReadingWords> byReading;
  {
    // Kanji spellings first, the commonest first, so that each word is known
    // by its commonest kanji spelling and kana spellings find their word.
    std::vector<std::size_t> order;
    for (std::size_t w = 0; w < text.words.size(); ++w) {
      const auto& word = text.words[w];
      if (word.known && !word.reading.empty() && wordIDs[w] > 0 && !followers[w].empty() &&
          isContentWord(grammar.names[static_cast<std::size_t>(wordIDs[w])]))
        order.push_back(w);
    }
    auto total = [&](std::size_t w) {
      double sum = 0;
      for (const auto& [b, c] : followers[w]) sum += c;
      return sum;
    };
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
      const bool ka = hasHan(text.words[a].surface), kb = hasHan(text.words[b].surface);
      return ka != kb ? ka : total(a) > total(b);
    });
    for (std::size_t w : order)
      byReading[{text.words[w].reading, wordIDs[w]}].add(text.words[w].reading, text.words[w].surface, followers[w]);
  }

  // Only words with homophones on their id take part: elsewhere a right id
  // of their own would let the genre of the model's text choose between a
  // word and the spellings of its neighbours (次の通り against 次のとおり).
  std::map<int32_t, std::vector<const Word*>> byID;
  std::size_t taking = 0;
  for (const auto& [key, words] : byReading) {
    if (words.words().size() < 2) continue;
    for (const Word& word : words.words())
      if (word.count >= options.rightClassMinimumCount) {
        byID[key.second].push_back(&word);
        ++taking;
      }
  }
  std::vector<std::size_t> free;
  for (std::size_t id = 1; id < n; ++id)
    if (grammar.names[id].empty() && id != static_cast<std::size_t>(userWordID) &&
        id != static_cast<std::size_t>(fallbackSymbolID))
      free.push_back(id);
  const std::size_t budget = std::min(options.rightClasses, free.size());

  // Each id's share of the budget goes by how many of its words take part;
  // a class needs two words at least to say more than a word alone.
  std::map<std::pair<std::string, int32_t>, std::map<std::string, int32_t>> classOf;  // by reading, id, first spelling
  std::size_t added = 0;
  for (const auto& [parent, words] : byID) {
    std::size_t k = budget * words.size() / taking;
    k = std::min(k, words.size() / 2);
    if (k < 2 || added + k > free.size()) continue;
    const auto p = static_cast<std::size_t>(parent);
    std::vector<double> distribution(idFollowers[p]);
    double total = 0;
    for (double c : distribution) total += c;
    for (double& d : distribution) d /= total;
    const auto assignment = cluster(words, k, distribution, options.rightClassSmoothing);

    // A class's row is its id's, moved by how much likelier each follower is
    // after the class than after the id as a whole. A reading ends where
    // the user stops typing, seldom where a sentence of the text ends, so
    // the end keeps the id's own cost.
    std::vector<double> counts(k * n, 0), totals(k, 0);
    for (std::size_t i = 0; i < words.size(); ++i) {
      for (const auto& [b, c] : words[i]->followers) counts[assignment[i] * n + static_cast<std::size_t>(b)] += c;
      totals[assignment[i]] += words[i]->count;
    }
    std::vector<int32_t> ids(k);
    const std::string prefix = grammar.names[p].substr(0, grammar.names[p].rfind(',') + 1);
    for (std::size_t c = 0; c < k; ++c) {
      const std::size_t id = free[added++];
      ids[c] = static_cast<int32_t>(id);
      grammar.names[id] = prefix + "右" + std::to_string(c + 1);
      for (std::size_t b = 0; b < n; ++b) {
        int64_t cost = grammar.costs[p * n + b];
        if (distribution[b] > 0 && b != static_cast<std::size_t>(sentenceBoundaryID)) {
          const double s = options.rightClassSmoothing;
          const double likelier = (counts[c * n + b] + s * distribution[b]) / (totals[c] + s) / distribution[b];
          cost += std::lround(-options.scale * std::log(likelier));
        }
        grammar.costs[id * n + b] = clampCost(cost);
        grammar.costs[b * n + id] = grammar.costs[b * n + p];
      }
    }
    for (std::size_t i = 0; i < words.size(); ++i)
      classOf[{words[i]->reading, parent}][words[i]->surface] = ids[assignment[i]];
  }

  // Every spelling of a grouped word in the list, the text's or not.
  for (auto& word : lexicon.words) {
    if (word.leftID != word.rightID) continue;
    const auto classes = classOf.find({word.reading, word.leftID});
    if (classes == classOf.end()) continue;
    const auto& words = byReading.at({word.reading, word.leftID});
    if (const auto at = words.find(word.surface)) {
      const auto it = classes->second.find(words.words()[*at].surface);
      if (it != classes->second.end()) word.rightID = it->second;
    }
  }
  return added;
}

}  // namespace orvane::mkdict

#include <algorithm>
#include <cmath>
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
  int32_t rightID = -1;  // its own, once it has one
};

// The words of one reading on one id, each by its first spelling. A kanji
// spelling joins the first word it spells another way (is no homophone of);
// a spelling in kana alone joins the commonest word.
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
  std::vector<Word>& words() { return words_; }

 private:
  std::vector<Word> words_;
};

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
  if (options.rightIDs == 0 || wordIDs.size() != text.words.size()) return 0;

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
      // Before a number in digits the converter has its fall-back word, as
      // the connection costs count it; the digit is a number too.
      if (i + 1 < s.size() && static_cast<std::size_t>(fallbackSymbolID) < n &&
          isDigitRun(text.words[s[i + 1]].surface)) {
        row[static_cast<std::size_t>(fallbackSymbolID)] += 1;
        followers[s[i]][fallbackSymbolID] += 1;
      }
    }
  }
  std::map<std::pair<std::string, int32_t>, ReadingWords> byReading;
  {
    // Kanji spellings first, the commonest first, so that each word is known
    // by its commonest kanji spelling and kana spellings find their word.
    std::vector<std::pair<double, std::size_t>> order;
    for (std::size_t w = 0; w < text.words.size(); ++w) {
      const auto& word = text.words[w];
      if (!word.known || word.reading.empty() || wordIDs[w] <= 0 || followers[w].empty() ||
          !isContentWord(grammar.names[static_cast<std::size_t>(wordIDs[w])]))
        continue;
      double total = 0;
      for (const auto& [b, c] : followers[w]) total += c;
      order.emplace_back(total, w);
    }
    std::stable_sort(order.begin(), order.end(), [&](const auto& a, const auto& b) {
      const bool ka = hasHan(text.words[a.second].surface), kb = hasHan(text.words[b.second].surface);
      return ka != kb ? ka : a.first > b.first;
    });
    for (const auto& [total, w] : order)
      byReading[{text.words[w].reading, wordIDs[w]}].add(text.words[w].reading, text.words[w].surface, followers[w]);
  }

  // Only words with homophones take part, the most often followed first: a
  // second word of the reading on the same id (勇気 and 有機), or a kanji
  // spelling on another id that is not the same word written another way
  // (機能 and 昨日, not 通り and とおり). Elsewhere a right id of its own
  // would let the genre of the model's text choose between a word and the
  // spellings of its neighbours (次の通り against 次のとおり).
  std::map<std::string_view, std::vector<const Word*>> byReadingAlone;
  for (const auto& [key, words] : byReading)
    for (const Word& word : words.words()) byReadingAlone[key.first].push_back(&word);
  std::vector<std::pair<Word*, int32_t>> taking;  // word, its id
  for (auto& [key, words] : byReading)
    for (Word& word : words.words()) {
      if (word.count < options.rightIDMinimumCount) continue;
      const auto& others = byReadingAlone[key.first];
      if (words.words().size() >= 2 || std::any_of(others.begin(), others.end(), [&](const Word* other) {
            return other != &word && hasHan(other->surface) && homophones(other->surface, word.surface);
          }))
        taking.emplace_back(&word, key.second);
    }
  std::stable_sort(taking.begin(), taking.end(),
                   [](const auto& a, const auto& b) { return a.first->count > b.first->count; });
  const std::vector<std::size_t> free = unusedIDs(grammar);
  taking.resize(std::min({taking.size(), free.size(), options.rightIDs}));

  // A word's row is its id's, moved by how much likelier each follower is
  // after the word than after the id as a whole, the word's counts weighed
  // against rightIDSmoothing of the id's. A reading ends where the user
  // stops typing, seldom where a sentence of the text ends, so the end keeps
  // the id's own cost.
  for (std::size_t k = 0; k < taking.size(); ++k) {
    const auto& [word, parent] = taking[k];
    const auto p = static_cast<std::size_t>(parent), id = free[k];
    double total = 0;
    for (double c : idFollowers[p]) total += c;
    const std::string& name = grammar.names[p];
    grammar.names[id] = name.substr(0, name.rfind(',') + 1) + "右" + word->surface;
    for (std::size_t b = 0; b < n; ++b) {
      int64_t cost = grammar.costs[p * n + b];
      const double share = idFollowers[p][b] / total;
      if (share > 0 && b != static_cast<std::size_t>(sentenceBoundaryID)) {
        const auto it = word->followers.find(static_cast<int32_t>(b));
        const double count = it == word->followers.end() ? 0 : it->second;
        const double s = options.rightIDSmoothing;
        cost += std::lround(-options.scale * std::log((count + s * share) / (word->count + s) / share));
      }
      grammar.costs[id * n + b] = clampCost(cost);
      grammar.costs[b * n + id] = grammar.costs[b * n + p];
    }
    word->rightID = static_cast<int32_t>(id);
  }

  // Every spelling of such a word in the list, the text's or not.
  for (auto& word : lexicon.words) {
    if (word.leftID != word.rightID) continue;
    const auto words = byReading.find({word.reading, word.leftID});
    if (words == byReading.end()) continue;
    if (const auto at = words->second.find(word.surface); at && words->second.words()[*at].rightID >= 0)
      word.rightID = words->second.words()[*at].rightID;
  }
  return taking.size();
}

}  // namespace orvane::mkdict

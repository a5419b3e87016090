#include "conversion/converter.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <span>
#include <string>
#include <utility>

#include "dictionary/kana_dictionary.h"
#include "learning/learning.h"
#include "learning/segmentation.h"

namespace orvane::Converter {
namespace {

constexpr int64_t startEndID = 0;
constexpr std::size_t longestLookup = 24;

// One fall-back word is made at every reached position, so that a reading the
// dictionary does not know still converts (to itself).
constexpr int64_t otherFallbackID = 2644;
constexpr int64_t otherFallbackCost = 5000;
constexpr int64_t kanaFallbackID = 1851;
constexpr int64_t kanaFallbackCost = 15000;

constexpr int64_t hiraganaContentPenalty = 600;
constexpr int64_t katakanaContentPenalty = 500;
constexpr int64_t shortSuffixPenalty = 1000;
constexpr int64_t learnedBonusPerCharacter = 1000;
constexpr int64_t learnedBonusLimit = 3000;
constexpr int64_t flatLearnedBonus = 3000;
constexpr int64_t katakanaCandidatePenalty = 3000;

constexpr char32_t invalidScalar = 0xFFFFFFFF;

// Decodes the scalar at s[pos] and advances pos. Malformed bytes decode to a
// value outside every class range, so a damaged string never passes as kana.
char32_t nextScalar(std::string_view s, std::size_t& pos) {
  auto byte = [&](std::size_t k) { return static_cast<unsigned char>(s[k]); };
  unsigned char b0 = byte(pos);
  if (b0 < 0x80) {
    ++pos;
    return b0;
  }
  std::size_t extra = 0;
  char32_t value = 0;
  if ((b0 & 0xE0) == 0xC0) {
    extra = 1;
    value = b0 & 0x1F;
  } else if ((b0 & 0xF0) == 0xE0) {
    extra = 2;
    value = b0 & 0x0F;
  } else if ((b0 & 0xF8) == 0xF0) {
    extra = 3;
    value = b0 & 0x07;
  } else {
    ++pos;
    return invalidScalar;
  }
  if (pos + extra >= s.size()) {
    pos = s.size();
    return invalidScalar;
  }
  for (std::size_t k = 1; k <= extra; ++k) {
    unsigned char b = byte(pos + k);
    if ((b & 0xC0) != 0x80) {
      pos += k;
      return invalidScalar;
    }
    value = (value << 6) | (b & 0x3F);
  }
  pos += extra + 1;
  return value;
}

template <class Predicate>
bool allScalars(std::string_view s, Predicate inRange) {
  std::size_t pos = 0;
  while (pos < s.size()) {
    if (!inRange(nextScalar(s, pos))) return false;
  }
  return true;
}

bool isContentWord(int64_t leftID) { return !KanaDictionary::isAttached(leftID) && !KanaDictionary::isPrefix(leftID); }

// A full-width ASCII symbol (not a digit or a Latin letter) is looked up as its
// ASCII counterpart, since the word lists spell punctuation in ASCII.
std::optional<char> asciiSymbolFor(std::string_view character) {
  std::size_t pos = 0;
  if (character.empty()) return std::nullopt;
  char32_t c = nextScalar(character, pos);
  if (pos != character.size()) return std::nullopt;
  if (c < 0xFF01 || c > 0xFF5E) return std::nullopt;
  if ((c >= 0xFF10 && c <= 0xFF19) || (c >= 0xFF21 && c <= 0xFF3A) || (c >= 0xFF41 && c <= 0xFF5A)) {
    return std::nullopt;
  }
  return static_cast<char>(c - 0xFEE0);
}

// Sum of a word sequence as the clause builder prices it: the learned bonus is
// flat and no short-suffix penalty applies, unlike in the lattice search.
class SequenceCost {
 public:
  void add(const Word& w) {
    int64_t c = w.cost;
    if (isContentWord(w.leftID)) {
      if (isHiragana(w.surface)) {
        c += hiraganaContentPenalty;
      } else if (isKatakana(w.surface)) {
        c += katakanaContentPenalty;
      }
    }
    if (Learning::isLearned(w.reading, w.surface)) c = std::max<int64_t>(c - flatLearnedBonus, 0);
    sum_ += KanaDictionary::connectionCost(previousRightID_, w.leftID) + c;
    previousRightID_ = w.rightID;
  }
  int64_t finish() const { return sum_ + KanaDictionary::connectionCost(previousRightID_, startEndID); }

 private:
  int64_t previousRightID_ = startEndID;
  int64_t sum_ = 0;
};

class CandidateList {
 public:
  // A text keeps the place of its first appearance; a later duplicate may only
  // supply the head that the first one lacked.
  void add(std::string text, const std::optional<ReadingSurface>& head) {
    for (auto& existing : candidates_) {
      if (existing.text == text) {
        if (!existing.head && head) existing.head = head;
        return;
      }
    }
    candidates_.push_back(Candidate{std::move(text), head});
  }
  std::vector<Candidate> take() { return std::move(candidates_); }

 private:
  std::vector<Candidate> candidates_;
};

struct ScoredCandidate {
  int64_t score;
  std::string text;
  ReadingSurface head;
};

std::string joinedSurfaces(std::span<const Node> path, std::size_t begin, std::size_t end) {
  std::string out;
  for (std::size_t k = begin; k < end; ++k) out += path[k].word.surface;
  return out;
}

Clause makeClause(std::span<const Node> path, Range range, const Characters& reading) {
  std::string clauseReading = text::join(reading, static_cast<std::size_t>(range.lower),
                                         static_cast<std::size_t>(range.upper));
  CandidateList list;

  std::optional<std::size_t> h;
  for (std::size_t k = 0; k < path.size(); ++k) {
    if (!KanaDictionary::isPrefix(path[k].word.leftID)) {
      h = k;
      break;
    }
  }
  std::optional<ReadingSurface> head;
  if (h) head = ReadingSurface{path[*h].word.reading, path[*h].word.surface};

  for (auto& surface : Learning::surfaces(clauseReading)) list.add(std::move(surface), std::nullopt);

  list.add(joinedSurfaces(path, 0, path.size()), head);

  // The words around the head stay as the path has them; only the head varies.
  std::string prefixText = h ? joinedSurfaces(path, 0, *h) : std::string();
  std::string suffixText = h ? joinedSurfaces(path, *h + 1, path.size()) : std::string();

  std::vector<ScoredCandidate> scored;
  if (h) {
    SequenceCost before;
    for (std::size_t k = 0; k < *h; ++k) before.add(path[k].word);
    for (auto& w : KanaDictionary::words(head->reading)) {
      SequenceCost cost = before;
      cost.add(w);
      for (std::size_t k = *h + 1; k < path.size(); ++k) cost.add(path[k].word);
      int64_t score = cost.finish() + (isKatakana(w.surface) ? katakanaCandidatePenalty : 0);
      scored.push_back({score, prefixText + w.surface + suffixText, ReadingSurface{w.reading, w.surface}});
    }
  }
  for (auto& w : KanaDictionary::words(clauseReading)) {
    SequenceCost cost;
    cost.add(w);
    int64_t score = cost.finish() + (isKatakana(w.surface) ? katakanaCandidatePenalty : 0);
    scored.push_back({score, w.surface, ReadingSurface{w.reading, w.surface}});
  }
  std::stable_sort(scored.begin(), scored.end(),
                   [](const ScoredCandidate& a, const ScoredCandidate& b) { return a.score < b.score; });
  for (auto& entry : scored) list.add(std::move(entry.text), std::move(entry.head));

  for (auto& e : KanaDictionary::emoji(clauseReading)) list.add(std::move(e), std::nullopt);
  for (auto& s : KanaDictionary::symbols(clauseReading)) list.add(std::move(s), std::nullopt);

  if (h && head->reading != clauseReading) {
    auto addVariant = [&](const std::string& e) {
      list.add(prefixText + e + suffixText, ReadingSurface{head->reading, e});
    };
    for (const auto& e : KanaDictionary::emoji(head->reading)) addVariant(e);
    for (const auto& s : KanaDictionary::symbols(head->reading)) addVariant(s);
  }

  list.add(clauseReading, std::nullopt);
  list.add(text::hiraganaToKatakana(clauseReading).value_or(clauseReading), std::nullopt);
  list.add(text::fullwidthToHalfwidth(clauseReading).value_or(clauseReading), std::nullopt);

  return Clause{range, std::move(clauseReading), list.take(), 0};
}

std::vector<Clause> makeClauses(const std::vector<Node>& path, const Characters& reading,
                                const std::set<int64_t>& boundaries) {
  // Groups are runs of path indices; an attached word leans on the word before
  // it, a word after a prefix leans on the prefix, a learned boundary always cuts.
  std::vector<std::pair<std::size_t, std::size_t>> groups;
  for (std::size_t k = 0; k < path.size(); ++k) {
    const Node& node = path[k];
    bool startsGroup = groups.empty() || boundaries.count(node.begin) > 0 ||
                       (!KanaDictionary::isAttached(node.word.leftID) &&
                        !KanaDictionary::isPrefix(path[groups.back().second - 1].word.rightID));
    if (startsGroup) {
      groups.emplace_back(k, k + 1);
    } else {
      groups.back().second = k + 1;
    }
  }
  std::vector<Clause> clauses;
  clauses.reserve(groups.size());
  for (auto [first, last] : groups) {
    std::span<const Node> group(path.data() + first, last - first);
    clauses.push_back(makeClause(group, Range{group.front().begin, group.back().end}, reading));
  }
  return clauses;
}

void prepare() {
  KanaDictionary::preload();
  Learning::reloadIfNeeded();
  Segmentation::reloadIfNeeded();
}

}  // namespace

bool isKana(std::string_view character) {
  return allScalars(character, [](char32_t c) { return c >= 0x3041 && c <= 0x30FF; });
}

bool isHiragana(std::string_view s) {
  return allScalars(s, [](char32_t c) { return (c >= 0x3041 && c <= 0x309F) || c == 0x30FC; });
}

bool isKatakana(std::string_view s) {
  return allScalars(s, [](char32_t c) { return c >= 0x30A0 && c <= 0x30FF; });
}

std::set<int64_t> learnedBoundaries(const Characters& reading) {
  std::set<int64_t> positions;
  for (const auto& match : Segmentation::matches(reading)) positions.insert(match.position);
  return positions;
}

std::vector<Node> bestPath(const Characters& reading, const std::set<int64_t>& boundaries) {
  const auto n = static_cast<int64_t>(reading.size());
  if (n == 0) return {};

  // Ends-at-p lists as singly linked chains threaded through the nodes, so the
  // search allocates nothing per position.
  constexpr int64_t none = -1;
  std::vector<Node> nodes;
  std::vector<int64_t> nextSameEnd;
  std::vector<int64_t> firstEnding(static_cast<std::size_t>(n) + 1, none);
  std::vector<int64_t> lastEnding(static_cast<std::size_t>(n) + 1, none);
  nodes.reserve(static_cast<std::size_t>(n) * 8);
  nextSameEnd.reserve(nodes.capacity());

  // Kana-ness of every character, asked once: the fall-back rule scans ahead.
  std::vector<char> kana(static_cast<std::size_t>(n));
  for (int64_t k = 0; k < n; ++k) kana[static_cast<std::size_t>(k)] = isKana(reading[static_cast<std::size_t>(k)]);

  auto straddlesBoundary = [&](int64_t begin, int64_t end) {
    auto it = boundaries.upper_bound(begin);
    return it != boundaries.end() && *it < end;
  };

  // The cheapest way into position i depends only on the left id of the word
  // that follows, and many words at one position share it: each left id
  // walks the predecessors once per position.
  struct Arrival {
    int64_t leftID;
    int64_t total;
    int64_t previous;
  };
  std::vector<Arrival> arrivals;
  auto cheapestBefore = [&](std::size_t position, int64_t leftID) -> Arrival {
    for (const auto& a : arrivals) {
      if (a.leftID == leftID) return a;
    }
    Arrival best{leftID, std::numeric_limits<int64_t>::max(), none};
    for (int64_t p = firstEnding[position]; p != none; p = nextSameEnd[static_cast<std::size_t>(p)]) {
      const Node& before = nodes[static_cast<std::size_t>(p)];
      int64_t total = before.total + KanaDictionary::connectionCost(before.word.rightID, leftID);
      if (total < best.total) {  // strict: the first of equal totals stays
        best.total = total;
        best.previous = p;
      }
    }
    arrivals.push_back(best);
    return best;
  };

  std::string key;
  std::vector<std::pair<Word, int64_t>> gathered;  // word, length
  std::vector<Word> found;
  for (int64_t i = 0; i < n; ++i) {
    const auto ui = static_cast<std::size_t>(i);
    if (i > 0 && firstEnding[ui] == none) continue;
    arrivals.clear();

    gathered.clear();
    key.clear();
    const int64_t longest = std::min<int64_t>(n - i, static_cast<int64_t>(longestLookup));
    for (int64_t length = 1; length <= longest; ++length) {
      key += reading[ui + static_cast<std::size_t>(length) - 1];
      found.clear();
      const bool longer = KanaDictionary::appendWords(key, found);
      for (auto& w : found) gathered.emplace_back(std::move(w), length);
      // No longer key can have words once no reading begins with this one;
      // most of the 24 look-ups of a position are saved so.
      if (!longer) break;
    }
    if (auto ascii = asciiSymbolFor(reading[ui])) {
      for (auto& w : KanaDictionary::words(std::string_view(&*ascii, 1))) {
        gathered.emplace_back(Word{reading[ui], reading[ui], w.leftID, w.rightID, w.cost}, 1);
      }
    }
    const std::size_t fallbackIndex = gathered.size();
    if (!kana[ui]) {
      int64_t j = i + 1;
      while (j < n && !kana[static_cast<std::size_t>(j)]) ++j;
      std::string run = text::join(reading, ui, static_cast<std::size_t>(j));
      gathered.emplace_back(Word{run, run, otherFallbackID, otherFallbackID, otherFallbackCost}, j - i);
    } else {
      gathered.emplace_back(Word{reading[ui], reading[ui], kanaFallbackID, kanaFallbackID, kanaFallbackCost}, 1);
    }

    for (std::size_t g = 0; g < gathered.size(); ++g) {
      auto& [word, length] = gathered[g];
      const int64_t end = i + length;
      if (g != fallbackIndex && straddlesBoundary(i, end)) continue;

      int64_t c = word.cost;
      if (isContentWord(word.leftID)) {
        if (isHiragana(word.surface)) {
          c += hiraganaContentPenalty;
        } else if (isKatakana(word.surface)) {
          c += katakanaContentPenalty;
        }
      }
      if (length == 1 && KanaDictionary::isSuffix(word.leftID)) c += shortSuffixPenalty;
      if (Learning::isLearned(word.reading, word.surface)) {
        c -= std::min(length * learnedBonusPerCharacter, learnedBonusLimit);
        if (c < 0) c = 0;
      }

      int64_t total = 0;
      std::optional<int64_t> previous;
      if (i == 0) {
        total = KanaDictionary::connectionCost(startEndID, word.leftID) + c;
      } else {
        auto best = cheapestBefore(ui, word.leftID);
        total = best.total + c;
        previous = best.previous;
      }

      const auto index = static_cast<int64_t>(nodes.size());
      nodes.push_back(Node{std::move(word), i, end, total, previous});
      nextSameEnd.push_back(none);
      const auto ue = static_cast<std::size_t>(end);
      if (lastEnding[ue] == none) {
        firstEnding[ue] = index;
      } else {
        nextSameEnd[static_cast<std::size_t>(lastEnding[ue])] = index;
      }
      lastEnding[ue] = index;
    }
  }

  int64_t best = none;
  int64_t bestSum = 0;
  for (int64_t p = firstEnding[static_cast<std::size_t>(n)]; p != none; p = nextSameEnd[static_cast<std::size_t>(p)]) {
    const Node& node = nodes[static_cast<std::size_t>(p)];
    int64_t sum = node.total + KanaDictionary::connectionCost(node.word.rightID, startEndID);
    if (best == none || sum < bestSum) {
      best = p;
      bestSum = sum;
    }
  }

  std::vector<Node> path;
  for (std::optional<int64_t> p = best; p; p = nodes[static_cast<std::size_t>(*p)].previous) {
    path.push_back(std::move(nodes[static_cast<std::size_t>(*p)]));
  }
  std::reverse(path.begin(), path.end());
  return path;
}

std::vector<Clause> convert(const Characters& reading) {
  prepare();
  auto boundaries = learnedBoundaries(reading);
  return makeClauses(bestPath(reading, boundaries), reading, boundaries);
}

std::vector<Clause> convert(const Characters& reading, int64_t firstClauseLength) {
  prepare();
  const auto n = static_cast<int64_t>(reading.size());
  const auto k = static_cast<std::size_t>(std::clamp<int64_t>(firstClauseLength, 0, n));

  Characters first(reading.begin(), reading.begin() + static_cast<std::ptrdiff_t>(k));
  std::vector<Clause> clauses;
  clauses.push_back(makeClause(bestPath(first, {}), Range{0, static_cast<int64_t>(k)}, reading));

  Characters rest(reading.begin() + static_cast<std::ptrdiff_t>(k), reading.end());
  auto boundaries = learnedBoundaries(rest);
  for (auto& clause : makeClauses(bestPath(rest, boundaries), rest, boundaries)) {
    clause.range.lower += static_cast<int64_t>(k);
    clause.range.upper += static_cast<int64_t>(k);
    clauses.push_back(std::move(clause));
  }
  return clauses;
}

}  // namespace orvane::Converter

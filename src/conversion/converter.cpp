#include "conversion/converter.h"

#include <algorithm>
#include <cstddef>
#include <deque>
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

bool isContentWord(const PartOfSpeechTable& classes, int64_t leftID) {
  return !classes.isAttached(leftID) && !classes.isPrefix(leftID);
}

// What the costs need to know of a surface, from one pass over its scalars.
struct SurfaceKind {
  bool hiragana = true;
  bool katakana = true;
};

SurfaceKind kindOf(std::string_view surface) {
  SurfaceKind kind;
  std::size_t pos = 0;
  while (pos < surface.size() && (kind.hiragana || kind.katakana)) {
    const char32_t c = nextScalar(surface, pos);
    kind.hiragana = kind.hiragana && ((c >= 0x3041 && c <= 0x309F) || c == 0x30FC);
    kind.katakana = kind.katakana && c >= 0x30A0 && c <= 0x30FF;
  }
  return kind;
}

// The penalty that both the search and the candidates' scores give a
// content word written all in hiragana or all in katakana.
int64_t kanaContentPenalty(const PartOfSpeechTable& classes, int64_t leftID, std::string_view surface) {
  if (!isContentWord(classes, leftID)) return 0;
  const SurfaceKind kind = kindOf(surface);
  if (kind.hiragana) return hiraganaContentPenalty;
  if (kind.katakana) return katakanaContentPenalty;
  return 0;
}

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
  SequenceCost(const ConnectionTable& connection, const PartOfSpeechTable& classes)
      : connection_(&connection), classes_(&classes) {}

  void add(const Word& w) { add(w.reading, w.surface, w.leftID, w.rightID, w.cost); }
  void add(std::string_view reading, std::string_view surface, int64_t leftID, int64_t rightID, int64_t cost) {
    int64_t c = cost + kanaContentPenalty(*classes_, leftID, surface);
    if (Learning::isLearned(reading, surface)) c = std::max<int64_t>(c - flatLearnedBonus, 0);
    sum_ += connection_->cost(previousRightID_, leftID) + c;
    previousRightID_ = rightID;
  }
  int64_t finish() const { return sum_ + connection_->cost(previousRightID_, startEndID); }

 private:
  const ConnectionTable* connection_;
  const PartOfSpeechTable* classes_;
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

  const auto& connection = KanaDictionary::connectionTable();
  const auto& classes = KanaDictionary::partOfSpeechTable();
  std::vector<ScoredCandidate> scored;
  if (h) {
    SequenceCost before(connection, classes);
    for (std::size_t k = 0; k < *h; ++k) before.add(path[k].word);
    auto variant = [&](const KanaDictionary::WordEntry& w) {
      std::string surface = text::decodeLossy(w.surface);
      SequenceCost cost = before;
      cost.add(head->reading, surface, w.leftID, w.rightID, w.cost);
      for (std::size_t k = *h + 1; k < path.size(); ++k) cost.add(path[k].word);
      int64_t score = cost.finish() + (isKatakana(surface) ? katakanaCandidatePenalty : 0);
      std::string text = prefixText + surface + suffixText;
      scored.push_back({score, std::move(text), ReadingSurface{head->reading, std::move(surface)}});
    };
    KanaDictionary::forEachWord(head->reading, variant);
  }
  auto whole = [&](const KanaDictionary::WordEntry& w) {
    std::string surface = text::decodeLossy(w.surface);
    SequenceCost cost(connection, classes);
    cost.add(clauseReading, surface, w.leftID, w.rightID, w.cost);
    int64_t score = cost.finish() + (isKatakana(surface) ? katakanaCandidatePenalty : 0);
    scored.push_back({score, surface, ReadingSurface{clauseReading, surface}});
  };
  KanaDictionary::forEachWord(clauseReading, whole);
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

namespace {

// A node of the search: the word's reading and surface are views into the
// joined reading and the loaded files, so that the hundreds of words a
// position offers cost no allocation. Words are made only for the path.
struct LatticeNode {
  std::string_view reading;
  std::string_view surface;
  int64_t leftID;
  int64_t rightID;
  int64_t cost;
  int64_t begin;
  int64_t end;
  int64_t total;
  int64_t previous;
  // The next node with the same end: the ends-at-p lists as chains
  // threaded through the nodes.
  int64_t nextSameEnd;
};

constexpr int64_t none = -1;

// The cheapest way into a position for a word of one left id.
struct Arrival {
  int64_t total;
  int64_t previous;
};

// Buffers kept from one search to the next, so that a conversion neither
// allocates nor faults in fresh memory for them.
struct Scratch {
  std::vector<LatticeNode> nodes;
  std::vector<int64_t> firstEnding;
  std::vector<int64_t> lastEnding;
  std::vector<char> kana;
  // The reading joined, and where each character starts in it (one more
  // for the end).
  std::string joined;
  std::vector<std::size_t> offsets;
  // Surfaces of invalid UTF-8, decoded; a deque keeps the views stable.
  std::deque<std::string> decoded;
  // Arrivals by left id, valid where the stamp is the position's.
  std::vector<uint64_t> arrivalStamps;
  std::vector<Arrival> arrivals;
  uint64_t stamp = 0;
  // Arrivals of ids outside the connection table, for this position.
  std::vector<std::pair<int64_t, Arrival>> otherArrivals;
};

Scratch& scratch() {
  thread_local Scratch s;
  return s;
}

}  // namespace

std::vector<Node> bestPath(const Characters& reading, const std::set<int64_t>& boundaries) {
  const auto n = static_cast<int64_t>(reading.size());
  if (n == 0) return {};

  const auto& connection = KanaDictionary::connectionTable();
  const auto& classes = KanaDictionary::partOfSpeechTable();
  Scratch& s = scratch();
  auto& nodes = s.nodes;
  nodes.clear();
  s.decoded.clear();
  s.firstEnding.assign(static_cast<std::size_t>(n) + 1, none);
  s.lastEnding.assign(static_cast<std::size_t>(n) + 1, none);
  s.joined.clear();
  s.offsets.clear();
  s.kana.clear();
  // Kana-ness of every character, asked once: the fall-back rule scans ahead.
  for (const auto& character : reading) {
    s.offsets.push_back(s.joined.size());
    s.joined += character;
    s.kana.push_back(isKana(character));
  }
  s.offsets.push_back(s.joined.size());
  const std::string_view joined = s.joined;
  auto characters = [&](int64_t begin, int64_t end) {
    const auto from = s.offsets[static_cast<std::size_t>(begin)];
    return joined.substr(from, s.offsets[static_cast<std::size_t>(end)] - from);
  };
  if (s.arrivalStamps.size() != connection.size()) {
    s.arrivalStamps.assign(connection.size(), 0);
    s.arrivals.resize(connection.size());
  }

  auto straddlesBoundary = [&](int64_t begin, int64_t end) {
    if (boundaries.empty()) return false;
    auto it = boundaries.upper_bound(begin);
    return it != boundaries.end() && *it < end;
  };

  // The cheapest way into position i depends only on the left id of the word
  // that follows, and many words at one position share it: each left id
  // walks the predecessors once per position.
  auto walkPredecessors = [&](std::size_t position, int64_t leftID) {
    Arrival best{std::numeric_limits<int64_t>::max(), none};
    for (int64_t p = s.firstEnding[position]; p != none; p = nodes[static_cast<std::size_t>(p)].nextSameEnd) {
      const LatticeNode& before = nodes[static_cast<std::size_t>(p)];
      const int64_t total = before.total + connection.cost(before.rightID, leftID);
      if (total < best.total) {  // strict: the first of equal totals stays
        best.total = total;
        best.previous = p;
      }
    }
    return best;
  };
  auto cheapestBefore = [&](std::size_t position, int64_t leftID) -> Arrival {
    if (static_cast<uint64_t>(leftID) < connection.size()) {
      const auto id = static_cast<std::size_t>(leftID);
      if (s.arrivalStamps[id] != s.stamp) {
        s.arrivals[id] = walkPredecessors(position, leftID);
        s.arrivalStamps[id] = s.stamp;
      }
      return s.arrivals[id];
    }
    for (const auto& [id, arrival] : s.otherArrivals)
      if (id == leftID) return arrival;
    s.otherArrivals.emplace_back(leftID, walkPredecessors(position, leftID));
    return s.otherArrivals.back().second;
  };

  int64_t i = 0;
  std::size_t ui = 0;
  bool learnedReading = false;
  // Prices one word starting at i and puts it into the lattice.
  auto place = [&](std::string_view wordReading, std::string_view surface, int64_t leftID, int64_t rightID,
                   int64_t cost, int64_t length, bool fallback) {
    const int64_t end = i + length;
    if (!fallback && straddlesBoundary(i, end)) return;

    int64_t c = cost + kanaContentPenalty(classes, leftID, surface);
    if (length == 1 && classes.isSuffix(leftID)) c += shortSuffixPenalty;
    if (learnedReading && Learning::isLearned(wordReading, surface)) {
      c -= std::min(length * learnedBonusPerCharacter, learnedBonusLimit);
      if (c < 0) c = 0;
    }

    int64_t total = 0;
    int64_t previous = none;
    if (i == 0) {
      total = connection.cost(startEndID, leftID) + c;
    } else {
      const auto best = cheapestBefore(ui, leftID);
      total = best.total + c;
      previous = best.previous;
    }

    const auto index = static_cast<int64_t>(nodes.size());
    nodes.push_back(LatticeNode{wordReading, surface, leftID, rightID, cost, i, end, total, previous, none});
    const auto ue = static_cast<std::size_t>(end);
    if (s.lastEnding[ue] == none) {
      s.firstEnding[ue] = index;
    } else {
      nodes[static_cast<std::size_t>(s.lastEnding[ue])].nextSameEnd = index;
    }
    s.lastEnding[ue] = index;
  };
  // Surfaces are used as the files spell them unless that is not valid UTF-8.
  auto decoded = [&](std::string_view surface) -> std::string_view {
    if (text::isValidUTF8(surface)) return surface;
    return s.decoded.emplace_back(text::decodeLossy(surface));
  };

  for (; i < n; ++i) {
    ui = static_cast<std::size_t>(i);
    if (i > 0 && s.firstEnding[ui] == none) continue;
    ++s.stamp;
    s.otherArrivals.clear();

    const int64_t longest = std::min<int64_t>(n - i, static_cast<int64_t>(longestLookup));
    for (int64_t length = 1; length <= longest; ++length) {
      const auto key = characters(i, i + length);
      learnedReading = Learning::hasEntries(key);
      auto word = [&](const KanaDictionary::WordEntry& w) {
        place(key, decoded(w.surface), w.leftID, w.rightID, w.cost, length, false);
      };
      // No longer key can have words once no reading begins with this one;
      // most of the 24 look-ups of a position are saved so.
      if (!KanaDictionary::forEachWord(key, word)) break;
    }
    const auto character = characters(i, i + 1);
    if (auto ascii = asciiSymbolFor(character)) {
      learnedReading = Learning::hasEntries(character);
      auto symbol = [&](const KanaDictionary::WordEntry& w) {
        place(character, character, w.leftID, w.rightID, w.cost, 1, false);
      };
      KanaDictionary::forEachWord(std::string_view(&*ascii, 1), symbol);
    }
    if (!s.kana[ui]) {
      int64_t j = i + 1;
      while (j < n && !s.kana[static_cast<std::size_t>(j)]) ++j;
      const auto run = characters(i, j);
      learnedReading = Learning::hasEntries(run);
      place(run, run, otherFallbackID, otherFallbackID, otherFallbackCost, j - i, true);
    } else {
      learnedReading = Learning::hasEntries(character);
      place(character, character, kanaFallbackID, kanaFallbackID, kanaFallbackCost, 1, true);
    }
  }

  int64_t best = none;
  int64_t bestSum = 0;
  for (int64_t p = s.firstEnding[static_cast<std::size_t>(n)]; p != none;
       p = nodes[static_cast<std::size_t>(p)].nextSameEnd) {
    const LatticeNode& node = nodes[static_cast<std::size_t>(p)];
    int64_t sum = node.total + connection.cost(node.rightID, startEndID);
    if (best == none || sum < bestSum) {
      best = p;
      bestSum = sum;
    }
  }

  std::vector<Node> path;
  for (int64_t p = best; p != none; p = nodes[static_cast<std::size_t>(p)].previous) {
    const LatticeNode& node = nodes[static_cast<std::size_t>(p)];
    path.push_back(Node{Word{std::string(node.reading), std::string(node.surface), node.leftID, node.rightID, node.cost},
                        node.begin, node.end, node.total,
                        node.previous == none ? std::nullopt : std::optional<int64_t>(node.previous)});
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

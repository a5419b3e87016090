// Conversion quality on sets of readings with their expected conversions.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "conversion/records.h"

namespace orvane::eval {

// One reading to convert and what counts as right.
struct Item {
  std::string reading;
  // Acceptable conversions; the first is the one reported.
  std::vector<std::string> expected;
  // Right when the first conversion contains the expected text somewhere,
  // rather than equals it.
  bool containsCheck = false;
  std::size_t line = 0;
};

struct TestSet {
  std::vector<Item> items;
  std::string format;
  std::size_t skippedLines = 0;
};

// Three layouts, told apart line by line:
//   status TAB reading TAB expected TAB check TAB argument TAB version  (status ends in ":")
//   label TAB reading TAB expected TAB check  (only "Conversion Expected" lines, contains-checks)
//   reading TAB expected [TAB another acceptable ...]
// "#" lines are comments. A reading listed again adds its expected texts to
// the first item, so every reading is scored once.
TestSet parseSet(std::string_view content);

// What a wrong conversion got wrong first: its first stretch that differs
// from the nearest expected text, sorted by what the two stretches hold.
enum class MissKind {
  Spelling,      // kanji on both sides: another spelling, a homophone, a word cut otherwise
  KanjiForKana,  // kanji where the text has kana only
  KanaForKanji,  // kana only where the text has kanji
  Script,        // the same kana in the other script (あり for アリ)
  Number,        // digits on either side (一年 for １年)
  Other,         // symbols, Latin letters, a stretch missing on one side
};
inline constexpr std::size_t missKinds = 6;
std::string_view describe(MissKind kind);

struct Miss {
  MissKind kind = MissKind::Other;
  std::string got, expected;  // the first differing stretches, in characters
};
// Nothing when the texts are equal.
std::optional<Miss> firstMiss(std::string_view got, std::string_view expected);

struct Outcome {
  const Item* item = nullptr;
  std::string top;                            // the first conversion, clauses joined
  std::vector<std::vector<std::string>> clauses;  // candidate texts of every clause, in order
  bool correct = false;
  bool reachable = false;   // reachable from the first candidates of each clause
  std::size_t errors = 0;   // edit distance in characters to the nearest expected text
  std::size_t length = 0;   // characters of that expected text
  // Clause boundaries right: the expected text splits into one piece per
  // clause, each piece among that clause's candidates (exact checks only).
  bool boundariesRight = false;
  std::size_t clauseCount = 0;      // clauses of a reading whose boundaries are right
  std::size_t clausesFirst = 0;     // of them, clauses whose first candidate is their piece
  std::optional<Miss> miss;         // a wrong reading's first miss against the nearest expected text
};

// The fewest clauses that must leave their first candidate for the clauses
// to spell `text` (any candidate of each, in order); nothing when no choice
// of candidates spells it.
std::optional<std::size_t> clausesOffFirst(const std::vector<std::vector<std::string>>& clauses, std::string_view text);

// `firstCandidates` bounds how deep into each clause's list a user would look.
Outcome judge(const Item& item, const std::vector<Clause>& clauses, std::size_t firstCandidates);

// Whether picking one of the first `depth` candidates of each clause can spell
// the text exactly (or, for a contains-check, contain it).
bool reachable(const std::vector<std::vector<std::string>>& clauses, std::string_view text, bool contains,
               std::size_t depth);

std::size_t editDistance(std::string_view a, std::string_view b);

struct Summary {
  std::size_t items = 0;
  std::size_t correct = 0;
  std::size_t reachable = 0;
  std::size_t errors = 0;   // over items that are not contains-checks
  std::size_t length = 0;
  std::size_t boundariesRight = 0;  // readings whose clause boundaries are right
  std::size_t clauses = 0;          // their clauses
  std::size_t clausesFirst = 0;     // of those, first candidate right
  std::size_t rankingMisses = 0;    // wrong readings with right boundaries
  std::size_t segmentationMisses = 0;  // wrong readings whose clauses cannot spell the text
  // Ranking and segmentation misses by the kind of their first miss.
  std::array<std::size_t, missKinds> rankingByKind{}, segmentationByKind{};
  double clauseTop1() const { return clauses ? double(clausesFirst) / clauses : 0; }
  double seconds = 0;
  double top1() const { return items ? double(correct) / items : 0; }
  double characterErrorRate() const { return length ? double(errors) / length : 0; }
  double reachableShare() const { return items ? double(reachable) / items : 0; }
};
void add(Summary& summary, const Outcome& outcome);

// "reading  expected  ->  got: clause|clause|..." for a wrong conversion.
std::string describeFailure(const Outcome& outcome);

}  // namespace orvane::eval

#include "eval.h"

#include <algorithm>
#include <map>

#include "text/text.h"

namespace orvane::eval {
namespace {

std::vector<std::string_view> fields(std::string_view line) {
  std::vector<std::string_view> out;
  std::size_t start = 0;
  while (true) {
    const auto tab = line.find('\t', start);
    out.push_back(line.substr(start, tab == std::string_view::npos ? std::string_view::npos : tab - start));
    if (tab == std::string_view::npos) return out;
    start = tab + 1;
  }
}

// Longest j < text.size() such that `s` ends with the first j bytes of text.
std::size_t overlap(std::string_view s, std::string_view text) {
  for (std::size_t j = std::min(s.size(), text.size() - 1); j > 0; --j)
    if (s.substr(s.size() - j) == text.substr(0, j)) return j;
  return 0;
}

bool isKana(char32_t c) { return text::isHiraganaScalar(c) || text::isKatakanaScalar(c); }
bool isDigit(char32_t c) { return (c >= U'0' && c <= U'9') || (c >= U'０' && c <= U'９'); }

// Katakana folded onto hiragana, other characters kept.
std::u32string folded(std::u32string s) {
  for (char32_t& c : s) c = text::hiraganaScalar(c);
  return s;
}

MissKind kindOf(const std::u32string& got, const std::u32string& expected) {
  auto any = [](const std::u32string& s, bool (*test)(char32_t)) { return std::any_of(s.begin(), s.end(), test); };
  auto only = [](const std::u32string& s, bool (*test)(char32_t)) {
    return !s.empty() && std::all_of(s.begin(), s.end(), test);
  };
  if (any(got, isDigit) || any(expected, isDigit)) return MissKind::Number;
  if (only(got, isKana) && only(expected, isKana) && folded(got) == folded(expected)) return MissKind::Script;
  const bool gotHan = any(got, text::isHanScalar), expectedHan = any(expected, text::isHanScalar);
  if (gotHan && expectedHan) return MissKind::Spelling;
  if (gotHan && only(expected, isKana)) return MissKind::KanjiForKana;
  if (expectedHan && only(got, isKana)) return MissKind::KanaForKanji;
  return MissKind::Other;
}

}  // namespace

std::string_view describe(MissKind kind) {
  switch (kind) {
    case MissKind::Spelling: return "another kanji spelling or homophone";
    case MissKind::KanjiForKana: return "kanji where the text has kana";
    case MissKind::KanaForKanji: return "kana where the text has kanji";
    case MissKind::Script: return "katakana or hiragana";
    case MissKind::Number: return "numbers";
    case MissKind::Other: return "other";
  }
  return "other";
}

std::optional<Miss> firstMiss(std::string_view got, std::string_view expected) {
  // Characters rather than grapheme clusters: a stretch is shown, not counted.
  const std::u32string x = text::scalars(got), y = text::scalars(expected);
  const std::size_t n = x.size(), m = y.size();
  // d[i][j]: edit distance between the rests x[i..] and y[j..].
  std::vector<std::size_t> d((n + 1) * (m + 1));
  auto at = [&](std::size_t i, std::size_t j) -> std::size_t& { return d[i * (m + 1) + j]; };
  for (std::size_t i = n + 1; i-- > 0;)
    for (std::size_t j = m + 1; j-- > 0;) {
      if (i == n || j == m) at(i, j) = (n - i) + (m - j);
      else at(i, j) = std::min({at(i + 1, j) + 1, at(i, j + 1) + 1, at(i + 1, j + 1) + (x[i] == y[j] ? 0 : 1)});
    }
  if (at(0, 0) == 0) return std::nullopt;
  auto matches = [&](std::size_t i, std::size_t j) {
    return i < n && j < m && x[i] == y[j] && at(i, j) == at(i + 1, j + 1);
  };
  std::size_t i = 0, j = 0;
  while (matches(i, j)) ++i, ++j;
  const std::size_t i0 = i, j0 = j;
  // Along an optimal alignment to the next matching pair, the leftmost one.
  while ((i < n || j < m) && !matches(i, j)) {
    if (i < n && j < m && at(i, j) == at(i + 1, j + 1) + 1) ++i, ++j;
    else if (i < n && at(i, j) == at(i + 1, j) + 1) ++i;
    else ++j;
  }
  // A stretch missing on one side takes in the kanji around it: 風 for 風邪
  // is another spelling of the word, not a character gone missing.
  std::size_t from = i0, to = i;
  if (i == i0 || j == j0) {
    while (from > 0 && text::isHanScalar(x[from - 1])) --from;
    while (to < n && j + (to - i) < m && x[to] == y[j + (to - i)] && text::isHanScalar(x[to])) ++to;
  }
  const std::size_t before = i0 - from, after = to - i;  // kanji taken in, the same on both sides
  const std::u32string a = x.substr(from, to - from), b = y.substr(j0 - before, j - j0 + before + after);
  // A stretch of symbols or Latin letters alone stays one (浮津一番f).
  auto letters = [](std::u32string_view s) {
    return std::any_of(s.begin(), s.end(), [](char32_t c) { return text::isHanScalar(c) || isKana(c) || isDigit(c); });
  };
  const auto gotRaw = std::u32string_view(x).substr(i0, i - i0), expectedRaw = std::u32string_view(y).substr(j0, j - j0);
  if (!letters(gotRaw) && !letters(expectedRaw))
    return Miss{MissKind::Other, text::fromScalars(gotRaw), text::fromScalars(expectedRaw)};
  return Miss{kindOf(a, b), text::fromScalars(a), text::fromScalars(b)};
}

TestSet parseSet(std::string_view content) {
  TestSet set;
  std::map<std::string, std::size_t, std::less<>> seen;
  std::map<std::string, std::size_t> formats;
  std::size_t number = 0, start = 0;
  while (start < content.size()) {
    auto end = content.find('\n', start);
    if (end == std::string_view::npos) end = content.size();
    std::string_view line = content.substr(start, end - start);
    start = end + 1;
    ++number;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.empty() || line.front() == '#') continue;
    auto f = fields(line);
    Item item;
    item.line = number;
    const bool checked = f.size() >= 4 && f[3].starts_with("Conversion ");
    if (f.size() >= 6 && f[0].ends_with(":")) {
      ++formats["evaluation"];
      // Suggestion checks are about prediction, which conversion does not do.
      if (!checked) {
        ++set.skippedLines;
        continue;
      }
      item.reading = f[1];
      item.expected = {std::string(f[2])};
    } else if (checked) {
      ++formats["regression"];
      if (f[3] != "Conversion Expected") {
        ++set.skippedLines;
        continue;
      }
      item.reading = f[1];
      item.expected = {std::string(f[2])};
      item.containsCheck = true;
    } else if (f.size() >= 2) {
      ++formats["plain"];
      item.reading = f[0];
      for (std::size_t i = 1; i < f.size(); ++i)
        if (!f[i].empty()) item.expected.emplace_back(f[i]);
    }
    if (item.reading.empty() || item.expected.empty() || item.expected[0].empty()) {
      ++set.skippedLines;
      continue;
    }
    if (auto it = seen.find(item.reading); it != seen.end()) {
      auto& first = set.items[it->second];
      for (auto& e : item.expected)
        if (std::find(first.expected.begin(), first.expected.end(), e) == first.expected.end())
          first.expected.push_back(std::move(e));
      continue;
    }
    seen.emplace(item.reading, set.items.size());
    set.items.push_back(std::move(item));
  }
  for (const auto& [name, count] : formats) set.format += (set.format.empty() ? "" : "+") + name;
  return set;
}

std::size_t editDistance(std::string_view a, std::string_view b) {
  const Characters x = text::characters(a), y = text::characters(b);
  std::vector<std::size_t> row(y.size() + 1);
  for (std::size_t j = 0; j <= y.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= x.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= y.size(); ++j) {
      const std::size_t above = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (x[i - 1] == y[j - 1] ? 0 : 1)});
      diagonal = above;
    }
  }
  return row[y.size()];
}

bool reachable(const std::vector<std::vector<std::string>>& clauses, std::string_view text, bool contains,
               std::size_t depth) {
  if (text.empty()) return true;
  // States: bytes of `text` matched so far (a prefix for an exact match; the
  // longest prefix that ends the output so far for a contains-check).
  std::vector<std::size_t> states = {0};
  for (const auto& candidates : clauses) {
    std::vector<std::size_t> next;
    for (std::size_t state : states) {
      for (std::size_t i = 0; i < std::min(depth, candidates.size()); ++i) {
        const std::string& c = candidates[i];
        if (!contains) {
          if (text.compare(state, c.size(), c) == 0 && state + c.size() <= text.size()) next.push_back(state + c.size());
          continue;
        }
        const std::string joined = std::string(text.substr(0, state)) + c;
        if (joined.find(text) != std::string::npos) return true;
        next.push_back(overlap(joined, text));
      }
    }
    std::sort(next.begin(), next.end());
    next.erase(std::unique(next.begin(), next.end()), next.end());
    states = std::move(next);
    if (states.empty()) return false;
  }
  return !contains && std::find(states.begin(), states.end(), text.size()) != states.end();
}

std::optional<std::size_t> clausesOffFirst(const std::vector<std::vector<std::string>>& clauses,
                                           std::string_view text) {
  // Bytes of `text` spelled so far -> fewest clauses off their first candidate.
  std::map<std::size_t, std::size_t> states = {{0, 0}};
  for (const auto& candidates : clauses) {
    std::map<std::size_t, std::size_t> next;
    for (const auto& [at, off] : states)
      for (std::size_t i = 0; i < candidates.size(); ++i) {
        const std::string& c = candidates[i];
        if (c.empty() || text.compare(at, c.size(), c) != 0) continue;
        const std::size_t cost = off + (i == 0 ? 0 : 1);
        auto [it, fresh] = next.emplace(at + c.size(), cost);
        if (!fresh) it->second = std::min(it->second, cost);
      }
    states = std::move(next);
    if (states.empty()) return std::nullopt;
  }
  if (auto it = states.find(text.size()); it != states.end()) return it->second;
  return std::nullopt;
}

Outcome judge(const Item& item, const std::vector<Clause>& clauses, std::size_t firstCandidates) {
  Outcome outcome;
  outcome.item = &item;
  for (const auto& clause : clauses) {
    outcome.top += clause.surface();
    outcome.clauses.push_back(clause.texts());
  }
  for (const auto& expected : item.expected) {
    const bool right = item.containsCheck ? outcome.top.find(expected) != std::string::npos : outcome.top == expected;
    outcome.correct = outcome.correct || right;
    outcome.reachable = outcome.reachable || right ||
                        reachable(outcome.clauses, expected, item.containsCheck, firstCandidates);
  }
  if (!item.containsCheck) {
    for (const auto& expected : item.expected) {
      const auto off = clausesOffFirst(outcome.clauses, expected);
      if (!off) continue;
      const std::size_t first = outcome.clauses.size() - *off;
      if (!outcome.boundariesRight || first > outcome.clausesFirst) {
        outcome.boundariesRight = true;
        outcome.clauseCount = outcome.clauses.size();
        outcome.clausesFirst = first;
      }
    }
    bool first = true;
    for (const auto& expected : item.expected) {
      const std::size_t errors = editDistance(outcome.top, expected);
      if (first || errors < outcome.errors) {
        outcome.errors = errors;
        outcome.length = text::characterCount(expected);
        if (!outcome.correct) outcome.miss = firstMiss(outcome.top, expected);
      }
      first = false;
    }
  }
  return outcome;
}

void add(Summary& summary, const Outcome& outcome) {
  ++summary.items;
  summary.correct += outcome.correct;
  summary.reachable += outcome.reachable;
  summary.errors += outcome.errors;
  summary.length += outcome.length;
  summary.boundariesRight += outcome.boundariesRight;
  summary.clauses += outcome.clauseCount;
  summary.clausesFirst += outcome.clausesFirst;
  if (!outcome.correct && !outcome.item->containsCheck) {
    const auto kind = static_cast<std::size_t>(outcome.miss ? outcome.miss->kind : MissKind::Other);
    if (outcome.boundariesRight) ++summary.rankingMisses, ++summary.rankingByKind[kind];
    else ++summary.segmentationMisses, ++summary.segmentationByKind[kind];
  }
}

std::string describeFailure(const Outcome& outcome) {
  std::string split;
  for (const auto& candidates : outcome.clauses) {
    if (!split.empty()) split += '|';
    split += candidates.empty() ? "" : candidates.front();
  }
  std::string out = outcome.item->reading + "\t" + outcome.item->expected.front() +
                    (outcome.item->containsCheck ? " (contained)" : "") + "\t-> " + split;
  if (outcome.reachable) out += "\t(reachable)";
  if (outcome.boundariesRight) out += "\t(boundaries right)";
  if (outcome.miss)
    out += "\t[" + std::string(describe(outcome.miss->kind)) + ": " + outcome.miss->got + " for " +
           outcome.miss->expected + "]";
  return out;
}

}  // namespace orvane::eval

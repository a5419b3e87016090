#include <algorithm>
#include <cmath>
#include <map>

#include "mkdict.h"
#include "text/text.h"

namespace orvane::mkdict {
namespace {

// The small kana that only ever follow another letter (ァ in ヴァ, ュ in
// キュ, ッ and ー inside a word).
constexpr std::u32string_view trailingOnly = U"ぁぃぅぇぉゃゅょゎっゕゖんー";
constexpr std::u32string_view smallVowels = U"ぁぃぅぇぉゃゅょ";

std::string katakanaOf(std::u32string_view hiragana) {
  std::u32string out(hiragana);
  for (char32_t& c : out)
    if (c >= U'ぁ' && c <= U'ゖ') c += 0x60;
  return text::fromScalars(out);
}

// How often each syllable begins the list's katakana words and how often it
// goes on in them, and the mean log share a syllable has where it occurs.
struct SyllableShares {
  std::map<std::u32string, double> counts;
  double total = 0;
  double meanLog = 0;
  std::size_t inventory = 1;  // syllables that can occur, for smoothing

  double logShare(const std::u32string& syllable) const {
    const auto it = counts.find(syllable);
    return std::log(((it == counts.end() ? 0 : it->second) + 1) / (total + static_cast<double>(inventory)));
  }
};

// Cuts a reading into syllables: a letter and the small vowel after it.
std::vector<std::u32string> syllablesOf(std::u32string_view reading) {
  std::vector<std::u32string> out;
  for (std::size_t i = 0; i < reading.size();) {
    const bool pair = i + 1 < reading.size() && smallVowels.find(reading[i + 1]) != std::u32string_view::npos &&
                      trailingOnly.find(reading[i]) == std::u32string_view::npos;
    out.emplace_back(reading.substr(i, pair ? 2 : 1));
    i += pair ? 2 : 1;
  }
  return out;
}

std::pair<SyllableShares, SyllableShares> katakanaSyllableShares(const std::vector<WordEntry>& words,
                                                                 std::size_t inventory) {
  SyllableShares starts, goesOn;
  for (const auto& word : words) {
    if (!allKatakana(word.surface)) continue;
    const auto reading = text::scalars(word.reading);
    if (reading.empty() || trailingOnly.find(reading[0]) != std::u32string_view::npos ||
        !std::all_of(reading.begin(), reading.end(), [](char32_t c) { return (c >= U'ぁ' && c <= U'ゔ') || c == U'ー'; }))
      continue;
    const auto syllables = syllablesOf(reading);
    for (std::size_t i = 0; i < syllables.size(); ++i) {
      SyllableShares& shares = i == 0 ? starts : goesOn;
      shares.counts[syllables[i]] += 1;
      shares.total += 1;
    }
  }
  for (SyllableShares* shares : {&starts, &goesOn}) {
    shares->inventory = inventory;
    for (const auto& [syllable, count] : shares->counts) shares->meanLog += count / shares->total * shares->logShare(syllable);
  }
  return {std::move(starts), std::move(goesOn)};
}

}  // namespace

std::vector<std::size_t> unusedIDs(const Grammar& grammar) {
  std::vector<std::size_t> ids;
  for (std::size_t id = 1; id < grammar.names.size(); ++id)
    if (grammar.names[id].empty() && id != static_cast<std::size_t>(userWordID) &&
        id != static_cast<std::size_t>(fallbackSymbolID))
      ids.push_back(id);
  return ids;
}

int32_t takeUnusedID(Grammar& grammar, std::string name) {
  const std::size_t n = grammar.names.size();
  if (const auto unused = unusedIDs(grammar); !unused.empty()) {
    grammar.names[unused.front()] = std::move(name);
    return static_cast<int32_t>(unused.front());
  }
  std::vector<int16_t> costs((n + 1) * (n + 1), INT16_MAX);
  for (std::size_t a = 0; a < n; ++a) std::copy_n(grammar.costs.begin() + a * n, n, costs.begin() + a * (n + 1));
  grammar.costs = std::move(costs);
  grammar.names.push_back(std::move(name));
  return static_cast<int32_t>(n);
}

std::size_t addKatakanaPieces(Lexicon& lexicon, const KatakanaPieceCosts& costs) {
  Grammar& grammar = lexicon.grammar;
  const auto base = std::find(grammar.names.begin(), grammar.names.end(), katakanaPieceBaseName);
  if (base == grammar.names.end()) return 0;
  const auto p = static_cast<std::size_t>(base - grammar.names.begin());
  const auto first = static_cast<std::size_t>(
      takeUnusedID(grammar, std::string(katakanaPieceBaseName.substr(0, katakanaPieceBaseName.rfind(',') + 1)) + "片仮名頭"));
  // Attached, so that the pieces after the first stay in its clause.
  const auto next = static_cast<std::size_t>(takeUnusedID(grammar, "名詞,非自立,一般,*,*,*,片仮名続"));
  const std::size_t n = grammar.names.size();
  auto cost = [&](std::size_t a, std::size_t b) -> int16_t& { return grammar.costs[a * n + b]; };
  // The word as a whole connects as a place name does; its pieces follow
  // one another freely and nothing else.
  for (std::size_t b = 0; b < n; ++b) {
    cost(first, b) = cost(p, b);
    cost(next, b) = cost(p, b);
    cost(b, first) = cost(b, p);
    cost(b, next) = INT16_MAX;
  }
  cost(first, first) = cost(next, first) = cost(p, p);
  cost(first, next) = cost(next, next) = 0;

  std::vector<std::u32string> syllables;
  for (char32_t c = U'ぁ'; c <= U'ゔ'; ++c) {
    syllables.push_back(std::u32string(1, c));
    if (trailingOnly.find(c) == std::u32string_view::npos)
      for (char32_t small : smallVowels) syllables.push_back({c, small});
  }
  syllables.push_back(U"ー");
  const auto add = [&](const std::u32string& reading, std::size_t id, int32_t cost) {
    lexicon.words.push_back(
        {text::fromScalars(reading), static_cast<int32_t>(id), static_cast<int32_t>(id), cost, katakanaOf(reading)});
  };
  // A name no list has is most likely spelled the way loanwords are: a
  // syllable's cost moves by how much more or less often than the average
  // syllable the list's katakana words begin with it or go on with it (ン and
  // ル go on words often, ハ and ガ seldom, which leaves them to は and が).
  const auto [starts, goesOn] = katakanaSyllableShares(lexicon.words, syllables.size());
  auto shaped = [&](const SyllableShares& shares, const std::u32string& syllable, int32_t cost) {
    if (shares.total <= 0) return cost;
    return static_cast<int32_t>(std::lround(cost - costs.perLogShare * (shares.logShare(syllable) - shares.meanLog)));
  };
  const std::size_t before = lexicon.words.size();
  for (const auto& s : syllables) {
    if (trailingOnly.find(s[0]) == std::u32string_view::npos) add(s, first, shaped(starts, s, costs.first));
    add(s, next, s == U"ー" ? costs.longVowel : shaped(goesOn, s, costs.next));
  }
  return lexicon.words.size() - before;
}

}  // namespace orvane::mkdict

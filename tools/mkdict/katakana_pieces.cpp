#include <algorithm>

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
  const std::size_t before = lexicon.words.size();
  for (const auto& s : syllables) {
    if (trailingOnly.find(s[0]) == std::u32string_view::npos) add(s, first, costs.first);
    add(s, next, s == U"ー" ? costs.longVowel : costs.next);
  }
  return lexicon.words.size() - before;
}

}  // namespace orvane::mkdict

#include <algorithm>
#include <functional>
#include <set>
#include <tuple>
#include <unordered_map>

#include <unicode/ucnv.h>

#include "mkdict.h"
#include "text/text.h"

namespace orvane::mkdict {
namespace {

// Past this rank SKK's candidates are rare spellings alike, ordered by cost.
constexpr int32_t skkRankCap = 8;
constexpr int32_t skkRankGap = 500;
constexpr int32_t katakanaVariantPenalty = 2000;
constexpr int32_t properNounPenalty = 1000;
// A common noun of middling frequency in IPADIC; SKK's later ranks cost more.
constexpr int32_t skkWordCost = 5500;
constexpr int32_t skkWordRankStep = 300;
constexpr std::size_t skkWordMinimumReading = 3;
// A longer reading stands for more words that a split would need, each with
// its own cost; so long compounds get cheaper, down to a floor.
constexpr int32_t skkWordLengthCredit = 400;
constexpr int32_t skkWordFloorBelow = 1500;
constexpr int32_t shortReadingPenalty = 1500;
constexpr int32_t honorificKanjiPenalty = 1000;
constexpr int32_t rareKanjiPenalty = 1000;

// The Latin letter SKK writes for an okurigana's first kana.
char okuriLetter(char32_t kana) {
  static const std::u32string rows[] = {
      U"あ", U"い", U"う", U"え", U"お", U"かきくけこ", U"がぎぐげご", U"さしすせそ", U"ざじずぜぞ",
      U"たちつてとっ", U"だぢづでど", U"なにぬねの", U"はひふへほ", U"ばびぶべぼ", U"ぱぴぷぺぽ",
      U"まみむめも", U"やゆよ", U"らりるれろ", U"わを", U"ん"};
  static const char letters[] = "aiueokgsztdnhbpmyrwn";
  for (std::size_t i = 0; i < std::size(rows); ++i)
    if (rows[i].find(kana) != std::u32string::npos) return letters[i];
  return 0;
}

}  // namespace

bool hasHan(std::string_view s) {
  for (char32_t c : text::scalars(s))
    if (isHanScalar(c)) return true;
  return false;
}

std::optional<std::vector<std::u32string>> kanjiReadings(std::string_view reading, std::string_view surface) {
  const std::u32string r = text::scalars(reading);
  // The surface as runs of kanji and single kana (in hiragana, ー as itself).
  struct Piece {
    bool kanji;
    char32_t kana;
  };
  std::vector<Piece> pieces;
  for (char32_t c : text::scalars(surface)) {
    // ケ and ヵ count as kanji: 青ケ島 あおがしま, 一ヵ月 いっかげつ.
    if (isHanScalar(c) || c == U'ケ' || c == U'ヵ') {
      if (pieces.empty() || !pieces.back().kanji) pieces.push_back({true, 0});
    } else if (isHiraganaScalar(c) || isKatakanaScalar(c)) {
      pieces.push_back({false, hiraganaScalar(c)});
    } else {
      return std::nullopt;
    }
  }
  std::vector<std::u32string> out(pieces.size());
  // Each run of kanji reads as one kana or more, the shortest first.
  std::function<bool(std::size_t, std::size_t)> match = [&](std::size_t k, std::size_t at) {
    if (k == pieces.size()) return at == r.size();
    if (!pieces[k].kanji) return at < r.size() && r[at] == pieces[k].kana && match(k + 1, at + 1);
    for (std::size_t end = at + 1; end <= r.size(); ++end) {
      out[k] = r.substr(at, end - at);
      if (match(k + 1, end)) return true;
    }
    return false;
  };
  if (!match(0, 0)) return std::nullopt;
  std::vector<std::u32string> kanji;
  for (std::size_t k = 0; k < pieces.size(); ++k)
    if (pieces[k].kanji) kanji.push_back(std::move(out[k]));
  return kanji;
}

bool readAsLoanword(std::string_view reading, std::string_view surface) {
  const auto readings = kanjiReadings(reading, surface);
  return readings && std::any_of(readings->begin(), readings->end(),
                                 [](const std::u32string& part) { return part.find(U'ー') != std::u32string::npos; });
}

bool allKatakana(std::string_view s) {
  const auto scalars = text::scalars(s);
  return !scalars.empty() && std::all_of(scalars.begin(), scalars.end(), isKatakanaScalar) &&
         !std::all_of(scalars.begin(), scalars.end(), [](char32_t c) { return c == 0x30FC; });
}

bool allHiragana(std::string_view s) {
  const auto scalars = text::scalars(s);
  return !scalars.empty() && std::all_of(scalars.begin(), scalars.end(), [](char32_t c) {
    return (c >= 0x3041 && c <= 0x309F) || c == 0x30FC;
  });
}

bool setAdjustment(Adjustments& adjustments, std::string_view name, bool on) {
  if (name == "skk-order") adjustments.skkOrder = on;
  else if (name == "katakana-variants") adjustments.katakanaVariants = on;
  else if (name == "proper-nouns") adjustments.properNouns = on;
  else if (name == "short-readings") adjustments.shortReadings = on;
  else if (name == "skk-words") adjustments.skkWords = on;
  else if (name == "honorific-kana") adjustments.honorificKana = on;
  else if (name == "rare-kanji") adjustments.rareKanji = on;
  else if (name == "edict-words") adjustments.edictWords = on;
  else if (name == "edict-common") adjustments.edictCommon = on;
  else if (name == "usually-kana") adjustments.usuallyKana = on;
  else if (name == "katakana-pieces") adjustments.katakanaPieces = on;
  else return false;
  return true;
}

SKKDictionary readSKK(const fs::path& file, Diagnostics& diagnostics) {
  if (!fs::exists(file))
    throw SourceError("SKK dictionary not found at " + file.string() +
                      ": install the Debian package skkdic or pass --skk FILE (or --no-skk)");
  auto content = text::fromEUCJP(readWhole(file));
  if (!content) throw SourceError("cannot decode " + file.string() + " as EUC-JP");
  SKKDictionary skk;
  const std::string label = file.filename().string();
  for (auto line : splitLines(*content)) {
    if (line.empty() || line.front() == ';') continue;
    const auto space = line.find(" /");
    if (space == std::string_view::npos || space == 0 || line.back() != '/') {
      diagnostics.malformed(label, line);
      continue;
    }
    auto& candidates = skk[std::string(line.substr(0, space))];
    for (auto piece : split(line.substr(space + 2, line.size() - space - 3), '/')) {
      piece = piece.substr(0, piece.find(';'));
      // "(concat ...)" entries are programs, not words.
      if (piece.empty() || piece.front() == '(') continue;
      if (std::find(candidates.begin(), candidates.end(), piece) == candidates.end()) candidates.emplace_back(piece);
    }
  }
  return skk;
}

void mergeSKK(SKKDictionary& into, const SKKDictionary& extra) {
  for (const auto& [key, candidates] : extra) {
    auto& listed = into[key];
    for (const auto& candidate : candidates)
      if (std::find(listed.begin(), listed.end(), candidate) == listed.end()) listed.push_back(candidate);
  }
}

std::optional<std::pair<std::string, std::string>> stemKey(std::string_view reading, std::string_view surface) {
  const std::u32string s = text::scalars(surface);
  std::size_t head = s.size();
  while (head > 0 && isHiraganaScalar(s[head - 1])) --head;
  if (head == 0) return std::nullopt;
  const std::string tail = text::fromScalars(s.substr(head));
  if (!reading.ends_with(tail) || reading.size() == tail.size()) return std::nullopt;
  return std::pair{std::string(reading.substr(0, reading.size() - tail.size())), text::fromScalars(s.substr(0, head))};
}

std::optional<std::pair<std::string, std::string>> skkKey(std::string_view reading, std::string_view surface) {
  auto key = stemKey(reading, surface);
  if (!key || key->first.size() == reading.size()) return key;
  const char letter = okuriLetter(text::scalars(reading.substr(key->first.size())).front());
  if (!letter) return std::nullopt;
  key->first += letter;
  return key;
}

namespace {

// The model's probability of a spelling of a reading: the whole word, or the
// stem it cuts an inflected word into (ふ/降 for 降っ).
std::optional<double> unigramOf(const UnigramProbabilities& model, std::string_view reading, std::string_view surface) {
  std::string key = std::string(reading) + "\t" + std::string(surface);
  if (auto it = model.find(key); it != model.end()) return it->second;
  if (auto stem = stemKey(reading, surface); stem && stem->first.size() < reading.size())
    if (auto it = model.find(stem->first + "\t" + stem->second); it != model.end()) return it->second;
  return std::nullopt;
}

// A key's surfaces in SKK's order: rank, cheapest cost, surface.
using SKKOrder = std::vector<std::tuple<int32_t, int32_t, std::string>>;

// Whether the model holds a surface SKK ranks later at least ten times as
// likely as one SKK ranks earlier.
bool modelOverturns(const UnigramProbabilities& model, std::string_view reading, const SKKOrder& order) {
  constexpr double tenfold = 2.302585092994046;  // ln 10
  std::optional<double> rarestBefore;
  for (const auto& [rank, cost, surface] : order) {
    const auto p = unigramOf(model, reading, surface);
    if (!p) continue;
    if (rarestBefore && *p - *rarestBefore >= tenfold) return true;
    if (!rarestBefore || *p < *rarestBefore) rarestBefore = *p;
  }
  return false;
}

}  // namespace

void applySKKOrder(Lexicon& lexicon, const SKKDictionary& skk, const UnigramProbabilities* model) {
  // Words by reading, in a stable order so the result never depends on hashing.
  std::map<std::string_view, std::vector<std::size_t>> byReading;
  // Only content words: a suffix or a dependent word sharing a spelling
  // (言 as a suffix read こと) must not inherit a noun's cost.
  for (std::size_t i = 0; i < lexicon.words.size(); ++i)
    if (isContentWord(lexicon.grammar.names[lexicon.words[i].leftID])) byReading[lexicon.words[i].reading].push_back(i);

  for (const auto& [reading, indices] : byReading) {
    // SKK key and rank of each surface with kanji; rank -1 where the key is
    // listed but the surface is not.
    std::map<std::string, std::pair<std::string, int32_t>> rank;
    for (std::size_t i : indices) {
      const auto& word = lexicon.words[i];
      if (rank.count(word.surface) || !hasHan(word.surface)) continue;
      auto rankIn = [&](std::string_view key, std::string_view candidate) -> std::optional<int32_t> {
        auto it = skk.find(key);
        if (it == skk.end()) return std::nullopt;
        auto at = std::find(it->second.begin(), it->second.end(), candidate);
        if (at == it->second.end()) return -1;
        return static_cast<int32_t>(std::min<std::ptrdiff_t>(at - it->second.begin(), skkRankCap));
      };
      // Stems under their okurigana key first (思 under おもu), then whole
      // words under the reading (火回り under ひまわり): whichever lists it.
      std::optional<std::pair<std::string, int32_t>> r;
      if (auto key = skkKey(word.reading, word.surface))
        if (auto stem = rankIn(key->first, key->second)) r = std::pair{key->first, *stem};
      if (!r || r->second < 0)
        if (auto whole = rankIn(word.reading, word.surface); whole && (!r || *whole >= 0))
          r = std::pair{std::string(word.reading), *whole};
      if (r) rank[word.surface] = *r;
    }
    if (rank.empty()) continue;
    // The cheapest entry of each ranked surface.
    std::map<std::string, int32_t> cheapest;
    for (std::size_t i : indices) {
      const auto& word = lexicon.words[i];
      if (!rank.count(word.surface)) continue;
      auto [it, fresh] = cheapest.emplace(word.surface, word.cost);
      if (!fresh) it->second = std::min(it->second, word.cost);
    }
    // The costs of the surfaces under one key are dealt out again in SKK's
    // order: they get no cheaper as a whole, so they cannot crowd out other
    // segmentations. Ranks under different keys (a noun's, a verb stem's)
    // say nothing about each other.
    std::map<std::string, std::vector<std::string>> byKey;
    for (const auto& [surface, keyRank] : rank) byKey[keyRank.first].push_back(surface);
    std::map<std::string, int32_t> shift;
    for (const auto& [key, surfaces] : byKey) {
      std::vector<int32_t> costs;
      SKKOrder order;
      for (const auto& surface : surfaces) {
        const int32_t r = rank[surface].second;
        costs.push_back(cheapest[surface]);
        order.emplace_back(r >= 0 ? r : skkRankCap + 1, cheapest[surface], surface);
      }
      std::sort(costs.begin(), costs.end());
      std::sort(order.begin(), order.end());
      if (model && modelOverturns(*model, reading, order)) continue;
      for (std::size_t k = 0; k < order.size(); ++k) {
        // A later rank stays a step behind the one before, so that a part of
        // speech that connects a little better cannot overturn SKK's order.
        if (k > 0) costs[k] = std::max(costs[k], costs[k - 1] + skkRankGap);
        const std::string& surface = std::get<2>(order[k]);
        shift[surface] = costs[k] - cheapest[surface];
      }
    }
    for (std::size_t i : indices) {
      auto& word = lexicon.words[i];
      if (auto it = shift.find(word.surface); it != shift.end()) word.cost += guessedChange(word, it->second);
    }
  }
}

void addSKKWords(Lexicon& lexicon, const SKKDictionary& skk) {
  std::unordered_map<std::string, std::vector<std::string>> known;
  std::vector<double> nounCosts;
  for (const auto& word : lexicon.words) {
    known[word.reading].push_back(word.surface);
    if (word.leftID == userWordID) nounCosts.push_back(word.cost);
  }
  // SKK says nothing of how common its words are: they start from the cost
  // of the middle common noun of the list, long ones a little cheaper.
  const auto base = nounCosts.empty() ? skkWordCost : static_cast<int32_t>(median(std::move(nounCosts)));
  std::vector<WordEntry> added;
  for (const auto& [reading, candidates] : skk) {
    const auto r = text::scalars(reading);
    if (r.size() < skkWordMinimumReading ||
        !std::all_of(r.begin(), r.end(), [](char32_t c) { return isHiraganaScalar(c) || c == 0x30FC; }))
      continue;
    const auto& surfaces = known[reading];
    for (std::size_t rank = 0; rank < candidates.size(); ++rank) {
      const std::string& surface = candidates[rank];
      const auto s = text::scalars(surface);
      const bool wordLike = std::all_of(s.begin(), s.end(), [](char32_t c) {
        return isHanScalar(c) || isHiraganaScalar(c) || isKatakanaScalar(c);
      });
      if (!wordLike || !hasHan(surface) || std::find(surfaces.begin(), surfaces.end(), surface) != surfaces.end())
        continue;
      // Company names come with 株式会社 that their reading leaves out.
      if (!kanjiReadings(reading, surface)) continue;
      const int32_t lengthCredit = skkWordLengthCredit * static_cast<int32_t>(r.size() - skkWordMinimumReading);
      added.push_back({reading, userWordID, userWordID,
                       std::max(base - skkWordFloorBelow, base - lengthCredit) +
                           skkWordRankStep * static_cast<int32_t>(std::min<std::size_t>(rank, skkRankCap)),
                       surface, "ut-skk.tsv"});
    }
  }
  lexicon.words.insert(lexicon.words.end(), added.begin(), added.end());
}

void penalizeKatakanaVariants(Lexicon& lexicon) {
  std::unordered_map<std::string, bool> hasKanjiSpelling;
  // Particles, endings and suffixes spelled in hiragana, by reading and part
  // of speech: their katakana twins (ン, ネ, クン, ヲ) are for effect, not
  // everyday writing. A function word with an id of its own names itself in
  // the last field, so that field is left out (を and ヲ are one particle).
  const auto& names = lexicon.grammar.names;
  auto kind = [&](int32_t id) {
    const std::string_view name = names[static_cast<std::size_t>(id)];
    return name.substr(0, name.rfind(','));
  };
  std::set<std::pair<std::string_view, std::string_view>> kanaFunctionWords;
  // Katakana words of the main list, by reading.
  std::set<std::string_view> katakanaWords;
  for (const auto& word : lexicon.words) {
    const bool added = word.list != "mozc.tsv";
    if (hasHan(word.surface) && !readAsLoanword(word.reading, word.surface) && !added)
      hasKanjiSpelling[word.reading] = true;
    if (word.surface == word.reading && !isContentWord(names[word.leftID]))
      kanaFunctionWords.emplace(word.reading, kind(word.leftID));
    if (allKatakana(word.surface) && !added) katakanaWords.insert(word.reading);
  }
  // A loanword's borrowed kanji are the variant (高加索 beside コーカサス); so
  // is a kanji word another list adds beside a katakana word of the main one.
  for (auto& word : lexicon.words)
    if ((allKatakana(word.surface) &&
         (hasKanjiSpelling.count(word.reading) ||
          (!isContentWord(names[word.leftID]) && kanaFunctionWords.count({word.reading, kind(word.leftID)})))) ||
        readAsLoanword(word.reading, word.surface) ||
        (word.list != "mozc.tsv" && hasHan(word.surface) && katakanaWords.count(word.reading)))
      word.cost += guessedChange(word, katakanaVariantPenalty);
}

void penalizeProperNouns(Lexicon& lexicon) {
  for (auto& word : lexicon.words) {
    const auto& name = lexicon.grammar.names[word.leftID];
    if (name.starts_with("名詞,固有名詞,") && !name.starts_with("名詞,固有名詞,地域,国,")) word.cost += guessedChange(word, properNounPenalty);
  }
}

bool isContentWord(std::string_view name) {
  // The classes the converter treats as leaning on a neighbour.
  static constexpr std::string_view leaning[] = {"助詞,",         "助動詞,",       "動詞,非自立,", "動詞,接尾,",
                                                 "形容詞,非自立,", "形容詞,接尾,", "名詞,接尾,",   "名詞,非自立,",
                                                 "記号,句点,",     "記号,読点,",   "接頭詞,"};
  return std::none_of(std::begin(leaning), std::end(leaning), [&](std::string_view p) { return name.starts_with(p); });
}

void penalizeShortReadings(Lexicon& lexicon) {
  // A verb's or an adjective's form (来 き, 出 で) is bound to the ending
  // after it, which the connection costs see to; only a word that stands
  // alone can take a particle's place.
  for (auto& word : lexicon.words) {
    const std::string_view name = lexicon.grammar.names[word.leftID];
    if (!name.starts_with("名詞,接尾,助数詞,") && !inflects(name) && hasHan(word.surface) &&
        text::characterCount(word.reading) == 1)
      word.cost += shortReadingPenalty;
  }
}

void spellHonorificsInKana(Lexicon& lexicon) {
  constexpr std::string_view honorific = "御";
  using Key = std::tuple<std::string, int32_t, int32_t, std::string>;  // reading, ids, surface
  std::map<Key, std::pair<int32_t, std::string>> kana;  // each twin's cost and list
  std::set<Key> spelledInKanji;                         // the spellings that have a twin
  auto twin = [&](const WordEntry& word, std::string surface) {
    // The twin goes to the list its kanji spelling came from.
    auto [it, fresh] = kana.emplace(Key{word.reading, word.leftID, word.rightID, std::move(surface)},
                                    std::pair{word.cost, word.list});
    if (!fresh) it->second.first = std::min(it->second.first, word.cost);
    spelledInKanji.emplace(word.reading, word.leftID, word.rightID, word.surface);
  };
  // The prefix is honorific only before a word of its own (自由 in 御自由),
  // not in 御殿 or 御所, where 御 belongs to the word.
  // ...or where the kana spelling is a word already (ご飯 beside 御飯).
  std::set<std::pair<std::string_view, std::string_view>> words, spellings;
  for (const auto& word : lexicon.words) {
    if (isContentWord(lexicon.grammar.names[word.leftID])) words.emplace(word.reading, word.surface);
    if (word.surface.find("ご") != std::string::npos || word.surface.find("お") != std::string::npos)
      spellings.emplace(word.reading, word.surface);
  }
  for (const auto& word : lexicon.words) {
    const auto at = word.surface.find(honorific);
    if (at == std::string::npos || word.surface.size() == at + honorific.size()) continue;
    // 御中 (おんちゅう) and 御霊 (みたま) are not the honorific prefix.
    std::string prefix;
    if (word.reading.starts_with("ご")) prefix = "ご";
    else if (word.reading.starts_with("お") && !word.reading.starts_with("おん")) prefix = "お";
    const std::string kanaSpelling =
        word.surface.substr(0, at) + (at == 0 ? prefix : "ご") + word.surface.substr(at + honorific.size());
    if (at > 0) {
      // Inside a compound (朝御飯) only where a source lists the kana
      // spelling too (朝ご飯): 京都御所 and 大御所 keep the kanji.
      if (spellings.count({word.reading, kanaSpelling})) twin(word, kanaSpelling);
      continue;
    }
    if (prefix.empty()) continue;
    const std::string_view rest = std::string_view(word.surface).substr(honorific.size());
    if (!spellings.count({word.reading, kanaSpelling}) &&
        !words.count({std::string_view(word.reading).substr(prefix.size()), rest}))
      continue;
    twin(word, kanaSpelling);
  }
  std::set<Key> present;
  for (auto& word : lexicon.words) {
    const Key key{word.reading, word.leftID, word.rightID, word.surface};
    if (auto it = kana.find(key); it != kana.end()) {
      word.cost = std::min(word.cost, it->second.first);
      present.insert(key);
    }
  }
  for (auto& word : lexicon.words)
    if (spelledInKanji.count(Key{word.reading, word.leftID, word.rightID, word.surface}))
      word.cost += honorificKanjiPenalty;
  for (const auto& [key, costAndList] : kana) {
    if (present.count(key)) continue;
    const auto& [reading, left, right, surface] = key;
    lexicon.words.push_back({reading, left, right, costAndList.first, surface, costAndList.second});
  }
}

bool isCommonKanji(char32_t c) {
  // JIS X 0208 level 1 (rows 16 to 47): the kanji of everyday text. Level 2
  // and kanji outside the standard are rare, archaic or variant forms.
  static std::unordered_map<char32_t, bool> cache;
  if (auto it = cache.find(c); it != cache.end()) return it->second;
  UErrorCode status = U_ZERO_ERROR;
  static UConverter* converter = ucnv_open("EUC-JP", &status);
  bool common = false;
  if (converter) {
    UChar units[2];
    int32_t length = 0;
    U16_APPEND_UNSAFE(units, length, static_cast<UChar32>(c));
    char bytes[8];
    status = U_ZERO_ERROR;
    ucnv_reset(converter);
    ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    const int32_t n = ucnv_fromUChars(converter, bytes, sizeof bytes, units, length, &status);
    common = U_SUCCESS(status) && n == 2 && static_cast<unsigned char>(bytes[0]) >= 0xB0 &&
             static_cast<unsigned char>(bytes[0]) <= 0xCF;
  }
  cache.emplace(c, common);
  return common;
}

void penalizeRareKanji(Lexicon& lexicon) {
  for (auto& word : lexicon.words) {
    for (char32_t c : text::scalars(word.surface)) {
      if (isHanScalar(c) && c != U'々' && c != U'〆' && c != U'ヶ' && !isCommonKanji(c)) {
        word.cost += guessedChange(word, rareKanjiPenalty);
        break;
      }
    }
  }
}

void addTypedDigitSpellings(Lexicon& lexicon) {
  std::vector<WordEntry> added;
  for (const auto& word : lexicon.words) {
    const std::u32string s = text::scalars(word.surface), r = text::scalars(word.reading);
    std::size_t digits = 0;
    while (digits < s.size() && s[digits] >= U'０' && s[digits] <= U'９') ++digits;
    if (digits == 0 || digits == s.size()) continue;
    // The rest in kana, read as written: the digits read as what is left.
    std::u32string tail;
    for (std::size_t k = digits; k < s.size(); ++k) {
      const char32_t c = s[k];
      if (!isHiraganaScalar(c) && !isKatakanaScalar(c)) {
        tail.clear();
        break;
      }
      tail += hiraganaScalar(c);
    }
    if (tail.empty() || r.size() <= tail.size() || r.substr(r.size() - tail.size()) != tail) continue;
    std::u32string typed;
    for (std::size_t k = 0; k < digits; ++k) typed += s[k] - U'０' + U'0';
    WordEntry twin = word;
    twin.reading = text::fromScalars(typed + tail);
    twin.surface = text::fromScalars(typed + s.substr(digits));
    added.push_back(std::move(twin));
  }
  lexicon.words.insert(lexicon.words.end(), added.begin(), added.end());
}

void applyAdjustments(Lexicon& lexicon, const Adjustments& adjustments, const SKKDictionary* skk,
                      const EdictDictionary* edict, const UnigramProbabilities* model) {
  // EDICT's words first: it tells their part of speech, SKK does not.
  if (adjustments.edictWords && edict) addEdictWords(lexicon, *edict);
  if (adjustments.skkWords && skk) addSKKWords(lexicon, *skk);
  if (adjustments.skkOrder && skk) applySKKOrder(lexicon, *skk, model);
  if (adjustments.edictCommon && edict) penalizeUncommonSpellings(lexicon, *edict);
  if (adjustments.katakanaVariants) penalizeKatakanaVariants(lexicon);
  if (adjustments.properNouns) penalizeProperNouns(lexicon);
  if (adjustments.shortReadings) penalizeShortReadings(lexicon);
  if (adjustments.honorificKana) spellHonorificsInKana(lexicon);
  if (adjustments.rareKanji) penalizeRareKanji(lexicon);
  // Last: it measures against the costs every other rule has settled.
  if (adjustments.usuallyKana && edict) preferUsualKanaSpellings(lexicon, *edict, hiraganaCharge);
}

}  // namespace orvane::mkdict

#include "mkdict.h"

#include <algorithm>
#include <map>
#include <set>
#include <tuple>
#include <unordered_map>

#include "text/text.h"

namespace orvane::mkdict {
namespace {

bool isKanaReading(std::string_view reading) {
  const auto r = text::scalars(reading);
  return !r.empty() && std::all_of(r.begin(), r.end(), [](char32_t c) { return isHiraganaScalar(c) || c == 0x30FC; });
}

// The tags of the first sense: "(n,vs)", "(adj-na)", "(uk)" before or among
// its glosses, up to the mark of the second sense.
std::vector<std::string_view> firstSenseTags(std::string_view senses) {
  if (auto second = senses.find("(2)"); second != std::string_view::npos) senses = senses.substr(0, second);
  std::vector<std::string_view> tags;
  for (std::size_t open = senses.find('('); open != std::string_view::npos; open = senses.find('(', open + 1)) {
    const std::size_t close = senses.find(')', open);
    if (close == std::string_view::npos) break;
    const auto inside = senses.substr(open + 1, close - open - 1);
    // Tags are short lower-case codes; glosses may hold parentheses too.
    if (inside.empty() || !std::all_of(inside.begin(), inside.end(), [](char c) {
          return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == ',';
        }))
      continue;
    for (auto tag : split(inside, ',')) tags.push_back(tag);
  }
  return tags;
}

EdictEntry::Kind kindOf(const std::vector<std::string_view>& tags) {
  auto has = [&](std::string_view t) { return std::find(tags.begin(), tags.end(), t) != tags.end(); };
  if (has("vs")) return EdictEntry::Kind::verbalNoun;
  if (has("adj-na")) return EdictEntry::Kind::adjectivalNoun;
  for (auto t : {"n", "n-adv", "n-t", "adj-no"})
    if (has(t)) return EdictEntry::Kind::noun;
  return EdictEntry::Kind::other;
}

int32_t idNamed(const Grammar& grammar, std::string_view name) {
  auto it = std::find(grammar.names.begin(), grammar.names.end(), name);
  return it == grammar.names.end() ? userWordID : static_cast<int32_t>(it - grammar.names.begin());
}

}  // namespace

bool inflects(std::string_view partOfSpeech) {
  const auto fields = split(partOfSpeech, ',');
  return fields.size() > 4 && fields[4] != "*";
}

EdictDictionary readEDICT(const fs::path& file, Diagnostics& diagnostics) {
  if (!fs::exists(file))
    throw SourceError("EDICT not found at " + file.string() +
                      ": install the Debian package edict or pass --edict FILE (or --no-edict)");
  auto content = text::fromEUCJP(readWhole(file));
  if (!content) throw SourceError("cannot decode " + file.string() + " as EUC-JP");
  EdictDictionary edict;
  std::unordered_map<std::string, uint32_t> meanings;
  const std::string label = file.filename().string();
  forEachLine(*content, [&](std::string_view line) {
    if (line.empty()) return;
    const std::size_t slash = line.find(" /");
    if (slash == std::string_view::npos || slash == 0 || line.back() != '/') {
      diagnostics.malformed(label, line);
      return;
    }
    std::string_view head = line.substr(0, slash);
    std::string_view senses = line.substr(slash + 2, line.size() - slash - 3);
    std::string_view surface = head, reading = head;
    if (auto open = head.find(" ["); open != std::string_view::npos) {
      if (head.back() != ']') {
        diagnostics.malformed(label, line);
        return;
      }
      surface = head.substr(0, open);
      reading = head.substr(open + 2, head.size() - open - 3);
    }
    // Headwords of Latin letters or symbols have no reading a user types.
    auto hiragana = hiraganaReading(reading);
    if (!hiragana || !isKanaReading(*hiragana)) return;
    EdictEntry entry;
    entry.common = senses.ends_with("/(P)") || senses == "(P)";
    const auto tags = firstSenseTags(senses);
    entry.kind = kindOf(tags);
    entry.usuallyKana = std::find(tags.begin(), tags.end(), "uk") != tags.end();
    entry.kana = std::string(reading);
    // A variant spelling may lack the common mark its main one has.
    std::string glosses(senses.ends_with("/(P)") ? senses.substr(0, senses.size() - 4) : senses);
    entry.meaning = meanings.try_emplace(std::move(glosses), static_cast<uint32_t>(meanings.size() + 1)).first->second;
    // A headword listed twice (two words of one spelling): the first line
    // tells how it is used, either tells whether it is common.
    auto [it, fresh] = edict.try_emplace({std::string(surface), *hiragana}, entry);
    if (!fresh) {
      it->second.common = it->second.common || entry.common;
      if (it->second.kind == EdictEntry::Kind::other) it->second.kind = entry.kind;
    }
  });
  return edict;
}

void addEdictWords(Lexicon& lexicon, const EdictDictionary& edict) {
  std::set<std::pair<std::string_view, std::string_view>> known;
  for (const auto& word : lexicon.words) known.emplace(word.reading, word.surface);
  const int32_t noun = userWordID;
  const int32_t verbalNoun = idNamed(lexicon.grammar, "名詞,サ変接続,*,*,*,*,*");
  const int32_t adjectivalNoun = idNamed(lexicon.grammar, "名詞,形容動詞語幹,*,*,*,*,*");
  std::vector<WordEntry> added;
  std::set<std::pair<std::string, std::string>> adding;
  auto add = [&](const std::string& reading, int32_t id, int32_t cost, const std::string& surface) {
    if (known.count({reading, surface}) || !adding.emplace(reading, surface).second) return;
    added.push_back({reading, id, id, cost, surface, "ut-edict.tsv"});
  };
  for (const auto& [key, entry] : edict) {
    const auto& [surface, reading] = key;
    if (entry.kind == EdictEntry::Kind::other || text::characterCount(reading) < 2) continue;
    const auto s = text::scalars(surface);
    if (!std::all_of(s.begin(), s.end(),
                     [](char32_t c) { return isHanScalar(c) || isHiraganaScalar(c) || isKatakanaScalar(c); }) ||
        !kanjiReadings(reading, surface))
      continue;
    const int32_t id = entry.kind == EdictEntry::Kind::verbalNoun       ? verbalNoun
                       : entry.kind == EdictEntry::Kind::adjectivalNoun ? adjectivalNoun
                                                                        : noun;
    const int32_t cost = entry.common ? edictCommonWordCost : edictWordCost;
    if (entry.usuallyKana && hasHan(surface)) {
      // Offered in kanji, written in kana.
      add(reading, id, cost, entry.kana);
      add(reading, id, cost + edictUsuallyKanaPenalty, surface);
    } else {
      add(reading, id, cost, surface);
    }
  }
  lexicon.words.insert(lexicon.words.end(), added.begin(), added.end());
}

void penalizeUncommonSpellings(Lexicon& lexicon, const EdictDictionary& edict) {
  // Words by their stem where the common spelling has okurigana (思っ under
  // 思う, 言いよう under 言う), and whole: a stem without okurigana is a word of
  // its own (島じま is no form of 島).
  std::set<std::pair<std::string, std::string>> common, commonWhole;
  for (const auto& [key, entry] : edict) {
    if (!entry.common) continue;
    commonWhole.insert(key);
    const auto s = text::scalars(key.first);
    if (!s.empty() && !isHanScalar(s.back()))
      if (auto k = stemKey(key.second, key.first)) common.insert(std::move(*k));
  }

  const auto& names = lexicon.grammar.names;
  std::map<std::string_view, std::vector<std::size_t>> byReading;
  for (std::size_t i = 0; i < lexicon.words.size(); ++i) {
    const auto& word = lexicon.words[i];
    if (hasHan(word.surface) && isContentWord(names[word.leftID])) byReading[word.reading].push_back(i);
  }
  std::vector<char> isCommon(lexicon.words.size(), 0);
  for (const auto& [reading, indices] : byReading) {
    bool any = false;
    for (std::size_t i : indices) {
      const auto& word = lexicon.words[i];
      const auto key = stemKey(word.reading, word.surface);
      isCommon[i] = (key && common.count(*key)) || commonWhole.count({word.surface, word.reading});
      any = any || isCommon[i];
    }
    if (!any) continue;
    for (std::size_t i : indices)
      if (!isCommon[i]) lexicon.words[i].cost += guessedChange(lexicon.words[i], edictUncommonPenalty);
  }
}

void preferUsualKanaSpellings(Lexicon& lexicon, const EdictDictionary& edict, int32_t hiraganaCharge) {
  // A stem stands for every common word that has it: 行 い is 行く as much as
  // 行ける (uk), so it counts only when all of them are usually kana.
  std::map<std::pair<std::string, std::string>, bool> usuallyKana;
  for (const auto& [key, entry] : edict)
    if (entry.common)
      if (auto k = stemKey(key.second, key.first)) {
        auto [it, fresh] = usuallyKana.try_emplace(std::move(*k), entry.usuallyKana);
        if (!fresh) it->second = it->second && entry.usuallyKana;
      }

  const auto& names = lexicon.grammar.names;
  std::map<std::tuple<std::string_view, int32_t, int32_t>, std::vector<std::size_t>> spellings;
  for (std::size_t i = 0; i < lexicon.words.size(); ++i) {
    const auto& word = lexicon.words[i];
    if (isContentWord(names[word.leftID])) spellings[{word.reading, word.leftID, word.rightID}].push_back(i);
  }
  std::vector<WordEntry> added;
  for (const auto& [word, indices] : spellings) {
    const WordEntry* cheapest = nullptr;
    for (std::size_t i : indices) {
      const auto& w = lexicon.words[i];
      if (hasHan(w.surface) && (!cheapest || w.cost < cheapest->cost)) cheapest = &w;
    }
    if (!cheapest || text::characterCount(cheapest->surface) < 2) continue;
    std::string kana = cheapest->reading;
    if (!inflects(names[cheapest->leftID])) {
      // Matched whole: 事もなげ is not 事.
      auto it = edict.find(std::pair{cheapest->surface, cheapest->reading});
      if (it == edict.end() || !it->second.common || !it->second.usuallyKana) continue;
      kana = it->second.kana;
    } else {
      const auto key = stemKey(cheapest->reading, cheapest->surface);
      if (!key) continue;
      if (auto it = usuallyKana.find(*key); it == usuallyKana.end() || !it->second) continue;
    }
    const int32_t charge = kana == cheapest->reading ? hiraganaCharge : katakanaCharge;
    const int32_t target = cheapest->cost - charge - usuallyKanaMargin;
    bool hasKana = false;
    for (std::size_t i : indices) {
      auto& w = lexicon.words[i];
      if (w.surface != kana) continue;
      hasKana = true;
      w.cost = std::min(w.cost, target);
    }
    if (!hasKana) added.push_back({cheapest->reading, cheapest->leftID, cheapest->rightID, target, kana});
  }
  lexicon.words.insert(lexicon.words.end(), added.begin(), added.end());
}

}  // namespace orvane::mkdict

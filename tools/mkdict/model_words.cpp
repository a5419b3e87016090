#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "context.h"
#include "text/text.h"

namespace orvane::mkdict {
namespace {

// The model's readings were made by machine and are sometimes wrong
// (小惑星 read こわくぼし), so a spelling it has that the word list lacks is
// taken only when the analyser reads it the same way, as nouns; or when it
// is a katakana word read as written.
bool readsAsNouns(const Analyser& analyser, const std::vector<std::string>& names, const std::vector<int32_t>& newID,
                  std::string_view surface, std::string_view reading) {
  const auto words = analyser(surface);
  if (!words || words->empty()) return false;
  std::string joined;
  for (std::size_t k = 0; k < words->size(); ++k) {
    const AnalysedWord& word = (*words)[k];
    if (!word.known || word.reading.empty() || word.id < 0 || static_cast<std::size_t>(word.id) >= newID.size())
      return false;
    const std::string& name = names[static_cast<std::size_t>(newID[static_cast<std::size_t>(word.id)])];
    const bool noun = name.starts_with("名詞,") && !name.starts_with("名詞,数,") && !name.starts_with("名詞,非自立,") &&
                      !name.starts_with("名詞,代名詞,");
    if (!noun && !(k == 0 && words->size() > 1 && name.starts_with("接頭詞,名詞接続,"))) return false;
    joined += word.reading;
  }
  return joined == reading;
}

bool startsWithMark(std::string_view surface) {
  static constexpr std::u32string_view marks = U"ーァィゥェォッャュョヮヵヶ";
  const auto s = text::scalars(surface);
  return !s.empty() && marks.find(s.front()) != std::u32string_view::npos;
}

}  // namespace

std::size_t addModelWords(Lexicon& lexicon, const LanguageModel& model, const Analyser& analyser,
                          const std::vector<int32_t>& newID, double scale) {
  const auto& names = lexicon.grammar.names;
  const auto nounAt = std::find(names.begin(), names.end(), "名詞,一般,*,*,*,*,*");
  if (nounAt == names.end()) return 0;
  const auto noun = static_cast<int32_t>(nounAt - names.begin());
  std::set<std::pair<std::string, std::string>> known;
  std::set<std::string> readings;
  for (const auto& word : lexicon.words) {
    known.emplace(word.reading, word.surface);
    readings.insert(word.reading);
  }

  // The model's probability of a noun it shares with the word list, against
  // the cost the counts gave it: the median of their difference puts the new
  // words on the same footing.
  std::vector<double> offsets;
  struct Candidate {
    std::string reading, surface;
    double logProbability;  // natural log
  };
  std::vector<Candidate> candidates;
  std::map<std::pair<std::string_view, std::string_view>, int32_t> nounCost;
  for (const auto& word : lexicon.words)
    if (word.leftID == noun) {
      auto [it, fresh] = nounCost.try_emplace({word.reading, word.surface}, word.cost);
      if (!fresh) it->second = std::min(it->second, word.cost);
    }
  model.forEachWord([&](std::string_view key, uint32_t id) {
    const auto parts = splitModelKey(key);
    if (!parts) return;
    const double logProbability = model.unigram(id) * std::log(10.0);
    const auto [reading, surface] = *parts;
    if (auto it = nounCost.find({reading, surface}); it != nounCost.end()) {
      offsets.push_back(it->second + scale * logProbability);
      return;
    }
    if (text::characterCount(surface) < 2 || known.count({std::string(reading), std::string(surface)})) return;
    const auto s = text::scalars(surface);
    if (!std::all_of(s.begin(), s.end(), [](char32_t c) { return isHanScalar(c) || isKatakanaScalar(c); })) return;
    const auto r = text::scalars(reading);
    if (!std::all_of(r.begin(), r.end(), [](char32_t c) { return isHiraganaScalar(c) || c == U'ー'; })) return;
    candidates.push_back({std::string(reading), std::string(surface), logProbability});
  });
  if (offsets.empty()) return 0;
  const double offset = median(std::move(offsets));

  std::size_t added = 0;
  for (const auto& c : candidates) {
    // A katakana spelling of a reading the list has is mostly emphasis
    // (イッポン for 一本); one that begins with a mark or a small kana is
    // a piece of a longer word.
    const bool katakana = allKatakana(c.surface) && hiraganaReading(c.surface) == c.reading &&
                          !readings.count(c.reading) && !startsWithMark(c.surface);
    if (!katakana && !readsAsNouns(analyser, names, newID, c.surface, c.reading)) continue;
    const auto cost = static_cast<int32_t>(std::lround(offset - scale * c.logProbability));
    lexicon.words.push_back({c.reading, noun, noun, cost, c.surface});
    ++added;
  }
  return added;
}

}  // namespace orvane::mkdict

// Word counts from running text, and the rule that makes the spelling that
// text uses most the cheapest spelling of its word.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "mkdict.h"

namespace orvane::mkdict {

// Counts by "surface TAB reading (katakana) TAB six part-of-speech fields",
// read from the output of scripts/corpus-stats.sh: count TAB surface TAB
// reading TAB part of speech.
using CorpusCounts = std::unordered_map<std::string, int64_t>;
CorpusCounts readCorpusCounts(const fs::path& file, Diagnostics& diagnostics);

// Spellings of one word (the same reading and part of speech, conjugation
// included) compete under the converter's costs, but IPADIC's costs were set
// for analysing text, not for choosing how to write it: 駄目 beats だめ, 下さい
// beats ください. Where the counted text clearly prefers one spelling (at least
// corpusMinimumCount uses and corpusDominance times the next one), that
// spelling becomes the cheapest of its word by corpusMargin. The counted text
// is technical documentation: a weaker preference there (空き for あき, 型
// for かた) tells more about the field than about the language.
inline constexpr int64_t corpusMinimumCount = 5;
inline constexpr int64_t corpusDominance = 3;
inline constexpr int32_t corpusMargin = 1000;
// Returns how many entries got cheaper.
std::size_t preferCountedSpellings(Lexicon& lexicon, const CorpusCounts& counts);

}  // namespace orvane::mkdict

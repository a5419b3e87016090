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

// Spellings of one word compete under the converter's costs, but IPADIC's
// costs were set for analysing text, not for choosing how to write it: 駄目
// beats だめ, 下さい beats ください. Where the counted text clearly prefers one
// spelling of a reading and part of speech (at least corpusMinimumCount uses
// and corpusDominance times the next one), it becomes by corpusMargin the
// cheapest of the spellings of its word: its kana spellings and, with EDICT,
// the kanji spellings EDICT glosses alike (判る for 分かる). Without EDICT every
// spelling of the reading counts. The counted text is technical
// documentation: it says how a word is written, not which of two homophones
// text means (空き over 秋, 既知 over 基地 are the field's words).
inline constexpr int64_t corpusMinimumCount = 5;
inline constexpr int64_t corpusDominance = 3;
inline constexpr int32_t corpusMargin = 1000;
// Kana write every word of a reading, and the analyser finds kana words where
// the text has none (しま inside しまう): where the model's text set the costs
// (`modelPriced`), it says how often a word is written in kana, and only a
// kanji spelling the counts prefer is made the cheapest.
// Returns how many entries got cheaper.
std::size_t preferCountedSpellings(Lexicon& lexicon, const CorpusCounts& counts, const EdictDictionary* edict = nullptr,
                                   bool modelPriced = false);

}  // namespace orvane::mkdict

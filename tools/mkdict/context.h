// Context statistics: text drawn from the word 3-gram language model, tagged
// with IPADIC's words by MeCab, and the class bigram model estimated from it
// (word costs within their context id, connection costs between ids, with
// the most frequent function words given ids of their own).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "language_model.h"
#include "mkdict.h"

namespace orvane::mkdict {

// One word of the tagged text: its reading (hiragana), surface and IPADIC's
// context id as MeCab gives it, before renumbering. Words MeCab does not know
// carry the id of its guess and are not in the word list.
struct TaggedWord {
  std::string reading;
  std::string surface;
  int32_t id = 0;
  bool known = true;
  bool operator==(const TaggedWord&) const = default;
};

struct TaggedText {
  std::vector<TaggedWord> words;  // distinct words
  // Stretches of text as indices into `words`. A stretch that begins or
  // ends a sentence has a transition from or to the sentence boundary; one
  // cut out of a sentence (at a space, or where the sampler stopped a
  // sentence that ran on) has none there.
  struct Sentence {
    std::vector<uint32_t> words;
    bool starts = true;
    bool ends = true;
  };
  std::vector<Sentence> sentences;
  std::size_t tokens = 0;
  std::size_t readingsFromModel = 0;   // words whose reading the model's stretch decided
  std::size_t unread = 0;              // words of stretches whose readings disagree past repair (reading empty)
  std::size_t droppedSentences = 0;    // stretches MeCab's words do not line up with
};

// MeCab with the compiled IPADIC in `dictionary`, in this process. Throws
// SourceError when it cannot be opened.
Analyser mecabAnalyser(const fs::path& dictionary);

struct SampleOptions {
  std::size_t words = defaultSampleWords;  // model words to draw, about
  uint64_t seed = defaultSampleSeed;
};

// Draws sentences from the model with a fixed seed and tags them. Each
// analysed word takes the reading of the model's words it lines up with;
// where the two disagree on a stretch (日本 read にっぽん), the model's
// reading goes to the one word of the stretch that can take it, and the
// words of a stretch where none can are left without a reading.
TaggedText sampleTaggedText(const LanguageModel& model, const Analyser& analyser, const SampleOptions& options,
                            const Progress& progress);

// Lines up the words of a sentence as the model cut it with the words the
// analyser cut it into, both given as (byte length, reading), and returns
// the reading each analysed word gets: empty where a stretch cannot be read.
struct Piece {
  std::size_t length = 0;
  std::string reading;  // empty when unknown
};
std::vector<std::string> alignReadings(const std::vector<Piece>& modelWords, const std::vector<Piece>& analysedWords);

// Whether a tagged word is digits only: the analyser cuts a number in digits
// digit by digit, where a reading typed with digits is one fall-back word.
bool isDigitRun(std::string_view surface);

struct ContextReport {
  std::size_t ownIDs = 0;       // function words given ids of their own
  std::size_t wordsCosted = 0;  // entries whose cost the counts set
  std::size_t pairsCosted = 0;  // connection costs the counts set
  std::vector<int32_t> wordIDs;  // the lexicon's id of each of the text's words (-1: the analyser's id has none)
};
// Re-costs the renumbered lexicon from the tagged text: `newID` maps IPADIC's
// ids (as the analyser gives them) to the lexicon's.
ContextReport applyContextStatistics(Lexicon& lexicon, const TaggedText& text, const std::vector<int32_t>& newID,
                                     const ContextOptions& options = {},
                                     const UnigramProbabilities* modelLogProbability = nullptr);

// Adds the nouns the model has and the word list lacks, where the analyser
// confirms their reading (or a katakana word reads as written), as common
// nouns costed from the model's probability. Returns how many.
std::size_t addModelWords(Lexicon& lexicon, const LanguageModel& model, const Analyser& analyser,
                          const std::vector<int32_t>& newID, double scale);

// Whether two spellings of one reading are homophones rather than one word
// written two ways: both have kanji, and neither's kanji are the other's with
// some left out (その後 and そのあと, 取扱い and 取り扱い are one word).
bool homophones(std::string_view a, std::string_view b);

// Content words with homophones (勇気 and 有機, 機能 and 昨日) that the text
// follows often enough get right ids of their own, in the grammar's unused
// ids: each id's row is its word's id's, moved by how much likelier each
// follower is after the word (が after 勇気, nouns after 有機). The spellings
// of one word share its id. Returns how many ids were added.
std::size_t splitRightContexts(Lexicon& lexicon, const TaggedText& text, const std::vector<int32_t>& wordIDs,
                               const ContextOptions& options = {});

// A class bigram sees 雨が降っ and 雨が振っ alike; the words of a run
// that the model stores (two or three words, two of them content words)
// are priced together as one word of the list: its first word's cost and
// the chance of the rest after it in the text. A run comes in where the ids
// would spell its words with a cheaper homophone and the run costs less
// than that (seen at least minimumWordCount times), or where its reading,
// alone, would convert to something else and the run costs less than that
// (seen at least minimumPairCount times; a run of nouns alone, a compound,
// minimumNounRunCount times for either); a run ending in an inflected form
// comes in each form of that spelling. Returns how many entries were added.
std::size_t addPhrases(Lexicon& lexicon, const LanguageModel& model, const TaggedText& text,
                       const std::vector<int32_t>& wordIDs, const ContextOptions& options = {});

}  // namespace orvane::mkdict

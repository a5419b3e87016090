// A word 3-gram language model over "reading/surface" pairs, in the binary
// layout of Debian's libkkc-data (models/sorted3): a MARISA trie numbers the
// vocabulary, and three files of fixed-size little-endian records hold the
// 1-, 2- and 3-gram log-probabilities.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "mkdict.h"

namespace marisa {
class Trie;
}

namespace orvane::mkdict {

class LanguageModel final {
 public:
  // Record sizes of the three n-gram files.
  static constexpr std::size_t unigramRecord = 6;   // log-probability, back-off, reserved
  static constexpr std::size_t bigramRecord = 12;   // second word id, first word id, log-probability, back-off
  static constexpr std::size_t trigramRecord = 10;  // third word id, bigram record index, log-probability

  // Reads data.1gram.index, data.1gram, data.2gram and data.3gram from
  // `dir`. A missing file throws SourceError naming the package; a malformed
  // one names the file and the byte offset where it goes wrong.
  static LanguageModel load(const fs::path& dir);

  LanguageModel(LanguageModel&&) noexcept;
  LanguageModel& operator=(LanguageModel&&) noexcept;
  ~LanguageModel();

  std::size_t size() const { return unigrams_.size() / unigramRecord; }
  std::size_t bigramCount() const { return bigrams_.size() / bigramRecord; }
  std::size_t trigramCount() const { return trigrams_.size() / trigramRecord; }

  std::optional<uint32_t> id(std::string_view key) const;
  // Every word of the vocabulary with its id, in the trie's order.
  void forEachWord(const std::function<void(std::string_view key, uint32_t id)>& visit) const;

  // Base-10 log-probabilities as stored, and the back-off weights.
  double unigram(uint32_t id) const;
  double unigramBackoff(uint32_t id) const;
  std::optional<double> bigram(uint32_t first, uint32_t second) const;
  std::optional<double> trigram(uint32_t first, uint32_t second, uint32_t third) const;
  // P(second | first) with back-off to the unigram when the pair is unseen.
  double conditional(uint32_t first, uint32_t second) const;
  // Every stored bigram: first word, second word, log-probability.
  void forEachBigram(const std::function<void(uint32_t first, uint32_t second, double logProbability)>& visit) const;

  // A stored 16-bit value q stands for the log-probability q × (−8 / 65535).
  static double decode(uint16_t stored) { return stored * (-8.0 / 65535.0); }

 private:
  LanguageModel();
  std::optional<std::size_t> bigramIndex(uint32_t first, uint32_t second) const;

  std::unique_ptr<marisa::Trie> trie_;
  std::string unigrams_, bigrams_, trigrams_;
};

// Word costs from the model's unigram probabilities (see --help, source
// --lm): kanji spellings of content words the model never saw cost
// languageUnseenPenalty more; the spellings of a reading it knows move
// languageOrderWeight of the way towards the reading's cheapest cost plus
// languageCostScale per factor of ten of rarity.
inline constexpr double languageCostScale = 1600;
inline constexpr double languageOrderWeight = 0.2;
inline constexpr int32_t languageUnseenPenalty = 500;
struct LanguageCostReport {
  std::size_t matched = 0;      // entries found whole
  std::size_t stemMatched = 0;  // conjugated entries found by their stem
  std::size_t unknown = 0;      // entries the model does not know
};
LanguageCostReport applyLanguageModel(Lexicon& lexicon, const LanguageModel& model);

// "reading/surface" split at its first slash: the key of a word; nothing for
// the sentence marks "<s>" and "</s>".
std::optional<std::pair<std::string_view, std::string_view>> splitModelKey(std::string_view key);

}  // namespace orvane::mkdict

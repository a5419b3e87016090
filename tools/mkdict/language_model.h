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
#include <random>
#include <string>
#include <string_view>
#include <vector>

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
  // Every stored trigram: the index of its first two words' bigram record
  // (the order forEachBigram visits them in), the third word, log-probability.
  void forEachTrigram(const std::function<void(std::size_t bigram, uint32_t third, double logProbability)>& visit) const;

  // A stored 16-bit value q stands for the log-probability q × (−8 / 65535).
  static double decode(uint16_t stored) { return stored * (-8.0 / 65535.0); }

 private:
  LanguageModel();
  std::optional<std::size_t> bigramIndex(uint32_t first, uint32_t second) const;

  std::unique_ptr<marisa::Trie> trie_;
  std::string unigrams_, bigrams_, trigrams_;
};

// Draws sentences from the model exactly: P(w | u v) is the stored
// trigram's probability when there is one, else the back-off weight of
// (u v) times P(w | v), and so on down to the unigram. A word is drawn by
// first choosing between the explicitly stored successors of the context
// (by their summed probability) and the rest; the rest is drawn from the
// next lower order, rejecting the stored successors, which gives each
// backed-off word exactly its share. The random source is a fixed
// algorithm, so one seed gives the same sentences on every machine.
class SentenceSampler final {
 public:
  explicit SentenceSampler(const LanguageModel& model);
  // The words between <s> and </s>, at most maxWords of them: a draw that
  // runs on is cut there (the model was trained on long stretches of text
  // without their full stops, and one draw in five runs past a hundred
  // words) and is then not `ended`.
  struct Draw {
    std::vector<uint32_t> words;
    bool ended = true;
  };
  Draw sentence(std::mt19937_64& random) const;
  static constexpr std::size_t maxWords = 200;

 private:
  // Successors of each context, sorted by word, with cumulative probabilities.
  struct Successors {
    std::vector<uint32_t> offsets;  // context -> first successor; one more than contexts
    std::vector<uint32_t> words;
    std::vector<double> cumulative;  // running sum within each context
    std::size_t count(std::size_t context) const { return offsets[context + 1] - offsets[context]; }
    double mass(std::size_t context) const {
      return count(context) == 0 ? 0.0 : cumulative[offsets[context + 1] - 1];
    }
    bool contains(std::size_t context, uint32_t word) const;
    uint32_t draw(std::size_t context, double r) const;
  };
  uint32_t drawUnigram(std::mt19937_64& random) const;
  uint32_t drawAfter(uint32_t previous, std::mt19937_64& random) const;
  uint32_t drawAfter(uint32_t first, uint32_t second, std::mt19937_64& random) const;
  std::optional<std::size_t> bigramContext(uint32_t first, uint32_t second) const;

  uint32_t start_ = 0, end_ = 0;
  std::vector<double> unigramCumulative_;
  Successors bigrams_;   // contexts: first words
  Successors trigrams_;  // contexts: bigram positions in bigrams_
};

// A uniform number in [0, 1) from 53 random bits, the same on every platform.
double uniform(std::mt19937_64& random);

// "reading/surface" split at its first slash: the key of a word; nothing for
// the sentence marks "<s>" and "</s>".
std::optional<std::pair<std::string_view, std::string_view>> splitModelKey(std::string_view key);

}  // namespace orvane::mkdict

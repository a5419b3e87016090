#include <algorithm>
#include <cmath>
#include <numeric>
#include <tuple>

#include "language_model.h"

namespace orvane::mkdict {
namespace {

// A context whose stored successors leave almost nothing to the lower order
// could reject for a long time; past this many tries the draw gives up and
// takes the last word drawn. No context of libkkc-data comes near it.
constexpr int maxRejections = 100000;

struct Entry {
  uint32_t context;
  uint32_t word;
  double probability;
};

// Entries sorted by context and word into offsets, words and running sums.
template <typename Successors>
void fill(Successors& successors, std::vector<Entry>& entries, std::size_t contexts) {
  std::sort(entries.begin(), entries.end(),
            [](const Entry& a, const Entry& b) { return std::tie(a.context, a.word) < std::tie(b.context, b.word); });
  successors.offsets.assign(contexts + 1, 0);
  successors.words.resize(entries.size());
  successors.cumulative.resize(entries.size());
  double sum = 0;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const Entry& e = entries[i];
    ++successors.offsets[e.context + 1];
    if (i == 0 || entries[i - 1].context != e.context) sum = 0;
    sum += e.probability;
    successors.words[i] = e.word;
    successors.cumulative[i] = sum;
  }
  std::partial_sum(successors.offsets.begin(), successors.offsets.end(), successors.offsets.begin());
}

}  // namespace

double uniform(std::mt19937_64& random) { return static_cast<double>(random() >> 11) * 0x1.0p-53; }

bool SentenceSampler::Successors::contains(std::size_t context, uint32_t word) const {
  return std::binary_search(words.begin() + offsets[context], words.begin() + offsets[context + 1], word);
}

uint32_t SentenceSampler::Successors::draw(std::size_t context, double r) const {
  const auto first = cumulative.begin() + offsets[context], last = cumulative.begin() + offsets[context + 1];
  // r is below the context's mass; rounding can only push it onto the last.
  const auto at = std::min(std::upper_bound(first, last, r), last - 1);
  return words[static_cast<std::size_t>(at - cumulative.begin())];
}

SentenceSampler::SentenceSampler(const LanguageModel& model) {
  const std::size_t words = model.size();
  start_ = model.id("<s>").value_or(0);
  end_ = model.id("</s>").value_or(0);
  unigramCumulative_.resize(words);
  double sum = 0;
  for (uint32_t id = 0; id < words; ++id) {
    // <s> is a context only; its stored probability stands for "never".
    if (id != start_) sum += std::pow(10.0, model.unigram(id));
    unigramCumulative_[id] = sum;
  }

  std::vector<Entry> entries;
  entries.reserve(model.bigramCount());
  std::vector<std::pair<uint32_t, uint32_t>> records;  // record index -> (first, second)
  records.reserve(model.bigramCount());
  model.forEachBigram([&](uint32_t first, uint32_t second, double logProbability) {
    entries.push_back({first, second, std::pow(10.0, logProbability)});
    records.emplace_back(first, second);
  });
  fill(bigrams_, entries, words);

  entries.clear();
  entries.reserve(model.trigramCount());
  model.forEachTrigram([&](std::size_t bigram, uint32_t third, double logProbability) {
    const auto [first, second] = records[bigram];
    const auto context = bigramContext(first, second);
    entries.push_back({static_cast<uint32_t>(*context), third, std::pow(10.0, logProbability)});
  });
  fill(trigrams_, entries, bigrams_.words.size());
}

std::optional<std::size_t> SentenceSampler::bigramContext(uint32_t first, uint32_t second) const {
  const auto begin = bigrams_.words.begin() + bigrams_.offsets[first];
  const auto end = bigrams_.words.begin() + bigrams_.offsets[first + 1];
  const auto at = std::lower_bound(begin, end, second);
  if (at == end || *at != second) return std::nullopt;
  return static_cast<std::size_t>(at - bigrams_.words.begin());
}

uint32_t SentenceSampler::drawUnigram(std::mt19937_64& random) const {
  const double r = uniform(random) * unigramCumulative_.back();
  const auto at = std::upper_bound(unigramCumulative_.begin(), unigramCumulative_.end(), r);
  return static_cast<uint32_t>(std::min<std::ptrdiff_t>(at - unigramCumulative_.begin(),
                                                        static_cast<std::ptrdiff_t>(unigramCumulative_.size()) - 1));
}

uint32_t SentenceSampler::drawAfter(uint32_t previous, std::mt19937_64& random) const {
  const double r = uniform(random);
  if (r < bigrams_.mass(previous)) return bigrams_.draw(previous, r);
  uint32_t word = drawUnigram(random);
  for (int tries = 0; tries < maxRejections && bigrams_.contains(previous, word); ++tries) word = drawUnigram(random);
  return word;
}

uint32_t SentenceSampler::drawAfter(uint32_t first, uint32_t second, std::mt19937_64& random) const {
  const auto context = bigramContext(first, second);
  if (!context || trigrams_.count(*context) == 0) return drawAfter(second, random);
  const double r = uniform(random);
  if (r < trigrams_.mass(*context)) return trigrams_.draw(*context, r);
  uint32_t word = drawAfter(second, random);
  for (int tries = 0; tries < maxRejections && trigrams_.contains(*context, word); ++tries)
    word = drawAfter(second, random);
  return word;
}

SentenceSampler::Draw SentenceSampler::sentence(std::mt19937_64& random) const {
  Draw draw;
  uint32_t first = start_, second = start_;
  while (draw.words.size() < maxWords) {
    const uint32_t word = draw.words.empty() ? drawAfter(start_, random) : drawAfter(first, second, random);
    if (word == end_) return draw;
    draw.words.push_back(word);
    first = second;
    second = word;
  }
  draw.ended = false;
  return draw;
}

}  // namespace orvane::mkdict

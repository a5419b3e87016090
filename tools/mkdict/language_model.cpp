#include "language_model.h"

#include <marisa.h>

#include <cstring>

namespace orvane::mkdict {
namespace {

uint16_t u16(const std::string& bytes, std::size_t at) {
  return static_cast<uint16_t>(static_cast<unsigned char>(bytes[at]) |
                               static_cast<unsigned char>(bytes[at + 1]) << 8);
}

uint32_t u32(const std::string& bytes, std::size_t at) {
  return static_cast<uint32_t>(u16(bytes, at)) | static_cast<uint32_t>(u16(bytes, at + 2)) << 16;
}

// Keys of the bigram and trigram records are two little-endian uint32s,
// sorted as bytes; the search compares them the same way.
std::string recordKey(uint32_t a, uint32_t b) {
  std::string key(8, '\0');
  for (int i = 0; i < 4; ++i) {
    key[i] = static_cast<char>(a >> (8 * i) & 0xFF);
    key[4 + i] = static_cast<char>(b >> (8 * i) & 0xFF);
  }
  return key;
}

std::optional<std::size_t> findRecord(const std::string& records, std::size_t size, const std::string& key) {
  std::size_t low = 0, high = records.size() / size;
  while (low < high) {
    const std::size_t middle = low + (high - low) / 2;
    const int order = std::memcmp(records.data() + middle * size, key.data(), key.size());
    if (order == 0) return middle;
    if (order < 0) low = middle + 1;
    else high = middle;
  }
  return std::nullopt;
}

[[noreturn]] void malformed(const fs::path& file, std::size_t offset, const std::string& what) {
  throw SourceError("malformed language model file " + file.string() + " at byte offset " + std::to_string(offset) +
                    ": " + what);
}

std::string readModelFile(const fs::path& file) {
  if (!fs::exists(file))
    throw SourceError("language model file " + file.string() +
                      " not found: install the Debian package libkkc-data or pass --lm DIR (or --no-lm)");
  return readWhole(file);
}

// Every record's ids in range and the keys in strictly ascending byte order.
void checkRecords(const fs::path& file, const std::string& records, std::size_t size, uint32_t firstLimit,
                  uint32_t secondLimit) {
  if (records.size() % size != 0)
    malformed(file, records.size() - records.size() % size,
              "a partial record (records are " + std::to_string(size) + " bytes)");
  for (std::size_t at = 0; at < records.size(); at += size) {
    if (u32(records, at) >= firstLimit || u32(records, at + 4) >= secondLimit)
      malformed(file, at, "an id out of range (" + std::to_string(u32(records, at)) + ", " +
                              std::to_string(u32(records, at + 4)) + ")");
    if (at > 0 && std::memcmp(records.data() + at - size, records.data() + at, 8) >= 0)
      malformed(file, at, "records out of order");
  }
}

}  // namespace

LanguageModel::LanguageModel() : trie_(std::make_unique<marisa::Trie>()) {}
LanguageModel::LanguageModel(LanguageModel&&) noexcept = default;
LanguageModel& LanguageModel::operator=(LanguageModel&&) noexcept = default;
LanguageModel::~LanguageModel() = default;

LanguageModel LanguageModel::load(const fs::path& dir) {
  LanguageModel model;
  const fs::path index = dir / "data.1gram.index";
  const std::string trie = readModelFile(index);
  static constexpr std::string_view magic = "We love Marisa.";
  if (trie.compare(0, magic.size(), magic) != 0) malformed(index, 0, "not a MARISA trie");
  try {
    model.trie_->load(index.c_str());
  } catch (const marisa::Exception& error) {
    malformed(index, trie.size(), std::string("the trie is incomplete (") + error.what() + ")");
  }
  const auto words = model.trie_->num_keys();

  const fs::path unigrams = dir / "data.1gram";
  model.unigrams_ = readModelFile(unigrams);
  if (model.unigrams_.size() != words * unigramRecord) {
    const std::size_t whole = std::min(model.unigrams_.size() / unigramRecord, words) * unigramRecord;
    malformed(unigrams, whole,
              std::to_string(model.unigrams_.size()) + " bytes for " + std::to_string(words) + " words of " +
                  std::to_string(unigramRecord) + " bytes");
  }
  const fs::path bigrams = dir / "data.2gram";
  model.bigrams_ = readModelFile(bigrams);
  checkRecords(bigrams, model.bigrams_, bigramRecord, static_cast<uint32_t>(words), static_cast<uint32_t>(words));
  const fs::path trigrams = dir / "data.3gram";
  model.trigrams_ = readModelFile(trigrams);
  checkRecords(trigrams, model.trigrams_, trigramRecord, static_cast<uint32_t>(words),
               static_cast<uint32_t>(model.bigramCount()));
  return model;
}

std::optional<uint32_t> LanguageModel::id(std::string_view key) const {
  marisa::Agent agent;
  agent.set_query(key.data(), key.size());
  if (!trie_->lookup(agent)) return std::nullopt;
  return static_cast<uint32_t>(agent.key().id());
}

void LanguageModel::forEachWord(const std::function<void(std::string_view, uint32_t)>& visit) const {
  marisa::Agent agent;
  agent.set_query("");
  while (trie_->predictive_search(agent))
    visit(std::string_view(agent.key().ptr(), agent.key().length()), static_cast<uint32_t>(agent.key().id()));
}

double LanguageModel::unigram(uint32_t id) const { return decode(u16(unigrams_, id * unigramRecord)); }
double LanguageModel::unigramBackoff(uint32_t id) const { return decode(u16(unigrams_, id * unigramRecord + 2)); }

std::optional<std::size_t> LanguageModel::bigramIndex(uint32_t first, uint32_t second) const {
  return findRecord(bigrams_, bigramRecord, recordKey(second, first));
}

std::optional<double> LanguageModel::bigram(uint32_t first, uint32_t second) const {
  auto at = bigramIndex(first, second);
  if (!at) return std::nullopt;
  return decode(u16(bigrams_, *at * bigramRecord + 8));
}

std::optional<double> LanguageModel::trigram(uint32_t first, uint32_t second, uint32_t third) const {
  auto pair = bigramIndex(first, second);
  if (!pair) return std::nullopt;
  auto at = findRecord(trigrams_, trigramRecord, recordKey(third, static_cast<uint32_t>(*pair)));
  if (!at) return std::nullopt;
  return decode(u16(trigrams_, *at * trigramRecord + 8));
}

double LanguageModel::conditional(uint32_t first, uint32_t second) const {
  if (auto p = bigram(first, second)) return *p;
  return unigramBackoff(first) + unigram(second);
}

void LanguageModel::forEachBigram(const std::function<void(uint32_t, uint32_t, double)>& visit) const {
  for (std::size_t at = 0; at < bigrams_.size(); at += bigramRecord)
    visit(u32(bigrams_, at + 4), u32(bigrams_, at), decode(u16(bigrams_, at + 8)));
}

void LanguageModel::forEachTrigram(const std::function<void(std::size_t, uint32_t, double)>& visit) const {
  for (std::size_t at = 0; at < trigrams_.size(); at += trigramRecord)
    visit(u32(trigrams_, at + 4), u32(trigrams_, at), decode(u16(trigrams_, at + 8)));
}

std::optional<std::pair<std::string_view, std::string_view>> splitModelKey(std::string_view key) {
  const auto slash = key.find('/');
  if (slash == std::string_view::npos || slash == 0 || slash + 1 == key.size()) return std::nullopt;
  return std::pair{key.substr(0, slash), key.substr(slash + 1)};
}

}  // namespace orvane::mkdict

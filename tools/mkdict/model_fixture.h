// Test helper: word 3-gram models written the way libkkc-data lays them out
// (ids from the MARISA trie, records sorted by their bytes), from tables of
// base-10 log-probabilities.
#pragma once

#include <marisa.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "mkdict.h"
#include "testing/environment.h"

namespace orvane::mkdict {

class ModelFixture {
 public:
  // word -> (log-probability, back-off)
  using Unigrams = std::map<std::string, std::pair<double, double>>;
  // (first, second) -> (log-probability, back-off)
  using Bigrams = std::map<std::pair<std::string, std::string>, std::pair<double, double>>;
  // (first, second, third) -> log-probability
  using Trigrams = std::map<std::tuple<std::string, std::string, std::string>, double>;

  ModelFixture(const fs::path& dir, const Unigrams& unigrams, const Bigrams& bigrams, const Trigrams& trigrams)
      : dir_(dir) {
    marisa::Keyset keys;
    for (const auto& [word, p] : unigrams) keys.push_back(word.c_str());
    marisa::Trie trie;
    trie.build(keys);
    trie.save((dir / "data.1gram.index").c_str());
    for (const auto& [word, p] : unigrams) {
      marisa::Agent agent;
      agent.set_query(word.c_str());
      trie.lookup(agent);
      ids[word] = static_cast<uint32_t>(agent.key().id());
    }
    std::vector<std::string> records(ids.size());
    for (const auto& [word, p] : unigrams) {
      std::string r;
      put16(r, stored(p.first));
      put16(r, stored(p.second));
      put16(r, 0);
      records[ids[word]] = r;
    }
    unigram = join(records);
    for (const auto& [pair, p] : bigrams)
      bigramRecords.push_back(record(ids[pair.first], ids[pair.second], p.first, p.second));
    std::sort(bigramRecords.begin(), bigramRecords.end());
    bigram = join(bigramRecords);
    std::vector<std::string> trigramRecords;
    for (const auto& [triple, p] : trigrams) {
      const auto& [first, second, third] = triple;
      const auto pair = std::find_if(bigramRecords.begin(), bigramRecords.end(), [&](const std::string& r) {
        return r.compare(0, 8, record(ids[first], ids[second], 0, 0), 0, 8) == 0;
      }) - bigramRecords.begin();
      std::string t;
      put32(t, ids[third]);
      put32(t, static_cast<uint32_t>(pair));
      put16(t, stored(p));
      trigramRecords.push_back(t);
    }
    std::sort(trigramRecords.begin(), trigramRecords.end());
    trigram = join(trigramRecords);
    save();
  }

  void save() const {
    orvane::testing::writeFile(dir_ / "data.1gram", unigram);
    orvane::testing::writeFile(dir_ / "data.2gram", bigram);
    orvane::testing::writeFile(dir_ / "data.3gram", trigram);
  }

  // Stored values: q stands for q × (−8 / 65535), so q = 8191.875 × −log10 p.
  static uint16_t stored(double logProbability) {
    return static_cast<uint16_t>(std::lround(logProbability * -65535.0 / 8.0));
  }
  static void put16(std::string& out, uint16_t v) {
    out += static_cast<char>(v & 0xFF);
    out += static_cast<char>(v >> 8);
  }
  static void put32(std::string& out, uint32_t v) {
    put16(out, static_cast<uint16_t>(v & 0xFFFF));
    put16(out, static_cast<uint16_t>(v >> 16));
  }
  static std::string record(uint32_t first, uint32_t second, double p, double backoff) {
    std::string r;
    put32(r, second);
    put32(r, first);
    put16(r, stored(p));
    put16(r, stored(backoff));
    return r;
  }
  static std::string join(const std::vector<std::string>& parts) {
    std::string out;
    for (const auto& p : parts) out += p;
    return out;
  }

  std::map<std::string, uint32_t> ids;
  std::string unigram, bigram, trigram;
  std::vector<std::string> bigramRecords;

 private:
  fs::path dir_;
};

}  // namespace orvane::mkdict

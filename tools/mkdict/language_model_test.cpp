#include "language_model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <marisa.h>

#include <algorithm>
#include <cmath>
#include <map>

#include "fixture_build.h"
#include "testing/environment.h"

namespace orvane::mkdict {
namespace {

using ::testing::HasSubstr;

// Stored values: q stands for q × (−8 / 65535), so q = 8191.875 × −log10 p.
uint16_t stored(double logProbability) { return static_cast<uint16_t>(std::lround(logProbability * -65535.0 / 8.0)); }

void put16(std::string& out, uint16_t v) {
  out += static_cast<char>(v & 0xFF);
  out += static_cast<char>(v >> 8);
}
void put32(std::string& out, uint32_t v) {
  put16(out, static_cast<uint16_t>(v & 0xFFFF));
  put16(out, static_cast<uint16_t>(v >> 16));
}

using orvane::testing::writeFile;

// A model of five words, two bigrams and one trigram, written the way
// libkkc-data lays it out: ids from the trie, records sorted by their bytes.
class TinyModel {
 public:
  explicit TinyModel(const fs::path& dir) : dir_(dir) {
    marisa::Keyset keys;
    for (const char* word : {"<s>", "</s>", "あき/秋", "あき/空き", "が/が"}) keys.push_back(word);
    marisa::Trie trie;
    trie.build(keys);
    trie.save((dir / "data.1gram.index").c_str());
    for (const char* word : {"<s>", "</s>", "あき/秋", "あき/空き", "が/が"}) {
      marisa::Agent agent;
      agent.set_query(word);
      trie.lookup(agent);
      ids[word] = static_cast<uint32_t>(agent.key().id());
    }
    const std::map<std::string, std::pair<double, double>> unigrams = {
        {"<s>", {-1.0, -0.5}}, {"</s>", {-1.0, 0}}, {"あき/秋", {-4.0, -0.25}}, {"あき/空き", {-5.0, -0.125}},
        {"が/が", {-2.0, -0.75}}};
    std::vector<std::string> records(ids.size());
    for (const auto& [word, p] : unigrams) {
      std::string r;
      put16(r, stored(p.first));
      put16(r, stored(p.second));
      put16(r, 0);
      records[ids[word]] = r;
    }
    unigram = join(records);
    // (first, second, log-probability, back-off)
    bigramRecords = {record(ids["<s>"], ids["あき/秋"], -3.0, -0.5), record(ids["あき/秋"], ids["が/が"], -0.5, -0.25)};
    std::sort(bigramRecords.begin(), bigramRecords.end());
    bigram = join(bigramRecords);
    const auto pair = std::find(bigramRecords.begin(), bigramRecords.end(),
                                record(ids["<s>"], ids["あき/秋"], -3.0, -0.5)) - bigramRecords.begin();
    std::string t;
    put32(t, ids["が/が"]);
    put32(t, static_cast<uint32_t>(pair));
    put16(t, stored(-0.125));
    trigram = t;
    save();
  }

  void save() const {
    writeFile(dir_ / "data.1gram", unigram);
    writeFile(dir_ / "data.2gram", bigram);
    writeFile(dir_ / "data.3gram", trigram);
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

TEST(LanguageModelTest, ReadsWordsAndTheirProbabilities) {
  orvane::testing::TempDir dir;
  TinyModel tiny(dir.path());
  const LanguageModel model = LanguageModel::load(dir.path());
  auto& ids = tiny.ids;
  ASSERT_EQ(model.size(), 5u);
  EXPECT_EQ(model.bigramCount(), 2u);
  EXPECT_EQ(model.id("あき/空き"), ids["あき/空き"]);
  EXPECT_EQ(model.id("あき"), std::nullopt) << "a prefix of a key is no word";

  const double tolerance = 1e-3;  // one stored step is 8 / 65535
  EXPECT_NEAR(model.unigram(ids["あき/秋"]), -4.0, tolerance);
  EXPECT_NEAR(model.unigram(ids["あき/空き"]), -5.0, tolerance);
  EXPECT_NEAR(model.unigramBackoff(ids["あき/秋"]), -0.25, tolerance);
  EXPECT_NEAR(*model.bigram(ids["あき/秋"], ids["が/が"]), -0.5, tolerance);
  EXPECT_EQ(model.bigram(ids["が/が"], ids["あき/秋"]), std::nullopt) << "pairs are ordered";
  EXPECT_NEAR(*model.trigram(ids["<s>"], ids["あき/秋"], ids["が/が"]), -0.125, tolerance);
  EXPECT_EQ(model.trigram(ids["あき/秋"], ids["が/が"], ids["</s>"]), std::nullopt);

  // Seen pairs give their own probability, unseen ones back off to the unigram.
  EXPECT_NEAR(model.conditional(ids["<s>"], ids["あき/秋"]), -3.0, tolerance);
  EXPECT_NEAR(model.conditional(ids["<s>"], ids["あき/空き"]), -0.5 + -5.0, tolerance);

  std::map<std::string, uint32_t> visited;
  model.forEachWord([&](std::string_view key, uint32_t id) { visited.emplace(key, id); });
  EXPECT_EQ(visited, tiny.ids);
  std::vector<std::pair<uint32_t, uint32_t>> pairs;
  model.forEachBigram([&](uint32_t first, uint32_t second, double) { pairs.emplace_back(first, second); });
  EXPECT_THAT(pairs, ::testing::UnorderedElementsAre(std::pair{ids["<s>"], ids["あき/秋"]},
                                                      std::pair{ids["あき/秋"], ids["が/が"]}));
}

TEST(LanguageModelTest, MalformedFilesNameTheFileAndTheOffset) {
  using Damage = std::function<void(TinyModel&)>;
  struct Case {
    std::string what;
    Damage damage;
    std::string file, offset;
  };
  const std::vector<Case> cases = {
      {"a unigram file one record short", [](TinyModel& m) { m.unigram.resize(m.unigram.size() - 6); },
       "data.1gram", "byte offset 24"},
      {"a partial bigram record", [](TinyModel& m) { m.bigram.resize(m.bigram.size() - 5); }, "data.2gram",
       "byte offset 12: a partial record"},
      {"bigrams out of order",
       [](TinyModel& m) { m.bigram = m.bigramRecords[1] + m.bigramRecords[0]; }, "data.2gram", "byte offset 12:"},
      {"a bigram naming a word past the vocabulary",
       [](TinyModel& m) { m.bigram = m.bigramRecords[0] + TinyModel::record(1, 9, -1, -1); }, "data.2gram",
       "byte offset 12:"},
      {"a trigram naming a bigram past the last", [](TinyModel& m) { m.trigram[4] = 7; }, "data.3gram",
       "byte offset 0:"},
  };
  for (const auto& c : cases) {
    orvane::testing::TempDir dir;
    TinyModel tiny(dir.path());
    c.damage(tiny);
    tiny.save();
    try {
      LanguageModel::load(dir.path());
      ADD_FAILURE() << c.what << " loaded";
    } catch (const SourceError& error) {
      EXPECT_THAT(error.what(), HasSubstr((dir.path() / c.file).string())) << c.what;
      EXPECT_THAT(error.what(), HasSubstr(c.offset)) << c.what;
    }
  }
}

TEST(LanguageModelTest, TrieAndMissingFiles) {
  orvane::testing::TempDir dir;
  TinyModel tiny(dir.path());
  writeFile(dir.path() / "data.1gram.index", "not a trie at all");
  EXPECT_THROW(
      try { LanguageModel::load(dir.path()); } catch (const SourceError& error) {
        EXPECT_THAT(error.what(), HasSubstr("data.1gram.index at byte offset 0"));
        throw;
      },
      SourceError);
  fs::remove(dir.path() / "data.1gram.index");
  EXPECT_THROW(
      try { LanguageModel::load(dir.path()); } catch (const SourceError& error) {
        EXPECT_THAT(error.what(), HasSubstr("libkkc-data"));
        throw;
      },
      SourceError);
}

TEST(LanguageCostsTest, SpellingsOfAReadingFollowTheModelAndUnseenKanjiCostMore) {
  orvane::testing::TempDir dir;
  TinyModel tiny(dir.path());
  const LanguageModel model = LanguageModel::load(dir.path());
  Lexicon lexicon;
  lexicon.grammar.names = {"BOS/EOS,*,*,*,*,*,*", "名詞,一般,*,*,*,*,*", "助詞,格助詞,一般,*,*,*,*"};
  lexicon.words = {
      {"あき", 1, 1, 6000, "秋"},    // log10 p = -4, the likeliest
      {"あき", 1, 1, 5000, "空き"},  // -5: ten times rarer
      {"あき", 1, 1, 5500, "飽き"},  // unseen kanji spelling
      {"あき", 1, 1, 7000, "あき"},  // unseen, but kana
      {"が", 2, 2, 3000, "が"},      // known function word: left alone
  };
  const auto report = applyLanguageModel(lexicon, model);
  EXPECT_EQ(report.matched, 3u);
  EXPECT_EQ(report.unknown, 2u);
  // The reading's cheapest cost is 5000: 秋 moves a fifth of the way from
  // 6000 to it, 空き a fifth of the way to 5000 + 1600.
  const std::vector<int32_t> costs = {5800, 5320, 6000, 7000, 3000};
  for (std::size_t i = 0; i < costs.size(); ++i)
    EXPECT_EQ(lexicon.words[i].cost, costs[i]) << lexicon.words[i].surface;
}

TEST(LanguageCostsTest, ABrokenModelStopsTheBuildAndLeavesTheDataAsItWas) {
  orvane::testing::TempDir dir;
  fs::create_directory(dir / "model");
  TinyModel tiny(dir / "model");
  BuildOptions options = fixtureBuild(dir.path());
  options.languageModel = dir / "model";
  build(options, [](std::string_view) {});
  const std::string before = orvane::testing::readFile(dir / "Mozc/mozc.tsv");
  EXPECT_THAT(orvane::testing::readFile(dir / "Mozc/CREDITS.txt"), HasSubstr("libkkc-data"));

  tiny.trigram.resize(tiny.trigram.size() - 1);
  tiny.save();
  EXPECT_THROW(build(options, [](std::string_view) {}), SourceError);
  EXPECT_EQ(orvane::testing::readFile(dir / "Mozc/mozc.tsv"), before);
  std::size_t entries = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator(dir.path())) ++entries;
  EXPECT_EQ(entries, 2u) << "no partial directory beside the data";
}

TEST(LanguageModelTest, SplitsKeysAtTheFirstSlash) {
  using Split = std::optional<std::pair<std::string_view, std::string_view>>;
  EXPECT_EQ(splitModelKey("あき/秋"), (Split{{"あき", "秋"}}));
  EXPECT_EQ(splitModelKey("すらっしゅ//"), (Split{{"すらっしゅ", "/"}}));
  EXPECT_EQ(splitModelKey("<s>"), std::nullopt);
  EXPECT_EQ(splitModelKey("/x"), std::nullopt);
}

}  // namespace
}  // namespace orvane::mkdict

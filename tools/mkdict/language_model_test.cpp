#include "language_model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <marisa.h>

#include <algorithm>
#include <cmath>
#include <map>

#include "fixture_build.h"
#include "model_fixture.h"
#include "testing/environment.h"

namespace orvane::mkdict {
namespace {

using ::testing::HasSubstr;

using orvane::testing::writeFile;

// A model of five words, two bigrams and one trigram.
class TinyModel : public ModelFixture {
 public:
  explicit TinyModel(const fs::path& dir)
      : ModelFixture(dir,
                     {{"<s>", {-1.0, -0.5}},
                      {"</s>", {-1.0, 0}},
                      {"あき/秋", {-4.0, -0.25}},
                      {"あき/空き", {-5.0, -0.125}},
                      {"が/が", {-2.0, -0.75}}},
                     {{{"<s>", "あき/秋"}, {-3.0, -0.5}}, {{"あき/秋", "が/が"}, {-0.5, -0.25}}},
                     {{{"<s>", "あき/秋", "が/が"}, -0.125}}) {}
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

TEST(LanguageModelBuildTest, ABrokenModelStopsTheBuildAndLeavesTheDataAsItWas) {
  orvane::testing::TempDir dir;
  fs::create_directory(dir / "model");
  TinyModel tiny(dir / "model");
  BuildOptions options = fixtureBuild(dir.path());
  options.languageModel = dir / "model";
  options.sampleWords = 1000;
  options.analyser = [](std::string_view sentence) -> std::optional<std::vector<AnalysedWord>> {
    return std::vector<AnalysedWord>{{sentence.size(), "", 1, false}};
  };
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

// Words a, b, c. After <s>, a is stored (0.5) and the rest backs off to
// the unigrams: </s> 0.2, b 0.3, c 0.1 share the other half as 2 : 3 : 1.
// After <s> a, c is stored (0.7); the rest backs off to P(· | a), where b is
// stored (0.6) and the rest backs off to the unigrams without b.
class BackOffModel : public ModelFixture {
 public:
  explicit BackOffModel(const fs::path& dir)
      : ModelFixture(dir,
                     {{"<s>", {-8, 0}},
                      {"</s>", {std::log10(0.2), 0}},
                      {"あ/a", {std::log10(0.4), 0}},
                      {"び/b", {std::log10(0.3), 0}},
                      {"し/c", {std::log10(0.1), 0}}},
                     {{{"<s>", "あ/a"}, {std::log10(0.5), 0}}, {{"あ/a", "び/b"}, {std::log10(0.6), 0}}},
                     {{{"<s>", "あ/a", "し/c"}, std::log10(0.7)}}) {}
};

TEST(LanguageModelBuildTest, AMissingModelOrAnalyserIsSkippedWithALine) {
  orvane::testing::TempDir dir;
  fs::create_directory(dir / "model");
  TinyModel tiny(dir / "model");
  BuildOptions without = fixtureBuild(dir / "without");
  build(without, [](std::string_view) {});
  struct Case {
    std::string what;
    fs::path model, mecab;
    std::string line;
  };
  const std::vector<Case> cases = {
      {"no model", dir / "absent", defaultMeCabDictionary, "libkkc-data"},
      {"no MeCab dictionary", dir / "model", dir / "no-mecab", "mecab-ipadic-utf8"},
  };
  for (const auto& c : cases) {
    BuildOptions options = fixtureBuild(dir / "with");
    options.languageModel = c.model;
    options.mecabDictionary = c.mecab;
    const BuildResult result = build(options, [](std::string_view) {});
    ASSERT_EQ(result.skipped.size(), 1u) << c.what;
    EXPECT_THAT(result.skipped[0], HasSubstr(c.line)) << c.what;
    for (const char* file : {"mozc.tsv", "connection.bin", "id.def", "CREDITS.txt"})
      EXPECT_EQ(orvane::testing::readFile(dir / "with/Mozc" / file), orvane::testing::readFile(dir / "without/Mozc" / file))
          << c.what << ": " << file;
  }
}

TEST(SentenceSamplerTest, DrawsEachOrderItsShareAndTheRestFromTheOrderBelow) {
  orvane::testing::TempDir dir;
  BackOffModel fixture(dir.path());
  const LanguageModel model = LanguageModel::load(dir.path());
  const SentenceSampler sampler(model);
  auto& id = fixture.ids;
  std::mt19937_64 random(7);
  constexpr int draws = 40000;
  std::map<uint32_t, double> first, afterA;
  int endedAfterA = 0, startingWithA = 0;
  for (int i = 0; i < draws; ++i) {
    const auto draw = sampler.sentence(random);
    const auto& w = draw.words;
    if (w.empty()) {
      first[id["</s>"]] += 1.0 / draws;
      continue;
    }
    first[w[0]] += 1.0 / draws;
    if (w[0] != id["あ/a"]) continue;
    ++startingWithA;
    if (w.size() == 1) ++endedAfterA;
    else afterA[w[1]] += 1;
  }
  const double tolerance = 0.01;
  EXPECT_NEAR(first[id["あ/a"]], 0.5, tolerance);
  EXPECT_NEAR(first[id["</s>"]], 0.5 * 2 / 6, tolerance);
  EXPECT_NEAR(first[id["び/b"]], 0.5 * 3 / 6, tolerance);
  EXPECT_NEAR(first[id["し/c"]], 0.5 * 1 / 6, tolerance);
  EXPECT_EQ(first.count(id["<s>"]), 0u) << "<s> is never drawn";
  // P(· | a) is b 0.6 and 0.4 × (</s> 2, a 4, c 1) / 7; without c, scaled
  // to the 0.3 that the trigram leaves.
  const double withoutC = 0.6 + 0.4 * 6 / 7;
  const double n = startingWithA;
  EXPECT_NEAR(afterA[id["し/c"]] / n, 0.7, tolerance);
  EXPECT_NEAR(afterA[id["び/b"]] / n, 0.3 * 0.6 / withoutC, tolerance);
  EXPECT_NEAR(afterA[id["あ/a"]] / n, 0.3 * 0.4 * 4 / 7 / withoutC, tolerance);
  EXPECT_NEAR(endedAfterA / n, 0.3 * 0.4 * 2 / 7 / withoutC, tolerance);
}

TEST(SentenceSamplerTest, OneSeedGivesOneTextAndRunOnsAreCut) {
  orvane::testing::TempDir dir;
  BackOffModel fixture(dir.path());
  const LanguageModel model = LanguageModel::load(dir.path());
  const SentenceSampler sampler(model);
  auto draw = [&](uint64_t seed) {
    std::mt19937_64 random(seed);
    std::vector<std::vector<uint32_t>> sentences;
    for (int i = 0; i < 50; ++i) sentences.push_back(sampler.sentence(random).words);
    return sentences;
  };
  EXPECT_EQ(draw(1), draw(1));
  EXPECT_NE(draw(1), draw(2));

  // A model that never ends a sentence.
  orvane::testing::TempDir loop;
  ModelFixture endless(loop.path(), {{"<s>", {-8, 0}}, {"</s>", {-8, 0}}, {"あ/a", {0, 0}}}, {}, {});
  const LanguageModel endlessModel = LanguageModel::load(loop.path());
  std::mt19937_64 random(1);
  const auto cut = SentenceSampler(endlessModel).sentence(random);
  EXPECT_FALSE(cut.ended);
  EXPECT_EQ(cut.words.size(), SentenceSampler::maxWords);
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

#include "convert_tool.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include <nlohmann/json.hpp>

#include "dictionary/kana_dictionary.h"
#include "learning/learning.h"
#include "testing/environment.h"

namespace orvane::convert_tool {
namespace {

using Strings = std::vector<std::string>;

TEST(ConvertArguments, GoodAndBadCommandLines) {
  for (const auto& [arguments, ok] : std::vector<std::pair<Strings, bool>>{
      {{}, true},
      {{"--json", "--romaji", "--no-learning", "--separator", "|", "--candidates", "3", "かな"}, true},
      {{"--separator=|", "--candidates=0", "--data=/tmp/x"}, true},
      {{"--", "--json"}, true},  // a reading, not an option
      {{"-"}, true},             // typed as the long-vowel mark in romaji
      {{"--bogus"}, false}, {{"--separator"}, false}, {{"--data"}, false}, {{"--json=yes"}, false},
      {{"--candidates", "x"}, false}, {{"--candidates", "-1"}, false},
  }) {
    auto parsed = parseArguments(arguments);
    EXPECT_EQ(parsed.options.has_value(), ok) << ::testing::PrintToString(arguments);
    EXPECT_EQ(parsed.error.empty(), ok) << parsed.error;
  }
  auto parsed = parseArguments({"--separator=|", "--candidates", "3", "--", "--json", "かな"});
  ASSERT_TRUE(parsed.options);
  EXPECT_EQ(parsed.options->separator, "|");
  EXPECT_EQ(parsed.options->candidates, 3);
  EXPECT_EQ(parsed.options->readings, (Strings{"--json", "かな"}));
}

TEST(ConvertReading, RomajiIsTypedKeyByKey) {
  EXPECT_EQ(readingFor("hon", true), "ほん");  // the final n is flushed
  EXPECT_EQ(readingFor("kanji", false), "kanji");
  EXPECT_EQ(readingFor("\xE3\x81", false), std::nullopt);
  EXPECT_EQ(readingFor("ka\xFF", true), std::nullopt);
}

class ConvertRun : public ::testing::Test {
 protected:
  void SetUp() override {
    env.writeParts({{10, "名詞,一般,*,*,*,*,*"}, {20, "助詞,格助詞,一般,*,*,*,*"}});
    env.writeConnection(30, 0);
    env.writeWords(
        {{"ねこ", 10, 10, 1000, "猫"}, {"ねこ", 10, 10, 3000, "根子"}, {"が", 20, 20, 200, "が"}, {"いる", 10, 10, 1000, "居る"}});
  }

  std::string run(const Options& options, const std::string& input, int64_t expectedFailures = 0) {
    std::istringstream in(input);
    std::ostringstream out;
    err.str("");
    EXPECT_EQ(convert_tool::run(options, in, out, err), expectedFailures);
    return out.str();
  }

  testing::Environment env;
  std::ostringstream err;
};

TEST_F(ConvertRun, PlainOutputWithSeparatorsCandidatesAndInvalidLines) {
  Options options;
  options.separator = "|";
  EXPECT_EQ(run(options, "ねこがいる\n\xE3\x81\nねこ\r\n\n", 1), "猫が|居る\n\n猫\n\n");
  EXPECT_EQ(err.str(), "orvane-convert: line 2: invalid UTF-8\n");

  options.readings = {"ねこ\nいる", "ねこが"};  // arguments replace stdin
  EXPECT_EQ(run(options, "ignored\n"), "猫\n居る\n猫が\n");
  Options romaji;
  romaji.romaji = true;
  romaji.candidates = 2;
  EXPECT_EQ(run(romaji, "nekogairu\n"), "猫が居る\n\tねこが\t猫が\t根子が\n\tいる\t居る\tいる\n");
}

TEST_F(ConvertRun, JSONHasEveryClause) {
  Options options;
  options.json = true;
  std::istringstream lines(run(options, "ねこがいる\n\xFF\n", 1));
  std::string first, second;
  ASSERT_TRUE(std::getline(lines, first) && std::getline(lines, second));
  auto object = nlohmann::json::parse(first);
  EXPECT_EQ(object["conversion"], "猫が居る");
  ASSERT_EQ(object["clauses"].size(), 2u);
  const auto& clause = object["clauses"][0];
  EXPECT_EQ(clause["reading"], "ねこが");
  EXPECT_EQ(clause["candidates"].size(), 4u) << "every candidate when no count is given";
  EXPECT_EQ(clause["candidates"][0], (nlohmann::json{{"text", "猫が"}, {"head", {{"reading", "ねこ"}, {"surface", "猫"}}}}));
  EXPECT_TRUE(clause["candidates"][2]["head"].is_null());
  EXPECT_EQ(object["clauses"][1]["range"], nlohmann::json::array({3, 5}));

  EXPECT_EQ(nlohmann::json::parse(second), (nlohmann::json{{"line", 2}, {"error", "invalid UTF-8"}}));
}

TEST_F(ConvertRun, NoLearningUsesAPrivateUserDirectory) {
  Learning::record({{"ねこ", "根子"}});
  EXPECT_EQ(run(Options{}, "ねこ\n"), "根子\n");

  Options fresh;
  fresh.learning = false;
  fresh.dataDirectory = env.mozcDirectory();
  std::filesystem::path privateDirectory;
  {
    StoreSetup setup(fresh);
    privateDirectory = KanaDictionary::directoryURL();
    EXPECT_NE(privateDirectory, env.userDirectory());
    EXPECT_EQ(KanaDictionary::mozcDirectoryURL(), env.mozcDirectory());
    EXPECT_EQ(run(fresh, "ねこ\n"), "猫\n");
  }
  EXPECT_FALSE(std::filesystem::exists(privateDirectory));
  EXPECT_TRUE(std::filesystem::exists(env.userDirectory() / Learning::fileName));
}

}  // namespace
}  // namespace orvane::convert_tool

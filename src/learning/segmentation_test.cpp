#include "learning/segmentation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "app/log.h"
#include "testing/environment.h"
#include "text/text.h"

namespace orvane {
namespace {

namespace fs = std::filesystem;
using ::orvane::testing::readFile;
using ::orvane::testing::writeFile;
using Matches = std::vector<Segmentation::Match>;
using Strings = std::vector<std::string>;

class SegmentationTest : public ::testing::Test {
 protected:
  fs::path file() const { return env.userDirectory() / "segments.tsv"; }

  void install(std::string_view content) {
    writeFile(file(), content);
    ::orvane::testing::touch(file());
    Segmentation::reloadIfNeeded();
  }

  static Matches matchesIn(std::string_view reading) { return Segmentation::matches(text::characters(reading)); }

  ::orvane::testing::Environment env{1000};
  Log::ScopedCapture capture;
};

TEST_F(SegmentationTest, LearnedKeysAreFoundWhereverTheyOccur) {
  EXPECT_TRUE(matchesIn("きょうは").empty());  // empty store

  Segmentation::record({{"きょうは", 3}});
  EXPECT_EQ(matchesIn("きょうは"), (Matches{{"きょうは", 3, 3}}));
  EXPECT_EQ(matchesIn("あきょうはい"), (Matches{{"きょうは", 3, 4}}));
  EXPECT_EQ(matchesIn("きょうはきょうは"), (Matches{{"きょうは", 3, 3}, {"きょうは", 3, 7}}));
  EXPECT_TRUE(matchesIn("").empty() && matchesIn("きょう").empty());

  // By start, then length, never merged.
  Segmentation::record({{"あいう", 2}, {"あい", 1}, {"いう", 1}});
  EXPECT_EQ(matchesIn("あいうえ"), (Matches{{"あい", 1, 1}, {"あいう", 2, 2}, {"いう", 1, 2}}));

  // A family emoji and a skin-toned thumb are one character each.
  Segmentation::record({{"はし", 1}});
  EXPECT_EQ(matchesIn("👨‍👩‍👧はし"), (Matches{{"はし", 1, 2}}));
  EXPECT_EQ(matchesIn("👍🏽👍🏽はしはし"), (Matches{{"はし", 1, 3}, {"はし", 1, 5}}));
}

TEST_F(SegmentationTest, KeysMatchUnderCanonicalEquivalence) {
  Segmentation::record({{"か\u3099くせい", 2}});  // がくせい with a combining mark
  EXPECT_EQ(matchesIn("がくせい"), (Matches{{"がくせい", 2, 2}}));
  Segmentation::record({{"がくせい", 1}});
  EXPECT_EQ(readFile(file()), "がくせい\t1\t1000\t2\n");
  Segmentation::forget({"か\u3099くせい"});
  EXPECT_TRUE(matchesIn("がくせい").empty());
}

TEST_F(SegmentationTest, RecordingAKeyAgainReplacesItsBoundary) {
  Segmentation::record({{"ここで", 2}});
  env.setNow(2000);
  Segmentation::record({{"ここで", 1}});
  EXPECT_EQ(matchesIn("ここで"), (Matches{{"ここで", 1, 1}}));
  EXPECT_EQ(readFile(file()), "ここで\t1\t2000\t2\n");
  EXPECT_EQ(capture->messages("imk"), (Strings{"learn segment: ここで at 2", "learn segment: ここで at 1"}));
}

TEST_F(SegmentationTest, ForgettingLogsEveryKeyAndSavesButEmptyRequestsWriteNothing) {
  Segmentation::record({});
  Segmentation::forget({});
  EXPECT_FALSE(fs::exists(file()));

  Segmentation::record({{"あした", 2}, {"きのう", 1}});
  Segmentation::forget({"あした", "どこ"});
  EXPECT_EQ(readFile(file()), "きのう\t1\t1000\t1\n");
  const auto messages = capture->messages("imk");
  EXPECT_EQ(Strings(messages.end() - 2, messages.end()), (Strings{"forget segment: あした", "forget segment: どこ"}));
}

TEST_F(SegmentationTest, LoadingAcceptsOnlyBoundariesInsideTheKey) {
  const std::vector<std::pair<std::string, bool>> cases = {
      {"かな\t1\t5\t1", true},      {"かな\t2\t5\t1", false},   {"かな\t0\t5\t1", false},
      {"かな\t-1\t5\t1", false},    {"かな\t+1\t5\t1", true},   {"か\t1\t5\t1", false},
      {"かな\t1\t5\t1\t", false},   {"かな\t1\t\t1", false},    {"かな\t1 \t5\t1", false},
      {"👍🏽な\t1\t5\t1", true},      {"👍🏽な\t2\t5\t1", false},  // two characters, three scalars
      {"かな\t1\t5\t1\r", true},
  };
  for (const auto& [line, loads] : cases) {
    install("ほか\t1\t1\t1\n" + line + "\n");
    EXPECT_EQ(matchesIn("ほか").size(), 1u) << line;
    EXPECT_EQ(matchesIn(line.substr(0, line.find('\t'))).size(), loads ? 1u : 0u) << line;
  }

  // The later of two lines for a key wins.
  install("こんにちは\t2\t5\t1\nこんにちは\t3\t6\t4\n");
  EXPECT_EQ(matchesIn("こんにちは"), (Matches{{"こんにちは", 3, 3}}));
  EXPECT_EQ(capture->messages("imk").back(), "segments loaded: 1 entries");
}

// Keys are written in ascending order; an offset out of range is saved but dropped on load.
TEST_F(SegmentationTest, KeysAreWrittenInAscendingOrder) {
  Segmentation::record({{"んん", 1}, {"ああ", 1}, {"まち", 5}, {"ab", 1}, {"アア", 1}});
  EXPECT_EQ(readFile(file()),
            "ab\t1\t1000\t1\nああ\t1\t1000\t1\nまち\t5\t1000\t1\nんん\t1\t1000\t1\nアア\t1\t1000\t1\n");
  ::orvane::testing::touch(file());
  Segmentation::reloadIfNeeded();
  EXPECT_TRUE(matchesIn("まち").empty());
  EXPECT_EQ(matchesIn("ああ").size(), 1u);
}

TEST_F(SegmentationTest, EvictionDropsTheOldestKeys) {
  std::string content;
  for (int i = 0; i < 10000; ++i) content += "k" + std::to_string(i) + "\t1\t" + std::to_string(2000 + i) + "\t1\n";
  install(content);
  env.setNow(5000);
  Segmentation::record({{"new", 1}});
  EXPECT_TRUE(matchesIn("k0").empty());
  EXPECT_EQ(matchesIn("k1").size() + matchesIn("new").size(), 2u);
  const auto text = readFile(file());
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 10000);
}

}  // namespace
}  // namespace orvane

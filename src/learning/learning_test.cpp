#include "learning/learning.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "app/log.h"
#include "testing/environment.h"

namespace orvane {
namespace {

namespace fs = std::filesystem;
using ::orvane::testing::readFile;
using ::orvane::testing::writeFile;
using Strings = std::vector<std::string>;

class LearningTest : public ::testing::Test {
 protected:
  fs::path file() const { return env.userDirectory() / "learning.tsv"; }

  // Writes the file as a user or another process would and loads it.
  void install(std::string_view content) {
    writeFile(file(), content);
    ::orvane::testing::touch(file());
    Learning::reloadIfNeeded();
  }

  Strings messages() const { return capture->messages("imk"); }

  ::orvane::testing::Environment env{1000};
  Log::ScopedCapture capture;
};

TEST_F(LearningTest, EmptyRecordTouchesNothingWhileEmptyForgetRewrites) {
  Learning::record({});
  EXPECT_FALSE(fs::exists(file()));

  install("か\t蚊\t5\t1\n");
  fs::last_write_time(file(), fs::file_time_type::clock::now() - std::chrono::hours(1));
  const auto before = fs::last_write_time(file());
  Learning::record({});
  EXPECT_EQ(fs::last_write_time(file()), before);

  Learning::forget({});
  EXPECT_NE(fs::last_write_time(file()), before);
  EXPECT_EQ(readFile(file()), "か\t蚊\t5\t1\n");
}

TEST_F(LearningTest, RecordingAgainUpdatesInPlaceAndRanksFirst) {
  Learning::record({{"かし", "菓子"}});
  env.setNow(2000);
  Learning::record({{"かし", "歌詞"}});
  EXPECT_EQ(Learning::surfaces("かし"), (Strings{"歌詞", "菓子"}));

  env.setNow(3000);
  Learning::record({{"かし", "菓子"}});
  EXPECT_EQ(Learning::surfaces("かし"), (Strings{"菓子", "歌詞"}));
  // The entry keeps its place in the file; only its time and count move.
  EXPECT_EQ(readFile(file()), "かし\t菓子\t3000\t2\nかし\t歌詞\t2000\t1\n");

  // Surfaces of one call share their time and keep their order.
  Learning::record({{"き", "木"}, {"き", "気"}, {"き", "木"}});
  EXPECT_EQ(Learning::surfaces("き"), (Strings{"木", "気"}));
  EXPECT_EQ(messages().back(), "learn: き -> 木");
}

TEST_F(LearningTest, ReadingsAndSurfacesMatchUnderCanonicalEquivalence) {
  const std::string composed = "が";             // U+304C
  const std::string decomposed = "か\u3099";     // か + combining voiced mark
  const std::string compatibility = "\uF900";    // decomposes to U+8C48
  Learning::record({{decomposed, compatibility}});
  EXPECT_TRUE(Learning::isLearned(composed, "\u8C48"));
  Learning::record({{composed, "\u8C48"}});
  // One entry, counted twice, and the surface the user chose is not rewritten.
  EXPECT_EQ(Learning::surfaces(decomposed), (Strings{compatibility}));
  EXPECT_EQ(readFile(file()), composed + "\t" + compatibility + "\t1000\t2\n");
}

TEST_F(LearningTest, ForgettingRemovesEverySpellingAndEmptyReadings) {
  install("かみ\t紙\t1\t1\nかみ\t神\t2\t1\nかみ\t紙\t3\t1\nくし\t櫛\t4\t1\n");
  Learning::forget({{"かみ", "紙"}, {"ない", "無い"}});
  EXPECT_EQ(Learning::surfaces("かみ"), (Strings{"神"}));
  EXPECT_EQ(readFile(file()), "かみ\t神\t2\t1\nくし\t櫛\t4\t1\n");

  Learning::forget({{"かみ", "神"}});
  EXPECT_FALSE(Learning::hasEntries("かみ"));
  EXPECT_EQ(messages().back(), "forget: かみ -> 神");
}

TEST_F(LearningTest, DuplicateLinesLoadTwiceAndOnlyTheFirstIsUpdated) {
  install("め\t目\t10\t1\nめ\t芽\t20\t1\nめ\t目\t10\t1\n");
  EXPECT_EQ(Learning::surfaces("め"), (Strings{"芽", "目", "目"}));
  EXPECT_EQ(messages().back(), "learning loaded: 3 entries");

  Learning::record({{"め", "目"}});
  EXPECT_EQ(readFile(file()), "め\t目\t1000\t2\nめ\t芽\t20\t1\nめ\t目\t10\t1\n");
}

TEST_F(LearningTest, LoadingSkipsMalformedLinesAndAcceptsAnyNewline) {
  // Empty readings and surfaces are kept as they are; the times span all of 64 bits.
  const std::vector<std::pair<std::string, bool>> cases = {
      {"a\tA\t1\t1\n", true},      {"a\tA\t1\t1\r\n", true},  {"a\tA\t+1\t-1\n", true},
      {"\tA\t1\t1\n", true},       {"a\t\t1\t1\n", true},      {"a\tA\t-9223372036854775808\t1\n", true},
      {"a\tA\t1\t1\tx\n", false}, {"a\tA\t1\n", false},        {"a\tA\t\t1\n", false},
      {"a\tA\t1 \t1\n", false},    {"a\tA\t 1\t1\n", false},   {"a\tA\t1\t1x\n", false},
      {"a\tA\t+\t1\n", false},     {"a\tA\t+-1\t1\n", false},  {"a\tA\t9223372036854775808\t1\n", false},
      {"a\tA\t1.0\t1\n", false},   {"a\tA\t１\t1\n", false},
  };
  for (const auto& [line, loads] : cases) {
    install("x\tX\t1\t1\n" + line + "y\tY\t1\t1");
    EXPECT_TRUE(Learning::hasEntries("x") && Learning::hasEntries("y")) << line;  // the last needs no newline
    EXPECT_EQ(Learning::surfaces("a").size() + Learning::surfaces("").size(), loads ? 1u : 0u) << line;
  }

  // Every newline character an editor may leave separates lines.
  install("p\tP\t1\t1\x0Bq\tQ\t1\t1\x0Cr\tR\t1\t1\rs\tS\t1\t1\u0085t\tT\t1\t1\u2028u\tU\t1\t1\u2029v\tV\t1\t1");
  for (const char* reading : {"p", "q", "r", "s", "t", "u", "v"}) EXPECT_TRUE(Learning::hasEntries(reading)) << reading;

  // A byte-order mark some editors add is not part of the first reading.
  install("\xEF\xBB\xBFw\tW\t1\t1\n");
  EXPECT_TRUE(Learning::hasEntries("w"));
}

// Readings are written in code point order; pairs that would break the file are not learned.
TEST_F(LearningTest, TheFirstChangeOfANeverLoadedStoreKeepsTheFile) {
  writeFile(file(), "ゆき\t雪\t5\t1\n");
  Learning::record({{"ん", "ン"}, {"a", "b\tc"}, {"あ", "亜"}, {"d\ne", "f"}, {"z", "Z"}, {"\U00020000", "x"},
                    {"g", "h\u2028i"}, {"ｱ", "ア"}, {"a", "A"}});
  EXPECT_EQ(readFile(file()), "a\tA\t1000\t1\nz\tZ\t1000\t1\nあ\t亜\t1000\t1\nゆき\t雪\t5\t1\nん\tン\t1000\t1\n"
                              "ｱ\tア\t1000\t1\n\U00020000\tx\t1000\t1\n");
}

TEST_F(LearningTest, EvictionKeepsTheNewestAndRebuildsListsNewestFirst) {
  // Reading "old" holds the oldest entry, listed before newer ones.
  std::string content = "old\tO1\t5\t1\nold\tO3\t40\t1\nold\tO2\t50\t1\n";
  for (int i = 0; i < 9997; ++i) content += "r" + std::to_string(i) + "\tS\t" + std::to_string(100 + i) + "\t1\n";
  install(content);
  EXPECT_EQ(messages().back(), "learning loaded: 10000 entries");

  Learning::record({{"new", "N"}});
  EXPECT_FALSE(Learning::isLearned("old", "O1"));
  EXPECT_EQ(Learning::surfaces("old"), (Strings{"O2", "O3"}));
  EXPECT_TRUE(Learning::isLearned("new", "N"));

  const auto text = readFile(file());
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 10000);
  EXPECT_NE(text.find("old\tO2\t50\t1\nold\tO3\t40\t1\n"), std::string::npos);

  // Without an overflow nothing is reordered.
  Learning::forget({{"new", "N"}});
  Learning::record({{"old", "O0"}});
  EXPECT_NE(readFile(file()).find("old\tO2\t50\t1\nold\tO3\t40\t1\nold\tO0\t1000\t1\n"), std::string::npos);
}

TEST_F(LearningTest, EvictionAmongEqualTimesDropsExactlyOne) {
  for (const int oldest : {2, 10000}) {
    SCOPED_TRACE(oldest);
    std::string content;
    for (int i = 0; i < 10000; ++i)
      content += "r" + std::to_string(i % 4000) + "\tS" + std::to_string(i) + "\t" + (i < oldest ? "7" : "9") + "\t1\n";
    install(content);
    Learning::record({{"new", "N"}, {"r0", "S0"}});  // refreshing one of them saves it
    int kept = 0;
    for (int i = 0; i < 10000; ++i) kept += Learning::isLearned("r" + std::to_string(i % 4000), "S" + std::to_string(i));
    EXPECT_EQ(kept, 9999);
    EXPECT_TRUE(Learning::isLearned("r0", "S0"));
  }
}

}  // namespace
}  // namespace orvane

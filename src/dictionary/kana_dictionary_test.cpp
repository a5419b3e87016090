#include "dictionary/kana_dictionary.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "app/log.h"
#include "dictionary/emoji_support.h"
#include "platform/services.h"
#include "testing/environment.h"
#include "text/text.h"

namespace orvane {
namespace {

namespace fs = std::filesystem;
using testing::Environment;
using testing::touch;
using testing::writeFile;
using Strings = std::vector<std::string>;

std::vector<std::string> surfaces(const std::vector<Word>& words) {
  std::vector<std::string> out;
  for (const auto& w : words) out.push_back(w.surface);
  return out;
}

TEST(KanaDictionaryTest, AnswersEmptyBeforeTheFirstReload) {
  Environment env;
  env.writeWords({{"かな", 1, 2, 3, "仮名"}});
  env.writeConnection(2, 5);
  env.writeParts({{1, "助詞,*"}});
  env.writeSymbols("かな\t→\n");
  EXPECT_TRUE(KanaDictionary::words("かな").empty());
  EXPECT_EQ(KanaDictionary::connectionCost(0, 1), 0);
  EXPECT_FALSE(KanaDictionary::isAttached(1));
  EXPECT_TRUE(KanaDictionary::symbols("かな").empty());
  KanaDictionary::reloadIfNeeded();
  EXPECT_EQ(surfaces(KanaDictionary::words("かな")), Strings{"仮名"});
  EXPECT_EQ(KanaDictionary::connectionCost(0, 1), 5);
  EXPECT_TRUE(KanaDictionary::isAttached(1));
  EXPECT_EQ(KanaDictionary::symbols("かな"), Strings{"→"});
}

TEST(KanaDictionaryTest, UserWordsComeFirstWithTheirFixedIdAndCost) {
  Environment env;
  env.writeWords({{"かな", 10, 20, 300, "仮名"}});
  env.writeUserDictionary("# mine\nかな\t仮名 カナ\u3000かな\n");
  KanaDictionary::preload();
  const auto words = KanaDictionary::words("かな");
  const std::vector<Word> expected = {
      {"かな", "仮名", 1851, 1851, 1000},
      {"かな", "カナ", 1851, 1851, 1000},
      {"かな", "かな", 1851, 1851, 1000},
      {"かな", "仮名", 10, 20, 300},
  };
  EXPECT_EQ(words, expected);
}

TEST(KanaDictionaryTest, UserValuesSplitAtEverySeparatorAndDropEmptyPieces) {
  Environment env;
  env.writeUserDictionary("a\t  x\t\ty\u3000\u3000z  \na b\n");
  KanaDictionary::preload();
  EXPECT_EQ(surfaces(KanaDictionary::words("a")), (Strings{"x", "y", "z", "b"}));
}

TEST(KanaDictionaryTest, ParsesWordListValuesStrictly) {
  Environment env;
  writeFile(env.mozcDirectory() / "mozc.tsv",
            "x\t1\t2\t300\t\n"         // empty surface
            "x\t1\t2\t300\tA\tB\n"     // a fifth field
            "x\t1\t2\tz\tC\n"          // a letter for the cost
            "x\t1\t2\t\tD\n"           // an empty cost
            "x\t+1\t-2\t-300\tE\n"     // signs
            "x\t1 \t2\t3\tF\n"         // a space in a number
            "x\t1\t2\t3\n"             // three fields
            "x\t1\t2\t99999999999999999999\tG\n");  // beyond Int
  KanaDictionary::preload();
  const std::vector<Word> expected = {
      {"x", "", 1, 2, 300},
      {"x", "E", 1, -2, -300},
  };
  EXPECT_EQ(KanaDictionary::words("x"), expected);
}

TEST(KanaDictionaryTest, WordListsAreMainThenExtrasByName) {
  Environment env;
  env.writeWords({{"か", 1, 1, 1, "main"}});
  env.writeWords({{"か", 1, 1, 1, "b"}}, "ut-b.tsv");
  env.writeWords({{"か", 1, 1, 1, "a"}}, "ut-a.tsv");
  env.writeWords({{"か", 1, 1, 1, "c"}}, "ut-c.txt");
  env.writeWords({{"か", 1, 1, 1, "upper"}}, "ut-d.TSV");
  env.writeWords({{"か", 1, 1, 1, "other"}}, "xut-e.tsv");
  KanaDictionary::preload();
  EXPECT_EQ(surfaces(KanaDictionary::words("か")), (Strings{"main", "a", "b"}));

  // The list is fixed once used; a list added later waits for a restart.
  env.writeWords({{"か", 1, 1, 1, "late"}}, "ut-0.tsv");
  KanaDictionary::preload();
  EXPECT_EQ(surfaces(KanaDictionary::words("か")), (Strings{"main", "a", "b"}));
}

TEST(KanaDictionaryTest, ExtraListsWorkWithoutTheMainList) {
  Environment env;
  env.writeWords({{"か", 1, 1, 1, "a"}}, "ut-a.tsv");
  env.writeUserDictionary("か\tu\n");
  KanaDictionary::preload();
  EXPECT_EQ(surfaces(KanaDictionary::words("か")), (Strings{"u", "a"}));
}

TEST(KanaDictionaryTest, ReadingOfEveryWordIsTheOneAskedFor) {
  Environment env;
  env.writeUserDictionary("が\tG\n");
  KanaDictionary::preload();
  const auto words = KanaDictionary::words("か\u3099");
  ASSERT_EQ(words.size(), 1u);
  EXPECT_EQ(words[0].reading, "か\u3099");
}

TEST(KanaDictionaryTest, ConnectionCostOutsideTheTableIsZero) {
  Environment env;
  env.writeConnection(3, 0, {{{2, 1}, -7}, {{0, 2}, 9}});
  KanaDictionary::preload();
  const struct {
    int64_t from, to, cost;
  } cases[] = {{2, 1, -7}, {0, 2, 9}, {1, 1, 0}, {3, 0, 0}, {0, 3, 0}, {-1, 2, 0}, {2, -1, 0}};
  for (const auto& c : cases) EXPECT_EQ(KanaDictionary::connectionCost(c.from, c.to), c.cost);
}

TEST(KanaDictionaryTest, InstallsTheDefaultUserDictionaryOnlyWhenMissing) {
  Environment env(1'700'000'000, std::string("かな\t仮名\n"));
  const auto installed = env.userDirectory() / "dictionary.txt";
  ASSERT_FALSE(fs::exists(env.userDirectory()));
  Log::ScopedCapture capture;

  KanaDictionary::reloadIfNeeded();
  EXPECT_EQ(testing::readFile(installed), "かな\t仮名\n");
  EXPECT_EQ(capture->messages()[0], "dictionary installed: " + installed.string());
  EXPECT_EQ(surfaces(KanaDictionary::words("かな")), Strings{"仮名"});

  capture->lines.clear();
  writeFile(installed, "かな\tmine\n");
  touch(installed);
  KanaDictionary::reloadIfNeeded();
  EXPECT_EQ(testing::readFile(installed), "かな\tmine\n");
  for (const auto& m : capture->messages()) EXPECT_FALSE(m.starts_with("dictionary installed")) << m;

  // Deleted by the user: the default comes back at the next reload.
  fs::remove(installed);
  KanaDictionary::reloadIfNeeded();
  EXPECT_EQ(testing::readFile(installed), "かな\t仮名\n");
  EXPECT_EQ(surfaces(KanaDictionary::words("かな")), Strings{"仮名"});
}

TEST(KanaDictionaryTest, InstallFailuresAreLoggedAndRetried) {
  Environment env(1'700'000'000, std::string("かな\t仮名\n"));
  // A plain file where the user directory should be makes creating it fail.
  writeFile(env.userDirectory(), "not a directory");
  Log::ScopedCapture capture;
  KanaDictionary::reloadIfNeeded();
  ASSERT_FALSE(capture->lines.empty());
  EXPECT_EQ(capture->lines[0].level, Log::Level::error);
  EXPECT_TRUE(capture->lines[0].message.starts_with("dictionary install failed: ")) << capture->lines[0].message;

  fs::remove(env.userDirectory());
  capture->lines.clear();
  KanaDictionary::reloadIfNeeded();
  EXPECT_EQ(capture->messages()[0],
            "dictionary installed: " + (env.userDirectory() / "dictionary.txt").string());
}

TEST(KanaDictionaryTest, NoDefaultMeansNoUserDictionaryAndNoLog) {
  Environment env;
  Log::ScopedCapture capture;
  KanaDictionary::reloadIfNeeded();
  EXPECT_FALSE(fs::exists(env.userDirectory()));
  EXPECT_TRUE(capture->lines.empty());
}

TEST(KanaDictionaryTest, ReloadSeesChangedFilesOnly) {
  Environment env;
  env.writeUserDictionary("か\t1\n");
  KanaDictionary::reloadIfNeeded();
  Log::ScopedCapture capture;
  KanaDictionary::reloadIfNeeded();
  EXPECT_TRUE(capture->lines.empty());

  env.writeUserDictionary("か\t2\n");
  touch(env.userDirectory() / "dictionary.txt");
  KanaDictionary::reloadIfNeeded();
  EXPECT_EQ(surfaces(KanaDictionary::words("か")), Strings{"2"});
  EXPECT_EQ(capture->messages().size(), 1u);
}

TEST(KanaDictionaryTest, SymbolsSplitAtSpacesOnly) {
  Environment env;
  env.writeSymbols("やじるし\t→ ←  ↑ ↓\nやじるし\t→\nたぶ\ta\tb\u3000c\n");
  KanaDictionary::preload();
  EXPECT_EQ(KanaDictionary::symbols("やじるし"), (Strings{"→", "←", "↑", "↓", "→"}));
  EXPECT_EQ(KanaDictionary::symbols("たぶ"), Strings{"a\tb\u3000c"});
  EXPECT_TRUE(KanaDictionary::symbols("なし").empty());
  EXPECT_TRUE(KanaDictionary::emoji("なし").empty());
}

TEST(KanaDictionaryTest, ShippedDefaultDictionaryGivesAWordForEveryEntry) {
  const auto shipped = testing::readFile(fs::path(ORVANE_SOURCE_DIR) / "data" / "dictionary.txt");
  ASSERT_FALSE(shipped.empty());
  Environment env(1'700'000'000, shipped);
  KanaDictionary::preload();
  std::size_t entries = 0;
  for (std::size_t start = 0; start < shipped.size();) {
    auto end = shipped.find('\n', start);
    if (end == std::string::npos) end = shipped.size();
    const std::string line = shipped.substr(start, end - start);
    start = end + 1;
    if (line.empty() || line[0] == '#') continue;
    ++entries;
    const auto tab = line.find('\t');
    ASSERT_NE(tab, std::string::npos) << line;
    const std::string reading = line.substr(0, tab);
    // Readings as the composer spells them: hiragana and the long-vowel mark.
    for (char32_t c : text::scalars(reading))
      EXPECT_TRUE((c >= U'\u3041' && c <= U'\u3096') || c == U'\u30FC') << line;
    EXPECT_FALSE(KanaDictionary::words(reading).empty()) << line;
  }
  EXPECT_GT(entries, 0u);
}

TEST(KanaDictionaryTest, LocationsFollowTheTestEnvironment) {
  Environment env;
  EXPECT_EQ(KanaDictionary::directoryURL(), env.userDirectory());
  EXPECT_EQ(KanaDictionary::mozcDirectoryURL(), env.mozcDirectory());
}

}  // namespace
}  // namespace orvane

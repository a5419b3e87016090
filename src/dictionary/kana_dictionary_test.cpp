#include "dictionary/kana_dictionary.h"

#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <filesystem>

#include "app/log.h"
#include "testing/environment.h"
#include "text/text.h"

namespace orvane {
namespace {

namespace fs = std::filesystem;
using testing::Environment;
using testing::writeFile;
using Strings = std::vector<std::string>;

Strings surfaces(std::string_view reading) {
  Strings out;
  for (const auto& w : KanaDictionary::words(reading)) out.push_back(w.surface);
  return out;
}

TEST(KanaDictionaryTest, AnswersEmptyUntilTheFirstReloadAndSplitsSymbolsAtSpacesOnly) {
  Environment env;
  env.writeWords({{"かな", 1, 2, 3, "仮名"}});
  env.writeConnection(3, 0, {{{2, 1}, -7}, {{0, 2}, 9}});
  env.writeParts({{1, "助詞,*"}});
  env.writeSymbols("かな\t→ ←  ↑ ↓\nかな\t→\nたぶ\ta\tb\u3000c\n");
  EXPECT_TRUE(KanaDictionary::words("かな").empty() && KanaDictionary::symbols("かな").empty());
  EXPECT_EQ(KanaDictionary::connectionCost(2, 1), 0);
  EXPECT_FALSE(KanaDictionary::isAttached(1));
  KanaDictionary::reloadIfNeeded();
  EXPECT_EQ(surfaces("かな"), Strings{"仮名"});
  EXPECT_TRUE(KanaDictionary::isAttached(1));
  // Outside the table the cost is zero.
  const struct { int64_t from, to, cost; } costs[] = {
      {2, 1, -7}, {0, 2, 9}, {1, 1, 0}, {3, 0, 0}, {0, 3, 0}, {-1, 2, 0}, {2, -1, 0}};
  for (const auto& c : costs) EXPECT_EQ(KanaDictionary::connectionCost(c.from, c.to), c.cost);
  EXPECT_EQ(KanaDictionary::symbols("かな"), (Strings{"→", "←", "↑", "↓", "→"}));
  EXPECT_EQ(KanaDictionary::symbols("たぶ"), Strings{"a\tb\u3000c"});
}

TEST(KanaDictionaryTest, UserWordsComeFirstWithTheirFixedIdAndCost) {
  Environment env;
  env.writeWords({{"かな", 10, 20, 300, "仮名"}});
  env.writeUserDictionary("# mine\nかな\t仮名 カナ\u3000かな\nかな \t  x\t\ty\u3000\u3000z  \nが\tG\n");
  KanaDictionary::preload();
  const std::vector<Word> expected = {
      {"かな", "仮名", 1851, 1851, 1000}, {"かな", "カナ", 1851, 1851, 1000}, {"かな", "かな", 1851, 1851, 1000},
      {"かな", "x", 1851, 1851, 1000},    {"かな", "y", 1851, 1851, 1000},    {"かな", "z", 1851, 1851, 1000},
      {"かな", "仮名", 10, 20, 300},
  };
  EXPECT_EQ(KanaDictionary::words("かな"), expected);
  // The reading of a word is the one asked for, not the file's spelling.
  EXPECT_EQ(KanaDictionary::words("か\u3099"), (std::vector<Word>{{"か\u3099", "G", 1851, 1851, 1000}}));
}

TEST(KanaDictionaryTest, ParsesWordListValuesStrictly) {
  Environment env;
  // Only the empty surface and the signed numbers are words: not a fifth field, a letter,
  // nothing or a space in a number, three fields, or a number beyond 64 bits.
  writeFile(env.mozcDirectory() / "mozc.tsv",
            "x\t1\t2\t300\t\nx\t1\t2\t300\tA\tB\nx\t1\t2\tz\tC\nx\t1\t2\t\tD\nx\t+1\t-2\t-300\tE\n"
            "x\t1 \t2\t3\tF\nx\t1\t2\t3\nx\t1\t2\t99999999999999999999\tG\n"
            "x\t-9223372036854775808\t123456789012345678\t-12345678901234567\tH\nx\t-\t1\t1\tI\n"
            "x\t+7\t-0\t0001\tJ\nx\t1\t\t1\tK\n");
  KanaDictionary::preload();
  EXPECT_EQ(KanaDictionary::words("x"),
            (std::vector<Word>{{"x", "", 1, 2, 300},
                               {"x", "E", 1, -2, -300},
                               {"x", "H", INT64_MIN, 123456789012345678, -12345678901234567},
                               {"x", "J", 7, 0, 1}}));
}

TEST(KanaDictionaryTest, WordListsAreMainThenExtrasByNameFixedAtFirstUse) {
  Environment env;
  for (std::string name : {"mozc.tsv", "ut-b.tsv", "ut-a.tsv", "ut-c.txt", "ut-d.TSV", "xut-e.tsv"})
    env.writeWords({{"か", 1, 1, 1, name}}, name);
  KanaDictionary::preload();
  EXPECT_EQ(surfaces("か"), (Strings{"mozc.tsv", "ut-a.tsv", "ut-b.tsv"}));
  env.writeWords({{"か", 1, 1, 1, "late"}}, "ut-0.tsv");
  KanaDictionary::preload();
  EXPECT_EQ(surfaces("か"), (Strings{"mozc.tsv", "ut-a.tsv", "ut-b.tsv"}));
}

// A search that lengthens a reading stops when nothing longer can match, so
// "longer" must be true whenever any source has a longer reading.
TEST(KanaDictionaryTest, ForEachWordVisitsTheWordsAndTellsWhetherALongerReadingExists) {
  Environment env;
  env.writeWords({{"かな", 1, 1, 10, "仮名"}, {"かなり", 2, 2, 20, "可也"}});
  env.writeWords({{"きょうと", 3, 3, 30, "京都"}}, "ut-x.tsv");
  env.writeUserDictionary("さくら\t桜\nさく\t柵\n");
  KanaDictionary::reloadIfNeeded();
  struct { const char* reading; std::size_t words; bool longer; } cases[] = {
      {"か", 0, true},      {"かな", 1, true},  {"かなり", 1, false}, {"かなる", 0, false},
      {"きょ", 0, true},    {"きょうと", 1, false}, {"さ", 0, true},   {"さく", 1, true},
      {"さくら", 1, false}, {"ん", 0, false},
  };
  for (const auto& c : cases) {
    std::vector<Word> out;
    auto add = [&](const KanaDictionary::WordEntry& e) {
      out.push_back({c.reading, std::string(e.surface), e.leftID, e.rightID, e.cost});
    };
    EXPECT_EQ(KanaDictionary::forEachWord(c.reading, add), c.longer) << c.reading;
    EXPECT_EQ(out.size(), c.words) << c.reading;
    EXPECT_EQ(out, KanaDictionary::words(c.reading)) << c.reading;
  }
}

TEST(KanaDictionaryTest, InstallsTheDefaultUserDictionaryOnlyWhenMissing) {
  Environment env(1'700'000'000, std::string("かな\t仮名\n"));
  const auto installed = env.userDirectory() / "dictionary.txt";
  const Strings installLog = {"dictionary installed: " + installed.string()};
  Log::ScopedCapture capture;
  auto reload = [&] {
    capture->lines.clear();
    KanaDictionary::reloadIfNeeded();
    Strings installs;
    for (const auto& m : capture->messages())
      if (m.starts_with("dictionary install")) installs.push_back(m);
    return installs;
  };

  EXPECT_EQ(reload(), installLog);
  EXPECT_EQ(surfaces("かな"), Strings{"仮名"});
  writeFile(installed, "かな\tmine\n");
  testing::touch(installed);
  EXPECT_TRUE(reload().empty()) << "the user's file is never overwritten";
  EXPECT_EQ(surfaces("かな"), Strings{"mine"});
  fs::remove(installed);
  EXPECT_EQ(reload(), installLog) << "deleted by the user, back at the next reload";
  EXPECT_EQ(surfaces("かな"), Strings{"仮名"});

  // A file where the directory should be: logged at error level, retried next time.
  fs::remove_all(env.userDirectory());
  writeFile(env.userDirectory(), "not a directory");
  const auto failed = reload();
  EXPECT_TRUE(failed.size() == 1 && failed[0].starts_with("dictionary install failed: "));
  EXPECT_EQ(capture->lines[0].level, Log::Level::error);
  fs::remove(env.userDirectory());
  EXPECT_EQ(reload(), installLog);
}

TEST(KanaDictionaryTest, AnInstallKilledMidwayLeavesNothingBehindTheNextOne) {
  Environment env(1'700'000'000, std::string("かな\t仮名\n"));
  const pid_t ended = ::fork();
  if (ended == 0) ::_exit(0);
  ::waitpid(ended, nullptr, 0);
  const auto leftover = env.userDirectory() / (".dictionary.txt.tmp-" + std::to_string(ended) + "-42");
  writeFile(leftover, "かな\t仮");
  KanaDictionary::reloadIfNeeded();
  EXPECT_FALSE(fs::exists(leftover));
  EXPECT_EQ(surfaces("かな"), Strings{"仮名"});
}

TEST(KanaDictionaryTest, ReloadTouchesOnlyChangedFilesAndInstallsNothingWithoutADefault) {
  Environment env;
  {
    Log::ScopedCapture capture;
    KanaDictionary::reloadIfNeeded();
    EXPECT_FALSE(fs::exists(env.userDirectory()));
    EXPECT_TRUE(capture->lines.empty());
  }
  env.writeUserDictionary("か\t1\n");
  env.writeWords({{"か", 1, 1, 1, "w"}});
  KanaDictionary::reloadIfNeeded();
  Log::ScopedCapture capture;
  KanaDictionary::reloadIfNeeded();
  EXPECT_TRUE(capture->lines.empty());
  env.writeUserDictionary("か\t2\n");
  testing::touch(env.userDirectory() / "dictionary.txt");
  KanaDictionary::reloadIfNeeded();
  EXPECT_EQ(surfaces("か"), (Strings{"2", "w"}));
  EXPECT_EQ(capture->messages().size(), 1u);
}

TEST(KanaDictionaryTest, ShippedDefaultDictionaryGivesAWordForEveryEntry) {
  const auto shipped = testing::readFile(fs::path(ORVANE_SOURCE_DIR) / "data" / "dictionary.txt");
  Environment env(1'700'000'000, shipped);
  KanaDictionary::preload();
  std::size_t entries = 0;
  for (std::size_t start = 0, end; start < shipped.size(); start = end + 1) {
    end = std::min(shipped.find('\n', start), shipped.size());
    const std::string line = shipped.substr(start, end - start), reading = line.substr(0, line.find('\t'));
    if (line.empty() || line[0] == '#') continue;
    ++entries;
    // Readings as the composer spells them: hiragana and the long-vowel mark.
    for (char32_t c : text::scalars(reading))
      EXPECT_TRUE((c >= U'\u3041' && c <= U'\u3096') || c == U'\u30FC') << line;
    EXPECT_FALSE(KanaDictionary::words(reading).empty()) << line;
  }
  EXPECT_GT(entries, 0u);
}

}  // namespace
}  // namespace orvane

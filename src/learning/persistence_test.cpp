// What both stores promise about their files: nothing the user taught is
// lost to a crash, an unreadable file or a failed save.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "app/log.h"
#include "learning/learning.h"
#include "learning/segmentation.h"
#include "learning/store_file.h"
#include "testing/environment.h"
#include "text/text.h"

namespace orvane {
namespace {

namespace fs = std::filesystem;
using ::orvane::testing::readFile;
using ::orvane::testing::writeFile;

// The two stores seen through one face: item i is a learned pair or key.
struct StoreKind {
  std::string name, fileName;
  void (*recordItem)(int i);
  bool (*holdsItem)(int i);
  void (*reload)();
  void (*reset)();
  std::string secondField(int i) const { return name == "Learning" ? "読" + std::to_string(i) : "2"; }
  std::string logName;  // how the store's log lines name its file
  std::string saveFailedPrefix() const { return logName + " save failed: "; }
  std::string keptAsidePrefix() const { return logName + " file not valid UTF-8, kept aside as "; }
};

std::string reading(int i) { return "よみ" + std::to_string(i); }

const StoreKind learningKind{
    "Learning", "learning.tsv",
    [](int i) { Learning::record({{reading(i), "読" + std::to_string(i)}}); },
    [](int i) { return Learning::isLearned(reading(i), "読" + std::to_string(i)); },
    Learning::reloadIfNeeded,
    Learning::resetForTesting,
    "learning",
};

const StoreKind segmentationKind{
    "Segmentation", "segments.tsv",
    [](int i) { Segmentation::record({{reading(i), 2}}); },
    [](int i) {
      const auto found = Segmentation::matches(text::characters(reading(i)));
      return std::any_of(found.begin(), found.end(), [&](const auto& m) { return m.key == reading(i); });
    },
    Segmentation::reloadIfNeeded,
    Segmentation::resetForTesting,
    "segments",
};

class PersistenceTest : public ::testing::TestWithParam<const StoreKind*> {
 protected:
  const StoreKind& kind() const { return *GetParam(); }
  fs::path file() const { return env.userDirectory() / kind().fileName; }

  // The items the file holds, failing the test on any line that is not whole.
  std::vector<int> itemsInFile() const {
    const auto content = readFile(file());
    EXPECT_TRUE(content.empty() || content.back() == '\n') << "last line cut short";
    std::vector<int> items;
    store::forEachLine(content, [&](std::string_view line) {
      std::vector<std::string_view> fields;
      store::splitFields(line, fields);
      const auto item = fields.size() == 4 && fields[0].starts_with("よみ")
                            ? store::parseInteger(fields[0].substr(std::string_view("よみ").size()))
                            : std::nullopt;
      const bool whole = item && fields[1] == kind().secondField(static_cast<int>(*item)) &&
                         store::parseInteger(fields[2]) && store::parseInteger(fields[3]);
      EXPECT_TRUE(whole) << "malformed line: " << line;
      if (whole) items.push_back(static_cast<int>(*item));
    });
    return items;
  }

  // The temporary files of saves left in the user directory.
  std::vector<std::string> leftovers() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(env.userDirectory()))
      if (entry.path().filename().string().starts_with("." + kind().fileName + ".tmp-"))
        names.push_back(entry.path().filename().string());
    return names;
  }

  // Error lines, each as "category: message".
  std::vector<std::string> errors() const {
    std::vector<std::string> out;
    for (const auto& line : capture->lines)
      if (line.level == Log::Level::error) out.push_back(line.category + ": " + line.message);
    return out;
  }

  ::orvane::testing::Environment env{1000};
  Log::ScopedCapture capture;
};

TEST_P(PersistenceTest, AWriterKilledAtAnyMomentLeavesAWholeFileAndNoLeftoverAfterTheNextLoad) {
  std::mt19937 random(std::random_device{}());
  std::uniform_int_distribution<int> delayMicroseconds(0, 30000);
  // Most kills land inside a save, between its temporary file and the rename;
  // rounds go on until some have, so that the sweep is seen at work.
  int killedMidSave = 0;
  for (int round = 0; round < 6 || (killedMidSave < 2 && round < 200); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    fs::remove(file());
    kind().reset();
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      ::close(ready[0]);
      for (int i = 0;; ++i) {
        kind().recordItem(i);
        if (i == 0) {
          // The parent times its kill from the first complete save on.
          [[maybe_unused]] auto written = ::write(ready[1], "x", 1);
          ::close(ready[1]);
        }
      }
    }
    ::close(ready[1]);
    char byte;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    ::close(ready[0]);
    ::usleep(static_cast<useconds_t>(delayMicroseconds(random)));
    ::kill(child, SIGKILL);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);

    // Every save wrote items 0 ... k; any other set means a torn file.
    auto items = itemsInFile();
    ASSERT_FALSE(items.empty());
    std::sort(items.begin(), items.end());
    for (std::size_t i = 0; i < items.size(); ++i) ASSERT_EQ(items[i], static_cast<int>(i));

    if (!leftovers().empty()) ++killedMidSave;
    kind().reload();
    EXPECT_TRUE(kind().holdsItem(static_cast<int>(items.size()) - 1));
    EXPECT_EQ(leftovers(), std::vector<std::string>{});
  }
  EXPECT_GE(killedMidSave, 1);
}

// A process that has ended: its id is free, as a killed writer's is.
pid_t endedProcess() {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(0);
  ::waitpid(child, nullptr, 0);
  return child;
}

TEST_P(PersistenceTest, OnlyLeftoversOfEndedOrLongGoneSavesAreRemoved) {
  const std::string ended = std::to_string(endedProcess());
  const std::string running = std::to_string(::getpid());
  const std::string hidden = "." + kind().fileName;
  struct Case {
    std::string name;
    bool removed;
    bool old = false;  // last written an hour ago
    bool directory = false;
  };
  const std::vector<Case> cases = {
      {hidden + ".tmp-" + ended + "-1234", true},
      {hidden + ".tmp-" + running + "-1234", false},               // a save in progress elsewhere
      {hidden + ".tmp-" + running + "-5678", true, /*old=*/true},  // no save takes that long
      {hidden + ".tmp-" + ended + "-99", false, false, /*directory=*/true},
      {hidden + ".tmp-" + ended, false},
      {hidden + ".tmp-" + ended + "-", false},
      {hidden + ".tmp-" + ended + "-12x", false},
      {hidden + ".tmp-0-1", false},
      {hidden + ".tmp-+" + ended + "-1", false},
      {hidden + ".tmpx-" + ended + "-1", false},
      {kind().fileName + ".tmp-" + ended + "-1", false},
      {".other.tsv.tmp-" + ended + "-1", false},
      {kind().fileName + ".unreadable-1000", false},
  };
  // At the first load with and without the file (a kill in the very first
  // save leaves none), and at a later load after another process wrote it.
  for (const std::string moment : {"first load, file present", "first load, no file", "the file changed"}) {
    SCOPED_TRACE(moment);
    fs::remove_all(env.userDirectory());
    fs::create_directories(env.userDirectory());
    kind().reset();
    if (moment != "first load, no file") {
      kind().recordItem(7);
      kind().reset();
    }
    if (moment == "the file changed") {
      kind().reload();
      ::orvane::testing::touch(file());  // as another process's save would
    }
    for (const auto& c : cases) {
      const fs::path path = env.userDirectory() / c.name;
      if (c.directory)
        fs::create_directories(path);
      else
        writeFile(path, kind().name == "Learning" ? "よみ9\t読9\t1\t1\n" : "よみ9\t2\t1\t1\n");
      if (c.old) fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::hours(1));
    }
    kind().reload();
    for (const auto& c : cases) EXPECT_NE(fs::exists(env.userDirectory() / c.name), c.removed) << c.name;
    EXPECT_FALSE(kind().holdsItem(9));  // nothing is read from a leftover
    EXPECT_EQ(kind().holdsItem(7), moment != "first load, no file");
  }
}

TEST_P(PersistenceTest, AnUnreadableFileIsKeptAsideBeforeTheNextSave) {
  const std::string unreadable("\xFF\xFE\x00garbage\t\xC3\n", 13);
  writeFile(file(), unreadable);
  const fs::path taken = file().string() + ".unreadable-1000";
  writeFile(taken, "someone else's");
  kind().reload();
  EXPECT_TRUE(capture->lines.empty());

  kind().recordItem(1);
  const fs::path aside = taken.string() + "-1";
  EXPECT_EQ(readFile(taken), "someone else's");
  EXPECT_EQ(readFile(aside), unreadable);
  EXPECT_EQ(itemsInFile(), std::vector<int>{1});
  EXPECT_EQ(errors(), std::vector<std::string>{"imk: " + kind().keptAsidePrefix() + aside.string()});

  // Once aside, the store's own file is written over as usual.
  kind().recordItem(2);
  EXPECT_FALSE(fs::exists(taken.string() + "-2"));
  EXPECT_EQ(itemsInFile(), (std::vector<int>{1, 2}));
  EXPECT_EQ(errors().size(), 1u);
}

TEST_P(PersistenceTest, AFileRepairedBeforeTheSaveIsNotKeptAside) {
  writeFile(file(), "\xFF\n");
  kind().reload();
  fs::remove(file());
  kind().recordItem(3);
  EXPECT_EQ(itemsInFile(), std::vector<int>{3});
  EXPECT_TRUE(errors().empty());
  for (const auto& entry : fs::directory_iterator(env.userDirectory()))
    EXPECT_EQ(entry.path().filename(), kind().fileName);
}

TEST_P(PersistenceTest, AFailedSaveKeepsMemoryAndTheNextSaveWritesEverything) {
  // A plain file where the directory should be stops every save, even as root.
  writeFile(env.userDirectory(), "in the way");
  kind().recordItem(1);
  ASSERT_EQ(errors().size(), 1u);
  EXPECT_TRUE(errors()[0].starts_with("imk: " + kind().saveFailedPrefix())) << errors()[0];
  EXPECT_GT(errors()[0].size(), kind().saveFailedPrefix().size() + 5);  // with the reason
  EXPECT_TRUE(kind().holdsItem(1));

  // Nor does the failed save make the store forget at its next reload check.
  kind().reload();
  EXPECT_TRUE(kind().holdsItem(1));

  fs::remove(env.userDirectory());
  kind().recordItem(2);
  EXPECT_EQ(itemsInFile(), (std::vector<int>{1, 2}));
  EXPECT_EQ(errors().size(), 1u);
}

TEST_P(PersistenceTest, ADirectoryInTheFilesPlaceFailsTheSaveAndIsLeftAlone) {
  fs::create_directories(file() / "inside");
  kind().reload();
  kind().recordItem(1);
  ASSERT_EQ(errors().size(), 1u);
  EXPECT_TRUE(errors()[0].starts_with("imk: " + kind().saveFailedPrefix()));
  EXPECT_TRUE(fs::is_directory(file() / "inside"));
  EXPECT_TRUE(kind().holdsItem(1));
}

TEST_P(PersistenceTest, FileChangesFromOutsideReplaceTheStoreButItsOwnSavesDoNot) {
  auto line = [&](int i) { return reading(i) + "\t" + kind().secondField(i) + "\t1\t1\n"; };
  writeFile(file(), line(1));
  kind().recordItem(2);  // a store that never loaded keeps the file's items
  EXPECT_EQ(itemsInFile(), (std::vector<int>{1, 2}));
  capture->lines.clear();
  kind().reload();
  EXPECT_TRUE(capture->lines.empty()) << "its own save was loaded again";

  fs::remove(file());
  kind().reload();
  EXPECT_FALSE(kind().holdsItem(2));
  writeFile(file(), line(3));
  ::orvane::testing::touch(file());
  kind().reload();
  EXPECT_TRUE(kind().holdsItem(3));
  EXPECT_EQ(capture->messages("imk"), std::vector<std::string>{kind().logName + " loaded: 1 entries"});
}

INSTANTIATE_TEST_SUITE_P(BothStores, PersistenceTest, ::testing::Values(&learningKind, &segmentationKind),
                         [](const auto& info) { return info.param->name; });

}  // namespace
}  // namespace orvane

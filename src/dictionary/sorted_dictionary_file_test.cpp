#include "dictionary/sorted_dictionary_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "app/log.h"
#include "testing/environment.h"
#include "text/text.h"

namespace orvane {
namespace {

using Values = std::vector<std::string>;
using testing::TempDir;
using testing::writeFile;

Values linesIn(const std::string& content, std::string_view reading) {
  TempDir dir;
  writeFile(dir / "w.tsv", content);
  SortedDictionaryFile file(dir / "w.tsv");
  file.reloadIfNeeded();
  return file.lines(reading);
}

TEST(SortedDictionaryFileTest, FindsEveryLineOfAReadingAndNoOther) {
  const std::string four = "か\t1\nかな\t2\nかな\t3\nかなa\t4\n";
  const std::string letters = "a\t1\nb\t2\nc\t3\nd\t4\ne\t5\nf\t6\ng\t7\nh\t8\n";
  const struct { std::string content, reading; Values expected; } cases[] = {
      {four, "かな", {"2", "3"}}, {four, "か", {"1"}}, {four, "かなa", {"4"}},
      {four, "あ", {}}, {four, "ん", {}}, {four, "かなb", {}},  // before, after and between lines
      {four.substr(0, four.size() - 1), "かなa", {"4"}},  // no LF at the end
      {letters, "a", {"1"}}, {letters, "e", {"5"}}, {letters, "h", {"8"}},
      {"\tA\n\tB\nか\t1\n", "", {"A", "B"}},  // the empty reading: lines starting with TAB
      {"か\t1\r\nき\t2\r\n", "か", {"1\r"}},  // a CR belongs to the value
      {"か\t1\nかな", "かな", {}},             // a last line ending after the reading
      {"か\t1\nかな\t", "かな", {""}}, {"か\t\xff\n", "か", {"\uFFFD"}}, {"", "か", {}}, {"", "", {}},
  };
  for (const auto& c : cases)
    EXPECT_EQ(linesIn(c.content, c.reading), c.expected) << "reading '" << c.reading << "' in\n" << c.content;
}

TEST(SortedDictionaryFileTest, FindsEveryReadingOfALargerFile) {
  // Readings of mixed lengths with zero to three values each put probes at
  // starts, middles and ends of lines.
  auto reading = [](int i) {
    std::string r = "r";
    return r += std::to_string(i * 7919 % 1000);
  };
  std::vector<std::string> lines;
  for (int i = 0; i < 300; ++i)
    for (int v = 0; v < i % 4; ++v) lines.push_back(reading(i) + "\t" + std::to_string(v) + std::string(i % 13, 'x'));
  std::sort(lines.begin(), lines.end());
  std::string content;
  for (const auto& l : lines) content += l + "\n";
  for (int i = 0; i < 300; ++i) EXPECT_EQ(linesIn(content, reading(i)).size(), static_cast<std::size_t>(i % 4)) << i;
  EXPECT_TRUE(linesIn(content, "r").empty());
}

// The search as the format describes it, byte by byte, to hold the fast
// comparisons to: keys and lines with TABs, bytes below TAB, prefixes of
// each other, files sorted or not.
Values referenceLines(std::string_view d, std::string_view key) {
  const std::size_t n = d.size(), k = key.size();
  auto at = [&](std::size_t i) -> unsigned char { return i < n ? static_cast<unsigned char>(d[i]) : '\t'; };
  std::size_t lo = 0, hi = n;
  while (lo < hi) {
    std::size_t m = (lo + hi) / 2, t = m;
    while (t >= 1 && d[t - 1] != '\n') --t;
    bool greaterOrEqual = false;
    for (std::size_t i = 0;; ++i) {
      const unsigned char b = at(t + i);
      if (i == k) {
        greaterOrEqual = b >= '\t';
        break;
      }
      const auto c = static_cast<unsigned char>(key[i]);
      if (b != c) {
        greaterOrEqual = b > c;
        break;
      }
      if (b == '\t') {
        greaterOrEqual = true;
        break;
      }
    }
    if (greaterOrEqual) {
      hi = t;
    } else {
      const auto lf = d.find('\n', t);
      lo = lf == std::string_view::npos ? n + 1 : lf + 1;
    }
  }
  Values out;
  for (std::size_t p = lo; p < n;) {
    if (d.substr(p, k) != key || (p + k < n && d[p + k] != '\t') || p + k >= n) break;
    auto e = d.find('\n', p);
    if (e == std::string_view::npos) e = n;
    out.push_back(text::decodeLossy(d.substr(p + k + 1, e - (p + k + 1))));
    p = e + 1;
  }
  return out;
}

TEST(SortedDictionaryFileTest, SearchesAsTheFormatDescribes) {
  const std::string pieces[] = {"か", "かな", "a", "\t", "\x01", "\x7f", "\xff", "b", ""};
  std::mt19937 random(15);
  auto piece = [&] { return pieces[random() % std::size(pieces)]; };
  TempDir dir;
  SortedDictionaryFile file(dir / "w.tsv");
  for (int round = 0; round < 300; ++round) {
    std::vector<std::string> lines;
    for (int l = static_cast<int>(random() % 12); l > 0; --l) lines.push_back(piece() + piece() + "\t" + piece());
    if (round % 3 != 0) std::sort(lines.begin(), lines.end());
    std::string content;
    for (const auto& line : lines) content += line + "\n";
    if (round % 5 == 0 && !content.empty()) content.pop_back();
    writeFile(dir / "w.tsv", content);
    testing::touch(dir / "w.tsv", round + 1);
    file.reloadIfNeeded();
    for (int q = 0; q < 10; ++q) {
      const auto key = piece() + piece();
      EXPECT_EQ(file.lines(key), referenceLines(content, key)) << "key '" << key << "' in\n" << content;
    }
  }
}

TEST(SortedDictionaryFileTest, FollowsTheFileThroughItsLife) {
  TempDir dir;
  const auto path = dir / "w.tsv";
  SortedDictionaryFile file(path);
  Log::ScopedCapture capture;
  auto reload = [&] {
    capture->lines.clear();
    file.reloadIfNeeded();
    return capture->messages();
  };
  const Values mapped = {"dictionary mapped: " + path.string()};

  EXPECT_TRUE(reload().empty());
  writeFile(path, "か\t1\n");
  EXPECT_EQ(reload(), mapped);
  EXPECT_EQ(file.lines("か"), Values{"1"});

  // Replaced by rename, as tools write data: the old mapping answers until
  // the reload, and a copy holding it outlives the reload.
  writeFile(dir / "new.tsv", "か\t2\n");
  std::filesystem::rename(dir / "new.tsv", path);
  testing::touch(path);
  EXPECT_EQ(file.lines("か"), Values{"1"});
  const SortedDictionaryFile copy = file;
  EXPECT_EQ(reload(), mapped);
  EXPECT_EQ(file.lines("か"), Values{"2"});
  EXPECT_EQ(copy.lines("か"), Values{"1"});

  const auto date = std::filesystem::last_write_time(path);
  writeFile(dir / "new.tsv", "か\t3\n");
  std::filesystem::rename(dir / "new.tsv", path);
  std::filesystem::last_write_time(path, date);
  EXPECT_TRUE(reload().empty()) << "same date, no reload";
  EXPECT_EQ(file.lines("か"), Values{"2"});

  // A map failure empties the reader.
  std::filesystem::remove(path);
  std::filesystem::create_directory(path);
  EXPECT_EQ(reload(), Values{"dictionary load failed: " + path.string() + " Is a directory"});
  EXPECT_EQ(capture->lines[0].level, Log::Level::error);
  EXPECT_TRUE(file.lines("か").empty());

  std::filesystem::remove(path);
  writeFile(path, "");
  EXPECT_EQ(reload(), mapped) << "an empty file maps";
  EXPECT_TRUE(file.lines("").empty());
  std::filesystem::remove(path);
  EXPECT_TRUE(reload().empty());
}

}  // namespace
}  // namespace orvane

#include "corpus.h"

#include <gtest/gtest.h>

#include "testing/environment.h"

namespace orvane::mkdict {
namespace {

Lexicon lexiconOf(std::vector<WordEntry> words) {
  Lexicon l;
  l.grammar.names = {"BOS/EOS,*,*,*,*,*,*", "名詞,形容動詞語幹,*,*,*,*,*", "名詞,一般,*,*,*,*,*",
                     "動詞,自立,*,*,五段・ラ行,連用タ接続,やる"};
  l.grammar.costs.assign(l.grammar.names.size() * l.grammar.names.size(), 0);
  l.words = std::move(words);
  return l;
}

int32_t costOf(const Lexicon& l, std::string_view surface, int32_t id) {
  for (const auto& w : l.words)
    if (w.surface == surface && w.leftID == id) return w.cost;
  return -1;
}

TEST(CorpusCounts, ReadsCountsAndReportsMalformedLines) {
  testing::TempDir dir;
  testing::writeFile(dir / "stats.tsv",
                     "12\tだめ\tダメ\t名詞,形容動詞語幹,*,*,*,*\n"
                     "x\tbad\tline\there\n"
                     "3\tだめ\tダメ\t名詞,形容動詞語幹,*,*,*,*\n"
                     "4\ttoo\tfew\n");
  Diagnostics diagnostics;
  auto counts = readCorpusCounts(dir / "stats.tsv", diagnostics);
  EXPECT_EQ(counts.at("だめ\tダメ\t名詞,形容動詞語幹,*,*,*,*"), 15);
  EXPECT_EQ(diagnostics.count(), 2u);
  EXPECT_THROW(readCorpusCounts(dir / "missing.tsv", diagnostics), SourceError);
}

TEST(CorpusCounts, TheUsualSpellingOfAWordBecomesItsCheapest) {
  auto l = lexiconOf({
      {"だめ", 1, 1, 5000, "駄目"},
      {"だめ", 1, 1, 6000, "だめ"},
      {"だめ", 1, 1, 5500, "ダメ"},
      // Another kind of word under the same reading is not a spelling of it.
      {"だめ", 2, 2, 3000, "駄馬"},
      // Preferred, but not by enough: nothing changes.
      {"やっ", 3, 3, 4000, "遣っ"},
      {"やっ", 3, 3, 4200, "やっ"},
  });
  CorpusCounts counts{
      {"だめ\tダメ\t名詞,形容動詞語幹,*,*,*,*", 40},
      {"駄目\tダメ\t名詞,形容動詞語幹,*,*,*,*", 5},
      {"駄馬\tダメ\t名詞,一般,*,*,*,*", 1000},
      {"やっ\tヤッ\t動詞,自立,*,*,五段・ラ行,連用タ接続", 11},
      {"遣っ\tヤッ\t動詞,自立,*,*,五段・ラ行,連用タ接続", 4},
  };
  EXPECT_EQ(preferCountedSpellings(l, counts), 1u);
  EXPECT_EQ(costOf(l, "だめ", 1), 5000 - corpusMargin);
  EXPECT_EQ(costOf(l, "駄目", 1), 5000);
  EXPECT_EQ(costOf(l, "ダメ", 1), 5500);
  EXPECT_EQ(costOf(l, "駄馬", 2), 3000);
  EXPECT_EQ(costOf(l, "やっ", 3), 4200);
}

TEST(CorpusCounts, RareOrAlreadyCheapSpellingsAreLeftAlone) {
  auto l = lexiconOf({
      {"だめ", 1, 1, 5000, "駄目"},
      {"だめ", 1, 1, 3000, "だめ"},
      {"ここ", 2, 2, 5000, "此処"},
      {"ここ", 2, 2, 5600, "ここ"},
  });
  CorpusCounts counts{
      {"だめ\tダメ\t名詞,形容動詞語幹,*,*,*,*", 40},
      {"ここ\tココ\t名詞,一般,*,*,*,*", corpusMinimumCount - 1},
  };
  EXPECT_EQ(preferCountedSpellings(l, counts), 0u);
  EXPECT_EQ(costOf(l, "だめ", 1), 3000);
  EXPECT_EQ(costOf(l, "ここ", 2), 5600);
}

}  // namespace
}  // namespace orvane::mkdict

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
      {"だめ", 1, 1, 4000, "だめ"},
      {"だめ", 1, 1, 5500, "ダメ"},
      // Another kind of word under the same reading is not a spelling of it.
      {"だめ", 2, 2, 3000, "駄馬"},
      // Preferred, but not by enough: nothing changes.
      {"やっ", 3, 3, 4000, "遣っ"},
      {"やっ", 3, 3, 4200, "やっ"},
      // Kana write every word of a reading (しま is the analyser's, in しまう).
      {"しま", 2, 2, 3000, "島"},
      {"しま", 2, 2, 3500, "しま"},
  });
  CorpusCounts counts{
      {"駄目\tダメ\t名詞,形容動詞語幹,*,*,*,*", 40},
      {"だめ\tダメ\t名詞,形容動詞語幹,*,*,*,*", 5},
      {"駄馬\tダメ\t名詞,一般,*,*,*,*", 1000},
      {"遣っ\tヤッ\t動詞,自立,*,*,五段・ラ行,連用タ接続", 11},
      {"やっ\tヤッ\t動詞,自立,*,*,五段・ラ行,連用タ接続", 4},
      {"しま\tシマ\t名詞,一般,*,*,*,*", 100},
  };
  Lexicon alone = l;
  EXPECT_EQ(preferCountedSpellings(l, counts, nullptr, true), 1u);
  EXPECT_EQ(costOf(l, "駄目", 1), 4000 - corpusMargin);
  EXPECT_EQ(costOf(l, "だめ", 1), 4000);
  EXPECT_EQ(costOf(l, "ダメ", 1), 5500);
  EXPECT_EQ(costOf(l, "駄馬", 2), 3000);
  EXPECT_EQ(costOf(l, "遣っ", 3), 4000);
  EXPECT_EQ(costOf(l, "しま", 2), 3500) << "the model's text says how often kana are written";
  // Without the model's costs the counts are all there is to go by.
  EXPECT_EQ(preferCountedSpellings(alone, counts), 2u);
  EXPECT_EQ(costOf(alone, "しま", 2), 3000 - corpusMargin);
}

TEST(CorpusCounts, AHomophoneIsNoSpellingOfTheWord) {
  Lexicon l;
  l.grammar.names = {"BOS/EOS,*,*,*,*,*,*", "名詞,一般,*,*,*,*,*", "動詞,自立,*,*,五段・マ行,基本形,*",
                     "動詞,自立,*,*,五段・マ行,連用タ接続,*", "動詞,自立,*,*,五段・ラ行,基本形,*",
                     "動詞,自立,*,*,五段・ラ行,連用形,*"};
  l.grammar.costs.assign(l.grammar.names.size() * l.grammar.names.size(), 0);
  l.words = {
      {"あき", 1, 1, 3000, "秋"},  {"あき", 1, 1, 4000, "空き"}, {"すむ", 2, 2, 3000, "住む"},
      {"すむ", 2, 2, 3500, "済む"}, {"すん", 3, 3, 3000, "住ん"}, {"すん", 3, 3, 3500, "済ん"},
      {"わかる", 4, 4, 3000, "判る"}, {"わかる", 4, 4, 3500, "分かる"}, {"わかり", 5, 5, 3000, "判り"},
      {"わかり", 5, 5, 3500, "分かり"}, {"わかり", 5, 5, 3800, "わかり"},
  };
  EdictDictionary edict;
  auto gloss = [&](std::string surface, std::string reading, uint32_t meaning) {
    EdictEntry entry;
    entry.meaning = meaning;
    edict[{std::move(surface), std::move(reading)}] = entry;
  };
  gloss("秋", "あき", 1);
  gloss("空き", "あき", 2);
  gloss("住む", "すむ", 3);
  gloss("済む", "すむ", 4);
  gloss("分かる", "わかる", 5);
  gloss("判る", "わかる", 5);
  CorpusCounts counts{
      {"空き\tアキ\t名詞,一般,*,*,*,*", 44},
      {"済ん\tスン\t動詞,自立,*,*,五段・マ行,連用タ接続", 20},
      {"分かり\tワカリ\t動詞,自立,*,*,五段・ラ行,連用形", 20},
  };
  // Counted in manuals, 空き and 済ん are the field's words, not better
  // spellings of 秋 and 住ん; 分かり is 判り's usual spelling.
  EXPECT_EQ(preferCountedSpellings(l, counts, &edict), 1u);
  EXPECT_EQ(costOf(l, "空き", 1), 4000);
  EXPECT_EQ(costOf(l, "済ん", 3), 3500);
  EXPECT_EQ(costOf(l, "分かり", 5), 3000 - corpusMargin);
  // Without EDICT to tell words apart, every spelling of a reading gives way.
  EXPECT_EQ(preferCountedSpellings(l, counts), 2u);
  EXPECT_EQ(costOf(l, "空き", 1), 3000 - corpusMargin);
}

TEST(CorpusCounts, RareOrAlreadyCheapSpellingsAreLeftAlone) {
  auto l = lexiconOf({
      {"だめ", 1, 1, 3000, "駄目"},
      {"だめ", 1, 1, 5000, "だめ"},
      {"ここ", 2, 2, 5600, "此処"},
      {"ここ", 2, 2, 5000, "ここ"},
  });
  CorpusCounts counts{
      {"駄目\tダメ\t名詞,形容動詞語幹,*,*,*,*", 40},
      {"此処\tココ\t名詞,一般,*,*,*,*", corpusMinimumCount - 1},
  };
  EXPECT_EQ(preferCountedSpellings(l, counts), 0u);
  EXPECT_EQ(costOf(l, "駄目", 1), 3000);
  EXPECT_EQ(costOf(l, "此処", 2), 5600);
}

}  // namespace
}  // namespace orvane::mkdict

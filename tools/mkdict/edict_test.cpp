#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fixture_build.h"
#include "mkdict.h"
#include "testing/environment.h"

namespace orvane::mkdict {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::ThrowsMessage;
using orvane::testing::readFile;
using orvane::testing::TempDir;
using Kind = EdictEntry::Kind;

const fs::path testdata = fs::path(ORVANE_SOURCE_DIR) / "tools/mkdict/testdata";
constexpr int32_t U = userWordID;
constexpr int32_t particle = 1, verbalNoun = 9, adjectivalNoun = 10, ichidan = 11, godan = 12;
const Progress quiet = [](std::string_view) {};

EdictDictionary fixtureEDICT(Diagnostics& diagnostics) { return readEDICT(testdata / "edict/edict.test", diagnostics); }

Lexicon lexiconOf(std::vector<WordEntry> words) {
  Lexicon lexicon;
  lexicon.grammar.names.assign(2645, "");
  lexicon.grammar.names[0] = "BOS/EOS,*,*,*,*,*,*";
  lexicon.grammar.names[particle] = "助詞,係助詞,*,*,*,*,は";
  lexicon.grammar.names[verbalNoun] = "名詞,サ変接続,*,*,*,*,*";
  lexicon.grammar.names[adjectivalNoun] = "名詞,形容動詞語幹,*,*,*,*,*";
  lexicon.grammar.names[ichidan] = "動詞,自立,*,*,一段,連用形,*";
  lexicon.grammar.names[godan] = "動詞,自立,*,*,五段・ワ行促音便,連用タ接続,*";
  lexicon.grammar.names[U] = std::string(userWordName);
  lexicon.words = std::move(words);
  return lexicon;
}

TEST(EdictTest, ReadsHowEachHeadwordIsUsedAndWhetherItIsCommon) {
  Diagnostics diagnostics;
  const EdictDictionary edict = fixtureEDICT(diagnostics);
  struct Case {
    const char* surface;
    const char* reading;
    Kind kind;
    bool common, usuallyKana;
  };
  for (const Case& c : {
           Case{"漢字", "かんじ", Kind::noun, true, false},
           Case{"幹事", "かんじ", Kind::noun, false, false},
           Case{"監事", "かんじ", Kind::verbalNoun, false, false},
           Case{"綺麗", "きれい", Kind::adjectivalNoun, true, true},
           // (uk) of a later sense and parentheses inside a gloss say nothing.
           Case{"床しい", "ゆかしい", Kind::other, false, false},
           Case{"見る", "みる", Kind::other, true, false},
           // A katakana headword is its own reading.
           Case{"サブスク", "さぶすく", Kind::noun, false, false},
           // Listed twice: common if either line says so.
           Case{"笑顔", "えがお", Kind::noun, true, false},
           Case{"錫蘭", "せいろん", Kind::noun, false, true},
       }) {
    auto it = edict.find(std::pair<std::string, std::string>{c.surface, c.reading});
    ASSERT_NE(it, edict.end()) << c.surface;
    EXPECT_EQ(it->second.kind, c.kind) << c.surface;
    EXPECT_EQ(it->second.common, c.common) << c.surface;
    EXPECT_EQ(it->second.usuallyKana, c.usuallyKana) << c.surface;
  }
  // The file's header and headwords with no kana reading are no words; a
  // broken line and an unclosed reading are counted.
  EXPECT_EQ(edict.size(), 22u);
  // Written in kana, a loanword is written in katakana.
  EXPECT_EQ(edict.at(std::pair<std::string, std::string>{"錫蘭", "せいろん"}).kana, "セイロン");
  EXPECT_EQ(edict.at(std::pair<std::string, std::string>{"綺麗", "きれい"}).kana, "きれい");
  // Spellings of one word share its glosses, whichever line is marked common.
  auto meaning = [&](const char* surface, const char* reading) {
    return edict.at(std::pair<std::string, std::string>{surface, reading}).meaning;
  };
  EXPECT_EQ(meaning("分かる", "わかる"), meaning("判る", "わかる"));
  EXPECT_NE(meaning("漢字", "かんじ"), meaning("幹事", "かんじ"));
  EXPECT_NE(meaning("思う", "おもう"), meaning("想う", "おもう"));
  EXPECT_EQ(diagnostics.byFile().at("edict.test"), 2u);
  EXPECT_THAT([&] { readEDICT("/nonexistent/edict", diagnostics); },
              ThrowsMessage<SourceError>(HasSubstr("package edict")));
}

TEST(EdictTest, MissingNounsAreAddedUsuallyKanaWordsInKana) {
  Diagnostics diagnostics;
  Lexicon lexicon = lexiconOf({{"かんじ", U, U, 5352, "漢字"}});
  addEdictWords(lexicon, fixtureEDICT(diagnostics));
  // Not added: 漢字 (known), 歯 (one kana), 思う and 見る (verbs), 床しい.
  EXPECT_EQ(wordLines(lexicon.words, "ut-edict.tsv"),
            "いるか\t1851\t1851\t5000\tイルカ\n"
            "いるか\t1851\t1851\t7000\t海豚\n"
            "うつ\t1851\t1851\t5000\tうつ\n"
            "うつ\t1851\t1851\t7000\t鬱\n"
            "えがお\t1851\t1851\t5000\t笑顔\n"
            "かんじ\t1851\t1851\t5000\t感じ\n"
            "かんじ\t1851\t1851\t7000\t幹事\n"
            "かんじ\t9\t9\t7000\t監事\n"
            "きれい\t10\t10\t5000\tきれい\n"
            "きれい\t10\t10\t7000\t綺麗\n"
            "さぶすく\t1851\t1851\t7000\tサブスク\n"
            "せいろん\t1851\t1851\t7000\tセイロン\n"
            "せいろん\t1851\t1851\t9000\t錫蘭\n");
}

TEST(EdictTest, OtherSpellingsOfAReadingWithACommonOneCostMore) {
  Diagnostics diagnostics;
  Lexicon lexicon = lexiconOf({
      {"かんじ", U, U, 5000, "漢字"},  {"かんじ", U, U, 4000, "幹事"},        {"かんじ", U, U, 6000, "かんじ"},
      {"おもっ", godan, godan, 7000, "思っ"}, {"おもっ", godan, godan, 6000, "想っ"},
      // An ichidan stem ends in its kanji: known by its dictionary form 見る.
      {"み", ichidan, ichidan, 6000, "見"},   {"み", U, U, 5000, "実"},
      {"は", particle, particle, 3000, "葉"}, {"は", U, U, 6000, "歯"},
      // No spelling of this reading is common: nothing to prefer.
      {"ゆかし", U, U, 8000, "床し"},
  });
  penalizeUncommonSpellings(lexicon, fixtureEDICT(diagnostics));
  const int32_t expected[] = {5000, 5000, 6000, 7000, 7000, 6000, 6000, 3000, 6000, 8000};
  for (std::size_t i = 0; i < lexicon.words.size(); ++i)
    EXPECT_EQ(lexicon.words[i].cost, expected[i]) << lexicon.words[i].surface;
}

TEST(EdictTest, OnlyAStemWithOkuriganaStandsForItsForms) {
  // 言いよう is common through 言う's stem; 島じま is not through 島, whose
  // spelling has no okurigana: it is a word of its own, and 島々 the common one.
  EdictDictionary edict;
  for (auto [surface, reading] : {std::pair{"島", "しま"}, {"島々", "しまじま"}, {"言う", "いう"}}) {
    EdictEntry entry;
    entry.common = true;
    edict[{surface, reading}] = entry;
  }
  Lexicon lexicon = lexiconOf({{"しまじま", U, U, 7000, "島じま"}, {"しまじま", U, U, 7100, "島々"},
                               {"いいよう", U, U, 7000, "言い様"}, {"いいよう", U, U, 7100, "言いよう"}});
  penalizeUncommonSpellings(lexicon, edict);
  const int32_t expected[] = {8000, 7100, 8000, 7100};
  for (std::size_t i = 0; i < lexicon.words.size(); ++i)
    EXPECT_EQ(lexicon.words[i].cost, expected[i]) << lexicon.words[i].surface;
}

TEST(EdictTest, WordsUsuallyWrittenInKanaWinInHiragana) {
  Diagnostics diagnostics;
  Lexicon lexicon = lexiconOf({
      // 貰う is common and usually kana: every inflection, matched by its stem.
      {"もらっ", godan, godan, 7000, "貰っ"}, {"もらっ", godan, godan, 8000, "もらっ"},
      {"もらえ", ichidan, ichidan, 6500, "貰え"},
      {"もらい", U, U, 5000, "貰い"}, {"もらい", U, U, 3000, "もらい"},
      // Decided by the cheapest kanji spelling: 言う is not usually kana.
      {"いっ", godan, godan, 5000, "言っ"}, {"いっ", godan, godan, 7000, "謂っ"}, {"いっ", godan, godan, 8000, "いっ"},
      // 行け could be 行ける (usually kana) or 行く (not).
      {"いけ", ichidan, ichidan, 5000, "行け"}, {"いけ", ichidan, ichidan, 8000, "いけ"},
      // Words that do not inflect match whole: 綺麗ごと is not 綺麗.
      {"きれいごと", U, U, 6000, "綺麗ごと"}, {"きれいごと", U, U, 9000, "きれいごと"},
      // One kanji; not marked common; not a content word.
      {"うつ", U, U, 6000, "鬱"}, {"うつ", U, U, 9000, "うつ"},
      {"はしゃい", godan, godan, 7000, "燥い"}, {"はしゃい", godan, godan, 9000, "はしゃい"},
      {"もらっ", particle, particle, 7000, "貰っ"}, {"もらっ", particle, particle, 8000, "もらっ"},
      // Written in katakana, which the converter charges 500.
      {"いるか", U, U, 6000, "海豚"},
  });
  preferUsualKanaSpellings(lexicon, fixtureEDICT(diagnostics), 600);
  const int32_t expected[] = {7000, 6200, 6500, 5000, 3000, 5000, 7000, 8000, 5000, 8000,
                              6000, 9000, 6000, 9000, 7000, 9000, 7000, 8000, 6000};
  ASSERT_EQ(lexicon.words.size(), std::size(expected) + 2);
  for (std::size_t i = 0; i < std::size(expected); ++i)
    EXPECT_EQ(lexicon.words[i].cost, expected[i]) << lexicon.words[i].surface << " " << i;
  EXPECT_EQ(wordLines({lexicon.words.end() - 2, lexicon.words.end()}),
            "いるか\t1851\t1851\t5300\tイルカ\n"
            "もらえ\t11\t11\t5700\tもらえ\n");
}

TEST(EdictTest, BuildCreditsEDICTAndKeepsItsWordsApartOnRequest) {
  TempDir dir;
  BuildOptions options = fixtureBuild(dir.path());
  options.edict = testdata / "edict/edict.test";
  const std::string added = "さぶすく\t1851\t1851\t7000\tサブスク\n";
  build(options, quiet);
  EXPECT_THAT(readFile(dir / "Mozc/mozc.tsv"), HasSubstr(added));
  EXPECT_THAT(readFile(dir / "Mozc/CREDITS.txt"), HasSubstr("Fixture licence for the small EDICT sample."));

  options.separateLists = true;
  build(options, quiet);
  EXPECT_THAT(readFile(dir / "Mozc/ut-edict.tsv"), HasSubstr(added));
  EXPECT_THAT(readFile(dir / "Mozc/mozc.tsv"), Not(HasSubstr(added)));

  // With both of its rules off EDICT is not read, so it need not be there.
  options.edict = dir / "missing";
  EXPECT_THROW(build(options, quiet), SourceError);
  options.adjustments.edictWords = options.adjustments.edictCommon = options.adjustments.usuallyKana = false;
  build(options, quiet);
  EXPECT_THAT(readFile(dir / "Mozc/CREDITS.txt"), Not(HasSubstr("EDICT")));
}

}  // namespace
}  // namespace orvane::mkdict

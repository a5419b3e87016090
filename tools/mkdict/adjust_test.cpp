#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fixture_build.h"
#include "mkdict.h"
#include "testing/environment.h"

namespace orvane::mkdict {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using orvane::testing::readFile;
using orvane::testing::TempDir;

const fs::path testdata = fs::path(ORVANE_SOURCE_DIR) / "tools/mkdict/testdata";
constexpr int32_t U = userWordID;
const Progress quiet = [](std::string_view) {};

SKKDictionary fixtureSKK() {
  Diagnostics diagnostics;
  return readSKK(testdata / "skk/SKK-JISYO.test", diagnostics);
}

// A grammar whose ids carry the names the rules look at.
Lexicon lexiconOf(std::vector<WordEntry> words) {
  Lexicon lexicon;
  lexicon.grammar.names.assign(2645, "");
  const char* names[] = {"BOS/EOS,*,*,*,*,*,*",          "助詞,係助詞,*,*,*,*,は",
                         "名詞,固有名詞,地域,一般,*,*,*", "名詞,数,*,*,*,*,*",
                         "名詞,接尾,助数詞,*,*,*,*",      "名詞,副詞可能,*,*,*,*,*",
                         "形容詞,自立,*,*,形容詞・アウオ段,基本形,*",
                         "動詞,非自立,*,*,五段・ラ行特殊,連用形,下さる", "名詞,非自立,一般,*,*,*,*",
                         "名詞,固有名詞,地域,国,*,*,*",   "動詞,自立,*,*,カ変・来ル,連用形,*"};
  std::copy(std::begin(names), std::end(names), lexicon.grammar.names.begin());
  lexicon.grammar.names[userWordID] = std::string(userWordName);
  lexicon.grammar.names[fallbackSymbolID] = std::string(fallbackSymbolName);
  lexicon.words = std::move(words);
  return lexicon;
}

int32_t costOf(const Lexicon& lexicon, std::string_view surface, int32_t leftID = -1) {
  for (const auto& w : lexicon.words)
    if (w.surface == surface && (leftID < 0 || w.leftID == leftID)) return w.cost;
  ADD_FAILURE() << "no word " << surface;
  return 0;
}

TEST(SKKTest, ReadsCandidatesWithoutAnnotationsOrPrograms) {
  Diagnostics diagnostics;
  const SKKDictionary skk = readSKK(testdata / "skk/SKK-JISYO.test", diagnostics);
  EXPECT_THAT(skk.at("おもu"), ElementsAre("思", "想"));
  EXPECT_THAT(skk.at("あと"), ElementsAre("後", "跡"));
  EXPECT_THAT(skk.at("じょしこうせい"), ElementsAre("女子高生", "JK"));
  EXPECT_EQ(skk.size(), 10u);
  EXPECT_EQ(diagnostics.count(), 1u);
  EXPECT_THAT([&] { readSKK("/nonexistent/SKK-JISYO.L", diagnostics); },
              ::testing::ThrowsMessage<SourceError>(HasSubstr("skkdic")));

  // An extra dictionary's candidates come after the main one's, once each.
  SKKDictionary merged = skk;
  mergeSKK(merged, readSKK(testdata / "skk/SKK-JISYO.extra", diagnostics));
  EXPECT_THAT(merged.at("かんじ"), ElementsAre("漢字", "感じ", "幹事", "莞爾"));
  EXPECT_THAT(merged.at("ほうりゅうじ"), ElementsAre("法隆寺"));
  EXPECT_EQ(merged.size(), skk.size() + 1);
}

TEST(SKKTest, KeysSplitOkuriganaByItsFirstKana) {
  using Case = std::tuple<const char*, const char*, std::optional<std::pair<std::string, std::string>>>;
  for (const auto& [reading, surface, key] : {
           Case{"おもう", "思う", std::pair{"おもu", "思"}},
           Case{"いっ", "言っ", std::pair{"いt", "言"}},
           Case{"かんじ", "漢字", std::pair{"かんじ", "漢字"}},
           Case{"とりあつかい", "取り扱い", std::pair{"とりあつかi", "取り扱"}},
           Case{"しんじ", "信じ", std::pair{"しんz", "信"}},
           Case{"さいちぇっく", "再チェック", std::pair{"さいちぇっく", "再チェック"}},
           Case{"すごい", "すごい", std::nullopt},    // nothing before the kana
           Case{"おもう", "想ふ", std::nullopt},      // the reading does not end in the okurigana
       })
    EXPECT_EQ(skkKey(reading, surface), key) << surface;
}

TEST(SKKTest, HomonymsTakeTheReadingsCostsInSKKOrder) {
  Lexicon lexicon = lexiconOf({
      {"あと", U, U, 5401, "跡"},         {"あと", 5, 5, 10122, "後"},      {"あと", U, U, 10550, "後"},
      {"あと", 2, 2, 9128, "阿戸"},       {"あと", 5, 5, 6788, "あと"},     {"おもう", 6, 6, 7000, "想う"},
      {"おもう", 6, 6, 7500, "思う"},     {"けんざかい", U, U, 9000, "県堺"}, {"かんじ", U, U, 5000, "感じ"},
      {"かんじ", U, U, 6000, "漢字"},     {"さい", 6, 6, 5000, "咲い"},     {"さい", 6, 6, 5100, "割い"},
      {"さい", U, U, 4000, "才"},         {"さい", U, U, 6000, "差異"},
  });
  applySKKOrder(lexicon, fixtureSKK());
  // The reading's costs 5401, 9128, 10122 are dealt out as 後, 跡, then the
  // unlisted 阿戸; a surface's other entries move with it. Kana spellings are
  // not SKK's to order, and with no listed spelling there is nothing to order
  // by (県堺). 感じ ends in kana but SKK lists it whole under its reading.
  // Ranks count only among the spellings of one key, each a step behind the last.
  EXPECT_EQ(costOf(lexicon, "後", 5), 5401);
  EXPECT_EQ(costOf(lexicon, "後", U), 5401 + 428);
  for (auto [surface, cost] : {std::pair{"跡", 9128}, {"阿戸", 10122}, {"あと", 6788}, {"思う", 7000}, {"想う", 7500},
                               {"県堺", 9000}, {"漢字", 5000}, {"感じ", 6000}, {"咲い", 5000}, {"割い", 5500},
                               {"差異", 4000}, {"才", 6000}})
    EXPECT_EQ(costOf(lexicon, surface), cost) << surface;

  // Where the model's text priced the words, SKK's order moves them halfway:
  // SKK puts 漢字 first, the text finds 感じ commoner, and they end level.
  Lexicon counted = lexiconOf({{"かんじ", U, U, 5000, "感じ"}, {"かんじ", U, U, 6000, "漢字"}});
  for (auto& w : counted.words) w.fromModel = true;
  applySKKOrder(counted, fixtureSKK());
  EXPECT_EQ(costOf(counted, "漢字"), 5500);
  EXPECT_EQ(costOf(counted, "感じ"), 5500);
}

TEST(SKKTest, AModelTenTimesSurerThanSKKsOrderKeepsTheCosts) {
  auto apply = [](const UnigramProbabilities& model) {
    Lexicon lexicon = lexiconOf({{"かんじ", U, U, 5000, "感じ"}, {"かんじ", U, U, 6000, "漢字"},
                                 {"さい", 6, 6, 5000, "咲い"},   {"さい", 6, 6, 5100, "割い"}});
    applySKKOrder(lexicon, fixtureSKK(), &model);
    return std::vector{costOf(lexicon, "漢字"), costOf(lexicon, "感じ"), costOf(lexicon, "咲い"), costOf(lexicon, "割い")};
  };
  // SKK lists 漢字 before 感じ and 咲 before 割 (under さi); the model knows
  // an inflected word by its stem.
  const double rare = std::log(0.0001);
  EXPECT_EQ(apply({{"かんじ\t感じ", rare + std::log(11.0)}, {"かんじ\t漢字", rare},
                   {"さ\t割", rare + std::log(20.0)}, {"さ\t咲", rare}}),
            (std::vector{6000, 5000, 5000, 5100}));
  // Less than tenfold, or one spelling unknown to the model: SKK's order.
  EXPECT_EQ(apply({{"かんじ\t感じ", rare + std::log(9.0)}, {"かんじ\t漢字", rare}, {"さ\t割", rare}}),
            (std::vector{5000, 6000, 5000, 5500}));
}

TEST(SKKTest, MissingNounsGoToTheirOwnSortedList) {
  // The words start from the middle common noun's cost (5500 here).
  Lexicon lexicon = lexiconOf({{"かんじ", U, U, 5352, "漢字"}, {"かお", U, U, 5500, "顔"}, {"えがお", U, U, 9000, "笑顔"}});
  addSKKWords(lexicon, fixtureSKK());
  EXPECT_EQ(wordLines(lexicon.words, "ut-skk.tsv"),
            "かんじ\t1851\t1851\t5800\t感じ\n"
            "かんじ\t1851\t1851\t6100\t幹事\n"
            "けんざかい\t1851\t1851\t4700\t県境\n"
            "じょしこうせい\t1851\t1851\t4000\t女子高生\n");
  EXPECT_EQ(wordLines(lexicon.words), "えがお\t1851\t1851\t9000\t笑顔\nかお\t1851\t1851\t5500\t顔\nかんじ\t1851\t1851\t5352\t漢字\n");
}

TEST(CostRulesTest, EachRuleTouchesOnlyItsWords) {
  struct Case {
    const char* rule;
    WordEntry word;
    int32_t change;
  };
  for (const Case& c : {
           Case{"katakana-variants", {"ひと", U, U, 4000, "ヒト"}, 2000}, Case{"katakana-variants", {"ー", U, U, 4000, "ー"}, 0},
           Case{"katakana-variants", {"べっど", U, U, 4000, "ベッド"}, 0},
           Case{"katakana-variants", {"こーひー", U, U, 6000, "珈琲"}, 2000},
           Case{"katakana-variants", {"えんまーく", U, U, 6000, "円マーク"}, 0},
           Case{"proper-nouns", {"あと", 2, 2, 9000, "阿戸"}, 1000}, Case{"proper-nouns", {"あと", U, U, 9000, "跡"}, 0},
           Case{"proper-nouns", {"にほん", 9, 9, 8000, "日本"}, 0},
           Case{"short-readings", {"い", U, U, 6000, "胃"}, 1500}, Case{"short-readings", {"こ", 4, 4, 6000, "個"}, 0},
           Case{"short-readings", {"いい", 6, 6, 6000, "良い"}, 0}, Case{"short-readings", {"き", 10, 10, 6000, "来"}, 0},
           Case{"rare-kanji", {"もたれる", 6, 6, 8000, "凭れる"}, 1000}, Case{"rare-kanji", {"しかる", 6, 6, 8000, "叱る"}, 0},
           Case{"rare-kanji", {"ひとびと", U, U, 5000, "人々"}, 0}, Case{"rare-kanji", {"ほっけ", U, U, 8000, "𩸽"}, 1000},
       }) {
    Adjustments only;
    for (auto name : adjustmentNames) setAdjustment(only, name, false);
    ASSERT_TRUE(setAdjustment(only, c.rule, true));
    Lexicon lexicon = lexiconOf({{"ひと", U, U, 7000, "人"}, c.word});
    applyAdjustments(lexicon, only, nullptr);
    EXPECT_EQ(lexicon.words.back().cost - c.word.cost, c.change) << c.rule << " " << c.word.surface;
    EXPECT_EQ(lexicon.words.front().cost, 7000) << c.rule << " touched 人";
    // A guess at how common a word is counts half where the model priced it;
    // a one-kana reading's penalty is about splitting readings, and stays.
    WordEntry priced = c.word;
    priced.fromModel = true;
    Lexicon counted = lexiconOf({{"ひと", U, U, 7000, "人"}, priced});
    applyAdjustments(counted, only, nullptr);
    EXPECT_EQ(counted.words.back().cost - c.word.cost, c.rule == std::string_view("short-readings") ? c.change : c.change / 2)
        << c.rule << " " << c.word.surface;
  }
  Adjustments unknown;
  EXPECT_FALSE(setAdjustment(unknown, "no-such-rule", false));
}

TEST(CostRulesTest, KanjiReadingsTellLoanwordsInBorrowedKanjiAndSurfacesTheReadingLeavesOut) {
  using R = std::vector<std::u32string>;
  EXPECT_EQ(kanjiReadings("とりあつかい", "取り扱い"), (R{U"と", U"あつか"}));
  EXPECT_EQ(kanjiReadings("えんまーく", "円マーク"), (R{U"えん"}));
  EXPECT_EQ(kanjiReadings("あおがしま", "青ケ島"), (R{U"あおがしま"}));
  EXPECT_EQ(kanjiReadings("こーかさす", "高加索"), (R{U"こーかさす"}));
  EXPECT_EQ(kanjiReadings("あいこむ", "アイコム株式会社"), std::nullopt);
  EXPECT_EQ(kanjiReadings("じ", "漢じ"), std::nullopt) << "every kanji reads as one kana or more";
  EXPECT_EQ(kanjiReadings("えーびーしー", "ABC"), std::nullopt);
  EXPECT_TRUE(readAsLoanword("こーかさす", "高加索"));
  EXPECT_FALSE(readAsLoanword("えんまーく", "円マーク"));

  // The borrowed kanji are the variant, not the loanword's katakana.
  Adjustments only;
  for (auto name : adjustmentNames) setAdjustment(only, name, false);
  setAdjustment(only, "katakana-variants", true);
  Lexicon lexicon = lexiconOf({{"こーかさす", U, U, 6200, "高加索"}, {"こーかさす", U, U, 7000, "コーカサス"}});
  applyAdjustments(lexicon, only, nullptr);
  EXPECT_EQ(costOf(lexicon, "高加索"), 8200);
  EXPECT_EQ(costOf(lexicon, "コーカサス"), 7000);
  // So are kanji another list adds beside a katakana word of the main list.
  Lexicon added = lexiconOf({{"みらの", U, U, 8000, "ミラノ"}, {"みらの", U, U, 7000, "未蘭", "ut-skk.tsv"}});
  applyAdjustments(added, only, nullptr);
  EXPECT_EQ(costOf(added, "未蘭"), 9000);
  EXPECT_EQ(costOf(added, "ミラノ"), 8000);
}

TEST(CostRulesTest, WordsWrittenWithDigitsCanBeTypedWithThem) {
  Lexicon lexicon = lexiconOf({{"ひとつ", U, U, 7000, "１つ"},
                               {"はちみり", U, U, 7100, "８ミリ"},
                               // The digits' reading is not to be told from the kanji's.
                               {"さんがつ", U, U, 3000, "３月"},
                               {"いち", U, U, 3000, "１"},
                               {"とお", U, U, 3000, "１０つ"}});
  addTypedDigitSpellings(lexicon);
  lexicon.words.erase(lexicon.words.begin(), lexicon.words.begin() + 5);
  EXPECT_EQ(wordLines(lexicon.words), "1つ\t1851\t1851\t7000\t1つ\n8みり\t1851\t1851\t7100\t8ミリ\n");
}

TEST(CostRulesTest, FunctionWordsSpelledInKatakanaCostMore) {
  Lexicon lexicon = lexiconOf({{"ん", 8, 8, 5800, "ん"}, {"ん", 8, 8, 4800, "ン"}, {"ん", U, U, 6000, "ン"},
                               {"ね", 1, 1, 4000, "ネ"}, {"を", 10, 10, 4000, "を"}, {"を", 11, 11, 4000, "ヲ"}});
  // Function words with ids of their own, one for each spelling.
  lexicon.grammar.names[10] = "助詞,格助詞,一般,*,*,*,を";
  lexicon.grammar.names[11] = "助詞,格助詞,一般,*,*,*,ヲ";
  penalizeKatakanaVariants(lexicon);
  // Only a twin of the same part of speech as a hiragana spelling is a variant.
  const int32_t expected[] = {5800, 6800, 6000, 4000, 4000, 6000};
  for (std::size_t i = 0; i < lexicon.words.size(); ++i) EXPECT_EQ(lexicon.words[i].cost, expected[i]) << i;
}

TEST(CostRulesTest, HonorificPrefixIsSpelledInKana) {
  Lexicon lexicon = lexiconOf({{"ごはん", U, U, 5000, "御飯"}, {"ごはん", U, U, 5600, "ご飯"},
                               {"ごじゆう", U, U, 4000, "御自由", "ut-skk.tsv"}, {"おんちゅう", U, U, 6000, "御中"},
                               {"ご", 560, 560, 6000, "御"}, {"じゆう", U, U, 5000, "自由"},
                               {"ごてん", U, U, 5000, "御殿"}, {"あさごはん", U, U, 5200, "朝御飯"},
                               {"あさごはん", U, U, 5700, "朝ご飯"}, {"きょうとごしょ", U, U, 5500, "京都御所"},
                               {"せいぎょ", U, U, 3000, "制御"}});
  spellHonorificsInKana(lexicon);
  // 御中 is read おん, not the prefix; 殿 is no word read てん, so 御 belongs to
  // 御殿. Inside a compound the kana spelling must be a word already: 朝ご飯
  // is, 京都ご所 is not; 制御 is no honorific.
  for (auto [surface, cost] : {std::pair{"ご飯", 5000}, {"御飯", 6000}, {"御自由", 5000}, {"御中", 6000}, {"御", 6000},
                               {"御殿", 5000}, {"朝御飯", 6200}, {"朝ご飯", 5200}, {"京都御所", 5500}, {"制御", 3000}})
    EXPECT_EQ(costOf(lexicon, surface), cost) << surface;
  ASSERT_EQ(lexicon.words.size(), 12u);
  EXPECT_THAT(lexicon.words, Contains(WordEntry{"ごじゆう", U, U, 4000, "ご自由", "ut-skk.tsv"}));
}

TEST(CostRulesTest, BuildWithSKKMergesOrSeparatesTheAddedWordsAndCreditsThem) {
  TempDir dir;
  BuildOptions options = fixtureBuild(dir.path());
  options.skk = testdata / "skk/SKK-JISYO.test";
  // A missing extra dictionary leaves the build as it would be without it.
  options.skkExtras = {dir / "SKK-JISYO.missing"};
  // The fixture's middle common noun costs 5352.
  const std::string added = "けんざかい\t1851\t1851\t4552\t県境\n";
  const auto skipped = build(options, quiet).skipped;
  ASSERT_EQ(skipped.size(), 1u);
  EXPECT_THAT(skipped[0], HasSubstr("SKK-JISYO.missing: not found"));
  EXPECT_FALSE(fs::exists(dir / "Mozc/ut-skk.tsv"));
  EXPECT_THAT(readFile(dir / "Mozc/mozc.tsv"), HasSubstr(added));
  EXPECT_THAT(readFile(dir / "Mozc/CREDITS.txt"), HasSubstr("Fixture licence for the small SKK sample."));

  EXPECT_THAT(readFile(dir / "Mozc/mozc.tsv"), Not(HasSubstr("法隆寺")));

  options.skkExtras = {testdata / "skk/SKK-JISYO.extra"};
  EXPECT_TRUE(build(options, quiet).skipped.empty());
  EXPECT_THAT(readFile(dir / "Mozc/mozc.tsv"), HasSubstr("ほうりゅうじ\t1851\t1851\t4152\t法隆寺\n"));
  EXPECT_THAT(readFile(dir / "Mozc/CREDITS.txt"), HasSubstr("SKK dictionary (SKK-JISYO.extra)"));

  options.separateLists = true;
  build(options, quiet);
  const std::string extra = readFile(dir / "Mozc/ut-skk.tsv");
  EXPECT_THAT(extra, HasSubstr(added));
  EXPECT_THAT(readFile(dir / "Mozc/mozc.tsv"), Not(HasSubstr(added)));

  // Word counts are an optional source, credited when given.
  orvane::testing::writeFile(dir / "counts.tsv", "5\t漢字\tカンジ\t名詞,一般,*,*,*,*\nbroken line\n");
  options.corpus = dir / "counts.tsv";
  EXPECT_EQ(build(options, quiet).diagnostics.byFile().at("counts.tsv"), 1u);
  EXPECT_THAT(readFile(dir / "Mozc/CREDITS.txt"), HasSubstr("Word counts"));

  options.corpus.reset();
  options.adjustments.skkOrder = false;
  options.adjustments.skkWords = false;
  build(options, quiet);
  EXPECT_FALSE(fs::exists(dir / "Mozc/ut-skk.tsv"));
  EXPECT_THAT(readFile(dir / "Mozc/CREDITS.txt"), Not(HasSubstr("SKK")));
}

}  // namespace
}  // namespace orvane::mkdict

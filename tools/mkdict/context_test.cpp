#include "context.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <set>
#include <unordered_map>

#include "language_model.h"
#include "model_fixture.h"
#include "testing/environment.h"

namespace orvane::mkdict {
namespace {

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

// Pieces from "surface/reading" strings.
std::vector<Piece> pieces(std::initializer_list<std::pair<std::string, std::string>> words) {
  std::vector<Piece> out;
  for (const auto& [surface, reading] : words) out.push_back({surface.size(), reading});
  return out;
}

TEST(AlignReadingsTest, EachAnalysedWordTakesTheModelsReadingOfItsStretch) {
  struct Case {
    std::string what;
    std::vector<Piece> model, analysed;
    std::vector<std::string> readings;
  };
  const std::vector<Case> cases = {
      {"the same cut and readings", pieces({{"雨", "あめ"}, {"が", "が"}}), pieces({{"雨", "あめ"}, {"が", "が"}}),
       {"あめ", "が"}},
      {"the model's reading of one word wins", pieces({{"日本", "にっぽん"}, {"の", "の"}}),
       pieces({{"日本", "にほん"}, {"の", "の"}}), {"にっぽん", "の"}},
      {"one analysed word over two model words", pieces({{"思", "おも"}, {"い", "い"}, {"ます", "ます"}}),
       pieces({{"思い", "おもい"}, {"ます", "ます"}}), {"おもい", "ます"}},
      {"two analysed words over one model word", pieces({{"漢字", "かんじ"}}), pieces({{"漢", "かん"}, {"字", "じ"}}),
       {"かん", "じ"}},
      {"a word the analyser cannot read", pieces({{"イェリサ", "いぇりさ"}, {"ドニエ", "どにえ"}}),
       pieces({{"イェリサドニエ", ""}}), {"いぇりさどにえ"}},
      {"the one word between readings that fit takes the rest",
       pieces({{"大日本帝国", "だいにっぽんていこく"}}),
       pieces({{"大", "だい"}, {"日本", "にほん"}, {"帝国", "ていこく"}}), {"だい", "にっぽん", "ていこく"}},
      {"a stretch no word can take is left unread, the rest is not",
       pieces({{"一人", "ひとり"}, {"で", "で"}}), pieces({{"一", "いち"}, {"人", "にん"}, {"で", "で"}}),
       {"", "", "で"}},
  };
  for (const auto& c : cases) EXPECT_EQ(alignReadings(c.model, c.analysed), c.readings) << c.what;
}

// A model that always says "x　y" (x, an ideographic space, y), and an
// analyser that cuts a text into its characters, knowing only x.
class SpacedModel : public ModelFixture {
 public:
  explicit SpacedModel(const fs::path& dir)
      : ModelFixture(dir,
                     {{"<s>", {-8, 0}},
                      {"</s>", {-8, 0}},
                      {"えっくす/x", {-8, 0}},
                      {"くうはく/\u3000", {-8, 0}},
                      {"わい/y", {-8, 0}}},
                     {{{"<s>", "えっくす/x"}, {0, 0}},
                      {{"えっくす/x", "くうはく/\u3000"}, {0, 0}},
                      {{"くうはく/\u3000", "わい/y"}, {0, 0}},
                      {{"わい/y", "</s>"}, {0, 0}}},
                     {}) {}
};

TEST(SampledTextTest, SpacesCutSentencesIntoStretchesReadAsTheModelReadsThem) {
  testing::TempDir dir;
  SpacedModel fixture(dir.path());
  const LanguageModel model = LanguageModel::load(dir.path());
  std::vector<std::string> analysed;
  const Analyser byCharacter = [&](std::string_view sentence) -> std::optional<std::vector<AnalysedWord>> {
    analysed.emplace_back(sentence);
    std::vector<AnalysedWord> words;
    for (char c : sentence) words.push_back({1, c == 'x' ? "えっくす" : "", c == 'x' ? 10 : 20, c == 'x'});
    return words;
  };
  SampleOptions options;
  options.words = 30;  // ten sentences of three words
  const TaggedText text = sampleTaggedText(model, byCharacter, options, [](std::string_view) {});

  ASSERT_EQ(text.sentences.size(), 20u);
  EXPECT_THAT(std::vector(analysed.begin(), analysed.begin() + 2), ElementsAre("x", "y"))
      << "the space is never given to the analyser";
  ASSERT_EQ(text.words.size(), 2u);
  EXPECT_EQ(text.words[0], (TaggedWord{"えっくす", "x", 10, true}));
  EXPECT_EQ(text.words[1], (TaggedWord{"わい", "y", 20, false})) << "its reading comes from the model";
  EXPECT_EQ(text.readingsFromModel, 10u);
  EXPECT_EQ(text.tokens, 20u);
  const auto& before = text.sentences[0];
  const auto& after = text.sentences[1];
  EXPECT_TRUE(before.starts);
  EXPECT_FALSE(before.ends) << "the stretch before the space does not end the sentence";
  EXPECT_FALSE(after.starts);
  EXPECT_TRUE(after.ends);
}

// A grammar of five ids: nouns (1), the particle が (2), formal nouns (3),
// an unused id (4) and verbs (5); every connection costs 1000 in IPADIC.
Lexicon smallLexicon() {
  Lexicon lexicon;
  lexicon.grammar.names = {"BOS/EOS,*,*,*,*,*,*", "名詞,一般,*,*,*,*,*", "助詞,格助詞,一般,*,*,*,が",
                           "名詞,非自立,一般,*,*,*,*", "", "動詞,自立,*,*,五段・ラ行,基本形,*"};
  lexicon.grammar.costs.assign(36, 1000);
  lexicon.words = {
      {"あめ", 1, 1, 4000, "雨"},   {"あめ", 1, 1, 5000, "飴"},   {"そら", 1, 1, 4500, "空"},
      {"あめ", 1, 1, 3000, "天"},   {"あめ", 1, 1, 9000, "𩅦"},   {"が", 2, 2, 100, "が"},
      {"こと", 3, 3, 2000, "こと"}, {"もの", 3, 3, 2500, "もの"}, {"ふる", 5, 5, 3500, "降る"},
  };
  return lexicon;
}

// Sentences of (reading, surface, id) words, each repeated.
TaggedText textOf(const std::vector<std::pair<std::vector<TaggedWord>, int>>& sentences) {
  TaggedText text;
  for (const auto& [words, times] : sentences) {
    TaggedText::Sentence sentence;
    for (const auto& word : words) {
      auto at = std::find(text.words.begin(), text.words.end(), word);
      if (at == text.words.end()) at = text.words.insert(text.words.end(), word);
      sentence.words.push_back(static_cast<uint32_t>(at - text.words.begin()));
    }
    for (int i = 0; i < times; ++i) text.sentences.push_back(sentence);
  }
  return text;
}

int32_t costOf(const Lexicon& lexicon, std::string_view surface) {
  for (const auto& w : lexicon.words)
    if (w.surface == surface) return w.cost;
  ADD_FAILURE() << surface;
  return 0;
}

TEST(ContextCostsTest, CountedPathsCostWhatTheClassBigramModelSays) {
  Lexicon lexicon = smallLexicon();
  const TaggedWord rain{"あめ", "雨", 1}, candy{"あめ", "飴", 1}, sky{"そら", "空", 1}, ga{"が", "が", 2},
      fall{"ふる", "降る", 5};
  const TaggedText text = textOf({{{rain, ga, fall}, 40}, {{candy, ga}, 10}, {{sky, ga}, 20}, {{sky}, 2}});
  const std::vector<int32_t> sameIDs = {0, 1, 2, 3, 4, 5};
  const ContextOptions options;
  applyContextStatistics(lexicon, text, sameIDs, options);
  const auto& g = lexicon.grammar;
  const double s = options.scale;
  auto expectCost = [&](double actual, double probability, const char* what) {
    EXPECT_NEAR(actual, -s * std::log(probability), 1.5) << what;
  };
  // Nouns: 72 of them; 雨 40, 空 22, 飴 10. After a noun: が 70 times, the end 2.
  expectCost(g.cost(0, 1) + costOf(lexicon, "雨"), 72.0 / 72 * 40 / 72, "<s> 雨");
  expectCost(g.cost(1, 2) + costOf(lexicon, "が"), 70.0 / 72, "noun が");
  expectCost(g.cost(2, 5) + costOf(lexicon, "降る"), 40.0 / 70, "が 降る");
  expectCost(g.cost(5, 0), 1, "降る </s>");
  EXPECT_NEAR(costOf(lexicon, "飴") - costOf(lexicon, "雨"), s * std::log(4.0), 1) << "four times rarer";
  // The nouns' costs keep IPADIC's level: the middle one of 雨, 空, 飴 moved
  // least... exactly by nothing.
  std::vector<int> moved = {costOf(lexicon, "雨") - 4000, costOf(lexicon, "空") - 4500, costOf(lexicon, "飴") - 5000};
  std::sort(moved.begin(), moved.end());
  EXPECT_EQ(moved[1], 0);
  // Words the text did not show: 𩅦 keeps its dear IPADIC cost, 天 may not
  // be cheaper than a noun seen once.
  EXPECT_EQ(costOf(lexicon, "𩅦"), 9000);
  EXPECT_NEAR(costOf(lexicon, "天") - costOf(lexicon, "飴"), s * std::log(10.0), 1);
  // Pairs not counted: IPADIC's cost moved by the median difference, but
  // no likelier than a pair seen five times (noun -> noun never is).
  EXPECT_GE(g.cost(1, 1) + costOf(lexicon, "雨"), -s * std::log(5.0 / 72 * 40 / 72) - 1);
}

// A grammar as large as the converter's, with its fall-back id, a noun, が
// and numbers; every connection 1000.
Lexicon withFallBackID() {
  Lexicon lexicon;
  lexicon.grammar.names.assign(static_cast<std::size_t>(fallbackSymbolID) + 1, "");
  lexicon.grammar.names[0] = "BOS/EOS,*,*,*,*,*,*";
  lexicon.grammar.names[1] = "名詞,一般,*,*,*,*,*";
  lexicon.grammar.names[2] = "助詞,格助詞,一般,*,*,*,が";
  lexicon.grammar.names[3] = "名詞,数,*,*,*,*,*";
  lexicon.grammar.names[fallbackSymbolID] = std::string(fallbackSymbolName);
  const std::size_t n = lexicon.grammar.names.size();
  lexicon.grammar.costs.assign(n * n, 1000);
  return lexicon;
}

TEST(ContextCostsTest, DigitsTypedInAReadingConnectAsTheTextsNumbers) {
  // The converter gives a run of digits the fall-back id; the text has its
  // numbers cut digit by digit, after 約 and before 年.
  Lexicon lexicon = withFallBackID();
  lexicon.grammar.names[4] = "名詞,接尾,助数詞,*,*,*,*";
  lexicon.grammar.names[5] = "接頭詞,数接続,*,*,*,*,*";
  const std::size_t n = lexicon.grammar.names.size();
  lexicon.words = {{"あめ", 1, 1, 4000, "雨"}, {"が", 2, 2, 100, "が"}, {"ねん", 4, 4, 3000, "年"},
                   {"やく", 5, 5, 3000, "約"}, {"いち", 3, 3, 3000, "一"},  {"→", fallbackSymbolID, fallbackSymbolID, 5000, "→"}};
  const TaggedWord rain{"あめ", "雨", 1}, ga{"が", "が", 2}, year{"ねん", "年", 4}, about{"やく", "約", 5},
      one{"", "１", 3}, zero{"", "０", 3}, kanjiOne{"いち", "一", 3}, arrow{"", "→", fallbackSymbolID};
  std::vector<int32_t> ids(n);
  for (std::size_t i = 0; i < n; ++i) ids[i] = static_cast<int32_t>(i);
  const TaggedText text = textOf({{{about, one, zero, zero, year}, 30},
                                  {{rain, ga, arrow, rain}, 10},
                                  {{rain, ga, rain}, 20},
                                  {{kanjiOne, year}, 5}});
  applyContextStatistics(lexicon, text, ids, ContextOptions{});
  const auto& g = lexicon.grammar;
  const double s = ContextOptions{}.scale;
  // Before a run: 約 is always followed by digits, が by the arrow a third of the time.
  EXPECT_NEAR(g.cost(2, fallbackSymbolID) - g.cost(5, fallbackSymbolID), s * std::log(3.0), 2);
  // After one: 年 30 times, 雨 10 (the only words of their ids).
  const int32_t yearID = lexicon.words[2].leftID;  // an id of its own now, as a counted suffix
  EXPECT_NEAR((g.cost(fallbackSymbolID, 1) + costOf(lexicon, "雨")) - (g.cost(fallbackSymbolID, yearID) + costOf(lexicon, "年")),
              s * std::log(3.0), 2);
}

TEST(ContextCostsTest, FrequentFunctionWordsGetIdsOfTheirOwn) {
  Lexicon lexicon = smallLexicon();
  const TaggedWord koto{"こと", "こと", 3}, mono{"もの", "もの", 3}, ga{"が", "が", 2}, rain{"あめ", "雨", 1};
  const TaggedText text = textOf({{{koto, ga}, 30}, {{rain, mono}, 10}, {{rain, ga}, 5}});
  ContextOptions options;
  options.ownIDs = 1;
  const auto report = applyContextStatistics(lexicon, text, {0, 1, 2, 3, 4, 5}, options);
  EXPECT_EQ(report.ownIDs, 1u);
  const auto& g = lexicon.grammar;
  ASSERT_EQ(g.size(), 6) << "the unused id is taken first";
  EXPECT_EQ(g.names[4], "名詞,非自立,一般,*,*,*,こと") << "classified as its id was";
  for (const auto& w : lexicon.words) {
    if (w.surface == "こと" || w.surface == "もの") {
      EXPECT_EQ(w.leftID, w.surface == "こと" ? 4 : 3) << w.surface;
    }
  }
  // こと is always followed by が, もの never: their ids now say so.
  EXPECT_LT(g.cost(4, 2), g.cost(3, 2));
}

TEST(ContextCostsTest, CountedKanaSpellingsAlreadyPayTheConvertersCharge) {
  // The converter charges 600 for a content word all in hiragana and 500 all
  // in katakana; a counted word's cost says how often it is written so, so
  // it gives the charge back. Single characters keep it.
  Lexicon lexicon = smallLexicon();
  lexicon.words.push_back({"あめ", 1, 1, 4000, "あめ"});
  lexicon.words.push_back({"あめ", 1, 1, 4000, "アメ"});
  lexicon.words.push_back({"め", 1, 1, 4000, "め"});
  const TaggedWord rain{"あめ", "雨", 1}, hiragana{"あめ", "あめ", 1}, katakana{"あめ", "アメ", 1}, eye{"め", "め", 1};
  const TaggedText text = textOf({{{rain}, 10}, {{hiragana}, 10}, {{katakana}, 10}, {{eye}, 10}});
  applyContextStatistics(lexicon, text, {0, 1, 2, 3, 4, 5});
  const int32_t kanji = costOf(lexicon, "雨");
  EXPECT_EQ(costOf(lexicon, "あめ"), kanji - 600);
  EXPECT_EQ(costOf(lexicon, "アメ"), kanji - 500);
  EXPECT_EQ(costOf(lexicon, "め"), kanji);
}

TEST(ContextCostsTest, WordsTooRareForTheTextTakeTheModelsProbability) {
  Lexicon lexicon = smallLexicon();
  const TaggedWord rain{"あめ", "雨", 1}, candy{"あめ", "飴", 1}, sky{"そら", "空", 1};
  const TaggedText text = textOf({{{rain}, 40}, {{sky}, 20}, {{candy}, 10}});
  // The model agrees with the counts, and knows 天 (shown too rarely to
  // count) ten times rarer than 飴; it does not know 𩅦.
  UnigramProbabilities model;
  for (const auto& [key, count] : {std::pair{"あめ\t雨", 40.0}, {"そら\t空", 20.0}, {"あめ\t飴", 10.0}, {"あめ\t天", 1.0}})
    model[key] = std::log(count / 1000);
  const ContextOptions options;
  applyContextStatistics(lexicon, text, {0, 1, 2, 3, 4, 5}, options, &model);
  EXPECT_NEAR(costOf(lexicon, "天") - costOf(lexicon, "飴"), options.scale * std::log(10.0), 1);
  EXPECT_EQ(costOf(lexicon, "𩅦"), 9000);
}

// Nouns the model has and the word list lacks come in when their reading is
// confirmed; the model's readings are machine-made and sometimes wrong.
TEST(ModelWordsTest, AddsConfirmedNounsCostedByTheirProbability) {
  orvane::testing::TempDir dir;
  ModelFixture fixture(dir.path(),
                       {{"<s>", {-1, 0}},
                        {"</s>", {-1, 0}},
                        {"あめ/雨", {-3, 0}},
                        {"だいせいどう/大聖堂", {-5, 0}},  // 大 + 聖堂, read so by the analyser
                        {"こわくぼし/小惑星", {-5, 0}},    // the analyser reads しょうわくせい
                        {"おおみやこ/大都", {-5, 0}},      // a prefix alone, no noun
                        {"じぇいむず/ジェイムズ", {-4, 0}},
                        {"あめ/アメ", {-4, 0}},            // a reading the list has: emphasis
                        {"ーぴゅー/ーピュー", {-4, 0}},    // a piece of a longer word
                        {"つか/使", {-3, 0}}},             // a verb's stem
                       {}, {});
  const LanguageModel model = LanguageModel::load(dir.path());
  Lexicon lexicon;
  lexicon.grammar.names = {"BOS/EOS,*,*,*,*,*,*", "名詞,一般,*,*,*,*,*", "接頭詞,名詞接続,*,*,*,*,*"};
  lexicon.grammar.costs.assign(9, 0);
  lexicon.words = {{"あめ", 1, 1, 5000, "雨"}};
  const Analyser analyser = [](std::string_view surface) -> std::optional<std::vector<AnalysedWord>> {
    if (surface == "大聖堂") return std::vector<AnalysedWord>{{3, "だい", 2}, {6, "せいどう", 1}};
    if (surface == "小惑星") return std::vector<AnalysedWord>{{3, "しょう", 2}, {6, "わくせい", 1}};
    if (surface == "大都") return std::vector<AnalysedWord>{{3, "おお", 2}, {3, "みやこ", 2}};
    return std::nullopt;
  };
  const double scale = 850;
  EXPECT_EQ(addModelWords(lexicon, model, analyser, {0, 1, 2}, scale), 2u);
  std::vector<std::string> surfaces;
  for (const auto& w : lexicon.words) {
    surfaces.push_back(w.surface);
    EXPECT_EQ(w.leftID, 1) << w.surface;
  }
  EXPECT_THAT(surfaces, UnorderedElementsAre("雨", "大聖堂", "ジェイムズ"));
  // 100 times rarer than 雨, and 10 times.
  EXPECT_NEAR(costOf(lexicon, "大聖堂") - 5000, scale * std::log(100.0), 1);
  EXPECT_NEAR(costOf(lexicon, "ジェイムズ") - 5000, scale * std::log(10.0), 1);
}

TEST(RightContextsTest, HomophonesTakeRowsOfWhatFollowsThem) {
  // 勇気 and 漢字 come before が, their homophones 有機 and 幹事 before nouns.
  // 機能's homophone 昨日 is on an id of its own; とおり is 通り written in kana.
  Lexicon lexicon;
  lexicon.grammar.names = {"BOS/EOS,*,*,*,*,*,*",           "名詞,一般,*,*,*,*,*", "助詞,格助詞,一般,*,*,*,が", "", "",
                           "",
                           "名詞,副詞可能,*,*,*,*,*", "名詞,非自立,副詞可能,*,*,*,*", ""};
  lexicon.grammar.costs.assign(81, 1000);
  lexicon.grammar.costs[1 * 9 + 0] = 700;
  lexicon.words = {{"ゆうき", 1, 1, 4000, "勇気"}, {"ゆうき", 1, 1, 3500, "有機"}, {"ゆうき", 1, 1, 5000, "ゆうき"},
                   {"かんじ", 1, 1, 3000, "漢字"}, {"かんじ", 1, 1, 4200, "幹事"}, {"そら", 1, 1, 4500, "空"},
                   {"もの", 1, 1, 2000, "物"},     {"ちょう", 1, 1, 3000, "長"},   {"あめ", 1, 1, 5000, "飴"},
                   {"あめ", 1, 1, 5000, "雨"},     {"が", 2, 2, 100, "が"},        {"きのう", 1, 1, 2000, "機能"},
                   {"きのう", 6, 6, 4000, "昨日"}, {"とおり", 1, 1, 2500, "通り"}, {"とおり", 7, 7, 6000, "とおり"}};
  const std::vector<WordEntry> before = lexicon.words;
  const TaggedWord courage{"ゆうき", "勇気", 1}, organic{"ゆうき", "有機", 1}, kanji{"かんじ", "漢字", 1},
      organiser{"かんじ", "幹事", 1}, sky{"そら", "空", 1}, thing{"もの", "物", 1}, head{"ちょう", "長", 1},
      candy{"あめ", "飴", 1}, rain{"あめ", "雨", 1}, ga{"が", "が", 2}, function{"きのう", "機能", 1},
      yesterday{"きのう", "昨日", 6}, street{"とおり", "通り", 1}, way{"とおり", "とおり", 7};
  const TaggedText text = textOf({{{courage, ga}, 25},
                                  {{function, ga}, 24},
                                  {{kanji, ga}, 22},
                                  {{organiser, head}, 21},
                                  {{organic, thing}, 20},
                                  {{street, ga}, 30},
                                  {{way, ga}, 30},
                                  {{yesterday, ga}, 3},
                                  {{sky, ga}, 30},
                                  {{candy, ga}, 2},
                                  {{rain, ga}, 2}});
  std::vector<int32_t> ids;
  for (const auto& w : text.words) ids.push_back(w.id);
  ContextOptions options;
  options.rightIDMinimumCount = 5;
  options.rightIDs = 4;
  EXPECT_EQ(splitRightContexts(lexicon, text, ids, options), 4u);

  const auto& g = lexicon.grammar;
  std::map<std::string, int32_t> right;
  for (std::size_t i = 0; i < lexicon.words.size(); ++i) {
    const auto& w = lexicon.words[i];
    right[w.surface] = w.rightID;
    EXPECT_EQ(w.leftID, before[i].leftID) << w.surface;
    EXPECT_EQ(w.cost, before[i].cost) << w.surface;
  }
  std::set<int32_t> own;
  for (const char* word : {"勇気", "機能", "漢字", "幹事"}) {
    EXPECT_THAT(right[word], ::testing::AnyOf(3, 4, 5, 8)) << word;
    own.insert(right[word]);
  }
  EXPECT_EQ(own.size(), 4u) << "one id each";
  EXPECT_EQ(right["ゆうき"], right["勇気"]) << "a kana spelling goes with the commonest word of its reading";
  EXPECT_EQ(right["有機"], 1) << "the least often followed, past the limit";
  EXPECT_EQ(right["昨日"], 6) << "followed too rarely";
  for (const char* alone : {"空", "物", "長", "通り"}) EXPECT_EQ(right[alone], 1) << alone << " has no homophone";
  EXPECT_EQ(right["とおり"], 7);
  EXPECT_EQ(right["飴"], 1) << "followed too rarely";
  EXPECT_EQ(g.names[static_cast<std::size_t>(right["勇気"])], "名詞,一般,*,*,*,*,右勇気") << "classified as its id was";
  for (const char* word : {"勇気", "幹事"}) {
    const int32_t id = right[word];
    EXPECT_EQ(g.cost(id, 0), 700) << "a reading may end anywhere: the id's own cost";
    EXPECT_EQ(g.cost(2, id), g.cost(2, 1)) << "its column is its id's";
  }
  EXPECT_LT(g.cost(right["勇気"], 2), 1000);
  EXPECT_GT(g.cost(right["幹事"], 2), 1000);
  EXPECT_LT(g.cost(right["幹事"], 1), 1000);
}

TEST(RightContextsTest, AWordBeforeNumbersInDigitsLeansOnTheFallBackWord) {
  // 西暦 comes before years in digits, its homophone 聖暦 before が; the
  // converter reads typed digits as one fall-back word, so that is the
  // follower whose cost must move.
  Lexicon lexicon = withFallBackID();
  lexicon.words = {{"せいれき", 1, 1, 4000, "西暦"}, {"せいれき", 1, 1, 4000, "聖暦"}, {"が", 2, 2, 100, "が"}};
  const TaggedWord era{"せいれき", "西暦", 1}, holy{"せいれき", "聖暦", 1}, ga{"が", "が", 2}, one{"", "１", 3},
      nine{"", "９", 3};
  const TaggedText text = textOf({{{era, one, nine}, 30}, {{holy, ga}, 30}});
  std::vector<int32_t> ids;
  for (const auto& w : text.words) ids.push_back(w.id);
  ContextOptions options;
  options.rightIDMinimumCount = 5;
  ASSERT_EQ(splitRightContexts(lexicon, text, ids, options), 2u);
  const auto& g = lexicon.grammar;
  const int32_t era_ = lexicon.words[0].rightID, holy_ = lexicon.words[1].rightID;
  EXPECT_LT(g.cost(era_, fallbackSymbolID), g.cost(1, fallbackSymbolID));
  EXPECT_GT(g.cost(holy_, fallbackSymbolID), g.cost(1, fallbackSymbolID));
  EXPECT_LT(g.cost(holy_, 2), g.cost(era_, 2));
}

// 雨が降っ and 雨が振っ are the same ids to the class bigram; the run the
// model stores and the text shows comes in as one word only where the words
// alone convert its reading otherwise: in every form of its verb where it
// beat a homophone, in each form its last spelling has where it came in by
// its reading alone.
TEST(PhrasesTest, RunsTheWordsAloneMisconvertBecomeWords) {
  struct Case {
    std::string what;
    std::string rival;  // on the ids of 降っ
    int32_t rivalCost;
    int times;  // sentences 雨が降っ in the text
    bool modelHasRun;
    std::vector<WordEntry> added;
  };
  const std::vector<WordEntry> rained = {{"あめがふっ", 1, 3, 1000, "雨が降っ"}, {"あめがふっ", 1, 4, 1200, "雨が降っ"}};
  std::vector<WordEntry> rainedEveryForm = rained;
  rainedEveryForm.push_back({"あめがふり", 1, 5, 800, "雨が降り"});
  const std::vector<Case> cases = {
      {"a cheaper homophone, the run seen as often as a counted word", "振っ", 2000, 3, true, rainedEveryForm},
      {"a cheaper homophone, the run seen less", "振っ", 2000, 2, true, {}},
      {"the words alone already convert so", "振っ", 4000, 6, true, {}},
      {"the model does not store the run", "振っ", 2000, 6, false, {}},
      // Kana or kanji is left to the words' costs unless the run is seen as
      // often as a pair of ids must be, and its reading alone converts otherwise.
      {"a cheaper kana spelling, the run seen 4 times", "ふっ", 2000, 4, true, {}},
      {"a cheaper kana spelling, the run seen 5 times", "ふっ", 2000, 5, true, rained},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    orvane::testing::TempDir dir;
    ModelFixture::Bigrams bigrams = {{{"あめ/雨", "が/が"}, {-0.5, 0}}};
    ModelFixture::Trigrams trigrams;
    // The model cuts the verb after its stem, as libkkc-data does.
    if (c.modelHasRun) {
      bigrams[{"が/が", "ふ/降"}] = {-1, 0};
      trigrams[{"あめ/雨", "が/が", "ふ/降"}] = -0.5;
    }
    ModelFixture fixture(dir.path(),
                         {{"<s>", {-1, 0}}, {"</s>", {-1, 0}}, {"あめ/雨", {-3, 0}}, {"が/が", {-1, 0}},
                          {"ふ/降", {-3, 0}}, {"っ/っ", {-1, 0}}},
                         bigrams, trigrams);
    const LanguageModel model = LanguageModel::load(dir.path());
    Lexicon lexicon;
    // Two forms of 降る share the spelling 降っ; 降り is its form before ます
    // and also a form of another verb, 降りる.
    lexicon.grammar.names = {"BOS/EOS,*,*,*,*,*,*",
                             "名詞,一般,*,*,*,*,*",
                             "助詞,格助詞,一般,*,*,*,が",
                             "動詞,自立,*,*,五段・ラ行,連用タ接続,*",
                             "動詞,自立,*,*,五段・ラ行,連用ゴザイ接続,*",
                             "動詞,自立,*,*,五段・ラ行,連用形,*",
                             "動詞,自立,*,*,一段,連用形,*"};
    lexicon.grammar.costs.assign(49, 0);
    lexicon.words = {{"あめ", 1, 1, 1000, "雨"},
                     {"が", 2, 2, 100, "が"},
                     {"ふっ", 3, 3, 3000, "降っ"},
                     {"ふっ", 4, 4, 3200, "降っ"},
                     {"ふっ", 3, 3, c.rivalCost, c.rival},
                     {"ふり", 5, 5, 2800, "降り"},
                     {"ふり", 6, 6, 2500, "降り"}};
    const std::vector<WordEntry> before = lexicon.words;
    const TaggedText text = textOf({{{{"あめ", "雨", 1}, {"が", "が", 2}, {"ふっ", "降っ", 3}}, c.times}});
    EXPECT_EQ(addPhrases(lexicon, model, text, {1, 2, 3}), c.added.size());
    std::vector<WordEntry> expected = before;
    expected.insert(expected.end(), c.added.begin(), c.added.end());
    EXPECT_EQ(lexicon.words, expected);
  }
}

// A noun suffix after a name is as much a word of the run as the name
// (フランス領, not 量); one that any person's name takes (氏, さん) is not.
// A run of nouns alone comes in seen twice, where other runs need three times.
TEST(PhrasesTest, ANameAndItsSuffixMakeARunUnlessTheSuffixIsAPersons) {
  for (const auto& [person, times] : {std::pair{false, 2}, {false, 1}, {true, 3}}) {
    SCOPED_TRACE(std::string(person ? "person" : "place") + " seen " + std::to_string(times));
    orvane::testing::TempDir dir;
    const std::string name = person ? "ながお/長尾" : "ふらんす/フランス", suffix = person ? "し/氏" : "りょう/領";
    ModelFixture fixture(dir.path(), {{"<s>", {-1, 0}}, {"</s>", {-1, 0}}, {name, {-3, 0}}, {suffix, {-3, 0}}},
                         {{{name, suffix}, {-0.5, 0}}}, {});
    const LanguageModel model = LanguageModel::load(dir.path());
    Lexicon lexicon;
    lexicon.grammar.names = {"BOS/EOS,*,*,*,*,*,*",
                             person ? "名詞,固有名詞,人名,姓,*,*,*" : "名詞,固有名詞,地域,国,*,*,*",
                             person ? "名詞,接尾,人名,*,*,*,*" : "名詞,接尾,一般,*,*,*,*"};
    lexicon.grammar.costs.assign(9, 0);
    const std::string nameReading = person ? "ながお" : "ふらんす", nameSurface = person ? "長尾" : "フランス";
    const std::string suffixReading = person ? "し" : "りょう", suffixSurface = person ? "氏" : "領";
    lexicon.words = {{nameReading, 1, 1, 1000, nameSurface},
                     {suffixReading, 2, 2, 3000, suffixSurface},
                     {suffixReading, 2, 2, 2000, person ? "詩" : "量"}};
    const TaggedText text =
        textOf({{{{nameReading, nameSurface, 1}, {suffixReading, suffixSurface, 2}}, times}});
    const bool added = !person && times >= 2;
    EXPECT_EQ(addPhrases(lexicon, model, text, {1, 2}), added ? 1u : 0u);
    if (added) {
      EXPECT_EQ(lexicon.words.back().surface, "フランス領");
    }
  }
}

}  // namespace
}  // namespace orvane::mkdict

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "fixture_build.h"
#include "mkdict.h"
#include "testing/environment.h"

namespace orvane::mkdict {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::ThrowsMessage;
using orvane::testing::readFile;
using orvane::testing::TempDir;
using orvane::testing::writeFile;

const fs::path testdata = fs::path(ORVANE_SOURCE_DIR) / "tools/mkdict/testdata";
// The documents' Mozc files stand in shared/ beside the repository.
const fs::path sharedMozc = fs::path(ORVANE_SOURCE_DIR).parent_path() / "shared" / "mozc";
const Progress quiet = [](std::string_view) {};

std::vector<std::string> valuesOf(const ReadingTable& table, std::string_view reading) {
  const auto* values = table.find(reading);
  return values ? *values : std::vector<std::string>{};
}

const WordEntry* findWord(const Lexicon& lexicon, std::string_view surface, std::string_view reading = "") {
  for (const auto& w : lexicon.words)
    if (w.surface == surface && (reading.empty() || w.reading == reading)) return &w;
  return nullptr;
}

TEST(IPADICTest, ReadsWordsIdsAndCostsCountsMalformedLinesRefusesBrokenSources) {
  Diagnostics diagnostics;
  Lexicon lexicon = readIPADIC(testdata / "ipadic", diagnostics, quiet);

  ASSERT_EQ(lexicon.grammar.size(), 5);
  EXPECT_EQ(lexicon.grammar.names[4], "動詞,自立,*,*,五段・ラ行,基本形,*");
  // Katakana readings become hiragana, ヴ included.
  ASSERT_NE(findWord(lexicon, "漢字"), nullptr);
  EXPECT_EQ(findWord(lexicon, "漢字")->reading, "かんじ");
  EXPECT_EQ(findWord(lexicon, "ヴァイオリン")->reading, "ゔぁいおりん");
  EXPECT_EQ(findWord(lexicon, "走る")->cost, 7000);
  // Slips in spellings: a stray letter after a place name and a space after
  // a word go, a letter that is read stays, a described character drops its word.
  EXPECT_NE(findWord(lexicon, "浮津一番", "うきついちばん"), nullptr);
  EXPECT_NE(findWord(lexicon, "ルーマニア", "るーまにあ"), nullptr);
  EXPECT_NE(findWord(lexicon, "Tシャツ", "てぃーしゃつ"), nullptr);
  EXPECT_TRUE(std::none_of(lexicon.words.begin(), lexicon.words.end(),
                           [](const WordEntry& w) { return w.reading == "すーしーでぃ"; }));
  EXPECT_EQ(lexicon.words.size(), 12u);

  // matrix.def: "right left cost"; out-of-range costs clamp to 16 bits.
  EXPECT_EQ(lexicon.grammar.cost(3, 2), 32);
  EXPECT_EQ(lexicon.grammar.cost(2, 3), 23);
  EXPECT_EQ(lexicon.grammar.cost(4, 4), INT16_MAX);
  EXPECT_EQ(lexicon.grammar.cost(1, 2), INT16_MIN);

  EXPECT_EQ(diagnostics.byFile().at("Noun.csv"), 2u);
  EXPECT_EQ(diagnostics.byFile().at("matrix.def"), 2u);

  // Missing or inconsistent sources are fatal, with a hint where to get them.
  EXPECT_THAT([&] { readIPADIC("/nonexistent/ipadic", diagnostics, quiet); },
              ThrowsMessage<SourceError>(HasSubstr("mecab-ipadic")));

  TempDir dir;
  fs::copy(testdata / "ipadic", dir.path() / "ipadic");
  writeFile(dir / "ipadic/right-id.def", "0 BOS/EOS,*,*,*,*,*,BOS/EOS\n");
  EXPECT_THROW(readIPADIC(dir / "ipadic", diagnostics, quiet), SourceError);

  fs::copy_file(testdata / "ipadic/left-id.def", dir / "ipadic/right-id.def", fs::copy_options::overwrite_existing);
  writeFile(dir / "ipadic/matrix.def", "4 4\n0 0 1\n");
  EXPECT_THROW(readIPADIC(dir / "ipadic", diagnostics, quiet), SourceError);
}

// A grammar of `size` ids with distinct costs, the two needed names placed
// at `noun` and `symbol`, and one word on each id.
Lexicon syntheticLexicon(int32_t size, int32_t noun, int32_t symbol) {
  Lexicon lexicon;
  lexicon.grammar.names.resize(size);
  for (int32_t id = 0; id < size; ++id) {
    lexicon.grammar.names[id] = "名詞,固有名詞,id" + std::to_string(id);
    lexicon.words.push_back({"よみ" + std::to_string(id), id, id, 100 + id, "w" + std::to_string(id)});
  }
  lexicon.grammar.names[0] = "BOS/EOS,*,*,*,*,*,*";
  lexicon.grammar.names[noun] = std::string(userWordName);
  lexicon.grammar.names[symbol] = std::string(fallbackSymbolName);
  lexicon.grammar.costs.resize(static_cast<std::size_t>(size) * size);
  for (int32_t a = 0; a < size; ++a)
    for (int32_t b = 0; b < size; ++b) lexicon.grammar.costs[static_cast<std::size_t>(a) * size + b] = (a * 7 + b * 3) % 30000;
  return lexicon;
}

TEST(RenumberTest, FixedIdsGetTheirNamesAndEverythingMovesWithItsId) {
  struct Case {
    int32_t size, noun, symbol;
  };
  for (const Case c : {Case{5, 2, 3}, Case{5, 3, 2}, Case{3000, 1851, 2644}, Case{3000, 2644, 1851},
                       Case{3000, 12, 2644}, Case{2700, 1851, 7}}) {
    SCOPED_TRACE(::testing::Message() << "size " << c.size << " noun " << c.noun << " symbol " << c.symbol);
    const Lexicon before = syntheticLexicon(c.size, c.noun, c.symbol);
    Lexicon after = before;
    renumber(after);

    const int32_t n = after.grammar.size();
    EXPECT_EQ(n, std::max(c.size, 2645));
    ASSERT_EQ(after.grammar.costs.size(), static_cast<std::size_t>(n) * n);
    EXPECT_EQ(after.grammar.names[0], "BOS/EOS,*,*,*,*,*,*");
    EXPECT_EQ(after.grammar.names[userWordID], userWordName);
    EXPECT_EQ(after.grammar.names[fallbackSymbolID], fallbackSymbolName);

    // Each word keeps its name and every connection between two words keeps its cost.
    std::vector<int32_t> newId(c.size);
    for (std::size_t i = 0; i < before.words.size(); ++i) {
      EXPECT_EQ(after.grammar.names[after.words[i].leftID], before.grammar.names[before.words[i].leftID]);
      newId[before.words[i].leftID] = after.words[i].leftID;
    }
    std::vector<int32_t> sample = {c.noun, c.symbol, 0, c.size - 1};
    for (int32_t id = 1; id < c.size; id += std::max(1, c.size / 40)) sample.push_back(id);
    for (int32_t a : sample)
      for (int32_t b : sample)
        ASSERT_EQ(after.grammar.cost(newId[a], newId[b]), before.grammar.cost(a, b)) << a << " -> " << b;

    // Ids that no source id moved to stay out of every path.
    for (int32_t id = 1; id < n; ++id) {
      if (!after.grammar.names[id].empty()) continue;
      EXPECT_EQ(after.grammar.cost(id, 0), INT16_MAX);
      EXPECT_EQ(after.grammar.cost(0, id), INT16_MAX);
      break;
    }
  }
}

TEST(RenumberTest, RefusesSourcesWithoutTheNeededParts) {
  for (int32_t id : {3, 0}) {  // the fall-back symbol, then the sentence boundary
    Lexicon lexicon = syntheticLexicon(5, 2, 3);
    lexicon.grammar.names[id] = "名詞,数,*,*,*,*,*";
    EXPECT_THROW(renumber(lexicon), SourceError) << id;
  }
}

TEST(ConnectionTest, LayoutIsCountThenLittleEndianRows) {
  Grammar grammar;
  grammar.names = {"a", "b", "c"};
  grammar.costs = {0, 1, -1, 256, INT16_MIN, INT16_MAX, 7, 8, 9};
  const std::string bytes = connectionBytes(grammar);
  ASSERT_EQ(bytes.size(), 4u + 2 * 3 * 3);
  EXPECT_EQ(bytes.substr(0, 4), std::string("\x03\0\0\0", 4));
  auto u8 = [&](std::size_t i) { return static_cast<uint8_t>(bytes[i]); };
  auto cell = [&](int from, int to) {
    const std::size_t at = 4 + 2 * (from * 3 + to);
    return static_cast<int16_t>(u8(at) | (u8(at + 1) << 8));
  };
  for (int from = 0; from < 3; ++from)
    for (int to = 0; to < 3; ++to) EXPECT_EQ(cell(from, to), grammar.costs[from * 3 + to]) << from << " " << to;
  EXPECT_EQ(clampCost(-40000), INT16_MIN);
}

TEST(KatakanaPiecesTest, SyllablesSpellUnknownLoanwordsInOneClauseConnectingAsAPlaceName) {
  Lexicon lexicon;
  lexicon.grammar.names = {"BOS/EOS,*,*,*,*,*,*", std::string(katakanaPieceBaseName), "助詞,格助詞,一般,*,*,*,*", ""};
  lexicon.grammar.costs = {0, 10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110, 120, 130, 140, 150};
  const std::size_t added = addKatakanaPieces(lexicon, {6000, 4000, 2000});
  ASSERT_EQ(added, lexicon.words.size());
  const auto& g = lexicon.grammar;
  ASSERT_EQ(g.size(), 5) << "the unused id 3, then one more";
  const int32_t first = findWord(lexicon, "ペ", "ぺ")->leftID;
  EXPECT_EQ(g.names[static_cast<std::size_t>(first)], "名詞,固有名詞,地域,一般,*,*,片仮名頭");
  int32_t next = -1;
  for (const auto& w : lexicon.words) {
    EXPECT_EQ(w.leftID, w.rightID);
    if (w.leftID != first) next = w.leftID;
  }
  EXPECT_EQ(g.names[static_cast<std::size_t>(next)].rfind("名詞,非自立,", 0), 0u) << "attached: one clause";

  auto entries = [&](std::string_view reading) {
    std::vector<std::pair<std::string, int32_t>> out;
    for (const auto& w : lexicon.words)
      if (w.reading == reading) out.emplace_back(w.surface + (w.leftID == first ? " first" : " next"), w.cost);
    std::sort(out.begin(), out.end());
    return out;
  };
  using P = std::pair<std::string, int32_t>;
  EXPECT_THAT(entries("ゔぁ"), ElementsAre(P{"ヴァ first", 6000}, P{"ヴァ next", 4000}));
  EXPECT_THAT(entries("きゅ"), ElementsAre(P{"キュ first", 6000}, P{"キュ next", 4000}));
  for (const char* inside : {"ぁ", "っ", "ん"}) EXPECT_EQ(entries(inside).size(), 1u) << inside << " never begins a word";
  EXPECT_THAT(entries("ー"), ElementsAre(P{"ー next", 2000}));
  EXPECT_TRUE(entries("んぁ").empty());

  for (int32_t b : {0, 1, 2}) {
    EXPECT_EQ(g.cost(b, first), g.cost(b, 1)) << b;
    EXPECT_EQ(g.cost(first, b), g.cost(1, b)) << b;
    EXPECT_EQ(g.cost(next, b), g.cost(1, b)) << b;
    EXPECT_EQ(g.cost(b, next), INT16_MAX) << "a piece follows only pieces";
  }
  EXPECT_EQ(g.cost(first, next), 0);
  EXPECT_EQ(g.cost(next, next), 0);
  EXPECT_EQ(g.cost(2, 0), 80) << "the old costs stay where they were";
  EXPECT_EQ(g.cost(1, 2), 60);

  Lexicon without;
  without.grammar.names = {"BOS/EOS,*,*,*,*,*,*", "名詞,一般,*,*,*,*,*"};
  without.grammar.costs = {0, 1, 2, 3};
  EXPECT_EQ(addKatakanaPieces(without), 0u);
  EXPECT_EQ(without.grammar.size(), 2);
}

// A syllable the list's katakana words go on with often costs less as a
// piece than one they seldom use there, and on average the pieces cost
// what they were given.
TEST(KatakanaPiecesTest, SyllablesCostByHowOftenLoanwordsUseThem) {
  Lexicon lexicon;
  lexicon.grammar.names = {"BOS/EOS,*,*,*,*,*,*", std::string(katakanaPieceBaseName), ""};
  lexicon.grammar.costs.assign(9, 0);
  for (const auto& [reading, surface] : {std::pair{"ぱん", "パン"}, {"らん", "ラン"}, {"さん", "サン"}, {"はむ", "ハム"}})
    lexicon.words.push_back({reading, 1, 1, 5000, surface});
  addKatakanaPieces(lexicon, {6000, 4000, 2000, 850});
  const int32_t firstID = findWord(lexicon, "ペ", "ぺ")->leftID;
  auto piece = [&](std::string_view reading, bool first) {
    for (const auto& w : lexicon.words)
      if (w.reading == reading && w.leftID != 1 && (w.leftID == firstID) == first) return w.cost;
    ADD_FAILURE() << reading;
    return 0;
  };
  EXPECT_LT(piece("ん", false), piece("む", false));
  EXPECT_LT(piece("む", false), piece("は", false)) << "は never goes on a word here";
  EXPECT_LT(piece("は", true), piece("ひ", true));
  EXPECT_NEAR((3 * piece("ん", false) + piece("む", false)) / 4.0, 4000, 1);
  EXPECT_EQ(piece("ー", false), 2000);
}

TEST(WordListTest, SortsWholeLinesByUnsignedBytesAndDropsRepeats) {
  const std::vector<WordEntry> words = {
      {"かなa", 1, 1, 10, "X"}, {"かな", 2, 2, 5, "仮名"}, {"か", 1, 1, 3, "蚊"},
      {"かな", 2, 2, 5, "仮名"}, {"z", 1, 1, 1, "z"},    {"é", 1, 1, 1, "é"},
      {"かな", 10, 10, 5, "仮名"},
  };
  const std::string lines = wordLines(words);
  // TAB sorts below every printable byte, so a reading's lines come before
  // those of longer readings; bytes above 0x7F sort after ASCII.
  EXPECT_EQ(lines,
            "z\t1\t1\t1\tz\n"
            "é\t1\t1\t1\té\n"
            "か\t1\t1\t3\t蚊\n"
            "かな\t10\t10\t5\t仮名\n"
            "かな\t2\t2\t5\t仮名\n"
            "かなa\t1\t1\t10\tX\n");
  EXPECT_EQ(firstUnsortedLine(lines), std::nullopt);
  EXPECT_EQ(firstUnsortedLine("かな\t1\nかなa\t1\nかな\t2\n"), 3u);
  EXPECT_EQ(firstUnsortedLine(""), std::nullopt);
}

TEST(DirectoryTest, ReplacesTheWholeDirectoryOnlyWhenCompleteAndSweepsLeftovers) {
  TempDir dir;
  const fs::path target = dir / "Resources/Mozc";
  writeDirectory(target, {{"mozc.tsv", "a\t1\n"}, {"id.def", "0 BOS/EOS\n"}});
  EXPECT_EQ(readFile(target / "mozc.tsv"), "a\t1\n");

  writeDirectory(target, {{"mozc.tsv", "b\t2\n"}, {"emoji.tsv", "x\ty\n"}});
  EXPECT_EQ(readFile(target / "mozc.tsv"), "b\t2\n");
  EXPECT_FALSE(fs::exists(target / "id.def")) << "files of the old build survived";

  // An unsorted word list is refused and the previous data stays whole.
  EXPECT_THROW(writeDirectory(target, {{"mozc.tsv", "b\t1\na\t1\n"}, {"emoji.tsv", "new\tz\n"}}), SourceError);
  EXPECT_THROW(writeDirectory(target, {{"ut-extra.tsv", "b\t1\na\t1\n"}}), SourceError);
  EXPECT_EQ(readFile(target / "emoji.tsv"), "x\ty\n");

  // Only the target remains beside: no partial or old directories.
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(dir / "Resources")) names.push_back(entry.path().filename());
  EXPECT_THAT(names, ElementsAre("Mozc"));

  // What an interrupted build left is swept. Process ids this large are
  // never handed out, so these builds are dead.
  const fs::path dead = dir / "Resources/.Mozc.partial-2147483646", deadOld = dir / "Resources/.Mozc.old-2147483646";
  const fs::path alive = dir / ("Resources/.Mozc.partial-" + std::to_string(getppid()));
  for (const auto& p : {dead, deadOld, alive}) writeFile(p / "mozc.tsv", "half");
  writeDirectory(target, {{"mozc.tsv", "a\t1\n"}});
  EXPECT_FALSE(fs::exists(dead) || fs::exists(deadOld));
  EXPECT_TRUE(fs::exists(alive)) << "a build still running elsewhere lost its directory";
}

TEST(CLDRTest, EmojiOrSymbolByUnicodeProperties) {
  using Case = std::tuple<const char*, bool, bool>;  // characters, emoji, text presentation
  for (const auto& [characters, emoji, textPresentation] : {
           Case{"😀", true, false}, Case{"#️⃣", true, false}, Case{"🇯🇵", true, false}, Case{"👍🏽", true, false},
           Case{"↔", true, true}, Case{"©", true, true},  // pictographs shown as text by default
           Case{"→", false, false},                       // an arrow with no emoji form
           Case{"&", false, false}, Case{"∑", false, false},
       }) {
    EXPECT_EQ(isEmoji(characters), emoji) << characters;
    EXPECT_EQ(isTextPresentation(characters), textPresentation) << characters;
  }
}

TEST(CLDRTest, ReadsKeywordsSpokenNamesAndEntities) {
  Diagnostics diagnostics;
  auto annotations = readCLDRAnnotations(testdata / "cldr/common/annotations/ja.xml", diagnostics);
  ASSERT_EQ(annotations.size(), 5u);
  EXPECT_THAT(annotations[0].keywords, ElementsAre("スマイル", "笑顔", "顔", "にっこり笑う"));
  EXPECT_THAT(annotations[3].keywords, ElementsAre("アンド", "<記号>"));
  EXPECT_EQ(diagnostics.count(), 1u);
  EXPECT_THROW(readCLDRAnnotations("/nonexistent/ja.xml", diagnostics), SourceError);
}

TEST(CLDRTest, KeywordsBecomeReadingsWhenKanaOrUnambiguous) {
  const ReadingOf readingOf = readingResolver({{"えがお", 1, 1, 1, "笑顔"}, {"かお", 1, 1, 1, "顔"},
                                               {"がお", 1, 1, 1, "顔"}, {"やじるし", 1, 1, 1, "矢印"},
                                               {"やじるし", 2, 2, 9, "矢印"}});
  using Case = std::pair<const char*, std::optional<std::string>>;
  for (const auto& [keyword, reading] : {
           Case{"スマイル", "すまいる"}, Case{"にっこり", "にっこり"}, Case{"コピー・ライト", "こぴーらいと"},
           Case{"笑顔", "えがお"}, Case{"矢印", "やじるし"},  // two entries, one reading
           Case{"顔", std::nullopt},                         // two readings
           Case{"にっこり笑う", std::nullopt}, Case{"ABC", std::nullopt}, Case{"・", std::nullopt},
       })
    EXPECT_EQ(readingOf(keyword), reading) << keyword;
}

TEST(CLDRTest, AnnotationsFillEmojiAndSymbolLists) {
  const std::vector<Annotation> annotations = {
      {"😀", {"スマイル", "笑顔"}}, {"→", {"矢印"}}, {"↔", {"矢印"}}, {"a b", {"エービー"}}, {"😃", {"スマイル"}},
  };
  const std::vector<WordEntry> words = {{"えがお", 1, 1, 1, "笑顔"}, {"やじるし", 1, 1, 1, "矢印"}};
  ReadingTable emoji, symbols;
  addAnnotations(annotations, readingResolver(words), emoji, symbols);
  EXPECT_THAT(valuesOf(symbols, "やじるし"), ElementsAre("→", "↔"));
  EXPECT_TRUE(valuesOf(symbols, "えーびー").empty()) << "a candidate with a space cannot be listed";
  EXPECT_EQ(emoji.lines(), "えがお\t😀\nすまいる\t😀 😃\nやじるし\t↔\n");
}

TEST(MozcTest, SourceTreeGivesWordsIdsAndSquareCostsAndShortTablesAreRefused) {
  const MozcFiles files = locateMozc(testdata / "mozc");
  ASSERT_EQ(files.dictionaries.size(), 1u);
  Diagnostics diagnostics;
  Lexicon lexicon = readMozcLexicon(files, diagnostics, quiet);
  EXPECT_EQ(diagnostics.byFile().at("dictionary00.txt"), 1u);
  // One cost a line, row after row: cost(from 1, to 2) is the 7th value.
  EXPECT_EQ(lexicon.grammar.cost(1, 2), 6);
  renumber(lexicon);  // the words' new ids show in the whole build below
  EXPECT_EQ(lexicon.grammar.cost(userWordID, fallbackSymbolID), 6);
  EXPECT_EQ(lexicon.grammar.cost(3, userWordID), 13);

  // A connection table shorter than its count says is refused.
  TempDir dir;
  fs::copy(testdata / "mozc", dir.path() / "mozc", fs::copy_options::recursive);
  writeFile(dir / "mozc/src/data/dictionary_oss/connection_single_column.txt", "4\n1\n2\n3\n");
  EXPECT_THROW(readMozcLexicon(locateMozc(dir / "mozc"), diagnostics, quiet), SourceError);
  EXPECT_THROW(locateMozc(dir / "nothing"), SourceError);
}

TEST(MozcTest, SharedIdListEmojiAndSymbols) {
  if (!fs::exists(sharedMozc / "id.def")) GTEST_SKIP() << "no " << sharedMozc;
  const MozcFiles files = locateMozc(sharedMozc);
  EXPECT_TRUE(files.dictionaries.empty()) << "a README beside the data is not a word list";
  ASSERT_TRUE(files.idDef && files.emoji && files.symbols);

  Diagnostics diagnostics;
  Lexicon lexicon;
  lexicon.grammar.names = readIdNames(*files.idDef, diagnostics);
  const auto names = lexicon.grammar.names;
  lexicon.grammar.costs.assign(names.size() * names.size(), 0);
  renumber(lexicon);
  EXPECT_EQ(lexicon.grammar.names, names) << "the real ids already sit where the input method wants them";

  ReadingTable emoji = readMozcEmoji(*files.emoji, diagnostics);
  EXPECT_THAT(valuesOf(emoji, "にっこり"), ::testing::Contains("😀"));
  EXPECT_TRUE(valuesOf(emoji, "#").empty()) << "a reading that starts a comment line";
  ReadingTable symbols = readMozcSymbols(*files.symbols, diagnostics);
  EXPECT_THAT(valuesOf(symbols, "やじるし"), ::testing::Contains("→"));
  EXPECT_EQ(symbols.find("CHAR"), nullptr) << "the header line was read as data";
  EXPECT_EQ(diagnostics.count(), 0u);
}

TEST(BuildTest, FixtureSourcesMakeACompleteDirectoryAndMozcReplacesWhatItOverlaps) {
  TempDir dir;
  const BuildResult result = build(fixtureBuild(dir.path()), quiet);
  const fs::path out = dir / "Mozc";
  EXPECT_EQ(fs::file_size(out / "connection.bin"), 4u + 2u * 2645 * 2645);
  const std::string ids = readFile(out / "id.def");
  EXPECT_THAT(ids, HasSubstr("\n1851 名詞,一般,*,*,*,*,*\n"));
  EXPECT_THAT(ids, HasSubstr("\n2644 記号,一般,*,*,*,*,*\n"));
  std::string words = readFile(out / "mozc.tsv");
  EXPECT_EQ(firstUnsortedLine(words), std::nullopt);
  EXPECT_THAT(words, HasSubstr("かんじ\t1851\t1851\t5352\t漢字\n"));
  EXPECT_THAT(readFile(out / "emoji.tsv"), HasSubstr("にほん\t🇯🇵\n"));
  EXPECT_THAT(readFile(out / "symbol.tsv"), HasSubstr("やじるし\t→ ↔\n"));
  const std::string credits = readFile(out / "CREDITS.txt");
  EXPECT_THAT(credits, HasSubstr("Fixture licence for the small IPADIC sample."));
  EXPECT_THAT(credits, HasSubstr("Fixture licence for the small CLDR sample."));
  EXPECT_THAT(credits, Not(HasSubstr("Mozc")));
  EXPECT_EQ(result.fileSizes.at("mozc.tsv"), words.size());
  EXPECT_EQ(result.diagnostics.count(), 5u);

  // Mozc sources replace what they overlap.
  BuildOptions options = fixtureBuild(dir.path());
  options.mozc = testdata / "mozc";
  build(options, quiet);
  words = readFile(dir / "Mozc/mozc.tsv");
  EXPECT_EQ(words, "かんじ\t1851\t1851\t5352\t漢字\nが\t3\t3\t3000\tが\nきごう\t2644\t2644\t4000\t※\n");
  // The fixture tree has no emoji or symbols, so CLDR still gives them.
  EXPECT_THAT(readFile(dir / "Mozc/emoji.tsv"), HasSubstr("すまいる\t😀"));
  EXPECT_THAT(readFile(dir / "Mozc/CREDITS.txt"), HasSubstr("Fixture licence for the small Mozc sample."));
  EXPECT_THAT(readFile(dir / "Mozc/CREDITS.txt"), Not(HasSubstr("IPADIC")));

  options.ipadic.reset();
  options.mozc.reset();
  EXPECT_THROW(build(options, quiet), SourceError);
  EXPECT_EQ(readFile(dir / "Mozc/mozc.tsv"), words) << "a failed build touched the old data";
}

TEST(CreditsTest, DebianVersionsAndMissingLicences) {
  TempDir dir;
  writeFile(dir / "status",
            "Package: skkdic\nStatus: install ok installed\nVersion: 1.0\n\n"
            "Package: mecab-ipadic\nStatus: install ok installed\nVersion: 2.7.0-3\n");
  EXPECT_EQ(debianVersion("mecab-ipadic", dir / "status"), "2.7.0-3");
  EXPECT_EQ(debianVersion("mecab", dir / "status"), std::nullopt);
  EXPECT_THAT([&] { findLicence({dir / "nope"}, "unicode-cldr-core"); },
              ThrowsMessage<SourceError>(HasSubstr("unicode-cldr-core")));
}

}  // namespace
}  // namespace orvane::mkdict

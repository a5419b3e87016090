// The data builder's model: the words, the grammar (part-of-speech names and
// connection costs by context id) and the emoji and symbol lists that the
// sources are read into, and the steps that turn them into a data directory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "text/text.h"

namespace orvane::mkdict {

namespace fs = std::filesystem;

// Context ids that the input method itself hands out, so the data must agree.
inline constexpr int32_t sentenceBoundaryID = 0;
inline constexpr int32_t userWordID = 1851;
// What the converter adds to a content word written all in hiragana, or all
// in katakana.
inline constexpr int32_t hiraganaCharge = 600;
inline constexpr int32_t katakanaCharge = 500;
inline constexpr int32_t fallbackSymbolID = 2644;
inline constexpr std::string_view userWordName = "名詞,一般,*,*,*,*,*";
inline constexpr std::string_view fallbackSymbolName = "記号,一般,*,*,*,*,*";

// A source that cannot be used at all; the message says what to install or pass.
class SourceError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct WordEntry {
  std::string reading;
  int32_t leftID = 0;
  int32_t rightID = 0;
  int32_t cost = 0;
  std::string surface;
  // Words added from a vocabulary source go to their own list (ut-*.tsv).
  std::string list = "mozc.tsv";
  // The cost is the language model's text's: counted there, or priced from
  // the model's own probability; rules that guess at frequency leave it.
  bool fromModel = false;
  bool operator==(const WordEntry&) const = default;
};

// Part-of-speech names and the connection matrix, indexed by context id.
// A rule's guess at how common a word is (SKK's order, a rare or uncommon
// spelling, a katakana variant, a proper noun) and the language model's text
// are two estimates of one thing: where the text set the word's cost, the
// rule moves it half the way, and their mean errs less than either.
inline int32_t guessedChange(const WordEntry& word, int32_t change) {
  return word.fromModel ? change / 2 : change;
}

struct Grammar {
  std::vector<std::string> names;  // empty name: an id no word uses
  std::vector<int16_t> costs;      // names.size() squared, row = right id of the earlier word
  int32_t size() const { return static_cast<int32_t>(names.size()); }
  int16_t cost(int32_t from, int32_t to) const { return costs[static_cast<std::size_t>(from) * names.size() + to]; }
};

struct Lexicon {
  Grammar grammar;
  std::vector<WordEntry> words;
};

// Reading -> candidates in first-seen order, without repeats.
class ReadingTable {
 public:
  void add(std::string_view reading, std::string_view value);
  bool empty() const { return table_.empty(); }
  std::size_t readingCount() const { return table_.size(); }
  std::size_t valueCount() const;
  const std::vector<std::string>* find(std::string_view reading) const;
  // "reading TAB value SPACE value ..." lines in byte order of the readings.
  std::string lines() const;

 private:
  std::map<std::string, std::vector<std::string>, std::less<>> table_;
};

// Malformed input is counted per file and reported, never fatal.
class Diagnostics {
 public:
  void malformed(const std::string& file, std::string_view line);
  std::size_t count() const;
  const std::map<std::string, std::size_t>& byFile() const { return counts_; }
  const std::map<std::string, std::string>& examples() const { return examples_; }

 private:
  std::map<std::string, std::size_t> counts_;
  std::map<std::string, std::string> examples_;
};

using Progress = std::function<void(std::string_view)>;

// ---- Sources -------------------------------------------------------------

// The IPADIC directory (EUC-JP): *.csv, left-id.def, right-id.def, matrix.def.
Lexicon readIPADIC(const fs::path& dir, Diagnostics& diagnostics, const Progress& progress);

// The files a Mozc source tree contributes; each may be absent.
struct MozcFiles {
  std::vector<fs::path> dictionaries;
  std::optional<fs::path> idDef;
  std::optional<fs::path> connection;
  std::optional<fs::path> emoji;
  std::optional<fs::path> symbols;
  std::optional<fs::path> license;
  std::optional<fs::path> version;
};
MozcFiles locateMozc(const fs::path& root);
// id.def: "id name" lines; names indexed by id, gaps empty.
std::vector<std::string> readIdNames(const fs::path& file, Diagnostics& diagnostics);
Lexicon readMozcLexicon(const MozcFiles& files, Diagnostics& diagnostics, const Progress& progress);
ReadingTable readMozcEmoji(const fs::path& file, Diagnostics& diagnostics);
ReadingTable readMozcSymbols(const fs::path& file, Diagnostics& diagnostics);

// One CLDR annotation: the characters and their keywords (the spoken name included).
struct Annotation {
  std::string characters;
  std::vector<std::string> keywords;
};
std::vector<Annotation> readCLDRAnnotations(const fs::path& file, Diagnostics& diagnostics);
// Emoji when any scalar is Emoji_Presentation or Extended_Pictographic, or the
// string is a sequence marked by U+FE0F or the keycap U+20E3.
bool isEmoji(std::string_view characters);
// Text-presentation pictographs (© ↔ ♠): emoji that also belong among symbols.
bool isTextPresentation(std::string_view characters);
// The reading a user types for a keyword: the keyword itself when it is all
// kana (in hiragana, "・" and spaces dropped), else its one reading in the
// word list, else nothing.
using ReadingOf = std::function<std::optional<std::string>(std::string_view)>;
ReadingOf readingResolver(const std::vector<WordEntry>& words);
void addAnnotations(const std::vector<Annotation>& annotations, const ReadingOf& readingOf,
                    ReadingTable& emoji, ReadingTable& symbols);

// SKK-JISYO (EUC-JP): "reading /cand1/cand2;annotation/", most common
// first. Readings ending in a Latin letter are verb and adjective stems
// before their okurigana (おもu /思/想/).
using SKKDictionary = std::map<std::string, std::vector<std::string>, std::less<>>;
SKKDictionary readSKK(const fs::path& file, Diagnostics& diagnostics);
// Candidates of `extra` after those `into` already lists under the same key.
void mergeSKK(SKKDictionary& into, const SKKDictionary& extra);

// EDICT, the Japanese-English dictionary of the Debian package edict: which
// spellings are common, which words are usually written in kana, and nouns
// that IPADIC lacks.
struct EdictEntry {
  // How the first sense is used, as far as the word list can take it.
  enum class Kind { other, noun, verbalNoun, adjectivalNoun };
  Kind kind = Kind::other;
  // Marked (P): in the lists of common words EDICT draws on.
  bool common = false;
  // The first sense is marked (uk): usually written in kana alone.
  bool usuallyKana = false;
  // The reading as EDICT writes it: in katakana for a loanword or the name
  // of a plant or animal (錫蘭 セイロン, 海豚 イルカ), how it is written then.
  std::string kana;
  // Spellings of one word share their glosses, one line each in EDICT:
  // equal numbers here, homophones differ (分かる and 判る; 秋 and 空き).
  uint32_t meaning = 0;
};

// (surface, reading in hiragana) -> entry. Lines: "surface [reading] /(pos)
// gloss/.../(P)/", or "kana /.../" when the headword is its own reading.
using EdictDictionary = std::map<std::pair<std::string, std::string>, EdictEntry, std::less<>>;
EdictDictionary readEDICT(const fs::path& file, Diagnostics& diagnostics);

// Rule "edict-words": EDICT's nouns that the word list lacks, in list
// "ut-edict.tsv": readings of two kana or more, surfaces of kanji and kana.
// A word usually written in kana comes in kana, its kanji spelling dearer.
inline constexpr int32_t edictCommonWordCost = 5000;
inline constexpr int32_t edictWordCost = 7000;
void addEdictWords(Lexicon& lexicon, const EdictDictionary& edict);

inline constexpr int32_t edictUsuallyKanaPenalty = 2000;

// Rule "edict-common": where a reading has a spelling EDICT marks common,
// its other kanji spellings cost edictUncommonPenalty more.
inline constexpr int32_t edictUncommonPenalty = 1000;
void penalizeUncommonSpellings(Lexicon& lexicon, const EdictDictionary& edict);

// Rule "usually-kana": where the cheapest kanji spelling of a content word
// (one reading, one pair of ids) is one EDICT marks common and usually
// written in kana (宜しく, 美味しい; verbs and adjectives by their stem, 貰っ
// under 貰う, unless another common word has that stem: 行ける is usually
// kana, 行く is not), its hiragana spelling comes out
// usuallyKanaMargin cheaper once the converter has charged it for being
// hiragana; one is added where the word list lacks it. Spellings of one
// kanji (高 たか, 鬱 うつ) are left alone: their kana would be short nouns
// that split longer words.
inline constexpr int32_t usuallyKanaMargin = 200;
void preferUsualKanaSpellings(Lexicon& lexicon, const EdictDictionary& edict, int32_t hiraganaCharge);

// ---- Cost rules ------------------------------------------------------------
//
// Deterministic, general adjustments of word costs after renumbering; each
// can be switched off by name for measuring.

struct Adjustments {
  bool skkOrder = true;          // "skk-order"
  bool katakanaVariants = true;  // "katakana-variants"
  bool properNouns = true;       // "proper-nouns"
  bool shortReadings = true;     // "short-readings"
  bool skkWords = true;          // "skk-words"
  bool honorificKana = true;     // "honorific-kana"
  bool rareKanji = true;         // "rare-kanji"
  bool edictWords = true;        // "edict-words"
  bool edictCommon = true;       // "edict-common"
  bool usuallyKana = true;       // "usually-kana"
  bool katakanaPieces = true;    // "katakana-pieces"
};
inline constexpr const char* adjustmentNames[] = {"skk-order",   "katakana-variants", "proper-nouns",
                                                  "short-readings", "skk-words",      "honorific-kana",
                                                  "rare-kanji",  "edict-words",       "edict-common", "usually-kana",
                                                  "katakana-pieces"};
// Whether a name is a rule's; sets it in `adjustments`.
bool setAdjustment(Adjustments& adjustments, std::string_view name, bool on);

// What a spelling is known by whatever its inflection: the surface without
// its trailing kana and the reading without the same kana (思 おも for 思う,
// 思っ and 思わ; 見 み for 見る and 見). Nothing for a surface of kana alone.
std::optional<std::pair<std::string, std::string>> stemKey(std::string_view reading, std::string_view surface);
// The SKK key (reading, or stem plus okurigana letter) and the candidate
// (surface without okurigana) under which a word would be listed.
std::optional<std::pair<std::string, std::string>> skkKey(std::string_view reading, std::string_view surface);

// Homonyms of one reading get the costs their SKK order implies: the
// surface SKK lists first costs what the cheapest listed one did, each later
// one a step more; kanji surfaces SKK does not list for the key cost more
// than all of them. A surface keeps the differences between its own entries
// (its parts of speech). Where the language model (natural-log unigram
// probabilities by "reading TAB surface") holds a later surface at least ten
// times as likely as an earlier one, the model knows better than SKK's
// everyday order, and the key's surfaces keep their costs.
using UnigramProbabilities = std::unordered_map<std::string, double>;
void applySKKOrder(Lexicon& lexicon, const SKKDictionary& skk, const UnigramProbabilities* model = nullptr);
// SKK's nouns and compounds that the word list lacks, as common nouns in
// list "ut-skk.tsv" (merged into mozc.tsv unless kept separate): readings
// of three kana or more, surfaces of kanji and kana.
// Their costs are then ordered with the rest by applySKKOrder.
void addSKKWords(Lexicon& lexicon, const SKKDictionary& skk);
// Katakana spellings of words that also have a kanji spelling under the same
// reading, and of function words that have a hiragana one under the same
// ids: native words, names and particles are rarely written in katakana.
void penalizeKatakanaVariants(Lexicon& lexicon);
// Proper nouns (名詞,固有名詞): IPADIC lists many rare names cheaply. Country
// names are the exception: a closed list of everyday words (日本, 中国).
void penalizeProperNouns(Lexicon& lexicon);
// Content words with a kanji surface and a one-kana reading (胃 い, 木 き):
// each competes with particles and endings everywhere in a sentence.
void penalizeShortReadings(Lexicon& lexicon);
// Words that begin with the honorific prefix 御 read ご or お (御飯, 御自由)
// get a twin with the prefix in kana (ご飯, ご自由) at the same cost, and
// the kanji spelling costs more: modern writing spells the prefix in kana.
// Compounds with 御 inside (朝御飯) do the same where the list has their
// kana spelling already (朝ご飯): 京都御所 and 大御所 keep their kanji.
void spellHonorificsInKana(Lexicon& lexicon);
// Words written with a kanji outside JIS X 0208 level 1 (欝, 凭, 噺): rare,
// archaic or variant forms of words that have a common spelling.
void penalizeRareKanji(Lexicon& lexicon);
bool isCommonKanji(char32_t c);
// Character classes of surfaces and readings (ー counts as katakana).
using text::hiraganaScalar;
using text::isHanScalar;
using text::isHiraganaScalar;
using text::isKatakanaScalar;
bool hasHan(std::string_view s);
// What the kanji of a surface of kanji and kana read: the part of the reading
// each run of kanji takes, each kana standing for itself; nothing when the
// reading cannot spell the surface so (株式会社アイチ read あいち).
std::optional<std::vector<std::u32string>> kanjiReadings(std::string_view reading, std::string_view surface);
// Kanji read with the long-vowel mark, which only loanwords have: a spelling
// of a loanword in borrowed kanji (高加索 こーかさす, 珈琲 こーひー).
bool readAsLoanword(std::string_view reading, std::string_view surface);
bool allKatakana(std::string_view s);
// As the converter tells a content word written all in hiragana.
bool allHiragana(std::string_view s);
bool isContentWord(std::string_view partOfSpeech);
// Verbs and adjectives: their part-of-speech name has a conjugation type.
bool inflects(std::string_view partOfSpeech);
// A word written with digits and kana (１つ ひとつ, ８ミリ はちみり) can be
// typed with its digits too (1つ, 8みり), as the converter reads typed digits:
// a twin spelled with those digits, on the same ids at the same cost.
void addTypedDigitSpellings(Lexicon& lexicon);
void applyAdjustments(Lexicon& lexicon, const Adjustments& adjustments, const SKKDictionary* skk,
                      const EdictDictionary* edict = nullptr, const UnigramProbabilities* model = nullptr);

// ---- Grammar -------------------------------------------------------------

// Moves ids so that 0 is the sentence boundary and the user-word and
// fall-back-symbol ids land on the names the input method expects; words and
// costs move with their ids. Throws SourceError when a name is missing.
// Returns the new id of every old one.
std::vector<int32_t> renumber(Lexicon& lexicon);
// The little-endian table: N, then N·N signed 16-bit costs.
std::string connectionBytes(const Grammar& grammar);
// "id name" for every used id.
std::string idDefinitions(const Grammar& grammar);
int16_t clampCost(int64_t cost);
// The ids no word uses, in order, besides the user-word and fall-back ids,
// which the converter gives words of its own.
std::vector<std::size_t> unusedIDs(const Grammar& grammar);
// The first of them, named `name`; the table grows by one id when there is none.
int32_t takeUnusedID(Grammar& grammar, std::string name);

// ---- Words the lists lack ------------------------------------------------

// A loanword or foreign name that no list has, typed in kana, would come out
// as a string of short, rare kanji words; instead it can come out in
// katakana, syllable by syllable: every kana syllable is a word of its
// katakana, the first of a word on an id that connects as a place name
// (katakanaPieceBaseName: most such words are names of places and peoples,
// followed by 人, 語, 島, 州 or a particle) does, the rest on an attached id
// that follows only those two. Their costs make such a word lose to any parse
// of common words.
inline constexpr std::string_view katakanaPieceBaseName = "名詞,固有名詞,地域,一般,*,*,*";
struct KatakanaPieceCosts {
  int32_t first = 6000;
  int32_t next = 4000;
  int32_t longVowel = 2000;  // ー: hardly ever typed but in a loanword
  // Cost per unit of natural log that a syllable's share of the list's
  // katakana words moves it from the costs above (a quarter of the
  // model's scale).
  double perLogShare = 212.5;
};
// Returns how many words were added (none when the grammar has no proper nouns).
std::size_t addKatakanaPieces(Lexicon& lexicon, const KatakanaPieceCosts& costs = {});

// ---- Output --------------------------------------------------------------

// Word-list lines sorted by the bytes of whole lines, repeats removed; only
// the words of the given list.
std::string wordLines(const std::vector<WordEntry>& words, std::string_view list = "mozc.tsv");
// Whether every line is >= the one before, by bytes; the first offending
// line number (1-based) otherwise.
std::optional<std::size_t> firstUnsortedLine(std::string_view content);

// Writes the files into a fresh directory beside `target` and swaps it in
// only when every file is complete, so readers never see a partial set.
void writeDirectory(const fs::path& target, const std::map<std::string, std::string>& files);
// Removes what an interrupted build left beside `target`.
void removeStaleBuilds(const fs::path& target);
// The partial directory of the build under way (for a signal handler), or empty.
const char* buildingDirectory();

// One source named in CREDITS.txt.
struct Credit {
  std::string name;
  std::string version;
  std::string use;
  std::string licence;
};
std::string creditsText(const std::vector<Credit>& credits);
// The first readable licence file among the candidates; SourceError naming
// the package otherwise.
std::string findLicence(const std::vector<fs::path>& candidates, std::string_view package);

// ---- The whole build ------------------------------------------------------

inline constexpr const char* defaultIPADIC = "/usr/share/mecab/dic/ipadic";
inline constexpr const char* defaultCLDR = "/usr/share/unicode/cldr";
inline constexpr const char* defaultSKK = "/usr/share/skk/SKK-JISYO.L";
// Proper nouns (people, works, companies, places) from package skkdic-extra.
inline constexpr const char* defaultSKKExtra = "/usr/share/skk/SKK-JISYO.propernoun";
inline constexpr const char* defaultEDICT = "/usr/share/edict/edict";
inline constexpr const char* defaultLanguageModel = "/usr/lib/x86_64-linux-gnu/libkkc/models/sorted3";
// MeCab's IPADIC in UTF-8 (package mecab-ipadic-utf8), compiled from the same
// source as the IPADIC the words are read from: it tags the model's text.
inline constexpr const char* defaultMeCabDictionary = "/var/lib/mecab/dic/ipadic-utf8";

// One word as an analyser cut and tagged it.
struct AnalysedWord {
  std::size_t length = 0;  // bytes of the sentence it covers
  std::string reading;     // hiragana; empty when the analyser gives none
  int32_t id = 0;          // IPADIC's context id
  bool known = true;       // a word of the analyser's dictionary, not a guess
};
// Cuts and tags a sentence; nothing when its words do not cover the
// sentence byte for byte (MeCab skips spaces, for one).
using Analyser = std::function<std::optional<std::vector<AnalysedWord>>(std::string_view sentence)>;

// Words drawn from the language model: enough for the costs of about 60 000
// words and 300 000 pairs of ids (see --help).
inline constexpr std::size_t defaultSampleWords = 3'000'000;
inline constexpr uint64_t defaultSampleSeed = 13;

// How counts become costs (see --help, option --lm).
struct ContextOptions {
  // Cost per unit of natural log: IPADIC's costs are its model's weights
  // times 800, and the converter's fixed charges were set on that scale.
  double scale = 850;
  // Counts below these are too few to tell a cost from chance.
  double minimumWordCount = 3;
  double minimumPairCount = 5;
  // A word the text did not show often enough costs at least what one
  // seen this many times would.
  double unseenWordCount = 1;
  // Function words given ids of their own, the most frequent first.
  std::size_t ownIDs = 100;
  // Runs of words that convert only together (addPhrases), and how often a
  // run of nouns alone must be seen, for either test, to come in.
  bool phrases = true;
  double minimumNounRunCount = 2;
  // Right ids of their own for content words with homophones
  // (splitRightContexts): how many at most, how often a word must be
  // followed in the text to take part, and how many of its id's followings
  // a word's own are weighed against.
  std::size_t rightIDs = 800;
  double rightIDMinimumCount = 200;
  double rightIDSmoothing = 50;
};

struct BuildOptions {
  fs::path output;
  std::optional<fs::path> ipadic = fs::path(defaultIPADIC);
  std::optional<fs::path> cldr = fs::path(defaultCLDR);
  std::optional<fs::path> mozc;
  std::optional<fs::path> skk = fs::path(defaultSKK);
  // More SKK dictionaries, read after the main one; one that is missing is
  // skipped with a line in BuildResult::skipped.
  std::vector<fs::path> skkExtras = {fs::path(defaultSKKExtra)};
  std::optional<fs::path> edict = fs::path(defaultEDICT);
  Adjustments adjustments;
  // Added vocabulary in its own ut-*.tsv rather than merged into mozc.tsv:
  // every look-up then searches one more file.
  bool separateLists = false;
  // A word 3-gram model in libkkc-data's layout: text drawn from it and
  // tagged sets word and connection costs. A missing default is skipped with
  // a line in BuildResult::skipped.
  std::optional<fs::path> languageModel = fs::path(defaultLanguageModel);
  fs::path mecabDictionary = defaultMeCabDictionary;
  std::size_t sampleWords = defaultSampleWords;
  // The drawn text varies with the seed as a second sample of text would:
  // other seeds measure how much of a difference in quality is the draw's.
  uint64_t sampleSeed = defaultSampleSeed;
  ContextOptions context;
  // Tags the drawn text instead of MeCab (for tests).
  Analyser analyser;
  // Word counts of running text (scripts/corpus-stats.sh); none by default.
  std::optional<fs::path> corpus;
};

struct BuildResult {
  std::size_t words = 0;
  int32_t contextIDs = 0;
  std::size_t emojiReadings = 0;
  std::size_t symbolReadings = 0;
  std::map<std::string, std::size_t> fileSizes;
  Diagnostics diagnostics;
  // Sources left out because they are not installed, one line each.
  std::vector<std::string> skipped;
};

// Reads the sources, makes every file and swaps the directory into place.
// Throws SourceError when a source is missing or unusable.
BuildResult build(const BuildOptions& options, const Progress& progress);

// Version of an installed Debian package, from dpkg's status file.
std::optional<std::string> debianVersion(std::string_view package,
                                         const fs::path& status = "/var/lib/dpkg/status");

// Katakana to hiragana for readings, keeping the long-vowel mark ー that
// users type (the plain transliteration spells it out as a vowel).
std::optional<std::string> hiraganaReading(std::string_view katakana);

std::string readWhole(const fs::path& file);
std::vector<std::string_view> splitLines(std::string_view text);
// The upper middle value (0 for none).
double median(std::vector<double> values);
// The same lines one at a time, for files too large to list their lines first.
void forEachLine(std::string_view text, const std::function<void(std::string_view)>& visit);
std::vector<std::string_view> split(std::string_view text, char separator);
std::optional<int64_t> parseInt(std::string_view text);
// The same without std::optional, for hot loops over many fields.
bool parseInt(std::string_view text, int64_t& value);

}  // namespace orvane::mkdict

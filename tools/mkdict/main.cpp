// orvane-mkdict: builds the input method's dictionary data directory from
// Debian's dictionary packages (and, optionally, a Mozc source tree).
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "mkdict.h"

using namespace orvane::mkdict;

namespace {


const char* const usage = R"(Usage: orvane-mkdict --output DIR [options]

Builds the dictionary data directory of Orvane IME:
  mozc.tsv        word list: reading TAB left id TAB right id TAB cost TAB surface,
                  sorted by the bytes of whole lines (checked after writing)
  ut-skk.tsv      with --separate-lists: the words rule skk-words adds
  ut-edict.tsv    with --separate-lists: the words rule edict-words adds
  connection.bin  connection costs: N (uint32), then N*N int16, little-endian,
                  row = right id of the earlier word, column = left id of the later
  id.def          "id name" for every context id a word uses
  emoji.tsv       reading TAB emoji separated by spaces
  symbol.tsv      reading TAB symbols separated by spaces
  CREDITS.txt     names, versions and licences of the sources used

Sources (each optional; at least one must give words):
  --ipadic DIR    IPADIC in EUC-JP (default )" "/usr/share/mecab/dic/ipadic" R"(,
                  Debian package mecab-ipadic): *.csv words, left-id.def and
                  right-id.def (must be identical), matrix.def costs.
  --no-ipadic     do not read IPADIC.
  --cldr DIR      CLDR (default )" "/usr/share/unicode/cldr" R"(, package
                  unicode-cldr-core): common/annotations/ja.xml and
                  common/annotationsDerived/ja.xml give emoji and symbols.
  --no-cldr       do not read CLDR.
  --skk FILE      SKK-JISYO (default /usr/share/skk/SKK-JISYO.L, package
                  skkdic), EUC-JP: orders homonyms and adds missing words
                  (rules skk-order, skk-words).
  --no-skk        do not read SKK.
  --skk-extra FILE  another SKK-JISYO whose candidates follow the main one's
                  under the same key (default /usr/share/skk/SKK-JISYO.propernoun,
                  package skkdic-extra: proper nouns); may be given several
                  times. A missing one is skipped with a line saying so.
                  (SKK-JISYO.geo and .jinmei were measured: their place and
                  person names split other words.)
  --no-skk-extra  read no extra SKK dictionary.
  --edict FILE    EDICT (default /usr/share/edict/edict, package edict),
                  EUC-JP, "surface [reading] /(pos) gloss/.../(P)/": which
                  spellings are common (P), which words are usually written
                  in kana (uk), and nouns IPADIC lacks (rules edict-words,
                  edict-common, usually-kana).
  --no-edict      do not read EDICT.
  --corpus FILE   word counts of running text, as scripts/corpus-stats.sh
                  writes them (count TAB surface TAB katakana reading TAB six
                  part-of-speech fields): where the text clearly prefers one
                  spelling of a reading (and part of speech; at least 5
                  uses and 3 times the next spelling's), it becomes by
                  1000 the cheapest of the spellings of its word: the kana
                  ones, and the kanji ones EDICT glosses alike. Kana count
                  only without the language model, whose text says how
                  often a word is written in kana better than the
                  analyser's kana (しま inside しまう). Not used unless given;
                  --no-corpus turns it off again.
  --lm DIR        a word 3-gram language model in the layout of Debian's
                  libkkc-data (default /usr/lib/x86_64-linux-gnu/libkkc/models/sorted3):
                  data.1gram.index, a MARISA trie of "reading/surface" keys,
                  and data.1gram, data.2gram, data.3gram, little-endian
                  records of 6, 12 and 10 bytes. Sentences are drawn from it
                  (exactly, with back-off, from a fixed seed: --lm-seed),
                  tagged with IPADIC's words and ids by MeCab, and
                  counted: a word seen
                  at least 3 times costs -log P(word | its id), a pair of ids
                  seen at least 5 times -log P(id2 | id1), at 850 per unit of
                  natural log. Each id's word costs are then moved to
                  IPADIC's level (the median over its counted words) and its
                  column of connection costs the other way, which leaves
                  every path's cost as counted: words the text showed too
                  rarely take the model's own probability, on the footing of
                  the counted words of their id; words the model does not
                  know keep IPADIC's costs (no cheaper than a word seen 3
                  times); pairs the text did not show IPADIC's connection
                  costs moved by the median difference (no cheaper than a
                  pair seen 5 times). A counted content word of two or more
                  characters written all in kana gets back the converter's
                  charge for kana (600, katakana 500): its count already
                  says how often it is written so. Nouns the model has and
                  IPADIC lacks are added as common nouns costed from their
                  probability, when MeCab reads their spelling the same way
                  as nouns, or when they are katakana words read as written
                  whose reading IPADIC does not have. A model's reading wins
                  where MeCab's differs (日本 as にっぽん). A missing default
                  model, or a missing MeCab dictionary, is skipped with a
                  line; a malformed model file is an error naming it and
                  the byte offset. --no-lm leaves IPADIC's costs.
  --lm-words N    words to draw from the model (default 3000000).
  --lm-seed N     the seed of the draw (default 13): another seed draws
                  other text of the same model, which measures how much a
                  difference in quality owes to the draw.
  --lm-scale N    cost per unit of natural log (default 850).
  --lm-min-word N, --lm-min-pair N
                  the fewest times a word, a pair of ids, must be seen for
                  the counts to set its cost (default 3, 5).
  --lm-unseen-count N
                  a word seen fewer times than --lm-min-word costs at least
                  what one seen N times would (default 1; N may be a
                  fraction).
  --lm-own-ids N  the N most frequent function words get context ids of
                  their own (default 100).
  --no-lm-phrases leaves out the model's runs of words added as words of
                  their own: runs of two or three words the model stores,
                  two of them content words or noun suffixes other than
                  a person's (フランス領), costed from the text; where
                  the ids would spell a word of the run with a cheaper
                  homophone (雨が振っ for 雨が降っ) and the run costs less,
                  seen at least --lm-min-word times, in every form of its
                  last verb or adjective (雨が降り, 雨が降る); where the run's
                  reading alone would convert to something else and the
                  run costs less, seen at least --lm-min-pair times.
  --lm-min-compound N
                  a run of nouns only (帝国領, 世紀初め) needs to be seen
                  only N times for either test (default 2).
  --lm-right-ids N
                  at most N new right ids, one for each content word with
                  homophones (a second word of its reading on its id, or a
                  kanji homophone on another) that the text follows at
                  least --lm-right-min times (default 200), the most often
                  followed first (default 800, 0: none; 464 are made): its
                  connection costs are its id's, moved by how much likelier
                  each follower is after the word (勇気 before particles,
                  有機 before nouns), its counts weighed against
                  --lm-right-smoothing (default 50) of the id's; the end of
                  the reading keeps the id's cost. The spellings of one
                  word (通り, とおり) share its id. Applied last, after the
                  runs of words.
  --mecab-dic DIR MeCab's compiled IPADIC (default /var/lib/mecab/dic/ipadic-utf8,
                  package mecab-ipadic-utf8).
  --mozc DIR      a Mozc source tree (or a flat directory of its files):
                  src/data/dictionary_oss/dictionary*.txt with id.def and
                  connection_single_column.txt replace IPADIC's words and costs;
                  src/data/emoji/emoji_data.tsv replaces CLDR's emoji and
                  src/data/symbol/symbol.tsv CLDR's symbols.

Cost rules (applied to IPADIC's words; Mozc's costs are used
as they are). Each is a general rule, deterministic, named for --without:
  edict-words        EDICT's nouns missing from IPADIC (readings of 2 kana or
                     more, surfaces of kanji and kana that the reading
                     spells, first sense a noun, verbal noun or adjectival
                     noun) are added under those parts of speech, cost 5000
                     when EDICT marks them common (P), else 7000; a word
                     usually written in kana (uk) comes in kana, its kanji
                     spelling 2000 more: in the kana EDICT writes it in
                     (イルカ, not いるか, for 海豚).
  skk-words          SKK's words missing from IPADIC (readings of 3 kana or
                     more, surfaces of kanji and kana that the reading
                     spells: not アイコム株式会社 for あいこむ) are added as common
                     nouns (id 1851), at the cost of the middle common
                     noun of the list (C) less 400 a kana past the third
                     (at least C - 1500), plus 300 a SKK rank: SKK says
                     nothing of how common its words are.
  skk-order          the kanji spellings of a content word's reading that
                     SKK lists under one key (the stem plus okurigana letter,
                     思う -> おもu, or the whole word) deal out their costs
                     again in SKK's order: the first gets the lowest, each
                     next one at least 500 more, spellings SKK does not list
                     come last. They get no cheaper as a whole; every entry
                     of a surface moves by the same amount, keeping IPADIC's
                     preferences among its parts of speech. Where the
                     language model holds a later spelling at least ten
                     times as likely as an earlier one, the key's spellings
                     keep the model's costs.
  edict-common       where EDICT marks a kanji spelling of a reading common
                     (P), matched whole or, when EDICT's spelling has
                     okurigana, by its stem whatever the inflection (思っ,
                     思わ under 思う; not 島じま under 島), the reading's
                     other kanji spellings of content words +1000 (噺, 終り
                     beside 話, 終わり).
  katakana-variants  +2000 for an all-katakana surface whose reading also has
                     a kanji spelling (ヒト, コト, サル beside 人, 事, 猿), or
                     that is a function word with a hiragana spelling of
                     the same part of speech (ン, ネ, ヲ beside ん, ね, を);
                     loanwords keep their cost. A loanword's borrowed kanji,
                     kanji read with the long-vowel mark (高加索 こーかさす,
                     珈琲 こーひー), are the variant instead: +2000 for them; so
                     are the kanji words SKK or EDICT adds beside a katakana
                     word of IPADIC or the model (未蘭 beside ミラノ), which
                     no longer make the katakana word a variant.
  proper-nouns       +1000 for 名詞,固有名詞 (IPADIC's many rare names and
                     places), country names (地域,国: 日本, 中国) excepted.
  short-readings     +1500 for kanji words read with one kana (胃 い, 派 は),
                     counters (名詞,接尾,助数詞) and the forms of verbs and
                     adjectives (来 き) aside: they compete with particles
                     everywhere.
  honorific-kana     words beginning with the prefix 御 read ご or お, where
                     the rest is a word of its own or the kana spelling is
                     one already (御自由, 御飯; not 御殿, 御所), get a twin
                     with the prefix in kana (ご自由, ご飯) at the cheaper of
                     the two costs; the 御 spelling +1000. Inside a compound
                     (朝御飯) the same, where the kana spelling is a word of
                     the list already (朝ご飯; not 京都御所, 大御所).
  rare-kanji         +1000 for a surface with a kanji outside JIS X 0208
                     level 1 (凭れる, 𩸽): rare, archaic or variant forms.
  usually-kana       applied last: where a content word's cheapest kanji
                     spelling (one reading, one pair of ids) is one EDICT
                     marks common (P) and usually written in kana (uk) in
                     its first sense (宜しく; verbs and adjectives by stem,
                     貰っ under 貰う, unless another common word has that
                     stem: 行く beside 行ける), its hiragana spelling costs
                     that less 800, so that it wins by 200 after the
                     converter's hiragana charge (added where missing).
                     One-kanji spellings (高
                     たか, 鬱 うつ) are left alone: their kana would split
                     longer words.
  katakana-pieces    with the language model (its costs are set against the
                     model's), added after everything else: every kana
                     syllable (ぺ, ゔぁ, ー) is also a word of its katakana
                     (ペ, ヴァ, ー):
                     the first of a word costs about 6000, on an id that
                     connects as 名詞,固有名詞,地域,一般 does (most such
                     words are names of places and peoples), the others
                     about 4000 (ー 2000) on an attached id that only
                     follows these two; each syllable's cost moves by how
                     much more or less often than the average one the
                     list's katakana words begin or go on with it (ン less,
                     ハ more, which leaves は to the particle). A
                     loanword or foreign name that no list has comes out in
                     katakana (ペラスゴイ人, not ペラ|すごい|ジン) where
                     common words do not spell its reading for less.
  --without R[,R]    switch rules off; --no-adjust switches all of them off.

Other options:
  -o, --output DIR  the data directory to (re)place, e.g.
                  "build/Orvane IME.app/Contents/Resources/Mozc"
  --separate-lists  write added vocabulary to ut-*.tsv instead of merging
                  it into mozc.tsv (each look-up then searches one more file:
                  about 15% slower conversion)
  -q, --quiet     no progress on standard error
  -h, --help      this text

Context ids. The input method gives user words and one-kana fall-backs the
id 1851 and runs of other characters the id 2644, and uses 0 for the start and
end of the text. The builder renumbers the source's ids so that 0 stays the
sentence boundary, 1851 is 名詞,一般,*,*,*,*,* and 2644 is 記号,一般,*,*,*,*,*
(every other id keeps its number unless it had one of those two); costs move
with their ids. The table is at least 2645 square; ids no word uses get the
highest cost in their row and column. Costs are clamped to 16 bits.

Readings. IPADIC readings (katakana) become hiragana. CLDR keywords become
readings when they are all kana (in hiragana, "・" and spaces dropped) or when
the word list gives the keyword, as a surface, exactly one reading.

Emoji or symbol. A CLDR entry is an emoji when any of its code points has the
Unicode property Emoji_Presentation or Extended_Pictographic, or it holds
U+FE0F or the keycap mark U+20E3; otherwise it is a symbol. Pictographs whose
default presentation is text (for example ©, ↔, ♠) go to both files.

Robustness. A missing source names the Debian package or path it needs and
the program exits with 1. Malformed lines are counted, reported, and skipped.
The directory is written beside the target under a hidden name, checked, and
swapped in only when complete (the old one is removed afterwards), so an
interrupted build leaves the previous data in place.
)";

struct Options {
  BuildOptions build;
  bool quiet = false;
};

[[noreturn]] void fail(const std::string& message) {
  std::cerr << "orvane-mkdict: " << message << "\n";
  std::exit(1);
}

Options parse(int argc, char** argv) {
  Options options;
  bool extrasGiven = false;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    auto value = [&]() -> std::string {
      if (i + 1 >= argc) fail(arg + " needs a value (see --help)");
      return argv[++i];
    };
    auto count = [&](int64_t least) -> std::size_t {
      const auto n = parseInt(value());
      if (!n || *n < least) fail(arg + " needs a whole number of at least " + std::to_string(least));
      return static_cast<std::size_t>(*n);
    };
    auto positive = [&]() -> double {
      const std::string text = value();
      char* end = nullptr;
      const double n = std::strtod(text.c_str(), &end);
      if (text.empty() || *end != '\0' || !(n > 0) || !std::isfinite(n)) fail(arg + " needs a number above 0");
      return n;
    };
    if (arg == "-h" || arg == "--help") {
      std::cout << usage;
      std::exit(0);
    } else if (arg == "-o" || arg == "--output") options.build.output = value();
    else if (arg == "--ipadic") options.build.ipadic = fs::path(value());
    else if (arg == "--no-ipadic") options.build.ipadic.reset();
    else if (arg == "--cldr") options.build.cldr = fs::path(value());
    else if (arg == "--no-cldr") options.build.cldr.reset();
    else if (arg == "--mozc") options.build.mozc = fs::path(value());
    else if (arg == "--skk") options.build.skk = fs::path(value());
    else if (arg == "--no-skk") options.build.skk.reset();
    else if (arg == "--skk-extra") {
      if (!extrasGiven) options.build.skkExtras.clear();
      extrasGiven = true;
      options.build.skkExtras.emplace_back(value());
    } else if (arg == "--no-skk-extra") options.build.skkExtras.clear();
    else if (arg == "--edict") options.build.edict = fs::path(value());
    else if (arg == "--no-edict") options.build.edict.reset();
    else if (arg == "--without") {
      const std::string names = value();
      for (auto name : split(names, ','))
        if (!setAdjustment(options.build.adjustments, name, false)) fail("unknown rule " + std::string(name) + " (see --help)");
    } else if (arg == "--no-adjust") {
      for (auto name : adjustmentNames) setAdjustment(options.build.adjustments, name, false);
    }
    else if (arg == "--separate-lists") options.build.separateLists = true;
    else if (arg == "--lm") options.build.languageModel = fs::path(value());
    else if (arg == "--no-lm") options.build.languageModel.reset();
    else if (arg == "--mecab-dic") options.build.mecabDictionary = fs::path(value());
    else if (arg == "--lm-words") options.build.sampleWords = count(1);
    else if (arg == "--lm-seed") options.build.sampleSeed = count(0);
    else if (arg == "--lm-scale") options.build.context.scale = static_cast<double>(count(1));
    else if (arg == "--lm-min-word") options.build.context.minimumWordCount = static_cast<double>(count(1));
    else if (arg == "--lm-min-compound") options.build.context.minimumNounRunCount = positive();
    else if (arg == "--lm-min-pair") options.build.context.minimumPairCount = static_cast<double>(count(1));
    else if (arg == "--lm-unseen-count") options.build.context.unseenWordCount = positive();
    else if (arg == "--lm-own-ids") options.build.context.ownIDs = count(0);
    else if (arg == "--no-lm-phrases") options.build.context.phrases = false;
    else if (arg == "--lm-right-ids") options.build.context.rightIDs = count(0);
    else if (arg == "--lm-right-min") options.build.context.rightIDMinimumCount = static_cast<double>(count(1));
    else if (arg == "--lm-right-smoothing") options.build.context.rightIDSmoothing = positive();
    else if (arg == "--corpus") options.build.corpus = fs::path(value());
    else if (arg == "--no-corpus") options.build.corpus.reset();
    else if (arg == "-q" || arg == "--quiet") options.quiet = true;
    else fail("unknown option " + arg + " (see --help)");
  }
  if (options.build.output.empty()) fail("--output DIR is required (see --help)");
  return options;
}

void onSignal(int signal) {
  // Best effort: the partial directory is hidden and swept by the next run
  // anyway, but leaving nothing behind is kinder.
  if (const char* dir = buildingDirectory(); dir[0] != '\0') {
    std::error_code ignored;
    fs::remove_all(dir, ignored);
  }
  ::signal(signal, SIG_DFL);
  ::raise(signal);
}

std::string humanSize(std::size_t bytes) {
  char buffer[32];
  if (bytes >= 1024 * 1024) std::snprintf(buffer, sizeof buffer, "%.1f MiB", bytes / 1048576.0);
  else if (bytes >= 1024) std::snprintf(buffer, sizeof buffer, "%.1f KiB", bytes / 1024.0);
  else std::snprintf(buffer, sizeof buffer, "%zu B", bytes);
  return buffer;
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = parse(argc, argv);
  const auto started = std::chrono::steady_clock::now();
  Progress progress = [&](std::string_view step) {
    if (options.quiet) return;
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    std::fprintf(stderr, "[%5.1fs] %.*s\n", seconds, static_cast<int>(step.size()), step.data());
  };
  ::signal(SIGINT, onSignal);
  ::signal(SIGTERM, onSignal);
  ::signal(SIGHUP, onSignal);

  try {
    BuildResult result = build(options.build, progress);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    for (const auto& line : result.skipped) std::fprintf(stderr, "orvane-mkdict: skipped %s\n", line.c_str());
    const auto& diagnostics = result.diagnostics;
    if (diagnostics.count() > 0) {
      std::fprintf(stderr, "orvane-mkdict: %zu malformed lines skipped:\n", diagnostics.count());
      for (const auto& [file, count] : diagnostics.byFile())
        std::fprintf(stderr, "  %s: %zu (first: %s)\n", file.c_str(), count, diagnostics.examples().at(file).c_str());
    }
    if (!options.quiet) {
      std::fprintf(stderr, "orvane-mkdict: built %s in %.1f s\n", options.build.output.c_str(), seconds);
      std::fprintf(stderr, "  %zu words, %d context ids, %zu emoji readings, %zu symbol readings\n", result.words,
                   result.contextIDs, result.emojiReadings, result.symbolReadings);
      for (const auto& [name, size] : result.fileSizes)
        std::fprintf(stderr, "  %-15s %10zu bytes (%s)\n", name.c_str(), size, humanSize(size).c_str());
    }
  } catch (const SourceError& error) {
    fail(error.what());
  } catch (const fs::filesystem_error& error) {
    fail(error.what());
  }
  return 0;
}

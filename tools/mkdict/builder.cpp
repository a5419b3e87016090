#include <algorithm>
#include <cmath>

#include "corpus.h"
#include "context.h"
#include "language_model.h"
#include "mkdict.h"

namespace orvane::mkdict {
namespace {

std::string versionOf(const fs::path& used, const char* defaultPath, const char* package) {
  if (used == fs::path(defaultPath))
    if (auto version = debianVersion(package)) return package + std::string(" ") + *version;
  return "from " + used.string();
}

// The drawn text, kept for the steps after the rules.
struct ModelText {
  LanguageModel model;
  TaggedText text;
  std::vector<int32_t> wordIDs;
  UnigramProbabilities unigrams;
};

// Text drawn from the language model and tagged sets the word and
// connection costs; the rules then correct what they still must.
std::optional<ModelText> applyLanguageModel(const BuildOptions& options, Lexicon& lexicon, const std::vector<int32_t>& newID,
                        BuildResult& result, std::vector<Credit>& credits, const Progress& progress) {
  const fs::path& dir = *options.languageModel;
  if (!fs::exists(dir / "data.1gram.index")) {
    result.skipped.push_back(dir.string() +
                             ": not found (Debian package libkkc-data); word and connection costs are IPADIC's");
    return std::nullopt;
  }
  Analyser analyser = options.analyser;
  if (!analyser) {
    if (!fs::exists(options.mecabDictionary / "sys.dic")) {
      result.skipped.push_back(options.mecabDictionary.string() +
                               ": not found (Debian package mecab-ipadic-utf8), so the language model cannot be "
                               "used; word and connection costs are IPADIC's");
      return std::nullopt;
    }
    analyser = mecabAnalyser(options.mecabDictionary);
  }
  progress("language model: reading " + dir.string());
  LanguageModel model = LanguageModel::load(dir);
  SampleOptions sample;
  sample.words = options.sampleWords;
  sample.seed = options.sampleSeed;
  TaggedText text = sampleTaggedText(model, analyser, sample, progress);
  progress("language model: " + std::to_string(text.tokens) + " words tagged, " +
           std::to_string(text.readingsFromModel) + " read as the model reads them, " + std::to_string(text.unread) +
           " unread");
  UnigramProbabilities logProbability;
  model.forEachWord([&](std::string_view key, uint32_t id) {
    if (auto parts = splitModelKey(key))
      logProbability[std::string(parts->first) + "\t" + std::string(parts->second)] = model.unigram(id) * std::log(10.0);
  });
  auto report = applyContextStatistics(lexicon, text, newID, options.context, &logProbability);
  progress("language model: " + std::to_string(report.ownIDs) + " function words with ids of their own; " +
           std::to_string(report.wordsCosted) + " word costs and " + std::to_string(report.pairsCosted) +
           " connection costs from the counts");
  const std::size_t added = addModelWords(lexicon, model, analyser, newID, options.context.scale);
  progress("language model: " + std::to_string(added) + " nouns added that the word list lacked");
  credits.push_back({"libkkc-data word 3-gram language model", versionOf(dir, defaultLanguageModel, "libkkc-data"),
                     "word costs and connection costs, counted in text drawn from the model (" +
                         std::to_string(options.sampleWords) + " words, seed " + std::to_string(options.sampleSeed) +
                         ") and tagged with IPADIC's words by MeCab. The costs of mozc.tsv and connection.bin derive from it, so the data "
                         "directory as a whole is under its licence, GPL-3+",
                     findLicence({dir / "COPYING", "/usr/share/doc/libkkc-data/copyright"}, "libkkc-data")});
  return ModelText{std::move(model), std::move(text), std::move(report.wordIDs), std::move(logProbability)};
}

}  // namespace

BuildResult build(const BuildOptions& options, const Progress& progress) {
  BuildResult result;
  Diagnostics& diagnostics = result.diagnostics;
  std::vector<Credit> credits;
  std::optional<MozcFiles> mozc;
  if (options.mozc) mozc = locateMozc(*options.mozc);

  Lexicon lexicon;
  if (mozc && !mozc->dictionaries.empty()) {
    lexicon = readMozcLexicon(*mozc, diagnostics, progress);
  } else if (options.ipadic) {
    const fs::path& dir = *options.ipadic;
    lexicon = readIPADIC(dir, diagnostics, progress);
    credits.push_back({"IPADIC", versionOf(dir, defaultIPADIC, "mecab-ipadic"),
                       "words, readings, parts of speech and connection costs (mozc.tsv, id.def, connection.bin)",
                       findLicence({dir / "COPYING", "/usr/share/doc/mecab-ipadic/copyright"}, "mecab-ipadic")});
  } else {
    throw SourceError("no source of words: give --mozc with its dictionary files, or leave IPADIC on");
  }
  progress("renumbering context ids");
  const std::vector<int32_t> newID = renumber(lexicon);

  // The rules correct IPADIC's costs; Mozc's own costs are already tuned.
  if (!(mozc && !mozc->dictionaries.empty())) {
    std::optional<ModelText> modelText;
    if (options.languageModel) modelText = applyLanguageModel(options, lexicon, newID, result, credits, progress);
    std::optional<SKKDictionary> skk;
    if (options.skk && (options.adjustments.skkOrder || options.adjustments.skkWords)) {
      progress("SKK: candidate order");
      skk = readSKK(*options.skk, diagnostics);
      credits.push_back({"SKK dictionary (" + options.skk->filename().string() + ")",
                         versionOf(*options.skk, defaultSKK, "skkdic"),
                         "the order of homonyms, which sets the relative costs of words of one reading; "
                         "nouns and compounds missing from IPADIC",
                         findLicence({options.skk->parent_path() / "COPYING", "/usr/share/doc/skkdic/copyright"},
                                     "skkdic")});
      for (const auto& extra : options.skkExtras) {
        if (!fs::exists(extra)) {
          result.skipped.push_back(extra.string() + ": not found (Debian package skkdic-extra); its words are left out");
          continue;
        }
        mergeSKK(*skk, readSKK(extra, diagnostics));
        credits.push_back({"SKK dictionary (" + extra.filename().string() + ")",
                           versionOf(extra, defaultSKKExtra, "skkdic-extra"),
                           "nouns missing from IPADIC, after those of " + options.skk->filename().string(),
                           findLicence({extra.parent_path() / "COPYING", "/usr/share/doc/skkdic-extra/copyright"},
                                       "skkdic-extra")});
      }
    }
    std::optional<EdictDictionary> edict;
    if (options.edict &&
        (options.adjustments.edictWords || options.adjustments.edictCommon || options.adjustments.usuallyKana)) {
      progress("EDICT: common spellings and nouns");
      edict = readEDICT(*options.edict, diagnostics);
      credits.push_back({"EDICT", versionOf(*options.edict, defaultEDICT, "edict"),
                         "which spellings of a reading are common, which are usually written in kana; nouns and loanwords missing from IPADIC "
                         "(ut-edict.tsv when kept separate)",
                         findLicence({options.edict->parent_path() / "COPYING", "/usr/share/doc/edict/copyright"},
                                     "edict")});
    }
    progress("adjusting costs");
    applyAdjustments(lexicon, options.adjustments, skk ? &*skk : nullptr, edict ? &*edict : nullptr,
                     modelText ? &modelText->unigrams : nullptr);
    addTypedDigitSpellings(lexicon);
    if (options.corpus) {
      progress("corpus: preferred spellings");
      const std::size_t changed = preferCountedSpellings(lexicon, readCorpusCounts(*options.corpus, diagnostics),
                                                     edict ? &*edict : nullptr, modelText.has_value());
      progress("corpus: " + std::to_string(changed) + " entries made the cheapest spelling of their word");
      credits.push_back({"Word counts of Debian's Japanese documentation", "from " + options.corpus->string(),
                         "which spelling of a word present-day text uses most",
                         "Counts only; the counted texts are the Japanese manual pages and documentation of "
                         "Debian packages, each under its own licence.\n"});
    }
    if (modelText && options.context.phrases) {
      progress("language model: phrases");
      const std::size_t added = addPhrases(lexicon, modelText->model, modelText->text, modelText->wordIDs, options.context);
      progress("language model: " + std::to_string(added) + " runs of words added as words of their own");
    }
    if (modelText && options.context.rightIDs > 0) {
      const std::size_t added = splitRightContexts(lexicon, modelText->text, modelText->wordIDs, options.context);
      progress("language model: " + std::to_string(added) + " homophones with right ids of their own");
    }
    // Their costs are set against the model's text's.
    if (modelText && options.adjustments.katakanaPieces) addKatakanaPieces(lexicon);
  }

  ReadingTable emoji, symbols;
  if (mozc && mozc->emoji) emoji = readMozcEmoji(*mozc->emoji, diagnostics);
  if (mozc && mozc->symbols) symbols = readMozcSymbols(*mozc->symbols, diagnostics);
  if (options.cldr && (!mozc || !mozc->emoji || !mozc->symbols)) {
    progress("CLDR: emoji and symbol annotations");
    const fs::path common = *options.cldr / "common";
    auto annotations = readCLDRAnnotations(common / "annotations" / "ja.xml", diagnostics);
    // Skin tones, flags and other sequences live in the derived file.
    if (fs::exists(common / "annotationsDerived" / "ja.xml")) {
      auto derived = readCLDRAnnotations(common / "annotationsDerived" / "ja.xml", diagnostics);
      annotations.insert(annotations.end(), derived.begin(), derived.end());
    } else {
      progress("CLDR: no annotationsDerived/ja.xml; emoji sequences are left out");
    }
    ReadingTable cldrEmoji, cldrSymbols;
    addAnnotations(annotations, readingResolver(lexicon.words), cldrEmoji, cldrSymbols);
    std::string use;
    if (!mozc || !mozc->emoji) {
      emoji = std::move(cldrEmoji);
      use = "Japanese emoji annotations (emoji.tsv)";
    }
    if (!mozc || !mozc->symbols) {
      symbols = std::move(cldrSymbols);
      use += use.empty() ? "Japanese symbol annotations (symbol.tsv)" : ", symbol annotations (symbol.tsv)";
    }
    credits.push_back({"Unicode CLDR", versionOf(*options.cldr, defaultCLDR, "unicode-cldr-core"), use,
                       findLicence({*options.cldr / "LICENSE", *options.cldr / "unicode-license.txt",
                                    "/usr/share/doc/unicode-cldr-core/copyright"},
                                   "unicode-cldr-core")});
    if (!credits.empty() && credits.front().name == "IPADIC") credits.front().use += "; readings of CLDR keywords";
  }
  if (mozc) {
    std::vector<std::string> uses;
    if (!mozc->dictionaries.empty()) uses.push_back("words, parts of speech and connection costs");
    if (mozc->emoji) uses.push_back("emoji (emoji.tsv)");
    if (mozc->symbols) uses.push_back("symbols (symbol.tsv)");
    std::string use;
    for (const auto& u : uses) use += (use.empty() ? "" : "; ") + u;
    std::string version = "from " + options.mozc->string();
    if (mozc->version) {
      const std::string source = readWhole(*mozc->version);
      if (auto lines = splitLines(source); !lines.empty()) version = std::string(lines[0]);
    }
    if (!mozc->license) throw SourceError("no LICENSE file in the Mozc directory " + options.mozc->string());
    credits.push_back({"Mozc", version, use, readWhole(*mozc->license)});
  }

  if (!options.separateLists)
    for (auto& word : lexicon.words) word.list = "mozc.tsv";
  progress("sorting " + std::to_string(lexicon.words.size()) + " words");
  std::map<std::string, std::string> files;
  files["mozc.tsv"] = wordLines(lexicon.words);
  for (const char* list : {"ut-skk.tsv", "ut-edict.tsv"})
    if (std::any_of(lexicon.words.begin(), lexicon.words.end(), [&](const WordEntry& w) { return w.list == list; }))
      files[list] = wordLines(lexicon.words, list);
  files["connection.bin"] = connectionBytes(lexicon.grammar);
  files["id.def"] = idDefinitions(lexicon.grammar);
  files["emoji.tsv"] = emoji.lines();
  files["symbol.tsv"] = symbols.lines();
  files["CREDITS.txt"] = creditsText(credits);
  progress("writing " + options.output.string());
  writeDirectory(options.output, files);

  result.words = lexicon.words.size();
  result.contextIDs = lexicon.grammar.size();
  result.emojiReadings = emoji.readingCount();
  result.symbolReadings = symbols.readingCount();
  for (const auto& [name, content] : files) result.fileSizes[name] = content.size();
  return result;
}

}  // namespace orvane::mkdict

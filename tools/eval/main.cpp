// orvane-eval: conversion quality of the built data on sets of readings.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include "conversion/converter.h"
#include "dictionary/kana_dictionary.h"
#include "eval.h"
#include "learning/learning.h"
#include "learning/segmentation.h"
#include "text/text.h"

namespace fs = std::filesystem;
using namespace orvane;

namespace {

const char* const usage = R"(Usage: orvane-eval [options] FILE.tsv...

Converts every reading of each file as the input method's first conversion
would, with no learned choices, boundaries or user dictionary, and reports:
  top-1     share of readings whose first conversion is right: equal to an
            expected text, or, for "Conversion Expected" checks, containing it
  CER       character error rate of the first conversion against the nearest
            expected text (edit distance over grapheme clusters / length)
  reachable share of readings that one of the first N candidates of each
            clause can spell (the clause split of the first conversion kept)
  clauses   the clause-level figure: a reading's clause boundaries are right
            when its expected text splits into one piece per clause of the
            first conversion, each piece among that clause's candidates;
            over the clauses of such readings, the share whose first
            candidate is its piece. Wrong readings are sorted into ranking
            misses (boundaries right, some clause's first candidate wrong)
            and segmentation misses (no choice of candidates within the
            clauses as cut spells the text: a wrong cut or a missing word),
            and each by its first stretch that differs from the nearest
            expected text: another kanji spelling or homophone (kanji on
            both sides), kanji where the text has kana, kana where the text
            has kanji, katakana or hiragana (the same kana in the other
            script), numbers (digits on either side), other
  time      conversion time per reading

File layouts, told apart line by line ("#" lines are comments):
  status TAB reading TAB expected TAB check TAB argument TAB version
  label TAB reading TAB expected TAB check   (only "Conversion Expected" lines)
  reading TAB expected [TAB another acceptable ...]
A reading listed more than once is scored once.

Options:
  --data DIR      the data directory (default: the bundle's Resources/Mozc)
  --depth N       candidates per clause for "reachable" (default 10)
  --failures      list every wrong conversion with its clause split and the
                  kind of its first miss, [kind: got for expected]
  --tsv           one summary line per file: file, readings, top-1, CER, reachable, ms per reading,
                  clause top-1, ranking misses, segmentation misses
  -h, --help      this text
)";

fs::path temporaryDirectory() {
  std::string pattern = (fs::temp_directory_path() / "orvane-eval-XXXXXX").string();
  if (!::mkdtemp(pattern.data())) {
    std::perror("orvane-eval: mkdtemp");
    std::exit(1);
  }
  return pattern;
}

}  // namespace

int main(int argc, char** argv) {
  std::optional<fs::path> data;
  std::size_t depth = 10;
  bool failures = false, tsv = false;
  std::vector<fs::path> files;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    auto value = [&]() -> std::string {
      if (i + 1 >= argc) {
        std::cerr << "orvane-eval: " << arg << " needs a value\n";
        std::exit(2);
      }
      return argv[++i];
    };
    if (arg == "-h" || arg == "--help") {
      std::cout << usage;
      return 0;
    } else if (arg == "--data") data = fs::path(value());
    else if (arg == "--depth") depth = std::strtoul(value().c_str(), nullptr, 10);
    else if (arg == "--failures") failures = true;
    else if (arg == "--tsv") tsv = true;
    else if (!arg.empty() && arg[0] == '-') {
      std::cerr << "orvane-eval: unknown option " << arg << " (see --help)\n";
      return 2;
    } else files.emplace_back(arg);
  }
  if (files.empty()) {
    std::cerr << usage;
    return 2;
  }

  // A private, empty user data directory: nothing learned, no user words.
  const fs::path user = temporaryDirectory();
  const fs::path mozc = data ? *data : KanaDictionary::mozcDirectoryURL();
  if (!fs::exists(mozc / KanaDictionary::wordsFileName)) {
    std::cerr << "orvane-eval: no " << KanaDictionary::wordsFileName << " in " << mozc
              << " (build it with scripts/build-data.sh or pass --data)\n";
    fs::remove_all(user);
    return 1;
  }
  KanaDictionary::resetForTesting(user, mozc, std::nullopt);
  Learning::resetForTesting();
  Segmentation::resetForTesting();
  KanaDictionary::preload();

  int status = 0;
  for (const auto& file : files) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
      std::cerr << "orvane-eval: cannot read " << file << "\n";
      status = 1;
      continue;
    }
    std::stringstream content;
    content << in.rdbuf();
    const eval::TestSet set = eval::parseSet(content.str());
    eval::Summary summary;
    std::vector<std::string> wrong;
    for (const auto& item : set.items) {
      const auto started = std::chrono::steady_clock::now();
      const auto clauses = Converter::convert(text::characters(item.reading));
      summary.seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
      const auto outcome = eval::judge(item, clauses, depth);
      eval::add(summary, outcome);
      if (!outcome.correct) wrong.push_back(eval::describeFailure(outcome));
    }
    const double perReading = summary.items ? summary.seconds * 1000 / summary.items : 0;
    if (tsv) {
      std::printf("%s\t%zu\t%.3f\t%.3f\t%.3f\t%.2f\t%.3f\t%zu\t%zu\n", file.filename().c_str(), summary.items,
                  summary.top1(), summary.characterErrorRate(), summary.reachableShare(), perReading,
                  summary.clauseTop1(), summary.rankingMisses, summary.segmentationMisses);
    } else {
      std::printf("%s (%s): %zu readings, %zu lines skipped\n", file.c_str(), set.format.c_str(), summary.items,
                  set.skippedLines);
      std::printf("  top-1 %.3f (%zu/%zu)  CER %.3f  reachable@%zu %.3f  %.2f ms per reading\n", summary.top1(),
                  summary.correct, summary.items, summary.characterErrorRate(), depth, summary.reachableShare(),
                  perReading);
      std::printf("  clauses: boundaries right in %zu readings, first candidate right in %.3f of their %zu clauses; "
                  "misses: %zu ranking, %zu segmentation\n",
                  summary.boundariesRight, summary.clauseTop1(), summary.clauses, summary.rankingMisses,
                  summary.segmentationMisses);
      if (summary.rankingMisses + summary.segmentationMisses > 0) {
        std::string kinds;
        for (std::size_t k = 0; k < eval::missKinds; ++k) {
          if (summary.rankingByKind[k] + summary.segmentationByKind[k] == 0) continue;
          kinds += (kinds.empty() ? "" : ", ") + std::string(eval::describe(static_cast<eval::MissKind>(k))) + " " +
                   std::to_string(summary.rankingByKind[k]) + "+" + std::to_string(summary.segmentationByKind[k]);
        }
        std::printf("  first misses by kind (ranking+segmentation): %s\n", kinds.c_str());
      }
    }
    if (failures)
      for (const auto& line : wrong) std::printf("  %s\n", line.c_str());
  }
  fs::remove_all(user);
  return status;
}

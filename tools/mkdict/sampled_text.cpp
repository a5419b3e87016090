#include <mecab.h>

#include <memory>
#include <unordered_map>

#include "context.h"

namespace orvane::mkdict {
namespace {

// MeCab's objects, destroyed in the reverse order of their making.
struct MeCabSession {
  std::unique_ptr<MeCab::Model> model;
  std::unique_ptr<MeCab::Tagger> tagger;
  std::unique_ptr<MeCab::Lattice> lattice;
  // MeCab's readings are katakana; each is transliterated once.
  std::unordered_map<std::string, std::string> hiragana;
};

// The reading field of MeCab's IPADIC features (the eighth), if any.
std::string_view readingField(std::string_view feature) {
  std::size_t at = 0;
  for (int field = 0; field < 7; ++field) {
    at = feature.find(',', at);
    if (at == std::string_view::npos) return {};
    ++at;
  }
  const auto end = feature.find(',', at);
  const auto reading = feature.substr(at, end == std::string_view::npos ? std::string_view::npos : end - at);
  return reading == "*" ? std::string_view{} : reading;
}

bool isSpace(std::string_view surface) {
  return surface.find(' ') != std::string_view::npos || surface.find("\u3000") != std::string_view::npos ||
         surface.find('\t') != std::string_view::npos;
}

std::string joined(const std::vector<Piece>& pieces, std::size_t from, std::size_t to) {
  std::string out;
  for (std::size_t i = from; i < to; ++i) out += pieces[i].reading;
  return out;
}

}  // namespace

std::vector<std::string> alignReadings(const std::vector<Piece>& modelWords, const std::vector<Piece>& analysedWords) {
  std::vector<std::string> readings(analysedWords.size());
  std::size_t i = 0, j = 0;
  // Both cuts cover the same bytes, so every stretch closes.
  while (i < modelWords.size() && j < analysedWords.size()) {
    // The shortest stretch on which both cuts end at the same byte.
    const std::size_t firstModel = i, firstAnalysed = j;
    std::size_t modelEnd = modelWords[i++].length, analysedEnd = analysedWords[j++].length;
    while (modelEnd != analysedEnd) {
      if (modelEnd < analysedEnd && i < modelWords.size()) modelEnd += modelWords[i++].length;
      else if (analysedEnd < modelEnd && j < analysedWords.size()) analysedEnd += analysedWords[j++].length;
      else return readings;
    }
    const std::string reading = joined(modelWords, firstModel, i);
    // Words whose own reading fits from the left, then from the right; the
    // one left over between them takes what remains of the model's reading.
    std::size_t left = firstAnalysed, right = j, from = 0, to = reading.size();
    while (left < right && !analysedWords[left].reading.empty() &&
           std::string_view(reading).substr(from, to - from).starts_with(analysedWords[left].reading)) {
      readings[left] = analysedWords[left].reading;
      from += analysedWords[left++].reading.size();
    }
    while (right > left && !analysedWords[right - 1].reading.empty() &&
           std::string_view(reading).substr(from, to - from).ends_with(analysedWords[right - 1].reading)) {
      readings[right - 1] = analysedWords[right - 1].reading;
      to -= analysedWords[--right].reading.size();
    }
    if (right - left == 1 && to > from) readings[left] = reading.substr(from, to - from);
    else if (right != left || to != from)
      for (std::size_t k = firstAnalysed; k < j; ++k) readings[k].clear();
  }
  return readings;
}

Analyser mecabAnalyser(const fs::path& dictionary) {
  if (!fs::exists(dictionary / "sys.dic"))
    throw SourceError("MeCab's IPADIC not found at " + dictionary.string() +
                      ": install the Debian package mecab-ipadic-utf8");
  const std::string arguments = "-d " + dictionary.string();
  auto mecab = std::make_shared<MeCabSession>();
  mecab->model.reset(MeCab::createModel(arguments.c_str()));
  if (!mecab->model) throw SourceError("MeCab cannot open " + dictionary.string() + ": " + MeCab::getLastError());
  mecab->tagger.reset(mecab->model->createTagger());
  mecab->lattice.reset(mecab->model->createLattice());
  return [mecab](std::string_view sentence) -> std::optional<std::vector<AnalysedWord>> {
    MeCab::Lattice* lattice = mecab->lattice.get();
    lattice->set_sentence(sentence.data(), sentence.size());
    if (!mecab->tagger->parse(lattice)) throw SourceError(std::string("MeCab failed: ") + lattice->what());
    std::vector<AnalysedWord> words;
    std::size_t expected = 0;
    for (const MeCab::Node* node = lattice->bos_node()->next; node && node->stat != MECAB_EOS_NODE; node = node->next) {
      if (static_cast<std::size_t>(node->surface - lattice->sentence()) != expected) return std::nullopt;
      expected += node->length;
      AnalysedWord word{node->length, "", static_cast<int32_t>(node->lcAttr), node->stat == MECAB_NOR_NODE};
      if (word.known) {
        const std::string katakana(readingField(node->feature));
        auto it = mecab->hiragana.find(katakana);
        if (it == mecab->hiragana.end())
          it = mecab->hiragana.emplace(katakana, hiraganaReading(katakana).value_or("")).first;
        word.reading = it->second;
      }
      words.push_back(std::move(word));
    }
    if (expected != sentence.size()) return std::nullopt;
    return words;
  };
}

TaggedText sampleTaggedText(const LanguageModel& model, const Analyser& analyser, const SampleOptions& options,
                            const Progress& progress) {
  // The model's words split once: surface, and reading in hiragana.
  std::vector<std::pair<std::string, std::string>> vocabulary(model.size());
  model.forEachWord([&](std::string_view key, uint32_t id) {
    if (auto parts = splitModelKey(key)) vocabulary[id] = {std::string(parts->second), std::string(parts->first)};
  });

  progress("language model: indexing its n-grams for sampling");
  const SentenceSampler sampler(model);
  std::mt19937_64 random(options.seed);
  TaggedText text;
  std::unordered_map<std::string, uint32_t> index;
  std::string sentence, key;
  std::vector<Piece> modelWords, analysedPieces;

  // Tags one stretch of model words as one piece of text.
  auto tag = [&](const uint32_t* ids, std::size_t count, bool starts, bool ends) {
    if (count == 0) return;
    sentence.clear();
    modelWords.clear();
    for (std::size_t k = 0; k < count; ++k) {
      const auto& [surface, reading] = vocabulary[ids[k]];
      sentence += surface;
      modelWords.push_back({surface.size(), reading});
    }
    const auto analysed = analyser(sentence);
    if (!analysed) return void(++text.droppedSentences);
    analysedPieces.clear();
    for (const auto& word : *analysed) analysedPieces.push_back({word.length, word.reading});
    std::vector<std::string> readings = alignReadings(modelWords, analysedPieces);
    TaggedText::Sentence out;
    out.starts = starts;
    out.ends = ends;
    std::size_t offset = 0;
    for (std::size_t k = 0; k < analysed->size(); ++k) {
      const AnalysedWord& a = (*analysed)[k];
      TaggedWord word{std::move(readings[k]), sentence.substr(offset, a.length), a.id, a.known};
      offset += a.length;
      if (word.reading.empty()) ++text.unread;
      else if (word.reading != a.reading) ++text.readingsFromModel;
      key.assign(word.reading).append("\t").append(word.surface).append("\t").append(std::to_string(word.id));
      if (!word.known) key += "?";
      auto [it, fresh] = index.emplace(key, static_cast<uint32_t>(text.words.size()));
      if (fresh) text.words.push_back(std::move(word));
      out.words.push_back(it->second);
    }
    text.tokens += out.words.size();
    text.sentences.push_back(std::move(out));
  };

  std::size_t drawn = 0, nextReport = options.words / 4;
  while (drawn < options.words) {
    const SentenceSampler::Draw draw = sampler.sentence(random);
    const std::vector<uint32_t>& ids = draw.words;
    drawn += ids.size();
    if (drawn >= nextReport) {
      progress("language model: " + std::to_string(drawn) + " words drawn and tagged");
      nextReport += options.words / 4;
    }
    // Spaces (which MeCab skips) and words without a reading cut the
    // sentence into pieces tagged on their own.
    std::size_t from = 0;
    for (std::size_t k = 0; k <= ids.size(); ++k) {
      if (k < ids.size()) {
        const auto& surface = vocabulary[ids[k]].first;
        if (!surface.empty() && !isSpace(surface)) continue;
      }
      tag(ids.data() + from, k - from, from == 0, k == ids.size() && draw.ended);
      from = k + 1;
    }
  }
  return text;
}

}  // namespace orvane::mkdict

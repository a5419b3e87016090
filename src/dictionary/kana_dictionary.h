// The one door to the dictionary: where its files live, their readers, and
// the converter's questions.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "conversion/records.h"
#include "dictionary/connection_table.h"
#include "dictionary/part_of_speech_table.h"

namespace orvane::KanaDictionary {

inline constexpr std::string_view userFileName = "dictionary.txt";
inline constexpr std::string_view wordsFileName = "mozc.tsv";
inline constexpr std::string_view extraWordsFilePrefix = "ut-";
inline constexpr std::string_view extraWordsFileExtension = "tsv";
inline constexpr std::string_view connectionFileName = "connection.bin";
inline constexpr std::string_view partOfSpeechFileName = "id.def";
inline constexpr std::string_view emojiFileName = "emoji.tsv";
inline constexpr std::string_view symbolFileName = "symbol.tsv";
inline constexpr int64_t userWordID = 1851;
inline constexpr int64_t userWordCost = 1000;

// The user data directory ($XDG_DATA_HOME or ~/.local/share, then "Orvane IME")
// and the Mozc data directory (the bundle's Resources/Mozc). Fixed after first use.
const std::filesystem::path& directoryURL();
const std::filesystem::path& mozcDirectoryURL();

std::vector<Word> words(std::string_view reading);
std::vector<std::string> emoji(std::string_view reading);
std::vector<std::string> symbols(std::string_view reading);
int64_t connectionCost(int64_t from, int64_t to);
bool isAttached(int64_t id);
bool isPrefix(int64_t id);
bool isSuffix(int64_t id);

// The converter's fast path to the same answers. A conversion asks
// thousands of questions; these spare it a Word, two strings and a trip
// through the statics for each.

// One word of words(reading) before it becomes a Word: the surface as the
// file spells it, still to be decoded when it is not valid UTF-8. It points
// into what the last reload loaded and is valid until the next one.
struct WordEntry {
  std::string_view surface;
  int64_t leftID = 0;
  int64_t rightID = 0;
  int64_t cost = 0;
};

// A callable taking const WordEntry&, passed without copying or allocating.
class EntryVisitor {
 public:
  template <class F>
  EntryVisitor(F& f)  // NOLINT: made from any callable, as a function would take it
      : object_(&f), call_([](void* o, const WordEntry& e) { (*static_cast<F*>(o))(e); }) {}
  void operator()(const WordEntry& e) const { call_(object_, e); }

 private:
  void* object_;
  void (*call_)(void*, const WordEntry&);
};

// Visits the words of words(reading), in the same order; returns whether
// some longer reading begins with this one, so that a caller trying ever
// longer readings knows when to stop.
bool forEachWord(std::string_view reading, EntryVisitor visit);

// The loaded tables themselves, for lookups on the innermost loops; valid
// until the next reload.
const ConnectionTable& connectionTable();
const PartOfSpeechTable& partOfSpeechTable();

void reloadIfNeeded();
void preload();

// Replaces every static with a fresh, unloaded one over the given places
// (tests). defaultUserDictionary stands for the bundle resource
// "dictionary.txt"; nullopt means the bundle has none.
void resetForTesting(std::filesystem::path userDirectory, std::filesystem::path mozcDirectory,
                     std::optional<std::filesystem::path> defaultUserDictionary);

}  // namespace orvane::KanaDictionary

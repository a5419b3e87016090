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
// words(reading) appended to out, in the same order, from one search per
// file; returns whether some longer reading begins with this one, so that a
// caller trying ever longer readings knows when to stop.
bool appendWords(std::string_view reading, std::vector<Word>& out);
int64_t connectionCost(int64_t from, int64_t to);
bool isAttached(int64_t id);
bool isPrefix(int64_t id);
bool isSuffix(int64_t id);

void reloadIfNeeded();
void preload();

// Replaces every static with a fresh, unloaded one over the given places
// (tests). defaultUserDictionary stands for the bundle resource
// "dictionary.txt"; nullopt means the bundle has none.
void resetForTesting(std::filesystem::path userDirectory, std::filesystem::path mozcDirectory,
                     std::optional<std::filesystem::path> defaultUserDictionary);

}  // namespace orvane::KanaDictionary

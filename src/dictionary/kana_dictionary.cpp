#include "dictionary/kana_dictionary.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <system_error>

#include "app/log.h"
#include "dictionary/connection_table.h"
#include "dictionary/decimal.h"
#include "dictionary/dictionary_file.h"
#include "dictionary/emoji_support.h"
#include "dictionary/part_of_speech_table.h"
#include "dictionary/sorted_dictionary_file.h"
#include "platform/bundle.h"
#include "platform/file_system.h"
#include "text/text.h"

namespace orvane::KanaDictionary {
namespace fs = std::filesystem;
namespace {

constexpr std::string_view directoryName = "Orvane IME";
constexpr std::string_view mozcDirectoryName = "Mozc";

fs::path homeDirectory() {
  if (const char* home = std::getenv("HOME"); home && *home) return home;
  if (const passwd* pw = ::getpwuid(::getuid()); pw && pw->pw_dir) return pw->pw_dir;
  return "/";
}

// The per-user data directory of the desktop: $XDG_DATA_HOME when it is an
// absolute path (relative values are to be ignored), else ~/.local/share.
fs::path defaultDirectory() {
  if (const char* xdg = std::getenv("XDG_DATA_HOME"); xdg && *xdg == '/') return fs::path(xdg) / directoryName;
  return homeDirectory() / ".local" / "share" / directoryName;
}

// Both locations are fixed on first use; tests move them with resetForTesting.
struct Locations {
  std::optional<fs::path> user;
  std::optional<fs::path> mozc;
};

Locations& locations() {
  static Locations l;
  return l;
}

struct State {
  State(const fs::path& userDirectory, const fs::path& mozcDirectory,
        std::optional<std::optional<fs::path>> defaultOverride)
      : userFile(userDirectory / userFileName),
        connection(mozcDirectory / connectionFileName),
        partsOfSpeech(mozcDirectory / partOfSpeechFileName),
        emojiFile(mozcDirectory / emojiFileName),
        symbolFile(mozcDirectory / symbolFileName),
        userDirectory(userDirectory),
        mozcDirectory(mozcDirectory),
        defaultOverride(std::move(defaultOverride)) {}

  DictionaryFile userFile;
  std::optional<std::vector<SortedDictionaryFile>> wordsList;
  ConnectionTable connection;
  PartOfSpeechTable partsOfSpeech;
  DictionaryFile emojiFile;
  DictionaryFile symbolFile;

  fs::path userDirectory;
  fs::path mozcDirectory;
  // Set by tests: stands for the bundle's resource, nullopt inside for none.
  std::optional<std::optional<fs::path>> defaultOverride;

  // Extra lists that appear later are not seen until the process restarts:
  // the list is fixed the first time it is needed.
  std::vector<SortedDictionaryFile>& wordsFiles() {
    if (!wordsList) {
      std::vector<fs::path> extras;
      std::error_code ec;
      for (fs::directory_iterator it(mozcDirectory, ec), end; !ec && it != end; it.increment(ec)) {
        const auto name = it->path().filename().string();
        const auto extension = it->path().extension().string();
        // The extension as path() gives it, its dot included.
        if (name.starts_with(extraWordsFilePrefix) && extension.starts_with('.') &&
            std::string_view(extension).substr(1) == extraWordsFileExtension)
          extras.push_back(it->path());
      }
      std::sort(extras.begin(), extras.end(),
                [](const fs::path& a, const fs::path& b) { return a.filename().string() < b.filename().string(); });
      wordsList.emplace();
      wordsList->emplace_back(mozcDirectory / wordsFileName);
      for (auto& p : extras) wordsList->emplace_back(std::move(p));
    }
    return *wordsList;
  }

  std::optional<fs::path> defaultUserDictionary() const {
    if (defaultOverride) return *defaultOverride;
    return platform::Bundle::main().pathForResource("dictionary", "txt");
  }
};

std::unique_ptr<State>& statePointer() {
  static std::unique_ptr<State> s;
  return s;
}

State& state() {
  auto& s = statePointer();
  if (!s) s = std::make_unique<State>(directoryURL(), mozcDirectoryURL(), std::nullopt);
  return *s;
}

void installUserDictionaryIfMissing(State& s) {
  const fs::path destination = s.userDirectory / userFileName;
  std::error_code ec;
  if (fs::exists(destination, ec)) return;
  // An install killed midway left only its temporary copy beside the file.
  platform::removeLeftoverTemporaries(destination);
  const auto source = s.defaultUserDictionary();
  if (!source) return;
  std::string error;
  if (!platform::createDirectories(s.userDirectory, &error)) {
    Log::imk.error("dictionary install failed: %{public}s", error);
    return;
  }
  // Copied through a temporary file, so that a crash never leaves the user a
  // half dictionary that would then count as theirs and never be replaced.
  auto content = platform::readWholeFile(*source, &error);
  if (!content || !platform::writeAtomically(destination, *content, &error)) {
    Log::imk.error("dictionary install failed: %{public}s", error);
    return;
  }
  Log::imk.log("dictionary installed: %{public}s", destination.string());
}

bool isUserSeparator(std::string_view s, std::size_t i, std::size_t& length) {
  if (s[i] == ' ' || s[i] == '\t') {
    length = 1;
    return true;
  }
  if (s.compare(i, 3, "\u3000") == 0) {
    length = 3;
    return true;
  }
  return false;
}

// Calls f with each non-empty piece between separators.
template <class IsSeparator, class F>
void forEachPiece(std::string_view value, IsSeparator isSeparator, F f) {
  std::size_t start = 0;
  std::size_t i = 0;
  while (i < value.size()) {
    std::size_t length = 0;
    if (isSeparator(value, i, length)) {
      if (i > start) f(value.substr(start, i - start));
      i += length;
      start = i;
    } else {
      ++i;
    }
  }
  if (start < value.size()) f(value.substr(start));
}

bool isSpace(std::string_view s, std::size_t i, std::size_t& length) {
  length = 1;
  return s[i] == ' ';
}

std::vector<std::string> spaceSeparated(const DictionaryFile& file, std::string_view reading) {
  std::vector<std::string> out;
  file.forEachValue(reading, [&](std::string_view value) {
    forEachPiece(value, isSpace, [&](std::string_view piece) { out.push_back(text::decodeLossy(piece)); });
  });
  return out;
}

// Four fields: left id, right id, cost, surface; the surface may hold
// anything but a TAB, so a fifth field spoils the line.
std::optional<WordEntry> parseWordListValue(std::string_view value) {
  int64_t numbers[3];
  std::size_t start = 0;
  for (auto& number : numbers) {
    // Short plain numbers, as every line has them, are read in the same
    // pass that finds their end; anything else goes to parseDecimal.
    std::size_t tab = start;
    const bool negative = tab < value.size() && value[tab] == '-';
    if (negative) ++tab;
    int64_t plain = 0;
    while (tab < value.size() && tab - start < 18 && value[tab] >= '0' && value[tab] <= '9')
      plain = plain * 10 + (value[tab++] - '0');
    if (tab < value.size() && value[tab] == '\t' && tab > start + (negative ? 1 : 0)) {
      number = negative ? -plain : plain;
    } else {
      while (tab < value.size() && value[tab] != '\t') ++tab;
      if (tab == value.size()) return std::nullopt;
      const auto parsed = dictionary::parseDecimal(value.substr(start, tab - start));
      if (!parsed) return std::nullopt;
      number = *parsed;
    }
    start = tab + 1;
  }
  const auto surface = value.substr(start);
  if (std::memchr(surface.data(), '\t', surface.size())) return std::nullopt;
  return WordEntry{surface, numbers[0], numbers[1], numbers[2]};
}

}  // namespace

const fs::path& directoryURL() {
  auto& l = locations();
  if (!l.user) l.user = defaultDirectory();
  return *l.user;
}

const fs::path& mozcDirectoryURL() {
  auto& l = locations();
  if (!l.mozc) l.mozc = platform::Bundle::main().resourceURL() / mozcDirectoryName;
  return *l.mozc;
}

bool forEachWord(std::string_view reading, EntryVisitor visit) {
  auto& s = state();
  bool longer = s.userFile.hasLongerReading(reading);
  s.userFile.forEachValue(reading, [&](std::string_view value) {
    forEachPiece(value, isUserSeparator,
                 [&](std::string_view piece) { visit(WordEntry{piece, userWordID, userWordID, userWordCost}); });
  });
  for (const auto& file : s.wordsFiles()) {
    longer |= file.forEachValueAndLonger(reading, [&](std::string_view value) {
      if (auto entry = parseWordListValue(value)) visit(*entry);
    });
  }
  return longer;
}

std::vector<Word> words(std::string_view reading) {
  std::vector<Word> out;
  auto add = [&](const WordEntry& e) {
    out.push_back(Word{std::string(reading), text::decodeLossy(e.surface), e.leftID, e.rightID, e.cost});
  };
  forEachWord(reading, add);
  return out;
}

std::vector<std::string> emoji(std::string_view reading) {
  auto pieces = spaceSeparated(state().emojiFile, reading);
  std::erase_if(pieces, [](const std::string& e) { return !EmojiSupport::isSupported(e); });
  return pieces;
}

std::vector<std::string> symbols(std::string_view reading) { return spaceSeparated(state().symbolFile, reading); }

int64_t connectionCost(int64_t from, int64_t to) { return state().connection.cost(from, to); }
const ConnectionTable& connectionTable() { return state().connection; }
const PartOfSpeechTable& partOfSpeechTable() { return state().partsOfSpeech; }
bool isAttached(int64_t id) { return state().partsOfSpeech.isAttached(id); }
bool isPrefix(int64_t id) { return state().partsOfSpeech.isPrefix(id); }
bool isSuffix(int64_t id) { return state().partsOfSpeech.isSuffix(id); }

void reloadIfNeeded() {
  // Conversion goes on with whatever is loaded; nothing may escape to the caller.
  try {
    auto& s = state();
    installUserDictionaryIfMissing(s);
    s.userFile.reloadIfNeeded();
    for (auto& file : s.wordsFiles()) file.reloadIfNeeded();
    s.connection.reloadIfNeeded();
    s.partsOfSpeech.reloadIfNeeded();
    s.emojiFile.reloadIfNeeded();
    s.symbolFile.reloadIfNeeded();
  } catch (...) {
  }
}

void preload() { reloadIfNeeded(); }

void resetForTesting(fs::path userDirectory, fs::path mozcDirectory,
                     std::optional<fs::path> defaultUserDictionary) {
  auto& l = locations();
  l.user = std::move(userDirectory);
  l.mozc = std::move(mozcDirectory);
  statePointer() = std::make_unique<State>(*l.user, *l.mozc, std::optional<std::optional<fs::path>>(std::in_place, std::move(defaultUserDictionary)));
}

}  // namespace orvane::KanaDictionary

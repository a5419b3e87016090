// What the two learning stores share: the lenient reading of their
// tab-separated files and the one place on disk each of them owns.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file_system.h"

namespace orvane::store {

// Hash for maps keyed by std::string that are searched with string_views,
// so that a lookup on the hot path builds no string.
struct StringHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view s) const noexcept { return std::hash<std::string_view>{}(s); }
};

// The non-empty lines of the text, split at every newline character a user's
// editor may leave: LF, VT, FF, CR (CR LF included), NEL, U+2028, U+2029.
void forEachLine(std::string_view text, const std::function<void(std::string_view)>& body);

// Splits at every TAB, keeping empty fields; `fields` is reused between lines.
void splitFields(std::string_view line, std::vector<std::string_view>& fields);

// An optional sign, then one or more ASCII digits and nothing else, in range.
std::optional<int64_t> parseInteger(std::string_view field);

void appendInteger(std::string& out, int64_t value);

// One line of a store's file: the texts, then the numbers, TAB between
// fields, LF at the end.
void appendRecord(std::string& out, std::initializer_list<std::string_view> texts,
                  std::initializer_list<int64_t> numbers);

// Where a stable sort by recency, most recent first, cuts a list of times
// down to a limit: every time above `lastUsed` stays, and of the times equal
// to it the first `keptAtCutoff` in list order.
struct Cutoff {
  int64_t lastUsed = 0;
  std::size_t keptAtCutoff = 0;

  // Asked once per entry, in the order of the list the times came from.
  bool keeps(int64_t time) {
    if (time != lastUsed) return time > lastUsed;
    if (keptAtCutoff == 0) return false;
    --keptAtCutoff;
    return true;
  }
};
// Needs times.size() > limit > 0; reorders times.
Cutoff evictionCutoff(std::vector<int64_t>& times, std::size_t limit);

// True when the text could not be split back into the same fields and lines.
bool holdsSeparator(std::string_view s);

// One store's file: the date of the content the store last saw, the reload
// check, and the atomic save that keeps an unreadable file aside first.
class File {
 public:
  // keptAsideFormat is the error line written when an unreadable file is
  // moved out of the way, with the new path as its one argument.
  File(std::filesystem::path url, std::string_view keptAsideFormat);

  const std::filesystem::path& url() const { return url_; }

  // Whether the store has looked at its file yet (at a reload or a save).
  bool looked() const { return looked_; }

  struct Reload {
    bool changed = false;             // the store must drop what it holds
    std::optional<std::string> text;  // valid UTF-8 content to parse
  };
  // Also removes what saves killed midway left beside the file, at the
  // first look and whenever the file changed.
  Reload reloadIfNeeded();

  // Creates the directory and replaces the file in one step; on failure the
  // description is returned and the remembered date stays.
  bool save(std::string_view content, std::string* error);

 private:
  bool keepUnreadableAside(std::string* error);

  std::filesystem::path url_;
  std::string_view keptAsideFormat_;
  platform::FileDate loadedModificationDate_;
  bool looked_ = false;
  // The file on disk could not be read as UTF-8: the store runs empty, and
  // its next save must not destroy what the user had.
  bool unreadable_ = false;
};

}  // namespace orvane::store

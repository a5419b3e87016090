#include "dictionary/part_of_speech_table.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include "dictionary/decimal.h"
#include "platform/file_system.h"
#include "text/text.h"

namespace orvane {
namespace {

// Length of the line break starting at i, 0 when none: every Unicode
// mandatory break, so that a file saved by any editor splits the same way.
std::size_t lineBreakLength(std::string_view s, std::size_t i) {
  const auto c = static_cast<unsigned char>(s[i]);
  if (c == '\n' || c == '\v' || c == '\f' || c == '\r') return 1;
  if (c == 0xC2 && i + 1 < s.size() && static_cast<unsigned char>(s[i + 1]) == 0x85) return 2;
  if (c == 0xE2 && i + 2 < s.size() && static_cast<unsigned char>(s[i + 1]) == 0x80 &&
      (static_cast<unsigned char>(s[i + 2]) == 0xA8 || static_cast<unsigned char>(s[i + 2]) == 0xA9))
    return 3;
  return 0;
}

// Whole characters: a combining mark right after the prefix's last comma
// makes that comma a different character, so the prefix does not match.
// Every prefix ends in a comma, which joins only with a following scalar
// that extends a cluster; asking that scalar's property spares a grapheme
// break iterator for every line.
bool hasCharacterPrefix(std::string_view name, std::string_view prefix) {
  if (!name.starts_with(prefix)) return false;
  if (name.size() == prefix.size() || static_cast<unsigned char>(name[prefix.size()]) < 0x80) return true;
  const auto* p = reinterpret_cast<const uint8_t*>(name.data());
  auto i = static_cast<int32_t>(prefix.size());
  UChar32 next;
  U8_NEXT(p, i, static_cast<int32_t>(name.size()), next);
  if (next < 0) return true;
  switch (u_getIntPropertyValue(next, UCHAR_GRAPHEME_CLUSTER_BREAK)) {
    case U_GCB_EXTEND:
    case U_GCB_ZWJ:
    case U_GCB_SPACING_MARK:
      return false;
    default:
      return true;
  }
}

}  // namespace

void PartOfSpeechTable::clear() {
  dense_.clear();
  sparse_.clear();
}

void PartOfSpeechTable::add(int64_t id, uint8_t flags) {
  if (id >= 0 && id < denseLimit) {
    if (static_cast<std::size_t>(id) >= dense_.size()) dense_.resize(static_cast<std::size_t>(id) + 1, 0);
    dense_[static_cast<std::size_t>(id)] |= flags;
    return;
  }
  auto it = std::lower_bound(sparse_.begin(), sparse_.end(), id,
                             [](const auto& entry, int64_t key) { return entry.first < key; });
  if (it != sparse_.end() && it->first == id) it->second |= flags;
  else sparse_.insert(it, {id, flags});
}

void PartOfSpeechTable::reloadIfNeeded() {
  auto date = platform::modificationDate(url_);
  if (date == loadedModificationDate_) return;
  loadedModificationDate_ = date;
  clear();
  if (!date) return;
  auto content = platform::readWholeFile(url_);
  if (!content || !text::isValidUTF8(*content)) return;

  const std::string_view all(*content);
  std::size_t start = 0;
  auto handleLine = [&](std::string_view line) {
    std::size_t i = line.find_first_not_of(' ');
    if (i == std::string_view::npos) return;
    line.remove_prefix(i);
    const std::size_t space = line.find(' ');
    if (space == std::string_view::npos) return;
    const auto name = line.substr(space + 1);
    if (name.empty()) return;
    const auto id = dictionary::parseDecimal(line.substr(0, space));
    if (!id) return;
    bool attached = false;
    for (auto category : attachedCategories) {
      if (hasCharacterPrefix(name, category)) {
        attached = true;
        break;
      }
    }
    if (attached) add(*id, attachedFlag | (hasCharacterPrefix(name, suffixCategory) ? suffixFlag : 0));
    else if (hasCharacterPrefix(name, prefixCategory)) add(*id, prefixFlag);
  };
  for (std::size_t i = 0; i < all.size();) {
    if (std::size_t breakLength = lineBreakLength(all, i)) {
      if (i > start) handleLine(all.substr(start, i - start));
      i += breakLength;
      start = i;
    } else {
      ++i;
    }
  }
  if (start < all.size()) handleLine(all.substr(start));
}

}  // namespace orvane

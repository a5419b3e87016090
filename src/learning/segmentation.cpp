#include "learning/segmentation.h"

#include <algorithm>
#include <memory>
#include <unordered_map>
#include <utility>

#include "app/log.h"
#include "dictionary/kana_dictionary.h"
#include "learning/store_file.h"
#include "platform/clock.h"

namespace orvane::Segmentation {
namespace {

struct Store {
  store::File file{KanaDictionary::directoryURL() / fileName,
                   "segments file not valid UTF-8, kept aside as %{public}s"};
  // Keyed by the canonical form of the key: one boundary per key.
  std::unordered_map<std::string, Entry, store::StringHash, std::equal_to<>> entries;
};

std::unique_ptr<Store>& slot() {
  static std::unique_ptr<Store> store;
  return store;
}

Store& store() {
  auto& s = slot();
  if (!s) s = std::make_unique<Store>();
  return *s;
}

void load(Store& s, std::string_view content) {
  std::vector<std::string_view> fields;
  store::forEachLine(content, [&](std::string_view line) {
    store::splitFields(line, fields);
    if (fields.size() != 4) return;
    const auto offset = store::parseInteger(fields[1]);
    const auto lastUsed = store::parseInteger(fields[2]);
    const auto count = store::parseInteger(fields[3]);
    if (!offset || !lastUsed || !count || *offset <= 0) return;
    // A grapheme cluster holds at least one byte, so a short key is rejected
    // without asking the break iterator.
    if (static_cast<uint64_t>(*offset) >= fields[0].size()) return;
    if (static_cast<std::size_t>(*offset) >= text::characterCount(fields[0])) return;
    s.entries.insert_or_assign(text::nfc(fields[0]), Entry{*offset, *lastUsed, *count});
  });
}

void evictOldEntries(Store& s) {
  if (s.entries.size() <= maxEntries) return;
  // Keeps what a stable sort by recency of the map's listing would keep,
  // without rebuilding the map.
  std::vector<int64_t> times;
  times.reserve(s.entries.size());
  for (const auto& [key, entry] : s.entries) times.push_back(entry.lastUsed);
  auto cutoff = store::evictionCutoff(times, maxEntries);
  for (auto it = s.entries.begin(); it != s.entries.end();) {
    if (cutoff.keeps(it->second.lastUsed))
      ++it;
    else
      it = s.entries.erase(it);
  }
}

std::string fileText(const Store& s) {
  std::vector<const std::pair<const std::string, Entry>*> items;
  items.reserve(s.entries.size());
  std::size_t size = 0;
  for (const auto& item : s.entries) {
    items.push_back(&item);
    size += item.first.size() + 48;
  }
  // Canonical forms in UTF-8 sort by bytes exactly as by code points.
  std::stable_sort(items.begin(), items.end(), [](const auto* a, const auto* b) { return a->first < b->first; });
  std::string out;
  out.reserve(size);
  for (const auto* item : items) {
    store::appendRecord(out, {item->first}, {item->second.offset, item->second.lastUsed, item->second.count});
  }
  return out;
}

void reload(Store& s) {
  auto result = s.file.reloadIfNeeded();
  if (!result.changed) return;
  s.entries.clear();
  if (!result.text) return;
  load(s, *result.text);
  Log::imk.log("segments loaded: %ld entries", static_cast<int64_t>(s.entries.size()));
}

// A store that has never read its file must not replace it with only what
// it learned since the start.
void loadBeforeFirstChange(Store& s) {
  if (!s.file.looked()) reload(s);
}

void save(Store& s) {
  std::string error;
  if (!s.file.save(fileText(s), &error)) Log::imk.error("segments save failed: %{public}s", error);
}

}  // namespace

std::vector<Match> matches(const Characters& reading) {
  const auto& s = store();
  if (s.entries.empty() || reading.empty()) return {};
  // The reading laid out once in canonical form, so that every substring is
  // a view into it and a lookup builds nothing.
  std::string joined;
  std::vector<std::size_t> starts;
  starts.reserve(reading.size() + 1);
  for (const auto& character : reading) {
    starts.push_back(joined.size());
    joined += character;
  }
  starts.push_back(joined.size());
  if (text::nfc(joined) != joined) {
    joined.clear();
    for (std::size_t i = 0; i < reading.size(); ++i) {
      starts[i] = joined.size();
      joined += text::nfc(reading[i]);
    }
    starts.back() = joined.size();
  }
  const std::string_view view(joined);
  std::vector<Match> out;
  const std::size_t n = reading.size();
  for (std::size_t start = 0; start + 2 <= n; ++start) {
    for (std::size_t end = start + 2; end <= n; ++end) {
      const auto it = s.entries.find(view.substr(starts[start], starts[end] - starts[start]));
      if (it == s.entries.end()) continue;
      out.push_back(Match{it->first, it->second.offset, static_cast<int64_t>(start) + it->second.offset});
    }
  }
  return out;
}

void record(const std::vector<KeyOffset>& pairs) {
  if (pairs.empty()) return;
  auto& s = store();
  loadBeforeFirstChange(s);
  const int64_t now = platform::secondsSince1970();
  for (const auto& pair : pairs) {
    // A field or line separator would split the line on the next load and
    // could forge entries; no reading the user can type holds one.
    if (store::holdsSeparator(pair.key)) continue;
    auto& entry = s.entries[text::nfc(pair.key)];
    entry = Entry{pair.offset, now, entry.count + 1};
    Log::imk.log("learn segment: %{public}s at %ld", pair.key, pair.offset);
  }
  evictOldEntries(s);
  save(s);
}

void forget(const std::vector<std::string>& keys) {
  if (keys.empty()) return;
  auto& s = store();
  loadBeforeFirstChange(s);
  for (const auto& key : keys) {
    if (const auto it = s.entries.find(text::nfc(key)); it != s.entries.end()) s.entries.erase(it);
    Log::imk.log("forget segment: %{public}s", key);
  }
  save(s);
}

void reloadIfNeeded() { reload(store()); }

void resetForTesting() { slot() = std::make_unique<Store>(); }

}  // namespace orvane::Segmentation

#include "learning/learning.h"

#include <algorithm>
#include <memory>
#include <unordered_map>
#include <utility>

#include "app/log.h"
#include "dictionary/kana_dictionary.h"
#include "learning/store_file.h"
#include "platform/clock.h"
#include "text/text.h"

namespace orvane::Learning {
namespace {

// An entry with the canonical form of its surface, so that comparisons do
// not normalise the stored side again and again; the surface itself is kept
// as the user chose it.
struct Stored {
  Entry entry;
  std::string key;
};
using List = std::vector<Stored>;

struct Store {
  store::File file{KanaDictionary::directoryURL() / fileName,
                   "learning file not valid UTF-8, kept aside as %{public}s"};
  // Keyed by the canonical form of the reading; every list is non-empty.
  std::unordered_map<std::string, List, store::StringHash, std::equal_to<>> entries;
  std::size_t total = 0;
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

const List* listFor(const Store& s, std::string_view reading) {
  // The lattice asks for every word; a store with nothing learned answers
  // without normalising anything.
  if (s.entries.empty()) return nullptr;
  const auto it = s.entries.find(text::nfc(reading));
  return it == s.entries.end() ? nullptr : &it->second;
}

void load(Store& s, std::string_view content) {
  std::vector<std::string_view> fields;
  store::forEachLine(content, [&](std::string_view line) {
    store::splitFields(line, fields);
    if (fields.size() != 4) return;
    const auto lastUsed = store::parseInteger(fields[2]);
    const auto count = store::parseInteger(fields[3]);
    if (!lastUsed || !count) return;
    auto& list = s.entries[text::nfc(fields[0])];
    list.push_back({Entry{std::string(fields[1]), *lastUsed, *count}, text::nfc(fields[1])});
    ++s.total;
  });
}

void evictOldEntries(Store& s) {
  if (s.total <= maxEntries) return;
  // The stable sort by recency keeps everything newer than a cutoff and, at
  // the cutoff itself, the first entries in map order; finding the cutoff
  // spares rebuilding ten thousand entries on every record of a full store.
  std::vector<int64_t> times;
  times.reserve(s.total);
  for (const auto& [reading, list] : s.entries)
    for (const auto& stored : list) times.push_back(stored.entry.lastUsed);
  auto cutoff = store::evictionCutoff(times, maxEntries);
  for (auto it = s.entries.begin(); it != s.entries.end();) {
    auto& list = it->second;
    std::size_t kept = 0;
    for (auto& stored : list) {
      if (cutoff.keeps(stored.entry.lastUsed)) {
        if (&list[kept] != &stored) list[kept] = std::move(stored);
        ++kept;
      }
    }
    list.erase(list.begin() + static_cast<std::ptrdiff_t>(kept), list.end());
    if (list.empty()) {
      it = s.entries.erase(it);
      continue;
    }
    std::stable_sort(list.begin(), list.end(),
                     [](const Stored& a, const Stored& b) { return a.entry.lastUsed > b.entry.lastUsed; });
    ++it;
  }
  s.total = maxEntries;
}

std::string fileText(const Store& s) {
  std::vector<const std::pair<const std::string, List>*> readings;
  readings.reserve(s.entries.size());
  std::size_t size = 0;
  for (const auto& item : s.entries) {
    readings.push_back(&item);
    for (const auto& stored : item.second) size += item.first.size() + stored.entry.surface.size() + 32;
  }
  // Canonical forms in UTF-8 sort by bytes exactly as by code points.
  std::stable_sort(readings.begin(), readings.end(), [](const auto* a, const auto* b) { return a->first < b->first; });
  std::string out;
  out.reserve(size);
  for (const auto* item : readings) {
    for (const auto& stored : item->second) {
      store::appendRecord(out, {item->first, stored.entry.surface}, {stored.entry.lastUsed, stored.entry.count});
    }
  }
  return out;
}

void reload(Store& s) {
  auto result = s.file.reloadIfNeeded();
  if (!result.changed) return;
  s.entries.clear();
  s.total = 0;
  if (!result.text) return;
  load(s, *result.text);
  Log::imk.log("learning loaded: %ld entries", static_cast<int64_t>(s.total));
}

// A store that has never read its file must not replace it with only what
// it learned since the start.
void loadBeforeFirstChange(Store& s) {
  if (!s.file.looked()) reload(s);
}

void save(Store& s) {
  std::string error;
  if (!s.file.save(fileText(s), &error)) Log::imk.error("learning save failed: %{public}s", error);
}

}  // namespace

std::vector<std::string> surfaces(std::string_view reading) {
  const List* list = listFor(store(), reading);
  if (!list) return {};
  std::vector<const Stored*> order;
  order.reserve(list->size());
  for (const auto& stored : *list) order.push_back(&stored);
  std::stable_sort(order.begin(), order.end(),
                   [](const Stored* a, const Stored* b) { return a->entry.lastUsed > b->entry.lastUsed; });
  std::vector<std::string> out;
  out.reserve(order.size());
  for (const auto* stored : order) out.push_back(stored->entry.surface);
  return out;
}

bool isLearned(std::string_view reading, std::string_view surface) {
  const List* list = listFor(store(), reading);
  if (!list) return false;
  const auto key = text::nfc(surface);
  return std::any_of(list->begin(), list->end(), [&](const Stored& s) { return s.key == key; });
}

bool hasEntries(std::string_view reading) {
  const List* list = listFor(store(), reading);
  return list && !list->empty();
}

void record(const std::vector<ReadingSurface>& pairs) {
  if (pairs.empty()) return;
  auto& s = store();
  loadBeforeFirstChange(s);
  const int64_t now = platform::secondsSince1970();
  for (const auto& pair : pairs) {
    // A field or line separator would split the line on the next load and
    // could forge entries; no candidate the user can commit holds one.
    if (store::holdsSeparator(pair.reading) || store::holdsSeparator(pair.surface)) continue;
    auto& list = s.entries[text::nfc(pair.reading)];
    auto key = text::nfc(pair.surface);
    const auto it = std::find_if(list.begin(), list.end(), [&](const Stored& e) { return e.key == key; });
    if (it != list.end()) {
      it->entry.lastUsed = now;
      it->entry.count += 1;
    } else {
      list.push_back({Entry{pair.surface, now, 1}, std::move(key)});
      ++s.total;
    }
    Log::imk.log("learn: %{public}s -> %{public}s", pair.reading, pair.surface);
  }
  evictOldEntries(s);
  save(s);
}

void forget(const std::vector<ReadingSurface>& pairs) {
  auto& s = store();
  loadBeforeFirstChange(s);
  for (const auto& pair : pairs) {
    const auto it = s.entries.find(text::nfc(pair.reading));
    if (it != s.entries.end()) {
      const auto key = text::nfc(pair.surface);
      auto& list = it->second;
      s.total -= std::erase_if(list, [&](const Stored& e) { return e.key == key; });
      if (list.empty()) s.entries.erase(it);
    }
    Log::imk.log("forget: %{public}s -> %{public}s", pair.reading, pair.surface);
  }
  save(s);
}

void reloadIfNeeded() { reload(store()); }

void resetForTesting() { slot() = std::make_unique<Store>(); }

}  // namespace orvane::Learning

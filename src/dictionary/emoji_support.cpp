#include "dictionary/emoji_support.h"

#include <functional>
#include <string>
#include <unordered_map>

#include "platform/services.h"

namespace orvane::EmojiSupport {
namespace {

struct Hash {
  using is_transparent = void;
  std::size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
};

struct State {
  platform::TextLayout* layout = nullptr;
  std::unordered_map<std::string, bool, Hash, std::equal_to<>> cache;
};

State& state() {
  static State s;
  return s;
}

bool layOut(platform::TextLayout& layout, std::string_view emoji) {
  const auto wanted = layout.fontName();
  if (!wanted) return false;
  const auto result = layout.layout(emoji);
  if (result.glyphCount != 1 || !result.firstRunFontName) return false;
  // Another name means the layout fell back to a font other than the emoji font.
  return *result.firstRunFontName == *wanted;
}

}  // namespace

bool isSupported(std::string_view emoji) {
  auto& s = state();
  if (auto it = s.cache.find(emoji); it != s.cache.end()) return it->second;
  const bool answer = layOut(s.layout ? *s.layout : platform::textLayout(), emoji);
  s.cache.emplace(std::string(emoji), answer);
  return answer;
}

void resetForTesting(platform::TextLayout* layout) {
  auto& s = state();
  s.layout = layout;
  s.cache.clear();
}

}  // namespace orvane::EmojiSupport

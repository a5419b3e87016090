#include "dictionary/emoji_support.h"

#include <gtest/gtest.h>

#include <map>

#include "dictionary/kana_dictionary.h"
#include "platform/harfbuzz_text_layout.h"
#include "testing/environment.h"

namespace orvane {
namespace {

using Strings = std::vector<std::string>;

// Answers from a table and counts what it was asked to lay out.
class FakeLayout final : public platform::TextLayout {
 public:
  std::optional<std::string> name = "EmojiFont";
  std::map<std::string, platform::TextLayoutResult, std::less<>> results;
  std::map<std::string, int, std::less<>> calls;

  platform::TextLayoutResult layout(std::string_view text) override {
    ++calls[std::string(text)];
    auto it = results.find(text);
    return it == results.end() ? platform::TextLayoutResult{} : it->second;
  }
  std::optional<std::string> fontName() const override { return name; }
};

struct ScopedLayout {
  explicit ScopedLayout(platform::TextLayout* layout) { EmojiSupport::resetForTesting(layout); }
  ~ScopedLayout() { EmojiSupport::resetForTesting(); }
};

TEST(EmojiSupportTest, OnlyOneGlyphDrawnWithTheEmojiFontCounts) {
  FakeLayout layout;
  layout.results = {{"one", {1, "EmojiFont"}},   {"two", {2, "EmojiFont"}},   {"none", {0, std::nullopt}},
                    {"other", {1, "OtherFont"}}, {"no font", {1, std::nullopt}}};
  ScopedLayout scope(&layout);
  for (const auto& [emoji, result] : layout.results)
    EXPECT_EQ(EmojiSupport::isSupported(emoji), emoji == "one") << emoji;

  layout.name = std::nullopt;  // the font is not installed
  EmojiSupport::resetForTesting(&layout);
  EXPECT_FALSE(EmojiSupport::isSupported("one"));
}

TEST(EmojiSupportTest, EachStringIsLaidOutOnceAndDuplicatesStay) {
  FakeLayout layout;
  layout.results = {{"A", {1, "EmojiFont"}}};
  ScopedLayout scope(&layout);
  testing::Environment env;
  env.writeEmoji("にこ\tA B\nにこ\tA\n");
  KanaDictionary::preload();
  EXPECT_EQ(KanaDictionary::emoji("にこ"), (Strings{"A", "A"}));
  EXPECT_EQ(KanaDictionary::emoji("にこ"), (Strings{"A", "A"}));
  EXPECT_EQ(layout.calls, (std::map<std::string, int, std::less<>>{{"A", 1}, {"B", 1}}));
}

TEST(EmojiSupportTest, ColourEmojiFontDrawsSingleEmojiOnly) {
  platform::HarfBuzzTextLayout layout;
  if (!layout.fontName()) GTEST_SKIP() << "no colour emoji font installed";
  ScopedLayout scope(&layout);
  const std::map<std::string, bool> cases = {
      {"😀", true},
      {"☺\uFE0F", true},                                        // variation selector
      {"1\uFE0F\u20E3", true},                                  // keycap
      {"🇯🇵", true},                                            // flag
      {"👨\u200D👩\u200D👧", true},                            // a family the font joins
      {"👨\u200D👩\u200D👧\u200D👧\u200D👦\u200D👦", false},  // one it cannot join
      {"😀😀", false},
      {"あ", false},  // not in the font
      {"", false},
  };
  for (const auto& [emoji, answer] : cases) EXPECT_EQ(EmojiSupport::isSupported(emoji), answer) << emoji;

  testing::Environment env;
  env.writeEmoji("にこ\t😀 あ 👍\n");
  KanaDictionary::preload();
  EXPECT_EQ(KanaDictionary::emoji("にこ"), (Strings{"😀", "👍"}));

  EXPECT_FALSE(platform::HarfBuzzTextLayout("No Such Family For Orvane").fontName());
}

}  // namespace
}  // namespace orvane

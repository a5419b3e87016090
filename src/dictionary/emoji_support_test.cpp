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

class EmojiSupportTest : public ::testing::Test {
 protected:
  void SetUp() override { EmojiSupport::resetForTesting(&layout); }
  void TearDown() override { EmojiSupport::resetForTesting(); }
  FakeLayout layout;
};

TEST_F(EmojiSupportTest, OnlyOneGlyphFromTheEmojiFontCounts) {
  layout.results = {
      {"one", {1, "EmojiFont"}},
      {"two", {2, "EmojiFont"}},
      {"none", {0, std::nullopt}},
      {"fallback", {1, "OtherFont"}},
      {"no run font", {1, std::nullopt}},
  };
  const std::map<std::string, bool> expected = {
      {"one", true}, {"two", false}, {"none", false}, {"fallback", false}, {"no run font", false}};
  for (const auto& [emoji, answer] : expected) EXPECT_EQ(EmojiSupport::isSupported(emoji), answer) << emoji;
}

TEST_F(EmojiSupportTest, WithoutTheFontNothingIsSupported) {
  layout.name = std::nullopt;
  layout.results = {{"one", {1, std::nullopt}}};
  EXPECT_FALSE(EmojiSupport::isSupported("one"));
}

TEST_F(EmojiSupportTest, EachStringIsLaidOutOnce) {
  testing::Environment env;
  env.writeEmoji("にこ\tA B\nにこ\tA\n");
  layout.results = {{"A", {1, "EmojiFont"}}};
  KanaDictionary::preload();
  EXPECT_EQ(KanaDictionary::emoji("にこ"), (Strings{"A", "A"}));
  EXPECT_EQ(KanaDictionary::emoji("にこ"), (Strings{"A", "A"}));
  EXPECT_EQ(layout.calls["A"], 1);
  EXPECT_EQ(layout.calls["B"], 1);
  // The answer holds even when the layout would answer otherwise now.
  layout.results.clear();
  EXPECT_TRUE(EmojiSupport::isSupported("A"));
}

TEST(EmojiSupportFontTest, ColourEmojiFontDrawsSingleEmojiOnly) {
  platform::HarfBuzzTextLayout layout;
  if (!layout.fontName()) GTEST_SKIP() << "no colour emoji font installed";
  EmojiSupport::resetForTesting(&layout);
  const std::map<std::string, bool> cases = {
      {"😀", true},
      {"☺\uFE0F", true},                                             // with a variation selector
      {"1\uFE0F\u20E3", true},                                       // keycap sequence
      {"🇯🇵", true},                                                 // flag pair
      {"👨\u200D👩\u200D👧", true},                                 // family the font draws as one
      {"👨\u200D👩\u200D👧\u200D👧\u200D👦\u200D👦", false},       // a family it cannot join
      {"😀😀", false},
      {"あ", false},                                                 // not in the font
      {"\u0378", false},                                             // unassigned
      {"", false},
  };
  for (const auto& [emoji, answer] : cases) EXPECT_EQ(EmojiSupport::isSupported(emoji), answer) << emoji;
  EmojiSupport::resetForTesting();
}

TEST(EmojiSupportFontTest, DictionaryDropsWhatTheFontLacks) {
  platform::HarfBuzzTextLayout layout;
  if (!layout.fontName()) GTEST_SKIP() << "no colour emoji font installed";
  EmojiSupport::resetForTesting(&layout);
  testing::Environment env;
  env.writeEmoji("にこ\t😀 あ 👍\n");
  KanaDictionary::preload();
  EXPECT_EQ(KanaDictionary::emoji("にこ"), (Strings{"😀", "👍"}));
  EmojiSupport::resetForTesting();
}

TEST(EmojiSupportFontTest, MissingFamilyGivesNoFont) {
  platform::HarfBuzzTextLayout layout("No Such Family For Orvane");
  EXPECT_FALSE(layout.fontName());
  EXPECT_EQ(layout.layout("😀").glyphCount, 0u);
}

}  // namespace
}  // namespace orvane

// The client text field, as the controller sees it.
#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvane::platform {

// The platform's "not found" location; the session protocol writes it as -1.
inline constexpr int64_t NSNotFound = std::numeric_limits<int64_t>::max();

struct TextRange {
  int64_t location = 0;
  int64_t length = 0;
  bool operator==(const TextRange&) const = default;
};

// Marking styles of the text service.
namespace MarkStyle {
inline constexpr int raw = 2;
inline constexpr int converted = 4;
inline constexpr int selectedConverted = 5;
}  // namespace MarkStyle

using TextAttributes = std::map<std::string, std::string>;

// One attributed stretch of marked text, positions in UTF-16 code units.
struct AttributedRun {
  int64_t start = 0;
  int64_t length = 0;
  int style = MarkStyle::raw;
  TextAttributes attributes;
  bool operator==(const AttributedRun&) const = default;
};

struct AttributedString {
  std::string text;
  std::vector<AttributedRun> runs;
};

class Client {
 public:
  virtual ~Client() = default;
  // Whether the object offers the text-input protocol; without it every
  // client call is skipped.
  virtual bool offersTextInput() const { return true; }
  virtual std::optional<std::string> bundleIdentifier() const = 0;
  virtual void setMarkedText(const AttributedString& text, TextRange selection, TextRange replacement) = 0;
  virtual void insertText(std::string_view text, TextRange replacement) = 0;
  virtual void selectInputMode(std::string_view modeIdentifier) = 0;
};

}  // namespace orvane::platform

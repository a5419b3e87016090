// The text field of the terminal front-end: what was committed, and the
// marked text the controller is showing with its caret.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/client.h"
#include "platform/key_event.h"

namespace orvane::term {

class TerminalClient final : public platform::Client {
 public:
  std::optional<std::string> bundleIdentifier() const override { return std::string(identifier); }
  void setMarkedText(const platform::AttributedString& text, platform::TextRange selection,
                     platform::TextRange replacement) override;
  void insertText(std::string_view text, platform::TextRange replacement) override;
  void selectInputMode(std::string_view modeIdentifier) override { selectedMode_ = modeIdentifier; }

  // A key the input method let through: what a plain text area does with it.
  void typeKey(const platform::KeyEvent& event);
  // Pasted text goes in as it is, like committed text.
  void paste(std::string_view text);

  const std::string& text() const { return text_; }
  const platform::AttributedString& markedText() const { return marked_; }
  int64_t caret() const { return caret_; }
  const std::string& selectedMode() const { return selectedMode_; }

  static constexpr std::string_view identifier = "com.orvane.term";

 private:
  std::string text_;
  platform::AttributedString marked_;
  int64_t caret_ = 0;
  std::string selectedMode_;
};

}  // namespace orvane::term

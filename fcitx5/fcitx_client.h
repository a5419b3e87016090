// An input context of Fcitx5 as the controller's client: marked text becomes
// the preedit (in the application when it draws one, else in the panel),
// inserted text a commit.
#pragma once

#include <fcitx-utils/textformatflags.h>
#include <fcitx/inputcontext.h>
#include <fcitx/text.h>

#include "platform/client.h"

namespace orvane::fcitx5 {

// The preedit for a marked text: one span per run, underlined, the focused
// clause highlighted too; the caret moved from UTF-16 units to bytes.
fcitx::Text preeditText(const platform::AttributedString& text, platform::TextRange selection);

class FcitxClient final : public platform::Client {
 public:
  explicit FcitxClient(fcitx::InputContext& inputContext) : inputContext_(inputContext) {}

  std::optional<std::string> bundleIdentifier() const override;
  void setMarkedText(const platform::AttributedString& text, platform::TextRange selection,
                     platform::TextRange replacement) override;
  void insertText(std::string_view text, platform::TextRange replacement) override;
  // The mode shows in the status area, which the engine keeps.
  void selectInputMode(std::string_view) override {}

  fcitx::InputContext& inputContext() const { return inputContext_; }
  // The context is being destroyed: text still goes out, but nothing may
  // ask Fcitx5 to redraw it later.
  void setClosing() { closing_ = true; }

 private:
  void showPreedit(const fcitx::Text& preedit);

  fcitx::InputContext& inputContext_;
  bool closing_ = false;
};

}  // namespace orvane::fcitx5

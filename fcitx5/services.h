// The pasteboard, the workspace and the About panel inside Fcitx5: its
// clipboard and notification addons, and the dictionary editor started
// detached from the Fcitx5 process.
#pragma once

#include <fcitx/instance.h>

#include <string>

#include "platform/services.h"

namespace orvane::fcitx5 {

// Copies to the clipboard addon when it is there (it serves X11 and Wayland).
class FcitxPasteboard final : public platform::Pasteboard {
 public:
  explicit FcitxPasteboard(fcitx::Instance& instance) : instance_(instance) {}
  void clearContents() override { contents_.clear(); }
  void setString(std::string_view text) override;
  const std::string& contents() const { return contents_; }

 private:
  fcitx::Instance& instance_;
  std::string contents_;
};

class FcitxWorkspace final : public platform::Workspace {
 public:
  void openApplication(const std::filesystem::path& path,
                       std::function<void(std::optional<std::string> error)> completion) override;
};

// A desktop notification with the name, the version and the start of the
// credits, the closest thing to an About panel a Fcitx5 engine has.
class FcitxAboutPanel final : public platform::AboutPanel {
 public:
  explicit FcitxAboutPanel(fcitx::Instance& instance) : instance_(instance) {}
  void show(const std::optional<std::string>& credits) override;
  const std::string& lastText() const { return lastText_; }

 private:
  fcitx::Instance& instance_;
  std::string lastText_;
};

}  // namespace orvane::fcitx5

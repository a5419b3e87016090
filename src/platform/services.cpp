#include "platform/services.h"

#include "platform/harfbuzz_text_layout.h"

namespace orvane::platform {
namespace {

class NullPasteboard final : public Pasteboard {
 public:
  void clearContents() override {}
  void setString(std::string_view) override {}
};

class NullWorkspace final : public Workspace {
 public:
  void openApplication(const std::filesystem::path&,
                       std::function<void(std::optional<std::string>)> completion) override {
    if (completion) completion("no workspace is available");
  }
};

class NullAboutPanel final : public AboutPanel {
 public:
  void show(const std::optional<std::string>&) override {}
};

Services& installed() {
  static Services s;
  return s;
}

}  // namespace

Pasteboard& pasteboard() {
  static NullPasteboard fallback;
  return installed().pasteboard ? *installed().pasteboard : fallback;
}

Workspace& workspace() {
  static NullWorkspace fallback;
  return installed().workspace ? *installed().workspace : fallback;
}

AboutPanel& aboutPanel() {
  static NullAboutPanel fallback;
  return installed().aboutPanel ? *installed().aboutPanel : fallback;
}

TextLayout& textLayout() {
  // Every desktop front-end lays out emoji the same way, so the default is the
  // real layout rather than a stand-in; without the font it supports nothing.
  static HarfBuzzTextLayout fallback;
  return installed().textLayout ? *installed().textLayout : fallback;
}

void install(const Services& services) {
  auto& s = installed();
  if (services.pasteboard) s.pasteboard = services.pasteboard;
  if (services.workspace) s.workspace = services.workspace;
  if (services.aboutPanel) s.aboutPanel = services.aboutPanel;
  if (services.textLayout) s.textLayout = services.textLayout;
}

}  // namespace orvane::platform

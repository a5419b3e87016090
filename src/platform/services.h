// Platform services the core calls besides the client and the panel. The
// program or front-end installs its implementations at start; until then the
// accessors answer with stand-ins that do nothing, except the text layout,
// whose default is the real one (HarfBuzz with the colour emoji font).
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace orvane::platform {

class Pasteboard {
 public:
  virtual ~Pasteboard() = default;
  virtual void clearContents() = 0;
  virtual void setString(std::string_view text) = 0;
};

class Workspace {
 public:
  virtual ~Workspace() = default;
  // Opens the application at path; the completion gets an error description
  // on failure, and may run on another thread.
  virtual void openApplication(const std::filesystem::path& path,
                               std::function<void(std::optional<std::string> error)> completion) = 0;
};

class AboutPanel {
 public:
  virtual ~AboutPanel() = default;
  virtual void activateApplication() {}
  virtual void show(const std::optional<std::string>& credits) = 0;
};

// Lays out one line of text in a named font: glyph count and the font the
// first glyph run was drawn with.
struct TextLayoutResult {
  std::size_t glyphCount = 0;
  std::optional<std::string> firstRunFontName;
};
class TextLayout {
 public:
  virtual ~TextLayout() = default;
  virtual TextLayoutResult layout(std::string_view text) = 0;
  // The name the layout reports when the requested font itself was used;
  // nullopt when that font is not installed.
  virtual std::optional<std::string> fontName() const = 0;
};

class InputSourceRegistry {
 public:
  virtual ~InputSourceRegistry() = default;
  virtual int32_t registerInputSource(const std::filesystem::path& bundleURL) = 0;
};

struct Services {
  Pasteboard* pasteboard = nullptr;
  Workspace* workspace = nullptr;
  AboutPanel* aboutPanel = nullptr;
  TextLayout* textLayout = nullptr;
};

// The installed services; missing ones are replaced by do-nothing stand-ins.
Pasteboard& pasteboard();
Workspace& workspace();
AboutPanel& aboutPanel();
TextLayout& textLayout();
void install(const Services& services);

}  // namespace orvane::platform

// The application bundle: a directory laid out as Contents/Info.plist,
// Contents/MacOS/<executable>, Contents/Resources. The main bundle is found
// from the executable's place, or from ORVANE_BUNDLE when that is set.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace orvane::platform {

class Bundle {
 public:
  explicit Bundle(std::filesystem::path url) : url_(std::move(url)) {}

  static const Bundle& main();
  // A front-end loaded into another program (the Fcitx5 addon) has no
  // executable of its own to find the bundle from, so it names the bundle
  // before the first use of main(); ORVANE_BUNDLE still wins.
  static void setMainBundleURL(std::filesystem::path url);

  const std::filesystem::path& bundleURL() const { return url_; }
  std::filesystem::path resourceURL() const { return url_ / "Contents" / "Resources"; }
  std::filesystem::path infoPlistURL() const { return url_ / "Contents" / "Info.plist"; }
  // The resource name.ext, when it exists.
  std::optional<std::filesystem::path> pathForResource(std::string_view name, std::string_view extension) const;
  // CFBundleIdentifier of the property list.
  std::optional<std::string> identifier() const;
  // A string value of the property list; nullopt when absent or not a string.
  std::optional<std::string> infoString(std::string_view key) const;
  // Whether the key is present at all, whatever its type.
  bool hasInfoKey(std::string_view key) const;

 private:
  std::filesystem::path url_;
};

// Where the executable running now lives.
std::filesystem::path executablePath();

}  // namespace orvane::platform

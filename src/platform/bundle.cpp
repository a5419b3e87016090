#include "platform/bundle.h"

#include <plist/plist.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <system_error>

namespace orvane::platform {
namespace {

using PlistPtr = std::unique_ptr<std::remove_pointer_t<plist_t>, decltype(&plist_free)>;

PlistPtr readPlist(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return PlistPtr(nullptr, &plist_free);
  std::string data((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  plist_t root = nullptr;
  plist_from_memory(data.data(), static_cast<uint32_t>(data.size()), &root);
  return PlistPtr(root, &plist_free);
}

std::optional<std::filesystem::path>& namedMainBundle() {
  static std::optional<std::filesystem::path> url;
  return url;
}

std::filesystem::path findMainBundle() {
  if (const char* env = std::getenv("ORVANE_BUNDLE"); env && *env) return env;
  if (namedMainBundle()) return *namedMainBundle();
  auto exe = executablePath();
  auto dir = exe.parent_path();
  if (dir.filename() == "MacOS" && dir.parent_path().filename() == "Contents")
    return dir.parent_path().parent_path();
  // Tools installed in <prefix>/bin use <prefix>/lib/orvane's bundle; tools
  // built beside the bundle use it as their own.
  auto installed = dir.parent_path() / "lib" / "orvane" / "Orvane IME.app";
  std::error_code ec;
  if (dir.filename() == "bin" && std::filesystem::is_directory(installed, ec)) return installed;
  return dir.parent_path() / "Orvane IME.app";
}

}  // namespace

std::filesystem::path executablePath() {
  std::error_code ec;
  auto p = std::filesystem::read_symlink("/proc/self/exe", ec);
  return ec ? std::filesystem::path() : p;
}

void Bundle::setMainBundleURL(std::filesystem::path url) { namedMainBundle() = std::move(url); }

const Bundle& Bundle::main() {
  static const Bundle bundle(findMainBundle());
  return bundle;
}

std::optional<std::filesystem::path> Bundle::pathForResource(std::string_view name,
                                                             std::string_view extension) const {
  auto p = resourceURL() / (std::string(name) + "." + std::string(extension));
  std::error_code ec;
  if (!std::filesystem::is_regular_file(p, ec)) return std::nullopt;
  return p;
}

std::optional<std::string> Bundle::identifier() const { return infoString("CFBundleIdentifier"); }

std::optional<std::string> Bundle::infoString(std::string_view key) const {
  auto root = readPlist(infoPlistURL());
  if (!root || plist_get_node_type(root.get()) != PLIST_DICT) return std::nullopt;
  plist_t node = plist_dict_get_item(root.get(), std::string(key).c_str());
  if (!node || plist_get_node_type(node) != PLIST_STRING) return std::nullopt;
  char* value = nullptr;
  plist_get_string_val(node, &value);
  if (!value) return std::nullopt;
  std::string out(value);
  std::free(value);
  return out;
}

bool Bundle::hasInfoKey(std::string_view key) const {
  auto root = readPlist(infoPlistURL());
  if (!root || plist_get_node_type(root.get()) != PLIST_DICT) return false;
  return plist_dict_get_item(root.get(), std::string(key).c_str()) != nullptr;
}

}  // namespace orvane::platform

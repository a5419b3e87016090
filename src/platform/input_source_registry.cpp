#include "platform/input_source_registry.h"

#include <plist/plist.h>

#include <array>
#include <memory>
#include <string_view>
#include <system_error>

#include "platform/bundle.h"
#include "platform/file_system.h"

namespace orvane::platform {
namespace fs = std::filesystem;
namespace {

constexpr std::string_view controllerClass = "InputController";
constexpr std::array<std::string_view, 2> inputModes = {"com.orvane.inputmethod.OrvaneIME.Japanese",
                                                       "com.orvane.inputmethod.OrvaneIME.Roman"};

// Both input modes under ComponentInputModeDict / tsInputModeListKey, each a
// dictionary of its own, as the text input service reads them.
bool declaresInputModes(const fs::path& infoPlist) {
  auto data = readWholeFile(infoPlist);
  if (!data) return false;
  plist_t raw = nullptr;
  plist_from_memory(data->data(), static_cast<uint32_t>(data->size()), &raw);
  std::unique_ptr<std::remove_pointer_t<plist_t>, decltype(&plist_free)> root(raw, &plist_free);
  if (!root || plist_get_node_type(root.get()) != PLIST_DICT) return false;
  plist_t modes = plist_dict_get_item(root.get(), "ComponentInputModeDict");
  if (!modes || plist_get_node_type(modes) != PLIST_DICT) return false;
  plist_t list = plist_dict_get_item(modes, "tsInputModeListKey");
  if (!list || plist_get_node_type(list) != PLIST_DICT) return false;
  for (auto mode : inputModes) {
    plist_t entry = plist_dict_get_item(list, std::string(mode).c_str());
    if (!entry || plist_get_node_type(entry) != PLIST_DICT) return false;
  }
  return true;
}

}  // namespace

int32_t BundleInputSourceRegistry::registerInputSource(const fs::path& bundleURL) {
  Bundle bundle(bundleURL);
  std::error_code ec;
  if (!fs::is_regular_file(bundle.infoPlistURL(), ec)) return fileNotFound;
  if (!fs::is_regular_file(bundleURL / "Contents" / "MacOS" / "orvane", ec)) return fileNotFound;
  if (!fs::is_directory(bundle.resourceURL() / "Mozc", ec)) return fileNotFound;
  if (!bundle.infoString("InputMethodConnectionName")) return invalidParameter;
  if (bundle.infoString("InputMethodServerControllerClass") != controllerClass) return invalidParameter;
  if (!declaresInputModes(bundle.infoPlistURL())) return invalidParameter;
  return noErr;
}

}  // namespace orvane::platform

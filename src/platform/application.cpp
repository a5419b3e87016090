#include "platform/application.h"

#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "platform/bundle.h"
#include "platform/process.h"

namespace orvane::platform {
namespace fs = std::filesystem;

std::optional<fs::path> applicationExecutable(const fs::path& application) {
  std::error_code ec;
  auto folder = application / "Contents" / "MacOS";
  if (auto name = Bundle(application).infoString("CFBundleExecutable")) {
    auto named = folder / *name;
    if (fs::is_regular_file(named, ec)) return named;
  }
  std::optional<fs::path> only;
  for (auto it = fs::directory_iterator(folder, ec); !ec && it != fs::directory_iterator(); it.increment(ec)) {
    if (!it->is_regular_file(ec)) continue;
    if (only) return std::nullopt;
    only = it->path();
  }
  return only;
}

std::optional<std::string> launchApplication(const fs::path& application) {
  const std::string name = "The application \"" + application.filename().string() + "\"";
  std::error_code ec;
  if (!fs::is_directory(application, ec)) return name + " could not be found.";
  auto executable = applicationExecutable(application);
  if (!executable) return name + " has no executable.";
  if (::access(executable->c_str(), X_OK) != 0) {
    int reason = errno;
    return name + " cannot be run: " + std::error_code(reason, std::generic_category()).message();
  }
  if (auto failure = launchDetached(*executable)) return name + " cannot be run: " + *failure;
  return std::nullopt;
}

}  // namespace orvane::platform

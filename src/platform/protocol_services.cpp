#include "platform/protocol_services.h"

#include <unistd.h>

#include <system_error>

#include "platform/bundle.h"
#include "platform/process.h"

namespace orvane::platform {
namespace fs = std::filesystem;

void ProtocolPasteboard::setString(std::string_view text) {
  contents_ = std::string(text);
  writer_.write(Json{{"pasteboard", contents_}});
}

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

void ProtocolWorkspace::openApplication(const fs::path& path,
                                        std::function<void(std::optional<std::string>)> completion) {
  std::optional<std::string> error;
  const std::string name = "The application \"" + path.filename().string() + "\"";
  std::error_code ec;
  if (!fs::is_directory(path, ec)) {
    error = name + " could not be found.";
  } else if (auto executable = applicationExecutable(path); !executable) {
    error = name + " has no executable.";
  } else if (::access(executable->c_str(), X_OK) != 0) {
    int reason = errno;
    error = name + " cannot be run: " + std::error_code(reason, std::generic_category()).message();
  } else if (auto failure = launchDetached(*executable)) {
    error = name + " cannot be run: " + *failure;
  }
  if (!error) writer_.write(Json{{"open", path.string()}});
  if (completion) completion(error);
}

void ProtocolAboutPanel::show(const std::optional<std::string>& credits) {
  writer_.write(Json{{"about", Json{{"credits", credits ? Json(*credits) : Json(nullptr)}}}});
}

void ProtocolLogSink::write(std::string_view category, Log::Level level, std::string_view message) {
  const char* levelName = level == Log::Level::error ? "error" : "default";
  line_.assign("{\"log\":");
  bool valid = appendJSONString(line_, category);
  line_ += ",\"level\":\"";
  line_ += levelName;
  line_ += "\",\"message\":";
  valid = valid && appendJSONString(line_, message);
  line_ += '}';
  if (valid) {
    writer_.writeLine(line_);
  } else {
    writer_.write(Json{{"log", std::string(category)}, {"level", levelName}, {"message", std::string(message)}});
  }
}

}  // namespace orvane::platform

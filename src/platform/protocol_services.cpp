#include "platform/protocol_services.h"

namespace orvane::platform {
namespace fs = std::filesystem;

void ProtocolPasteboard::setString(std::string_view text) {
  contents_ = std::string(text);
  writer_.write(Json{{"pasteboard", contents_}});
}

void ProtocolWorkspace::openApplication(const fs::path& path,
                                        std::function<void(std::optional<std::string>)> completion) {
  auto error = launchApplication(path);
  if (!error) writer_.write(Json{{"open", path.string()}});
  if (completion) completion(error);
}

void ProtocolAboutPanel::show(const std::optional<std::string>& credits) {
  writer_.write(Json{{"about", Json{{"credits", credits ? Json(*credits) : Json(nullptr)}}}});
}

void ProtocolLogSink::write(std::string_view category, Log::Level level, std::string_view message) {
  writer_.write(Json{{"log", std::string(category)},
                     {"level", level == Log::Level::error ? "error" : "default"},
                     {"message", std::string(message)}});
}

}  // namespace orvane::platform

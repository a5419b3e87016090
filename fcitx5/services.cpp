#include "services.h"

#include <fcitx/addonmanager.h>

#include <clipboard_public.h>
#include <notifications_public.h>

#include "platform/application.h"
#include "platform/bundle.h"

namespace orvane::fcitx5 {
namespace {

constexpr std::string_view clientName = "Orvane IME";
constexpr std::size_t creditLinesShown = 6;
constexpr int32_t notificationTimeoutMs = 15000;

}  // namespace

void FcitxPasteboard::setString(std::string_view text) {
  contents_ = std::string(text);
  if (auto* clipboard = instance_.addonManager().addon("clipboard", true))
    clipboard->call<fcitx::IClipboard::setClipboard>(std::string(clientName), contents_);
}

void FcitxWorkspace::openApplication(const std::filesystem::path& path,
                                     std::function<void(std::optional<std::string>)> completion) {
  auto error = platform::launchApplication(path);
  if (completion) completion(std::move(error));
}

void FcitxAboutPanel::show(const std::optional<std::string>& credits) {
  const auto& bundle = platform::Bundle::main();
  std::string body = bundle.infoString("CFBundleName").value_or(std::string(clientName)) + " " +
                     bundle.infoString("CFBundleShortVersionString").value_or("");
  if (credits) {
    std::size_t start = 0;
    for (std::size_t line = 0; line < creditLinesShown && start < credits->size(); ++line) {
      auto end = credits->find('\n', start);
      if (end == std::string::npos) end = credits->size();
      body += "\n" + credits->substr(start, end - start);
      start = end + 1;
    }
  }
  lastText_ = body;
  if (auto* notifications = instance_.addonManager().addon("notifications", true))
    notifications->call<fcitx::INotifications::sendNotification>(std::string(clientName), 0, "input-keyboard",
                                                                 std::string(clientName) + " について", body,
                                                                 std::vector<std::string>{}, notificationTimeoutMs,
                                                                 nullptr, nullptr);
}

}  // namespace orvane::fcitx5

// The platform services a terminal can offer: the clipboard through OSC 52,
// the About panel as an overlay, and programs run in the terminal itself.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/services.h"

namespace orvane::term {

std::string base64(std::string_view bytes);

// The escape sequence that asks the terminal to put text on the clipboard.
std::string clipboardSequence(std::string_view text);

class TerminalPasteboard final : public platform::Pasteboard {
 public:
  using Writer = std::function<void(std::string_view bytes)>;
  TerminalPasteboard(Writer write, std::function<void()> copied)
      : write_(std::move(write)), copied_(std::move(copied)) {}
  // OSC 52 has only "replace", so clearing waits for the next string.
  void clearContents() override {}
  void setString(std::string_view text) override;

 private:
  Writer write_;
  std::function<void()> copied_;
};

class TerminalAboutPanel final : public platform::AboutPanel {
 public:
  explicit TerminalAboutPanel(std::function<void(const std::optional<std::string>&)> show)
      : show_(std::move(show)) {}
  void show(const std::optional<std::string>& credits) override { show_(credits); }

 private:
  std::function<void(const std::optional<std::string>&)> show_;
};

// Runs an application bundle's executable in the terminal, the screen
// handed over while it runs. Without one, the user dictionary opens in the
// user's editor ($VISUAL, $EDITOR), which is what editing it means here.
class TerminalWorkspace final : public platform::Workspace {
 public:
  // Runs argv with the terminal; returns the exit status, -1 when it could not start.
  using Runner = std::function<int(const std::vector<std::string>& argv)>;
  // failed hears every error before the completion does, to show it.
  TerminalWorkspace(Runner run, std::filesystem::path fallbackDocument,
                    std::function<void(const std::string&)> failed = {})
      : run_(std::move(run)), fallbackDocument_(std::move(fallbackDocument)), failed_(std::move(failed)) {}
  void openApplication(const std::filesystem::path& path,
                       std::function<void(std::optional<std::string> error)> completion) override;

  // The program inside a bundle (Contents/MacOS/<name>), or the path itself
  // when it is an executable file.
  static std::optional<std::filesystem::path> executableIn(const std::filesystem::path& path);

 private:
  Runner run_;
  std::filesystem::path fallbackDocument_;
  std::function<void(const std::string&)> failed_;
};

}  // namespace orvane::term

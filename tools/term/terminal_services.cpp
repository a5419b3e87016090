#include "terminal_services.h"

#include "dictionary_editor.h"

#include <unistd.h>

#include <cstdlib>
#include <system_error>

namespace orvane::term {

std::string base64(std::string_view bytes) {
  static constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  std::size_t i = 0;
  for (; i + 3 <= bytes.size(); i += 3) {
    uint32_t v = static_cast<uint8_t>(bytes[i]) << 16 | static_cast<uint8_t>(bytes[i + 1]) << 8 |
                 static_cast<uint8_t>(bytes[i + 2]);
    out += alphabet[v >> 18];
    out += alphabet[(v >> 12) & 63];
    out += alphabet[(v >> 6) & 63];
    out += alphabet[v & 63];
  }
  if (std::size_t rest = bytes.size() - i; rest > 0) {
    uint32_t v = static_cast<uint8_t>(bytes[i]) << 16;
    if (rest == 2) v |= static_cast<uint8_t>(bytes[i + 1]) << 8;
    out += alphabet[v >> 18];
    out += alphabet[(v >> 12) & 63];
    out += rest == 2 ? alphabet[(v >> 6) & 63] : '=';
    out += '=';
  }
  return out;
}

std::string clipboardSequence(std::string_view text) { return "\x1b]52;c;" + base64(text) + "\x07"; }

void TerminalPasteboard::setString(std::string_view text) {
  write_(clipboardSequence(text));
  if (copied_) copied_();
}

std::optional<std::filesystem::path> TerminalWorkspace::executableIn(const std::filesystem::path& path) {
  namespace fs = std::filesystem;
  std::error_code ec;
  auto isExecutableFile = [&](const fs::path& p) {
    return fs::is_regular_file(p, ec) && ::access(p.c_str(), X_OK) == 0;
  };
  if (isExecutableFile(path)) return path;
  auto programs = path / "Contents" / "MacOS";
  // The bundle's own name first, then whatever single program it carries.
  auto named = programs / path.stem();
  if (isExecutableFile(named)) return named;
  for (const auto& entry : fs::directory_iterator(programs, ec))
    if (isExecutableFile(entry.path())) return entry.path();
  return std::nullopt;
}

void TerminalWorkspace::openApplication(const std::filesystem::path& path,
                                        std::function<void(std::optional<std::string>)> completion) {
  auto report = [&](std::optional<std::string> error) {
    if (error && failed_) failed_(*error);
    if (completion) completion(std::move(error));
  };
  if (auto program = executableIn(path)) {
    int status = run_({program->string()});
    report(status < 0 ? std::optional<std::string>("The application “" + path.filename().string() +
                                                   "” could not be started.")
                      : std::nullopt);
    return;
  }
  const auto environment = [](const char* name) -> std::optional<std::string> {
    const char* value = std::getenv(name);
    return value ? std::optional<std::string>(value) : std::nullopt;
  };
  if (auto command = fallbackDocument_.empty() ? std::nullopt
                                               : dictionary_editor::userEditorCommand(fallbackDocument_, environment)) {
    if (run_(*command) >= 0) {
      report(std::nullopt);
      return;
    }
  }
  report("The application “" + path.filename().string() + "” can’t be opened because it is not there.");
}

}  // namespace orvane::term

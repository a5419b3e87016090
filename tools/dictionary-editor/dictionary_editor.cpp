#include "dictionary_editor.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

#include "platform/file_system.h"

extern char** environ;

namespace orvane::dictionary_editor {
namespace fs = std::filesystem;

namespace {

// What a shell's exit status says about the editor it was asked to start.
std::string describeStatus(const std::string& program, int status) {
  if (status == 127) return "the editor \"" + program + "\" was not found";
  if (status == 126) return "the editor \"" + program + "\" cannot be run";
  return "the editor \"" + program + "\" ended with status " + std::to_string(status);
}

}  // namespace

fs::path mainBundle(const fs::path& bundle) {
  auto helpers = bundle.parent_path();
  if (helpers.filename() == "Helpers" && helpers.parent_path().filename() == "Contents")
    return helpers.parent_path().parent_path();
  return bundle;
}

std::optional<std::string> ensureUserDictionary(const fs::path& userDictionary,
                                                const std::optional<fs::path>& defaultDictionary) {
  std::error_code ec;
  if (fs::exists(userDictionary, ec)) return std::nullopt;
  std::string error;
  if (!platform::createDirectories(userDictionary.parent_path(), &error)) return error;
  std::string content;
  if (defaultDictionary) {
    auto read = platform::readWholeFile(*defaultDictionary, &error);
    if (!read) return defaultDictionary->string() + ": " + error;
    content = std::move(*read);
  }
  // O_EXCL: a dictionary that appeared since the check above is left alone.
  int fd = ::open(userDictionary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
  if (fd < 0) {
    if (errno == EEXIST) return std::nullopt;
    return userDictionary.string() + ": " + std::strerror(errno);
  }
  std::string_view rest = content;
  while (!rest.empty()) {
    ssize_t n = ::write(fd, rest.data(), rest.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      int reason = errno;
      ::close(fd);
      return userDictionary.string() + ": " + std::strerror(reason);
    }
    rest.remove_prefix(static_cast<std::size_t>(n));
  }
  if (::close(fd) != 0) return userDictionary.string() + ": " + std::strerror(errno);
  return std::nullopt;
}

std::optional<std::vector<std::string>> userEditorCommand(const fs::path& file, const Environment& environment) {
  for (const char* name : {"VISUAL", "EDITOR"}) {
    if (auto editor = environment(name); editor && !editor->empty())
      return std::vector<std::string>{"/bin/sh", "-c", *editor + " \"$1\"", *editor, file.string()};
  }
  return std::nullopt;
}

std::vector<std::string> editorCommand(const fs::path& file, const Environment& environment) {
  if (auto command = userEditorCommand(file, environment)) return *command;
  return {"xdg-open", file.string()};
}

std::optional<std::string> runEditor(const std::vector<std::string>& command) {
  std::vector<char*> argv;
  for (const auto& a : command) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  pid_t pid = -1;
  // The shell's $0 names the editor; xdg-open is itself the program.
  const std::string program = command.size() > 3 && command[0] == "/bin/sh" ? command[3] : command[0];
  if (int rc = ::posix_spawnp(&pid, command[0].c_str(), nullptr, nullptr, argv.data(), environ); rc != 0)
    return "\"" + program + "\" cannot be started: " + std::strerror(rc);
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) return "\"" + program + "\" was lost: " + std::strerror(errno);
  }
  if (WIFSIGNALED(status)) return "the editor \"" + program + "\" was stopped by signal " + std::to_string(WTERMSIG(status));
  if (WEXITSTATUS(status) != 0) return describeStatus(program, WEXITSTATUS(status));
  return std::nullopt;
}

}  // namespace orvane::dictionary_editor

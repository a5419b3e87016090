#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "mkdict.h"

namespace orvane::mkdict {
namespace {

// Fixed-size storage so that a signal handler can read it without allocating.
char building[4096] = "";

void writeFile(const fs::path& path, std::string_view content) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) throw SourceError("cannot create " + path.string() + ": " + std::strerror(errno));
  std::size_t written = 0;
  while (written < content.size()) {
    const ssize_t n = ::write(fd, content.data() + written, content.size() - written);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      const std::string reason = std::strerror(errno);
      ::close(fd);
      throw SourceError("cannot write " + path.string() + ": " + reason);
    }
    written += static_cast<std::size_t>(n);
  }
  // The directory is swapped in right after: its files must be on disk first.
  if (::fsync(fd) != 0 || ::close(fd) != 0)
    throw SourceError("cannot finish " + path.string() + ": " + std::strerror(errno));
}

bool isWordList(const std::string& name) {
  return name == "mozc.tsv" || (name.rfind("ut-", 0) == 0 && name.size() > 7 &&
                                name.compare(name.size() - 4, 4, ".tsv") == 0);
}

std::string sibling(const fs::path& target, std::string_view kind, long pid) {
  return "." + target.filename().string() + "." + std::string(kind) + "-" + std::to_string(pid);
}

}  // namespace

std::string wordLines(const std::vector<WordEntry>& words, std::string_view list) {
  std::vector<std::string> lines;
  lines.reserve(words.size());
  for (const auto& w : words)
    if (w.list == list)
      lines.push_back(w.reading + '\t' + std::to_string(w.leftID) + '\t' + std::to_string(w.rightID) + '\t' +
                    std::to_string(w.cost) + '\t' + w.surface);
  // std::string compares as unsigned bytes (char_traits<char>::lt), the
  // order the input method's binary search expects.
  std::sort(lines.begin(), lines.end());
  lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
  std::string out;
  std::size_t total = 0;
  for (const auto& line : lines) total += line.size() + 1;
  out.reserve(total);
  for (const auto& line : lines) {
    out += line;
    out += '\n';
  }
  return out;
}

std::optional<std::size_t> firstUnsortedLine(std::string_view content) {
  std::string_view previous;
  std::size_t number = 0;
  std::size_t start = 0;
  while (start < content.size()) {
    std::size_t end = content.find('\n', start);
    if (end == std::string_view::npos) end = content.size();
    std::string_view line = content.substr(start, end - start);
    ++number;
    if (number > 1 && line < previous) return number;
    previous = line;
    start = end + 1;
  }
  return std::nullopt;
}

const char* buildingDirectory() { return building; }

void removeStaleBuilds(const fs::path& target) {
  const fs::path parent = target.parent_path().empty() ? fs::path(".") : target.parent_path();
  std::error_code error;
  if (!fs::is_directory(parent, error)) return;
  const std::string stem = "." + target.filename().string() + ".";
  for (const auto& entry : fs::directory_iterator(parent, error)) {
    const std::string name = entry.path().filename().string();
    if (name.rfind(stem, 0) != 0) continue;
    const std::string rest = name.substr(stem.size());
    const auto dash = rest.rfind('-');
    if (dash == std::string::npos) continue;
    const std::string kind = rest.substr(0, dash);
    const auto pid = parseInt(rest.substr(dash + 1));
    if ((kind != "partial" && kind != "old") || !pid) continue;
    // A build still running in another process keeps its directory.
    if (*pid != getpid() && ::kill(static_cast<pid_t>(*pid), 0) == 0) continue;
    fs::remove_all(entry.path(), error);
  }
}

void writeDirectory(const fs::path& target, const std::map<std::string, std::string>& files) {
  const fs::path parent = target.parent_path().empty() ? fs::path(".") : target.parent_path();
  fs::create_directories(parent);
  removeStaleBuilds(target);
  const fs::path partial = parent / sibling(target, "partial", getpid());
  fs::remove_all(partial);
  fs::create_directory(partial);
  std::snprintf(building, sizeof building, "%s", partial.c_str());
  try {
    for (const auto& [name, content] : files) {
      writeFile(partial / name, content);
      if (!isWordList(name)) continue;
      // Checked on what reached the disk, not on the string we meant to write.
      if (auto line = firstUnsortedLine(readWhole(partial / name)))
        throw SourceError(name + " is not sorted by bytes at line " + std::to_string(*line));
    }
    if (fs::exists(target)) {
      // Exchange in one step where the file system allows it, so that a
      // running input method always finds a complete directory.
      if (::renameat2(AT_FDCWD, partial.c_str(), AT_FDCWD, target.c_str(), RENAME_EXCHANGE) == 0) {
        fs::remove_all(partial);
      } else {
        const fs::path old = parent / sibling(target, "old", getpid());
        fs::rename(target, old);
        fs::rename(partial, target);
        fs::remove_all(old);
      }
    } else {
      fs::rename(partial, target);
    }
  } catch (...) {
    std::error_code ignored;
    fs::remove_all(partial, ignored);
    building[0] = '\0';
    throw;
  }
  building[0] = '\0';
}

}  // namespace orvane::mkdict

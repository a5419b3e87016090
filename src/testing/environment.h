// Test helpers: temporary directories, an isolated set of process-wide stores,
// and writers of small dictionary files.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvane::testing {

class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(std::string_view name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

void writeFile(const std::filesystem::path& path, std::string_view content);
std::string readFile(const std::filesystem::path& path);
// Moves the file's modification date by the given seconds, so that a reader
// whose check compares dates sees a change even within one clock tick.
void touch(const std::filesystem::path& path, int secondsForward = 2);

// A word-list line: reading, left id, right id, cost, surface.
struct WordLine {
  std::string reading;
  int64_t leftID;
  int64_t rightID;
  int64_t cost;
  std::string surface;
};

// Every process-wide store pointed at fresh places under one temporary
// directory: "user" (the user data directory), "mozc" (the data directory),
// the default user dictionary absent unless given. The clock is fixed.
class Environment {
 public:
  explicit Environment(int64_t now = 1'700'000'000,
                       std::optional<std::string> defaultUserDictionary = std::nullopt);
  ~Environment();
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

  std::filesystem::path userDirectory() const { return root_.path() / "user"; }
  std::filesystem::path mozcDirectory() const { return root_.path() / "mozc"; }
  const std::filesystem::path& root() const { return root_.path(); }
  void setNow(int64_t now);

  // mozc.tsv (or another word list), sorted by the bytes of whole lines.
  void writeWords(const std::vector<WordLine>& words, std::string_view fileName = "mozc.tsv") const;
  // connection.bin of size n with every cost `fill`, then the given cells.
  void writeConnection(int64_t n, int16_t fill,
                       const std::map<std::pair<int64_t, int64_t>, int16_t>& cells = {}) const;
  // id.def lines "id name".
  void writeParts(const std::vector<std::pair<int64_t, std::string>>& parts) const;
  void writeEmoji(std::string_view content) const;
  void writeSymbols(std::string_view content) const;
  void writeUserDictionary(std::string_view content) const;

 private:
  TempDir root_;
};

}  // namespace orvane::testing

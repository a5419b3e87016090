#include "testing/environment.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>

#include "dictionary/kana_dictionary.h"
#include "learning/learning.h"
#include "learning/segmentation.h"
#include "platform/clock.h"

namespace orvane::testing {
namespace fs = std::filesystem;

TempDir::TempDir() {
  std::random_device rd;
  auto base = fs::temp_directory_path();
  for (int attempt = 0; attempt < 100; ++attempt) {
    auto candidate = base / ("orvane-test-" + std::to_string(rd()) + std::to_string(rd()));
    std::error_code ec;
    if (fs::create_directory(candidate, ec)) {
      path_ = candidate;
      return;
    }
  }
  throw std::runtime_error("cannot create a temporary directory");
}

TempDir::~TempDir() {
  std::error_code ec;
  // Tests may leave read-only directories behind; give them back first.
  fs::permissions(path_, fs::perms::owner_all, fs::perm_options::add, ec);
  for (auto it = fs::recursive_directory_iterator(path_, ec); !ec && it != fs::recursive_directory_iterator();
       it.increment(ec)) {
    fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ec);
  }
  fs::remove_all(path_, ec);
}

void writeFile(const fs::path& path, std::string_view content) {
  fs::create_directories(path.parent_path());
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(content.data(), static_cast<std::streamsize>(content.size()));
  if (!out) throw std::runtime_error("cannot write " + path.string());
}

std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

void touch(const fs::path& path, int secondsForward) {
  std::error_code ec;
  auto t = fs::last_write_time(path, ec);
  if (ec) return;
  fs::last_write_time(path, t + std::chrono::seconds(secondsForward), ec);
}

Environment::Environment(int64_t now, std::optional<std::string> defaultUserDictionary) {
  platform::setFixedTime(now);
  fs::create_directories(mozcDirectory());
  std::optional<fs::path> defaultPath;
  if (defaultUserDictionary) {
    defaultPath = root_.path() / "bundle" / "dictionary.txt";
    writeFile(*defaultPath, *defaultUserDictionary);
  }
  KanaDictionary::resetForTesting(userDirectory(), mozcDirectory(), defaultPath);
  Learning::resetForTesting();
  Segmentation::resetForTesting();
}

Environment::~Environment() { platform::setFixedTime(std::nullopt); }

void Environment::setNow(int64_t now) { platform::setFixedTime(now); }

void Environment::writeWords(const std::vector<WordLine>& words, std::string_view fileName) const {
  std::vector<std::string> lines;
  for (const auto& w : words) {
    lines.push_back(w.reading + "\t" + std::to_string(w.leftID) + "\t" + std::to_string(w.rightID) + "\t" +
                    std::to_string(w.cost) + "\t" + w.surface);
  }
  std::sort(lines.begin(), lines.end());  // std::string compares bytes as unsigned char
  std::string content;
  for (const auto& l : lines) content += l + "\n";
  writeFile(mozcDirectory() / fileName, content);
}

void Environment::writeConnection(int64_t n, int16_t fill,
                                  const std::map<std::pair<int64_t, int64_t>, int16_t>& cells) const {
  std::string content;
  auto put16 = [&](uint16_t v) {
    content.push_back(static_cast<char>(v & 0xFF));
    content.push_back(static_cast<char>(v >> 8));
  };
  auto un = static_cast<uint32_t>(n);
  for (int i = 0; i < 4; ++i) content.push_back(static_cast<char>((un >> (8 * i)) & 0xFF));
  for (int64_t from = 0; from < n; ++from) {
    for (int64_t to = 0; to < n; ++to) {
      auto it = cells.find({from, to});
      put16(static_cast<uint16_t>(it == cells.end() ? fill : it->second));
    }
  }
  writeFile(mozcDirectory() / "connection.bin", content);
}

void Environment::writeParts(const std::vector<std::pair<int64_t, std::string>>& parts) const {
  std::string content;
  for (const auto& [id, name] : parts) content += std::to_string(id) + " " + name + "\n";
  writeFile(mozcDirectory() / "id.def", content);
}

void Environment::writeEmoji(std::string_view content) const { writeFile(mozcDirectory() / "emoji.tsv", content); }
void Environment::writeSymbols(std::string_view content) const {
  writeFile(mozcDirectory() / "symbol.tsv", content);
}
void Environment::writeUserDictionary(std::string_view content) const {
  writeFile(userDirectory() / "dictionary.txt", content);
}

}  // namespace orvane::testing

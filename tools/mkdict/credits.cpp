#include "mkdict.h"

namespace orvane::mkdict {

std::string creditsText(const std::vector<Credit>& credits) {
  const std::string rule(72, '=');
  std::string out =
      "Orvane IME dictionary data\n\n"
      "The files in this directory were made by orvane-mkdict from the sources\n"
      "below. Each is listed with its version, what was taken from it and its\n"
      "licence.\n";
  for (const auto& credit : credits) {
    out += "\n" + rule + "\n" + credit.name;
    if (!credit.version.empty()) out += " (" + credit.version + ")";
    out += "\nUsed for: " + credit.use + "\n" + std::string(72, '-') + "\n";
    out += credit.licence;
    if (!out.empty() && out.back() != '\n') out += '\n';
  }
  return out;
}

std::string findLicence(const std::vector<fs::path>& candidates, std::string_view package) {
  for (const auto& candidate : candidates) {
    std::error_code error;
    if (fs::is_regular_file(candidate, error)) return readWhole(candidate);
  }
  std::string tried;
  for (const auto& candidate : candidates) tried += " " + candidate.string();
  throw SourceError("no licence text found for " + std::string(package) + " (tried" + tried +
                    "); install the Debian package " + std::string(package));
}

}  // namespace orvane::mkdict

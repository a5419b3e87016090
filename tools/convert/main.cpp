#include <iostream>
#include <string>
#include <vector>

#include "convert_tool.h"

int main(int argc, char** argv) {
  using namespace orvane::convert_tool;
  std::ios::sync_with_stdio(false);

  auto parsed = parseArguments(std::vector<std::string>(argv + 1, argv + argc));
  if (!parsed.options) {
    std::cerr << "orvane-convert: " << parsed.error << "\nTry 'orvane-convert --help'.\n";
    return 2;
  }
  const Options& options = *parsed.options;
  if (options.help) {
    std::cout << usage();
    return 0;
  }
  try {
    StoreSetup setup(options);
    return run(options, std::cin, std::cout, std::cerr) > 0 ? 1 : 0;
  } catch (const std::exception& e) {
    std::cerr << "orvane-convert: " << e.what() << '\n';
    return 2;
  }
}

// The "--register" path of the entry point: registers the bundle as an input
// source and says how that went. It uses no logger and makes no connection.
#pragma once

#include <filesystem>
#include <ostream>
#include <string_view>

#include "platform/services.h"

namespace orvane::app {

inline constexpr std::string_view registerOption = "--register";

// Whether any argument, the program path included, is exactly the option.
bool wantsRegistration(int argc, const char* const* argv);

// Registers the bundle and prints the status line; the exit status.
int registerBundle(platform::InputSourceRegistry& registry, const std::filesystem::path& bundleURL,
                   std::ostream& out);

}  // namespace orvane::app

// Applications laid out as bundles (the dictionary editor among them): the
// program inside one, and starting it detached from the front-end that asks.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace orvane::platform {

// The program inside an application bundle: Contents/MacOS/<CFBundleExecutable>,
// or the only file in Contents/MacOS when the property list names none.
std::optional<std::filesystem::path> applicationExecutable(const std::filesystem::path& application);

// Starts the application's program in a session of its own; a description
// of the failure when it is missing, has no program or cannot be run.
std::optional<std::string> launchApplication(const std::filesystem::path& application);

}  // namespace orvane::platform

// File-system operations the stores and readers need: modification dates,
// whole reads, and atomic replacement.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace orvane::platform {

// The content modification date, in nanoseconds since the epoch; nullopt
// when the file is missing or its date cannot be read. One stat(2) call.
using FileDate = std::optional<long long>;
FileDate modificationDate(const std::filesystem::path& path);

// Reads the whole file; on failure returns nullopt and sets error to the
// system's description.
std::optional<std::string> readWholeFile(const std::filesystem::path& path, std::string* error = nullptr);

// Writes a temporary file in the same directory, flushes it to disk and
// renames it over path, so that a reader or a crash sees the old file or the
// new one whole. On failure returns false with the system's description.
bool writeAtomically(const std::filesystem::path& path, std::string_view content, std::string* error = nullptr);

// Removes the temporary files that writeAtomically left beside path when its
// process was killed mid-save. Several processes share one data directory,
// so a temporary file goes only when the process that named it no longer
// runs, or when it is older than any save could take; the file itself and
// every other name are never touched. Returns how many were removed.
std::size_t removeLeftoverTemporaries(const std::filesystem::path& path);

// Creates the directory and its missing parents; an existing one is no error.
bool createDirectories(const std::filesystem::path& path, std::string* error = nullptr);

}  // namespace orvane::platform

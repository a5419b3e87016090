// The entry point's normal path: start-up in its fixed order, then serving
// clients over the session protocol until the input ends.
#pragma once

#include <istream>
#include <ostream>
#include <string_view>

namespace orvane::app {

inline constexpr std::string_view connectionNameKey = "InputMethodConnectionName";

// Starts the main bundle's input method and serves the given streams; the
// exit status. Once per process: what it installs keeps writing to `out`.
int startAndServe(std::istream& in, std::ostream& out);

}  // namespace orvane::app

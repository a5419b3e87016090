#pragma once

namespace orvane::platform {

// The thread that first asked is the main thread; the core runs on it alone.
bool isMainThread();
void assertMainThread();

}  // namespace orvane::platform

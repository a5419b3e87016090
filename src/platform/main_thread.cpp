#include "platform/main_thread.h"

#include <cassert>
#include <thread>

namespace orvane::platform {

bool isMainThread() {
  static const std::thread::id main = std::this_thread::get_id();
  return std::this_thread::get_id() == main;
}

void assertMainThread() {
  [[maybe_unused]] bool onMain = isMainThread();
  assert(onMain && "the candidate panel is used on the main thread only");
}

}  // namespace orvane::platform

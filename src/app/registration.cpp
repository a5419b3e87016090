#include "app/registration.h"

namespace orvane::app {

bool wantsRegistration(int argc, const char* const* argv) {
  for (int i = 0; i < argc; ++i)
    if (argv[i] && registerOption == argv[i]) return true;
  return false;
}

int registerBundle(platform::InputSourceRegistry& registry, const std::filesystem::path& bundleURL,
                   std::ostream& out) {
  int32_t status = registry.registerInputSource(bundleURL);
  out << "TISRegisterInputSource: " << status << '\n';
  out.flush();
  return status == 0 ? 0 : 1;
}

}  // namespace orvane::app

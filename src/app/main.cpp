#include <iostream>

#include "app/registration.h"
#include "app/startup.h"
#include "platform/bundle.h"
#include "platform/input_source_registry.h"

int main(int argc, char** argv) {
  using namespace orvane;
  if (app::wantsRegistration(argc, argv)) {
    platform::BundleInputSourceRegistry registry;
    return app::registerBundle(registry, platform::Bundle::main().bundleURL(), std::cout);
  }
  std::ios::sync_with_stdio(false);
  return app::startAndServe(std::cin, std::cout);
}

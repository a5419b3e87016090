// Registration of the bundle as an input source on this platform. There is no
// system-wide registry to write to, so registering means making sure that the
// bundle at the URL is one the session protocol can run: a complete input
// method bundle.
#pragma once

#include <cstdint>
#include <filesystem>

#include "platform/services.h"

namespace orvane::platform {

class BundleInputSourceRegistry final : public InputSourceRegistry {
 public:
  // The statuses keep the platform's meanings: a file that is not there,
  // and a property list that does not say what it must.
  static constexpr int32_t noErr = 0;
  static constexpr int32_t fileNotFound = -43;
  static constexpr int32_t invalidParameter = -50;

  int32_t registerInputSource(const std::filesystem::path& bundleURL) override;
};

}  // namespace orvane::platform

// Test helper: a build of the small fixture sources under tools/mkdict/testdata.
#pragma once

#include "mkdict.h"

namespace orvane::mkdict {

// IPADIC and CLDR fixtures into dir/Mozc; every other source off.
inline BuildOptions fixtureBuild(const fs::path& dir) {
  const fs::path testdata = fs::path(ORVANE_SOURCE_DIR) / "tools/mkdict/testdata";
  BuildOptions options;
  options.output = dir / "Mozc";
  options.ipadic = testdata / "ipadic";
  options.cldr = testdata / "cldr";
  options.skk.reset();
  options.edict.reset();
  options.skkExtras.clear();
  options.languageModel.reset();
  return options;
}

}  // namespace orvane::mkdict

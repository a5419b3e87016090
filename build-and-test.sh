#!/usr/bin/env bash
# Builds everything and runs every test, then builds the Debian package and
# checks it installed. Installs missing Debian packages first: as root also
# the packaging tools and the data sources the package build needs; without
# them the package check is skipped.
set -euo pipefail
cd "$(dirname "$0")"
if [ "$(id -u)" -eq 0 ]; then
  scripts/install-deps.sh --package
else
  scripts/install-deps.sh
fi
build=${ORVANE_BUILD_DIR:-build}
echo "== Configuring and building in $build/"
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORVANE_WERROR=ON >/dev/null
cmake --build "$build" -j "$(nproc)"
echo "== Running the tests"
ctest --test-dir "$build" --output-on-failure -j "$(nproc)"
# As root everything the check needs was installed above, so a missing piece
# is a fault to report rather than a reason to skip.
if [ "$(id -u)" -eq 0 ] ||
  { command -v dpkg-buildpackage >/dev/null && command -v lintian >/dev/null && dpkg-checkbuilddeps 2>/dev/null; }; then
  echo "== Checking the Debian package"
  scripts/package-check.sh
else
  echo "== The package check is skipped: its tools or Build-Depends are missing (scripts/install-deps.sh --package)"
fi

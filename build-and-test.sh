#!/usr/bin/env bash
# Builds everything and runs every test. Installs missing Debian packages first.
set -euo pipefail
cd "$(dirname "$0")"
scripts/install-deps.sh
build=${ORVANE_BUILD_DIR:-build}
echo "== Configuring and building in $build/"
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORVANE_WERROR=ON >/dev/null
cmake --build "$build" -j "$(nproc)"
echo "== Running the tests"
ctest --test-dir "$build" --output-on-failure -j "$(nproc)"

#!/usr/bin/env bash
# Builds everything (installing missing Debian packages and building the
# dictionary data when it is missing or older than its sources), then runs
# the input method: the terminal front-end when standard input is a
# terminal, otherwise the `orvane` program serving the session protocol on
# standard input and output. Progress goes to standard error, so that
# standard output carries only what the program writes.
#   ./build-and-run.sh           terminal front-end, or the service on a pipe
#   ./build-and-run.sh serve     always the service
set -euo pipefail
cd "$(dirname "$0")"
build=${ORVANE_BUILD_DIR:-build}
{
  scripts/install-deps.sh --data
  echo "== Configuring and building in $build/"
  cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
  cmake --build "$build" -j "$(nproc)"
  scripts/build-data.sh "$build"
} 1>&2

bundle="$build/Orvane IME.app"
if [ "${1:-}" != "serve" ] && [ -t 0 ]; then
  echo "== Starting orvane-term (Ctrl-D ends and writes the text to standard output)" >&2
  exec "$build/bin/orvane-term"
fi
echo "== Serving the session protocol on standard input and output" >&2
exec "$bundle/Contents/MacOS/orvane"

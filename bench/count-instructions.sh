#!/usr/bin/env bash
# Instructions the bundle's `orvane` executes, counted by callgrind, which
# unlike wall time does not move with the machine's load: per Space (the
# first conversion of a reading, answer written), per other request of the
# replay (keystroke, Escape, idle request), and for a start-up that answers
# one request and exits. The requests are protocol_bench's for the same
# options (--readings=FILE, --count=N).
#
# Each replay runs once and twice in one process, and the difference is
# one warm pass: start-up and everything made on first use (ICU objects,
# the emoji font) drop out. Needs valgrind.
#   bench/count-instructions.sh [BUILD_DIR] [protocol_bench options...]
set -euo pipefail
build=${1:-build}
shift || true
program="$build/Orvane IME.app/Contents/MacOS/orvane"
command -v valgrind >/dev/null || { echo "error: valgrind is not installed" >&2; exit 1; }
[ -x "$program" ] || { echo "error: no $program; build first" >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$build/bin/protocol_bench" --print-requests "$@" > "$work/all.jsonl"
grep -v '"code":49' "$work/all.jsonl" > "$work/others.jsonl" || true
spaces=$(grep -c '"code":49' "$work/all.jsonl" || true)
others=$(wc -l < "$work/others.jsonl")
[ "$spaces" -gt 0 ] || { echo "error: no readings to replay" >&2; exit 1; }

# Instructions of one run of the program on the given request files.
count() {
  local home="$work/home"
  rm -rf "$home"
  mkdir -p "$home"
  # The first launch installs the user dictionary; count a later one.
  echo '{"op":"recognizedEvents"}' | XDG_DATA_HOME="$home" "$program" > /dev/null
  cat "$@" | XDG_DATA_HOME="$home" ORVANE_NOW=1700000000 valgrind --tool=callgrind \
    --callgrind-out-file="$work/callgrind.out" "$program" 2>&1 > /dev/null |
    sed -n 's/.*Collected : \([0-9]*\).*/\1/p'
}

echo "replaying $spaces readings ($others other requests) under callgrind..." >&2
all1=$(count "$work/all.jsonl")
all2=$(count "$work/all.jsonl" "$work/all.jsonl")
others1=$(count "$work/others.jsonl")
others2=$(count "$work/others.jsonl" "$work/others.jsonl")
echo '{"op":"recognizedEvents"}' > "$work/idle.jsonl"
startup=$(count "$work/idle.jsonl")

perOther=$(( (others2 - others1) / others ))
perSpace=$(( ((all2 - all1) - (others2 - others1)) / spaces ))
echo "per Space: $perSpace instructions"
echo "per other request: $perOther instructions"
echo "start-up, one answer and exit: $startup instructions"

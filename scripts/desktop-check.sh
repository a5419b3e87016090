#!/usr/bin/env bash
# A desktop check a person can look at: Xvfb, Fcitx5 with the engine from
# the build tree, and a GTK text field (zenity) using Fcitx5's GTK input
# module. Types a sentence with xdotool, converts it, saves a screenshot with
# the preedit and the candidate window, commits, and compares the field's
# text with what orvane-convert gives for the same reading.
#   scripts/desktop-check.sh [BUILD_DIR] [SCREENSHOT.png]
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(realpath "${1:-build}")
shot=$(realpath -m "${2:-fcitx5/desktop-check.png}")
romaji=${ORVANE_CHECK_ROMAJI:-watashihanihongowobenkyoushiteimasu}

packages=(xvfb xdotool zenity fcitx5 fcitx5-frontend-gtk3 imagemagick fonts-noto-cjk dbus-bin x11-utils)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "== Installing ${missing[*]}" >&2
  DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
fi
if [ ! -f "$build/fcitx5/lib/orvane.so" ] || [ ! -f "$build/Orvane IME.app/Contents/Resources/Mozc/mozc.tsv" ]; then
  echo "error: build the engine and the data first (./build-and-run.sh, or cmake --build $build and scripts/build-data.sh $build)" >&2
  exit 1
fi

work=$(mktemp -d)
pids=()
cleanup() {
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  rm -rf "$work"
}
trap cleanup EXIT

# What the converter gives for the reading, with no learning: the expected text.
expected=$("$build/bin/orvane-convert" --romaji --no-learning "$romaji")

display=":$((90 + RANDOM % 100))"
Xvfb "$display" -screen 0 640x440x24 -nolisten tcp >"$work/xvfb.log" 2>&1 &
pids+=($!)
export DISPLAY=$display
for _ in $(seq 50); do xdpyinfo >/dev/null 2>&1 && break; sleep 0.1; done

# A private Fcitx5 profile: Orvane the only input method, active at once.
export XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/data
mkdir -p "$XDG_CONFIG_HOME/fcitx5/conf"
cp fcitx5/testing/profile "$XDG_CONFIG_HOME/fcitx5/profile"
cat >"$XDG_CONFIG_HOME/fcitx5/config" <<'CONFIG'
[Behavior]
ActiveByDefault=True
CONFIG
cat >"$XDG_CONFIG_HOME/fcitx5/conf/classicui.conf" <<'CLASSICUI'
Vertical Candidate List=True
Font="Noto Sans CJK JP 12"
CLASSICUI

export FCITX_ADDON_DIRS="$build/fcitx5/lib:/usr/lib/$(gcc -dumpmachine)/fcitx5"
export FCITX_DATA_DIRS="$build/fcitx5/share:/usr/share/fcitx5"
export GTK_IM_MODULE=fcitx

session() {
  fcitx5 --disable=all --enable=xcb,classicui,dbus,dbusfrontend,keyboard,orvane >"$work/fcitx5.log" 2>&1 &
  local fcitx=$!
  for _ in $(seq 100); do
    dbus-send --session --print-reply --dest=org.fcitx.Fcitx5 /controller org.fcitx.Fcitx.Controller1.State \
      >/dev/null 2>&1 && break
    sleep 0.1
  done
  zenity --entry --title="Orvane" --text="Orvane IME" --width=600 >"$work/field.txt" 2>"$work/zenity.log" &
  local field=$!
  local window=""
  for _ in $(seq 100); do
    window=$(xdotool search --name '^Orvane$' 2>/dev/null | head -1) && [ -n "$window" ] && break
    sleep 0.1
  done
  [ -n "$window" ] || { echo "error: the text field did not open" >&2; return 1; }
  xdotool windowmove "$window" 10 10 windowactivate --sync "$window" 2>/dev/null || xdotool windowfocus --sync "$window"
  sleep 1
  xdotool type --delay 40 "$romaji"
  xdotool key space
  sleep 1.5
  import -window root "$shot"
  xdotool key Return
  sleep 0.5
  xdotool key Return
  wait "$field" || true
  kill "$fcitx" 2>/dev/null || true
}
export -f session
export romaji shot work
dbus-run-session -- bash -c session

got=$(cat "$work/field.txt")
echo "typed:    $romaji"
echo "expected: $expected"
echo "field:    $got"
echo "screenshot: $shot"
if [ "$got" != "$expected" ]; then
  echo "error: the field does not hold the converted text; Fcitx5 said:" >&2
  tail -20 "$work/fcitx5.log" >&2
  exit 1
fi

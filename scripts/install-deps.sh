#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the dictionary data
# need, asking apt only for those that are missing.
#   scripts/install-deps.sh             build and tests
#   scripts/install-deps.sh --data      also the sources of the dictionary data
#   scripts/install-deps.sh --package   also the Debian packaging tools (and the data sources,
#                                       which the package build needs)
set -euo pipefail

packages=(
  cmake g++ make pkg-config git
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  libicu-dev libharfbuzz-dev libfreetype-dev libfontconfig-dev libplist-dev nlohmann-json3-dev libmarisa-dev libmecab-dev
  fonts-noto-color-emoji help2man
  fcitx5 fcitx5-modules fcitx5-modules-dev libfcitx5core-dev dbus-daemon dbus-bin
  # sd-bus and sd-event: the engine's exit hook and the DBus test's client.
  libsystemd-dev
)
want_data=
for option in "$@"; do
  case "$option" in
    --data) want_data=1 ;;
    --package)
      # Debian packaging, and what the check of the installed package runs.
      # dpkg-buildpackage also wants build-essential itself, which dpkg-dev
      # only recommends.
      packages+=(build-essential debhelper dpkg-dev fakeroot lintian libnet-dbus-perl)
      want_data=1 ;;
    *) echo "usage: scripts/install-deps.sh [--data] [--package]" >&2; exit 2 ;;
  esac
done
if [ -n "$want_data" ]; then
  # Dictionary sources for the data builder.
  packages+=(mecab-ipadic unicode-cldr-core skkdic skkdic-extra edict)
  # A word 3-gram language model whose sampled text, tagged by MeCab, gives
  # word and connection costs.
  packages+=(libkkc-data)
  # Japanese text and Debian's analyser for the word counts.
  packages+=(mecab mecab-ipadic-utf8 manpages-ja debian-reference-ja developers-reference-ja maint-guide-ja debian-faq-ja)
fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "== All needed Debian packages are installed."
  exit 0
fi

echo "== Installing missing Debian packages: ${missing[*]}"
if [ "$(id -u)" -ne 0 ]; then
  echo "error: installing packages needs root; run as root or install: ${missing[*]}" >&2
  exit 1
fi
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq --no-install-recommends "${missing[@]}"
echo "== Packages installed."

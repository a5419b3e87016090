#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the dictionary data
# need, asking apt only for those that are missing.
set -euo pipefail

packages=(
  cmake g++ make pkg-config git
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  libicu-dev libharfbuzz-dev libfreetype-dev libfontconfig-dev libplist-dev nlohmann-json3-dev libmarisa-dev libmecab-dev
  fonts-noto-color-emoji
)
if [ "${1:-}" = "--data" ]; then
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

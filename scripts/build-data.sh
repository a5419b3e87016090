#!/usr/bin/env bash
# Builds the dictionary data directory inside the bundle when it is missing
# or older than the builder or any of its sources. Installs nothing: the
# source packages come from scripts/install-deps.sh --data.
#   scripts/build-data.sh BUILD_DIR [orvane-mkdict options...]
set -euo pipefail
build=${1:?usage: scripts/build-data.sh BUILD_DIR [orvane-mkdict options...]}
shift
mkdict="$build/bin/orvane-mkdict"
out="$build/Orvane IME.app/Contents/Resources/Mozc"

if [ ! -x "$mkdict" ]; then
  echo "error: $mkdict is missing; build the target orvane-mkdict first" >&2
  exit 1
fi

# Word counts of Debian's Japanese documentation, made again when missing or
# when the documentation or the analyser changed.
counts="$build/corpus-counts.tsv"
corpus_sources=(/usr/share/man/ja /usr/share/debian-reference /usr/share/developers-reference/ja
  /usr/share/doc/maint-guide-ja /usr/share/doc/debian/FAQ /usr/lib/x86_64-linux-gnu/mecab/dic/ipadic
  /var/lib/mecab/dic/ipadic-utf8 "$(dirname "$0")/corpus-stats.sh")
corpus_existing=()
for s in "${corpus_sources[@]}"; do
  [ -e "$s" ] && corpus_existing+=("$s")
done
if command -v mecab >/dev/null; then
  if [ ! -s "$counts" ] || [ -n "$(find "${corpus_existing[@]}" -newer "$counts" -print -quit)" ]; then
    "$(dirname "$0")/corpus-stats.sh" "$counts"
  fi
fi
corpus_option=()
[ -s "$counts" ] && corpus_option=(--corpus "$counts")

# What the data is made from: a change to any of these rebuilds it.
sources=("$mkdict" "$counts"
  /usr/share/mecab/dic/ipadic
  /usr/share/unicode/cldr/common/annotations/ja.xml
  /usr/share/unicode/cldr/common/annotationsDerived/ja.xml
  /usr/share/skk/SKK-JISYO.L
  /usr/share/skk/SKK-JISYO.propernoun
  /usr/share/edict/edict
  /usr/lib/x86_64-linux-gnu/libkkc/models/sorted3/data.1gram.index
  /usr/lib/x86_64-linux-gnu/libkkc/models/sorted3/data.3gram
  /var/lib/mecab/dic/ipadic-utf8/sys.dic)
existing=()
for s in "${sources[@]}"; do
  [ -e "$s" ] && existing+=("$s")
done

# The directory only ever appears complete, so one of its files dates it.
stamp="$out/mozc.tsv"
if [ $# -eq 0 ] && [ -f "$stamp" ] && [ -f "$out/connection.bin" ] && [ -f "$out/id.def" ]; then
  if [ -z "$(find "${existing[@]}" -newer "$stamp" -print -quit)" ]; then
    echo "== Dictionary data is up to date in $out"
    exit 0
  fi
fi

echo "== Building the dictionary data in $out"
"$mkdict" --output "$out" "${corpus_option[@]}" "$@"

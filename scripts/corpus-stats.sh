#!/usr/bin/env bash
# Counts the words of the Japanese text that Debian's documentation packages
# carry (translated manual pages, the Debian reference, the developers'
# reference, the FAQ, the new maintainers' guide), as Debian's own morphological
# analyser MeCab with IPADIC splits it. The data builder uses the counts to
# tell which spelling of a word is the usual one in present-day writing.
#   scripts/corpus-stats.sh OUT.tsv
# Output, sorted by bytes: count TAB surface TAB reading (katakana) TAB
# the first six part-of-speech fields, comma-separated.
set -euo pipefail
out=${1:?usage: scripts/corpus-stats.sh OUT.tsv}
export LC_ALL=C.UTF-8

if ! command -v mecab >/dev/null; then
  echo "error: mecab is missing: install the Debian packages mecab and mecab-ipadic-utf8" >&2
  exit 1
fi

# Plain text of every source, one paragraph line at a time, in a fixed order.
text() {
  if [ -d /usr/share/man/ja ]; then
    find /usr/share/man/ja -type f -name '*.gz' | sort | while read -r page; do
      # Keep the words of roff requests that carry text; drop other requests
      # and the font and character escapes.
      zcat -- "$page" 2>/dev/null | sed -E \
        -e 's/^\.(B|I|BI|BR|IR|RB|RI|IB|SH|SS|TP|IP)[[:space:]]*//' \
        -e "/^[.']/d" \
        -e 's/\\f[BIRP1-4]|\\f\(..|\\\(..|\\[-&e]|\\s[-+]?[0-9]//g' \
        -e 's/"//g'
    done
  fi
  for f in /usr/share/debian-reference/debian-reference.ja.txt.gz /usr/share/doc/debian/FAQ/debian-faq.ja.txt.gz; do
    [ -f "$f" ] && zcat -- "$f"
  done
  if [ -d /usr/share/developers-reference/ja/_sources ]; then
    find /usr/share/developers-reference/ja/_sources -name '*.txt' | sort | xargs -r cat
  fi
  if [ -d /usr/share/doc/maint-guide-ja/html ]; then
    find /usr/share/doc/maint-guide-ja/html -name '*.ja.html' | sort | xargs -r cat |
      sed -E -e 's/<[^>]*>/\n/g' -e 's/&lt;/</g; s/&gt;/>/g; s/&amp;/\&/g; s/&nbsp;/ /g'
  fi
}

echo "== Counting words of Debian's Japanese documentation" >&2
tmp=$(mktemp "${out}.XXXXXX")
trap 'rm -f "$tmp"' EXIT
text | grep -P '[\p{Hiragana}\p{Katakana}\p{Han}]' | mecab |
  awk -F '\t' '$0 != "EOS" && NF == 2 {
      n = split($2, f, ",")
      if (n >= 8) count[$1 "\t" f[8] "\t" f[1] "," f[2] "," f[3] "," f[4] "," f[5] "," f[6]]++
    }
    END { for (k in count) print count[k] "\t" k }' |
  sort -t "$(printf '\t')" -k2,2 -k3,3 -k4,4 > "$tmp"
mv "$tmp" "$out"
trap - EXIT
echo "== $(wc -l < "$out") word forms counted in $out" >&2

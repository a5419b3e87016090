#!/usr/bin/env bash
# Measures a data setting on several draws of the language model's text.
# One draw is one sample of text: a difference of a reading or two on one
# seed is the draw's as often as the setting's, so a setting is judged on
# the mean over seeds.
#   scripts/quality-seeds.sh BUILD_DIR [orvane-mkdict options...]
# Environment: SEEDS (default "13 7 42 3"), JOBS (builds at a time, default 2).
# Prints one line per seed and their mean: top-1 of the development set,
# the regression readings, the everyday set, GNOME Help, the prose and the
# encyclopedic set, then the development set's character error rate.
set -euo pipefail
build=${1:?usage: scripts/quality-seeds.sh BUILD_DIR [orvane-mkdict options...]}
shift
here=$(cd "$(dirname "$0")/.." && pwd)
mkdict="$build/bin/orvane-mkdict"
evaluate="$build/bin/orvane-eval"
for tool in "$mkdict" "$evaluate"; do
  if [ ! -x "$tool" ]; then
    echo "error: $tool is missing; build the targets orvane-mkdict and orvane-eval first" >&2
    exit 1
  fi
done
sets=("$here/../shared/eval/mozc_evaluation.tsv" "$here/../shared/eval/mozc_regression.tsv"
  "$here/tools/eval/everyday.tsv" "$here/tools/eval/heldout.tsv" "$here/tools/eval/heldout-prose.tsv"
  "$here/tools/eval/nations.tsv")
for set in "${sets[@]}"; do
  if [ ! -f "$set" ]; then
    echo "error: $set is missing" >&2
    exit 1
  fi
done
corpus=()
[ -s "$build/corpus-counts.tsv" ] && corpus=(--corpus "$build/corpus-counts.tsv")

work=$(mktemp -d "${TMPDIR:-/tmp}/orvane-seeds-XXXXXX")
trap 'rm -rf "$work"' EXIT
one() {
  local seed=$1
  shift
  if ! "$mkdict" --output "$work/data-$seed" "${corpus[@]}" --lm-seed "$seed" --quiet "$@" \
    > "$work/build-$seed.log" 2>&1; then
    echo "error: the build with seed $seed failed:" >&2
    tail -5 "$work/build-$seed.log" >&2
    return 1
  fi
  "$evaluate" --data "$work/data-$seed" --tsv "${sets[@]}" > "$work/eval-$seed.tsv"
  rm -rf "$work/data-$seed"
}

seeds=(${SEEDS:-13 7 42 3})
jobs=${JOBS:-2}
running=0
for seed in "${seeds[@]}"; do
  one "$seed" "$@" &
  running=$((running + 1))
  if [ "$running" -ge "$jobs" ]; then
    wait -n
    running=$((running - 1))
  fi
done
failed=0
for _ in $(seq "$running"); do wait -n || failed=1; done
[ "$failed" = 0 ] || exit 1

printf '%-6s %-11s %-10s %-8s %-8s %-8s %-12s %s\n' seed development regression everyday help prose encyclopedic CER
for seed in "${seeds[@]}"; do
  [ -s "$work/eval-$seed.tsv" ] || { echo "error: no figures for seed $seed" >&2; exit 1; }
  awk -F'\t' -v seed="$seed" '
    { top[NR] = $3; if (NR == 1) cer = $4 }
    END { printf "%-6s %-11s %-10s %-8s %-8s %-8s %-12s %s\n", seed, top[1], top[2], top[3], top[4], top[5], top[6], cer }' \
    "$work/eval-$seed.tsv"
done | tee "$work/table"
awk '{ for (i = 2; i <= 8; ++i) sum[i] += $i; n++ }
  END { printf "%-6s %-11.4f %-10.4f %-8.4f %-8.4f %-8.4f %-12.4f %.4f\n", "mean", sum[2]/n, sum[3]/n, sum[4]/n, sum[5]/n, sum[6]/n, sum[7]/n, sum[8]/n }' \
  "$work/table"

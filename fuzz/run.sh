#!/usr/bin/env bash
# Runs every fuzz target for a while (make fuzz FUZZ_SECONDS=N):
#
#   fuzz/run.sh BUILD_DIR SECONDS [TARGET...]
#
# With TARGETs only those run. Three settings of the environment change a run:
# FUZZ_RUNS=N ends each target after N executions instead of after SECONDS
# (SECONDS 0 then means no time limit), FUZZ_MAX_LEN=N sets the longest input
# of every target, and several runs may go on at once on one build folder,
# since each makes its seeds in a folder of its own.
#
# The seeds are made afresh from the end-to-end cases and the corpus documents
# (../shared/corpus beside the source tree, when it is there). What each target
# learns stays in BUILD_DIR/fuzz/corpus/TARGET for the next run; a finding is
# saved in BUILD_DIR/fuzz/findings/TARGET/ and ends the run with status 1. To
# keep a finding as a regression test, copy it into fuzz/regressions/TARGET/.
set -euo pipefail

build=$(cd "$1" && pwd)
seconds=$2
root=$(cd "$(dirname "$0")/.." && pwd)
work=$build/fuzz
targets=("${@:3}")
if [ ${#targets[@]} -eq 0 ]; then
  targets=(parse_bytes parse_utf16 prescan_decode image_reader)
fi
seeds=$(mktemp -d "$work/seeds.XXXXXX")
trap 'rm -rf "$seeds"' EXIT

"$work/domparse_fuzz_seeds" --cases "$root/tests/e2e/cases" --corpus "$root/../shared/corpus" \
  --out "$seeds"

# Parses are cut at 4 KB, a size at which a run takes well under a millisecond
# even under the sanitizers, so that the targets reach tens of millions of
# runs; sizes are the stress tests' part. The decoders and the reader get more.
declare -A max_len=(
  [parse_bytes]=4096
  [parse_utf16]=4096
  [prescan_decode]=16384
  [image_reader]=65536
)
declare -A dictionary=(
  [parse_bytes]=markup.dict
  [parse_utf16]=markup_utf16.dict
  [prescan_decode]=prescan.dict
  [image_reader]=image.dict
)

limits=(-max_total_time="$seconds")
if [ -n "${FUZZ_RUNS:-}" ]; then
  limits+=(-runs="$FUZZ_RUNS")
fi

status=0
summary=()
for target in "${targets[@]}"; do
  if [ -z "${dictionary[$target]:-}" ]; then
    echo "fuzz/run.sh: no target $target" >&2
    exit 2
  fi
  length=${FUZZ_MAX_LEN:-${max_len[$target]}}
  corpus=$work/corpus/$target
  findings=$work/findings/$target
  log=$work/$target.log
  mkdir -p "$corpus" "$findings"
  echo "=== fuzz $target: ${limits[*]}, inputs up to $length bytes"
  # A parse that takes 10 s is a hang; 2 GB of memory is a leak or a blow-up.
  if ! "$work/domparse_fuzz_$target" "$corpus" "$seeds/$target" \
      -dict="$root/fuzz/dictionaries/${dictionary[$target]}" \
      "${limits[@]}" -max_len="$length" -timeout=10 -rss_limit_mb=2048 \
      -artifact_prefix="$findings/" -print_final_stats=1 >"$log" 2>&1; then
    status=1
    echo "*** $target: a finding, see $log and $findings/"
    tail -n 40 "$log"
  fi
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
  coverage=$(grep -o 'cov: [0-9]* ft: [0-9]*' "$log" | tail -n 1 || true)
  summary+=("$target: ${runs:-0} runs, ${coverage:-no coverage line}, corpus of $(ls "$corpus" | wc -l) inputs")
done

echo "=== fuzz summary"
printf '%s\n' "${summary[@]}"
exit $status

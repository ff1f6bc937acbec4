#!/bin/sh
# Runs every libFuzzer target of a fuzz build tree for a fixed time.
#   scripts/run-fuzz.sh BUILD_DIR SECONDS [JOBS]
# Each target starts from its committed seeds in fuzz/corpus/<target>/,
# which are only read; what it finds new goes into
# BUILD_DIR/fuzz-runs/corpus/<target>/, a scratch directory that later runs
# go on from. A finding (crash, leak, failed check, timeout, excess memory)
# is saved as BUILD_DIR/fuzz-runs/artifacts/<target>-*, and the run fails.
# JOBS targets run at the same time (default 2). Prints one line per target:
# its executions and seconds, as libFuzzer counted them.
set -eu
cd "$(dirname "$0")/.."

build=${1:?usage: run-fuzz.sh BUILD_DIR SECONDS [JOBS]}
seconds=${2:?usage: run-fuzz.sh BUILD_DIR SECONDS [JOBS]}
jobs=${3:-2}
runs="$build/fuzz-runs"
mkdir -p "$runs/artifacts" "$runs/logs"

targets=""
for program in "$build"/fuzz/*_fuzz; do
  [ -x "$program" ] && targets="$targets $(basename "$program")"
done
if [ -z "$targets" ]; then
  echo "run-fuzz: no fuzz targets in $build/fuzz" >&2
  exit 1
fi

# One target: its log and exit status end up under $runs/logs.
run_one() {
  name=$1
  mkdir -p "$runs/corpus/$name"
  seeds=""
  [ -d "fuzz/corpus/$name" ] && seeds="fuzz/corpus/$name"
  # A generous per-input limit: an input that takes this long is a hang.
  set +e
  # shellcheck disable=SC2086  # $seeds is empty or one directory
  "$build/fuzz/$name" -max_total_time="$seconds" -timeout=60 -rss_limit_mb=2560 \
    -print_final_stats=1 -artifact_prefix="$runs/artifacts/$name-" \
    "$runs/corpus/$name" $seeds >"$runs/logs/$name.log" 2>&1
  echo $? >"$runs/logs/$name.status"
  set -e
}

# Starts the targets, at most $jobs at a time, and waits for all of them.
running=0
for name in $targets; do
  run_one "$name" &
  running=$((running + 1))
  if [ "$running" -ge "$jobs" ]; then
    wait
    running=0
  fi
done
wait

failed=0
for name in $targets; do
  log="$runs/logs/$name.log"
  status=$(cat "$runs/logs/$name.status")
  executed=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
  elapsed=$(sed -n 's/^Done [0-9]* runs in \([0-9]*\) second.*/\1/p' "$log" | tail -n 1)
  if [ "$status" -eq 0 ]; then
    echo "fuzz $name: ${executed:-?} runs in ${elapsed:-?} s, no finding"
  else
    failed=$((failed + 1))
    echo "fuzz $name: FAILED (exit $status); log $log"
    tail -n 60 "$log"
    ls "$runs/artifacts/$name-"* 2>/dev/null || true
  fi
done
total=$(echo "$targets" | wc -w)
echo "fuzz: $((total - failed)) passed, $failed failed"
[ "$failed" -eq 0 ]

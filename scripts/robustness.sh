#!/usr/bin/env bash
# The short load, fault and soak runs (normal build, side by side: each waits on time-outs more
# than it computes) and the four-camera concurrent download under ThreadSanitizer. Every run makes
# its own private network namespace, so this needs root. The full figures in README.md come from
# the same program with the full counts (see "Robustness" there).
#   scripts/robustness.sh [BUILD-DIR [TSAN-BUILD-DIR]]     (default: build build-tsan)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
tsan=${2:-build-tsan}
jobs=$(nproc 2>/dev/null || echo 2)

cmake --build "$build" -j"$jobs" --target robustness_runs >/dev/null
runs="$build/bench/robustness_runs"
logs=$(mktemp -d)
trap 'rm -rf "$logs"' EXIT

names=(soak lossy vanish reboot moved)
commands=("soak --cycles 100 --failed-opens 50 --commands 10000"
          "lossy --frames 500"
          "faults vanish" "faults reboot" "faults moved")
pids=()
for i in "${!names[@]}"; do
  # shellcheck disable=SC2086  # the options are meant to split
  "$runs" ${commands[$i]} >"$logs/${names[$i]}.log" 2>&1 &
  pids+=($!)
done
status=0
for i in "${!names[@]}"; do
  if wait "${pids[$i]}"; then result=passed; else result=FAILED; status=1; fi
  echo "== robustness ${commands[$i]}: $result"
  sed 's/^/   /' "$logs/${names[$i]}.log"
done

cmake --build "$tsan" -j"$jobs" --target robustness_runs >/dev/null
echo "== robustness concurrent (ThreadSanitizer)"
if TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 "$tsan/bench/robustness_runs" concurrent --seconds 15 \
     >"$logs/concurrent.log" 2>&1; then
  result=passed
else
  result=FAILED
  status=1
fi
sed 's/^/   /' "$logs/concurrent.log"
echo "== robustness concurrent: $result"
exit $status

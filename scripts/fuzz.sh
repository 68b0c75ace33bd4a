#!/usr/bin/env bash
# Builds the libFuzzer targets (clang, ASan + UBSan, build-fuzz/) and runs each for a bounded time
# from its committed seed corpus, inside a private network namespace with only loopback, so that no
# datagram can leave the machine. Exits non-zero when a target crashes; the crashing input is kept
# under build-fuzz/crashes/.
#   scripts/fuzz.sh                 every target: port (replies, announcements, image trains) for
#                                   3 x ZP_FUZZ_SECONDS (default 15), records and border_xml for
#                                   ZP_FUZZ_SECONDS each
#   scripts/fuzz.sh records         only these targets
set -euo pipefail
cd "$(dirname "$0")/.."

targets=(port records border_xml)
[ $# -gt 0 ] && targets=("$@")
seconds=${ZP_FUZZ_SECONDS:-15}

if [ "$(id -u)" -ne 0 ]; then
  echo "*** fuzz: SKIPPED: the targets run in a private network namespace, which needs root" >&2
  [ -n "${ZP_REQUIRE_NETNS:-}" ] && exit 1
  exit 0
fi

jobs=$(nproc 2>/dev/null || echo 2)
CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=Debug -DZP_SANITIZE=address \
  -DZP_BUILD_FUZZ=ON -DZP_BUILD_BENCH=OFF -DZP_BUILD_EXAMPLES=OFF \
  -DCMAKE_C_FLAGS=-fsanitize=fuzzer-no-link -DCMAKE_CXX_FLAGS=-fsanitize=fuzzer-no-link >/dev/null
cmake --build build-fuzz -j"$jobs" --target zp_fuzz

mkdir -p build-fuzz/crashes
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0
for target in "${targets[@]}"; do
  mkdir -p "$work/$target"
  limit=$seconds
  [ "$target" = port ] && limit=$((3 * seconds))  # eleven kinds of input share this one
  # New inputs go to the scratch folder; the committed corpus is only read.
  if unshare -n sh -c 'ip link set lo up && exec "$@"' fuzz \
       env UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
       "build-fuzz/tests/fuzz/zp_fuzz_$target" -max_total_time="$limit" \
       -timeout=10 -print_final_stats=1 \
       -artifact_prefix="build-fuzz/crashes/$target-" "$work/$target" "tests/fuzz/corpus/$target" \
       >"$work/$target.log" 2>&1; then
    echo "fuzz: $target: $(grep -E '^Done ' "$work/$target.log"), $(grep -oE 'cov: [0-9]+' "$work/$target.log" | tail -1)"
  else
    status=1
    echo "fuzz: $target: FAILED" >&2
    grep -E 'ERROR|SUMMARY|^artifact_prefix|Test unit written' "$work/$target.log" >&2 || tail -20 "$work/$target.log" >&2
  fi
done
exit $status

#!/usr/bin/env bash
# Runs every test: the normal build, then the same suite built with
# AddressSanitizer + UndefinedBehaviorSanitizer, then with ThreadSanitizer, then runs the
# fuzz targets for a bounded time (scripts/fuzz.sh).
# Network tests run in private
# network namespaces; without root they are reported as skipped (set
# ZP_REQUIRE_NETNS=1 to make that a failure, as CI does).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh

jobs=$(nproc 2>/dev/null || echo 2)
status=0

echo "== tests: normal build"
ctest --test-dir build -j"$jobs" --output-on-failure || status=1

echo "== tests: AddressSanitizer + UndefinedBehaviorSanitizer"
cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DZP_SANITIZE=address \
      -DZP_BUILD_BENCH=OFF -DZP_BUILD_EXAMPLES=OFF >/dev/null
cmake --build build-asan -j"$jobs"
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir build-asan -j"$jobs" --output-on-failure || status=1

echo "== tests: ThreadSanitizer"
cmake -S . -B build-tsan -DCMAKE_BUILD_TYPE=Debug -DZP_SANITIZE=thread \
      -DZP_BUILD_BENCH=OFF -DZP_BUILD_EXAMPLES=OFF >/dev/null
cmake --build build-tsan -j"$jobs"
# The thread layer's own tests stop busy workers by asynchronous cancellation, which
# ThreadSanitizer cannot follow (it never sees those threads end); the OS program runs
# without them, every other test runs whole.
export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1
ctest --test-dir build-tsan -j"$jobs" --output-on-failure -E '^os_test$' || status=1
build-tsan/tests/os/os_test --gtest_filter='-Threads.*' || status=1

echo "== fuzz targets: libFuzzer, ASan + UBSan, about 75 s (ZP_FUZZ_SECONDS, scripts/fuzz.sh)"
scripts/fuzz.sh || status=1

echo "== robustness: short soak, lossy link, camera faults; four cameras under ThreadSanitizer"
scripts/robustness.sh build build-tsan || status=1

if [ $status -ne 0 ]; then
  echo "== FAILED" >&2
else
  echo "== all test runs passed"
fi
exit $status

#!/usr/bin/env bash
# Builds the project and runs every benchmark against the bundled simulator. As root each
# benchmark program moves itself into a private network namespace; otherwise it stays on
# loopback. Extra arguments go to every benchmark (e.g. --benchmark_repetitions=5).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh >/dev/null
for bench in build/bench/*_bench; do
  echo "== $(basename "$bench")"
  "$bench" "$@"
done

#!/usr/bin/env bash
# Builds the project (installing what it needs) and runs the demonstration
# program. It touches no network: everything stays inside this process.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
exec build/examples/os_tour "${@}"

#!/usr/bin/env bash
# Installs every Debian package the project needs (only the missing ones) and
# builds the project into build/. Safe to run again.
#   scripts/setup.sh            install what is missing, then build
#   scripts/setup.sh --no-build install only
set -euo pipefail
cd "$(dirname "$0")/.."

PACKAGES=(
  build-essential cmake pkg-config   # tool chain
  googletest libgtest-dev libgmock-dev libbenchmark-dev  # tests and benchmarks
  libjpeg62-turbo-dev libpng-dev libcli11-dev  # imaging layer, tools
  help2man                           # man pages of the programs, made from their --help
  iputils-ping                       # the OS layer pings through the system ping program
  iproute2 util-linux                # ip and unshare for the network-namespace tests
  clang                              # the kernel packet filter of the lossy-link test
  libclang-rt-14-dev                 # libFuzzer and the sanitizer runtimes of clang (scripts/fuzz.sh)
)

missing=()
for pkg in "${PACKAGES[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$pkg")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "setup: all ${#PACKAGES[@]} packages present"
elif [ "$(id -u)" -eq 0 ]; then
  echo "setup: installing ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq --no-install-recommends "${missing[@]}"
else
  echo "setup: missing packages: ${missing[*]}" >&2
  echo "setup: install them as root with:" >&2
  echo "  sudo apt-get install -y --no-install-recommends ${missing[*]}" >&2
  exit 1
fi

if [ "${1:-}" = "--no-build" ]; then
  exit 0
fi

jobs=$(nproc 2>/dev/null || echo 2)
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$jobs"

#!/usr/bin/env bash
# Enumerates N simulated cameras through the library without touching the machine's network.
# The script moves itself into a private network namespace (only loopback in it), makes a second
# namespace for the cameras, joins both with one veth link and runs zpcam-sim there with N camera
# addresses; examples/enumerate then finds them by broadcast. Everything disappears with the script.
#   sudo scripts/enumerate-demo.sh [N]     (N cameras, default 4, at most 200)
set -euo pipefail
cd "$(dirname "$0")/.."
cameras=${1:-4}
build=${ZP_BUILD_DIR:-build}

if [ "${ZP_ENUM_DEMO_IN_NETNS:-}" != 1 ]; then
  if [ "$(id -u)" -ne 0 ]; then
    echo "enumerate-demo: needs root to make network namespaces (sudo $0 $*)" >&2
    exit 1
  fi
  scripts/setup.sh --no-build >/dev/null
  cmake -S . -B "$build" -DZP_BUILD_EXAMPLES=ON >/dev/null
  cmake --build "$build" -j2 --target zpcam-sim enumerate >/dev/null
  ZP_ENUM_DEMO_IN_NETNS=1 exec unshare -n "$0" "$@"
fi

# From here on the script is in its own namespace.
ip link set lo up
unshare -n sleep infinity &  # holds the camera namespace
holder=$!
sim=""
trap 'kill $sim $holder 2>/dev/null; wait 2>/dev/null' EXIT
sleep 0.2
cams() { nsenter -t "$holder" -n "$@"; }

ip link add zphost type veth peer name zpcams
ip link set zpcams netns "$holder"
ip addr add 10.80.0.1/24 dev zphost
ip link set zphost up
cams ip link set lo up
cams ip link set zpcams up
args=()
for i in $(seq 1 "$cameras"); do
  cams ip addr add "10.80.0.$((9 + i))/24" dev zpcams
  args+=(--ip "10.80.0.$((9 + i))")
done

ready=$(mktemp)
# nsenter itself (not a subshell) in the background, so that $! is the simulator once it execs.
nsenter -t "$holder" -n "$build/tools/zpcam-sim/zpcam-sim" "${args[@]}" --address 0x10 >"$ready" &
sim=$!
for _ in $(seq 50); do grep -q ready "$ready" && break; sleep 0.1; done
rm -f "$ready"
echo "== $cameras simulated camera(s) at 10.80.0.10 and up, behind adapter zphost (10.80.0.1)"
"$build/examples/enumerate"

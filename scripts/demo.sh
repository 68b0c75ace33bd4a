#!/usr/bin/env bash
# Builds the project (installing what it needs), starts the bundled camera
# simulator on loopback and drives it through the library: open, identity,
# status, close, then one recorded frame downloaded and saved as frame.pgm. With root rights everything runs inside a private network
# namespace; without, it still only uses 127.0.0.1.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh >/dev/null

run_demo() {
  local sim=build/tools/zpcam-sim/zpcam-sim
  local ready
  ready=$(mktemp)
  "$sim" --ip 127.0.0.1 --announce-to 127.0.0.1 --last-frame 99 >"$ready" &
  local pid=$!
  trap 'kill $pid 2>/dev/null; wait $pid 2>/dev/null; rm -f "$ready"' RETURN
  for _ in $(seq 50); do grep -q ready "$ready" && break; sleep 0.1; done
  echo "== simulated camera on 127.0.0.1 (zpcam-sim); opening it through the library"
  build/examples/open_camera 127.0.0.1 127.0.0.1
  echo "== downloading recorded frame 5 of the simulator's 100"
  build/examples/save_frame 127.0.0.1 5 frame.pgm
  echo "== the library's host-side services"
  build/examples/os_tour
}

if [ "${ZP_DEMO_IN_NETNS:-}" = 1 ]; then
  ip link set lo up
  run_demo
elif [ "$(id -u)" -eq 0 ] && unshare -n true 2>/dev/null; then
  ZP_DEMO_IN_NETNS=1 exec unshare -n "$0" "$@"
else
  run_demo
fi

#!/usr/bin/env bash
# The main job against simulated cameras, with zpcam: find the cameras, upload a settings file,
# record, and download 100 frames from every camera at once as PNG with a border XML file per
# camera into ./zpcam-demo/. Installs what the project needs and builds it first.
#
# As root the script moves into a private network namespace and puts three simulated cameras on a
# camera LAN of their own behind one veth link; otherwise it plays one camera on 127.0.0.1 and skips
# discovery (which would broadcast on the host's adapters). Either way no datagram leaves the
# namespace or loopback.
set -euo pipefail
export ZP_DEMO_OUT=${ZP_DEMO_OUT:-$PWD/zpcam-demo}  # beside the caller
cd "$(dirname "$0")/.."
build=${ZP_BUILD_DIR:-build}
out=$ZP_DEMO_OUT
frames=100

if [ "${ZP_DEMO_IN_NETNS:-}" != 1 ]; then
  scripts/setup.sh --no-build >/dev/null
  cmake -S . -B "$build" >/dev/null
  cmake --build "$build" -j"$(nproc 2>/dev/null || echo 2)" --target zpcam zpcam-sim >/dev/null
  if [ "$(id -u)" -eq 0 ] && unshare -n true 2>/dev/null; then
    ZP_DEMO_IN_NETNS=1 exec unshare -n "$0" "$@"
  fi
fi

zpcam="$build/tools/zpcam/zpcam"
started=$(date +%s%N)
sim=""
holder=""
work=$(mktemp -d)
trap 'kill $sim $holder 2>/dev/null; wait 2>/dev/null; rm -rf "$work"' EXIT
# Recordings end 1 s after their trigger, holding the frame count the settings ask for.
sim_args=(--record-time 1000 --width 1504 --height 1128 --last-frame 0)

start_sim() {  # [nsenter prefix...] -- simulator arguments
  "$@" "$build/tools/zpcam-sim/zpcam-sim" "${sim_args[@]}" >"$work/sim.out" &
  sim=$!
  for _ in $(seq 50); do grep -q ready "$work/sim.out" && return; sleep 0.1; done
  echo "demo: the simulator did not start" >&2
  exit 1
}

ip link set lo up 2>/dev/null || true
if [ "${ZP_DEMO_IN_NETNS:-}" = 1 ]; then
  # A second namespace holds the cameras; one veth link joins it to this one.
  unshare -n sleep infinity &
  holder=$!
  sleep 0.2
  ip link add zphost type veth peer name zpcams
  ip link set zpcams netns "$holder"
  ip addr add 10.80.0.1/24 dev zphost
  ip link set zphost mtu 9000 up
  nsenter -t "$holder" -n sh -c 'ip link set lo up && ip link set zpcams mtu 9000 up &&
    for i in 10 11 12; do ip addr add 10.80.0.$i/24 dev zpcams; done'
  sim_args+=(--ip 10.80.0.10 --ip 10.80.0.11 --ip 10.80.0.12 --announce-to 10.80.0.1 --serial 1000001)
  start_sim nsenter -t "$holder" -n
  echo "== zpcam list: three simulated cameras behind adapter zphost (10.80.0.1)"
  "$zpcam" list
  cameras=(Cam_0001000001 Cam_0001000002 Cam_0001000003)  # found by name
else
  sim_args+=(--ip 127.0.0.1 --announce-to 127.0.0.1)
  start_sim
  echo "== one simulated camera on 127.0.0.1 (discovery skipped: run as root for three on a camera LAN)"
  cameras=(127.0.0.1)
fi

echo "== zpcam settings: $frames frames of 1504 x 1128, exposure 200 us"
"$zpcam" settings get "${cameras[0]}" -o "$work/settings.txt"
sed -i -e "s/^frames *=.*/frames = $frames/" -e 's/^exposure *=.*/exposure = 200000/' \
  -e 's/^roiWidth *=.*/roiWidth = 1504/' -e 's/^roiHeight *=.*/roiHeight = 1128/' "$work/settings.txt"
for camera in "${cameras[@]}"; do "$zpcam" settings set "$camera" "$work/settings.txt"; done

echo "== zpcam record: arm, trigger, wait for the recordings"
"$zpcam" record "${cameras[@]}" --frames "$frames" --trigger --wait

echo "== zpcam download: $frames frames from every camera at once, PNG and border XML into zpcam-demo/"
rm -rf "$out"
mkdir -p "$out"
"$zpcam" download "${cameras[@]}" --frames "0-$((frames - 1))" --format png -o "$out"
echo "== $(find "$out" -name '*.png' | wc -l) PNG files and $(find "$out" -name '*.xml' | wc -l) XML files in zpcam-demo/ ($(du -sh "$out" | cut -f1)), e.g. $(ls "$out" | head -1)"
elapsed=$((($(date +%s%N) - started) / 1000000))
printf '== demo done in %d.%03d s after the build\n' $((elapsed / 1000)) $((elapsed % 1000))

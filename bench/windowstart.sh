#!/usr/bin/env bash
# Time from launching the window to its being shown (mapped on the X display), under a virtual
# display of its own: the median of 7 (or $1) launches, each with the settings and data folder
# of a first launch, settled first (common.sh). Needs Xvfb and xdotool (scripts/deps.sh --bench).
# Usage: bench/windowstart.sh [launches]
set -euo pipefail
source "$(dirname "$0")/common.sh"
need_build
runs=${1:-7}
window="$repo_root/build/Pivotel.app/Contents/MacOS/pivotel"
command -v xdotool >/dev/null || { echo "Needs xdotool: scripts/deps.sh --bench" >&2; exit 1; }
display=:$((90 + RANDOM % 100))
Xvfb "$display" -screen 0 1600x1000x24 -nolisten tcp >/dev/null 2>&1 &
xserver=$!
trap 'kill $xserver 2>/dev/null' EXIT
export DISPLAY=$display
for ((i = 0; i < 50; i++)); do # until the display answers
    xdotool getmouselocation >/dev/null 2>&1 && break
    sleep 0.1
done
export XDG_CONFIG_HOME="$out/windowstart-config"
times=()
for ((r = 0; r < runs; r++)); do
    rm -rf "$XDG_CONFIG_HOME" "$XDG_DATA_HOME/com.zenthori.pivotel"
    settle
    start=$(now)
    "$window" >/dev/null 2>&1 &
    app=$!
    # xdotool's own --sync looks only every half second
    until xdotool search --onlyvisible --pid "$app" >/dev/null 2>&1; do sleep 0.005; done
    times+=("$(elapsed "$start" "$(now)")")
    kill "$app"
    wait "$app" 2>/dev/null || true
done
ms=$(printf '%s\n' "${times[@]}" | sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }')
printf 'launch to window shown, median of %d: %.0f ms\n' "$runs" "$(echo "$ms * 1000" | bc -l)"

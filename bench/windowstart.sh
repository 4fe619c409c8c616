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
# A display number the server finds free itself: one already taken would leave every launch
# without a display.
number=$(mktemp)
Xvfb -displayfd 3 -screen 0 1600x1000x24 -nolisten tcp 3>"$number" >/dev/null 2>&1 &
xserver=$!
trap 'kill $xserver 2>/dev/null; rm -f "$number"' EXIT
for ((i = 0; i < 100; i++)); do # until the server says which display it took
    [ -s "$number" ] && break
    sleep 0.1
done
[ -s "$number" ] || { echo "Xvfb did not start" >&2; exit 1; }
export DISPLAY=:$(head -1 "$number")
for ((i = 0; i < 100; i++)); do # until the display answers
    xdotool getmouselocation >/dev/null 2>&1 && break
    sleep 0.1
done
xdotool getmouselocation >/dev/null 2>&1 || { echo "The display $DISPLAY does not answer" >&2; exit 1; }
export XDG_CONFIG_HOME="$out/windowstart-config"
times=()
refused=0
for ((r = 0; r < runs; r++)); do
    rm -rf "$XDG_CONFIG_HOME" "$XDG_DATA_HOME/com.zenthori.pivotel"
    settle
    start=$(now)
    "$window" >"$out/windowstart.log" 2>&1 &
    app=$!
    # xdotool's own --sync looks only every half second
    waited=0
    until xdotool search --onlyvisible --pid "$app" >/dev/null 2>&1; do
        sleep 0.005
        # Xvfb now and then turns a new client away while xdotool comes and goes this often
        # (about one launch in ten here; none without the polling): that launch is taken again.
        if ! kill -0 "$app" 2>/dev/null && grep -q "could not connect to display" "$out/windowstart.log" &&
            ((refused++ < 10)); then
            ((r--)) || true
            continue 2
        fi
        if ((++waited > 4000)); then # some 20 s: not shown at all
            echo "The window of launch $((r + 1)) was never shown" >&2
            exit 1
        fi
    done
    times+=("$(elapsed "$start" "$(now)")")
    kill "$app"
    wait "$app" 2>/dev/null || true
done
((refused == 0)) || echo "($refused launches the display turned away were taken again)"
ms=$(printf '%s\n' "${times[@]}" | sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }')
printf 'launch to window shown, median of %d: %.0f ms\n' "$runs" "$(echo "$ms * 1000" | bc -l)"

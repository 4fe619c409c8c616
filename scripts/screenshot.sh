#!/usr/bin/env bash
# Takes a picture of the window with a few sample photos loaded and a row's action pop-up open,
# under a virtual X display, so that its layout can be checked by eye:
# scripts/screenshot.sh [OUTPUT.png] [WIDTH HEIGHT]
set -euo pipefail
cd "$(dirname "$0")/.."
output="$(realpath -m "${1:-build/window.png}")"
shift || true
scripts/build.sh >/dev/null
xvfb-run -a -s "-screen 0 1600x1000x24" build/tools/pivotel-windowshot "$output" "$@"
echo "$output"

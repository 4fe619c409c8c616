#!/usr/bin/env bash
# How soon a folder scan stops once cancelled (Clear List, closing the window): a tree of 10,000
# photos in 100 folders, cancelled mid-scan, five times.
set -euo pipefail
source "$(dirname "$0")/common.sh"
probe="$repo_root/build/tools/pivotel-intakecancel"
[ -x "$probe" ] || { echo "Build first: ./test or scripts/build.sh" >&2; exit 1; }
tree="$out/tree10k"
if [ ! -d "$tree" ]; then
    mkdir -p "$tree"
    { printf 'P6\n400 300\n255\n'; head -c 360000 /dev/urandom; } | cjpeg -quality 85 > "$out/small.jpg"
    for d in $(seq -w 0 99); do
        mkdir -p "$tree/d$d"
        for f in $(seq -w 0 99); do ln "$out/small.jpg" "$tree/d$d/IMG_$f.jpg"; done
    done
fi
for after in 20 60 100 140 180; do "$probe" "$tree" "$after"; done

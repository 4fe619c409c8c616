#!/usr/bin/env bash
# The list's thumbnails on a list of COUNT 24-megapixel photos (default 1,000, hard links of one,
# each its own row and thumbnail): time to the first screen, time to every row, the longest the
# main thread is held while scrolling with an empty cache, and the cache's peak.
# Last, what the cores give for the same decodes in separate processes (djpeg -scale 1/8).
set -euo pipefail
source "$(dirname "$0")/common.sh"
probe="$repo_root/build/tools/pivotel-thumbbench"
[ -x "$probe" ] || { echo "Build first: ./test or scripts/build.sh" >&2; exit 1; }
count=${1:-1000}
make_base
set="$out/thumbs$count"
if [ ! -d "$set" ]; then
    mkdir -p "$set"
    for ((i = 0; i < count; i++)); do ln "$out/base.jpg" "$set/photo$(printf %05d $i).jpg"; done
fi
QT_QPA_PLATFORM=offscreen "$probe" "$set"
printf 'this machine: %d djpeg -scale 1/8 at once, %.2fx of one after the other\n' "$(nproc)" \
    "$(scaling 8 djpeg -scale 1/8 -outfile /dev/null "$out/base.jpg")"

#!/usr/bin/env bash
# One photo at a time, as a file manager's "rotate" or a script per photo turns them: the whole
# command's wall time for pivotel-cli (default options), exiftran -aip and jhead -autorot, on a
# 2-megapixel and a 24-megapixel photo with orientation 6, each with XMP, without it (-exif, as
# most cameras write them) and with an XMP orientation (-xmporientation, which only exiftool sets
# upright). Medians of 7 (or $1) runs, taken in turns, each on a fresh copy with the files
# settled first (common.sh).
# Usage: bench/latency.sh [runs]
set -euo pipefail
source "$(dirname "$0")/common.sh"
need_build
runs=${1:-7}
make_base
for needed in exiftran jhead; do
    command -v "$needed" >/dev/null || { echo "Needs $needed: scripts/deps.sh --bench" >&2; exit 1; }
done
dir="$out/latency"
mkdir -p "$dir"
if [ ! -f "$dir/small.jpg" ]; then # a phone-size photo: 1920x1080 4:2:0 with the base's tags
    /usr/bin/convert "$out/base.jpg" -resize 1920x1080! -quality 90 -sampling-factor 2x2 "$dir/small.jpg"
    "$tool" -q -overwrite_original -TagsFromFile "$out/base.jpg" -all:all "$dir/small.jpg"
fi
cp "$out/base.jpg" "$dir/large.jpg"
"$tool" -q -overwrite_original -Orientation#=6 "$dir/small.jpg" "$dir/large.jpg"
# As most cameras write them: the same without XMP; and with an XMP packet that gives the
# orientation too (as an editor's export does), which only exiftool sets upright. The base's own
# packet gives none, so it needs no tool.
for size in small large; do
    rm -f "$dir/$size-exif.jpg" "$dir/$size-xmporientation.jpg"
    "$tool" -q -XMP:all= -o "$dir/$size-exif.jpg" "$dir/$size.jpg"
    "$tool" -q -XMP-tiff:Orientation#=6 -o "$dir/$size-xmporientation.jpg" "$dir/$size.jpg"
done

declare -A turn=(
    [pivotel]="$cli -q"
    [exiftran]="exiftran -aip"
    [jhead]="jhead -q -autorot"
)
ways=(pivotel exiftran jhead)
median() { sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }
for size in small small-exif small-xmporientation large large-exif large-xmporientation; do
    declare -A times=()
    for ((r = 0; r < runs; r++)); do
        for ((k = 0; k < ${#ways[@]}; k++)); do
            way=${ways[(k + r) % ${#ways[@]}]} # each comes first in a run as often as the others
            cp "$dir/$size.jpg" "$dir/work.jpg"
            settle
            start=$(now)
            ${turn[$way]} "$dir/work.jpg" >/dev/null 2>&1
            times[$way]+="$(elapsed "$start" "$(now)") "
        done
    done
    for way in "${ways[@]}"; do
        ms=$(printf '%s\n' ${times[$way]} | median)
        printf '%-21s %-9s median of %d: %4.0f ms\n' "$size" "$way" "$runs" "$(echo "$ms * 1000" | bc -l)"
    done
done

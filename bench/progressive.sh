#!/usr/bin/env bash
# The progressive write of a lossless quarter turn: our transform (pivotel-turnbatch, TurboJPEG's
# transform with our own scan coder) beside jpegtran writing progressive and baseline, on copies
# of the 24-megapixel photo. First one photo at a time (best of ROUNDS), then a batch of PHOTOS on
# both cores against jpegtran's baseline write on one.
# Usage: bench/progressive.sh [photos] [rounds]
set -euo pipefail
source "$(dirname "$0")/common.sh"
need_build
n=${1:-8}
rounds=${2:-5}
batch="$repo_root/build/tools/pivotel-turnbatch"
make_base
dir="$out/progressive"
rm -rf "$dir"
mkdir -p "$dir/in" "$dir/out"
for ((i = 0; i < n; i++)); do cp "$out/base.jpg" "$dir/in/photo$i.jpg"; done

best() { # best of $rounds wall times of the command, in seconds
    local fastest= t start
    for ((r = 0; r < rounds; r++)); do
        start=$(now)
        "$@" >/dev/null
        t=$(elapsed "$start" "$(now)")
        if [ -z "$fastest" ] || (($(echo "$t < $fastest" | bc -l))); then fastest=$t; fi
    done
    echo "$fastest"
}

one="$dir/in/photo0.jpg"
printf 'one photo, rotate 90, best of %d:\n' "$rounds"
printf '  jpegtran -copy all -progressive  %.3f s\n' "$(best jpegtran -copy all -progressive -rotate 90 -outfile "$dir/out/j.jpg" "$one")"
printf '  jpegtran -copy all (baseline)    %.3f s\n' "$(best jpegtran -copy all -rotate 90 -outfile "$dir/out/j.jpg" "$one")"
printf '  ours, 1 thread                   %.3f s\n' "$(best "$batch" 1 1 "$dir/out" "$one")"
printf '  ours, 2 threads                  %.3f s\n' "$(best "$batch" 1 2 "$dir/out" "$one")"

baseline() {
    for f in "$dir"/in/*.jpg; do jpegtran -copy all -rotate 90 -outfile "$dir/out/$(basename "$f")" "$f"; done
}
printf '%d photos, rotate 90, best of %d:\n' "$n" "$rounds"
printf '  jpegtran -copy all (baseline), one core  %.3f s\n' "$(best baseline)"
printf '  ours, 2 photos at a time, 1 thread each  %.3f s\n' "$(best "$batch" 2 1 "$dir/out" "$dir"/in/*.jpg)"
printf '  ours, 1 photo at a time, 2 threads       %.3f s\n' "$(best "$batch" 1 2 "$dir/out" "$dir"/in/*.jpg)"

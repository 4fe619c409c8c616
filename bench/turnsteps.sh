#!/usr/bin/env bash
# The in-memory steps of one lossless turn of a 24-megapixel photo: the transform, setting the
# EXIF block upright with the trailer carried, and the full check of the new file; then the whole
# turn of such photos by pivotel-cli on one worker, to give the check's share of it.
# Usage: bench/turnsteps.sh [rounds] [photos]
set -euo pipefail
source "$(dirname "$0")/common.sh"
need_build
rounds=${1:-5}
n=${2:-6}
make_base
"$repo_root/build/tools/pivotel-turnsteps" "$out/base.jpg" "$rounds" 1
# A run with one worker codes and checks on every core, as here.
steps=$("$repo_root/build/tools/pivotel-turnsteps" "$out/base.jpg" "$rounds" "$(nproc)")
echo "$steps"
check=$(echo "$steps" | awk '/check of the new file/ {print $6}')

best=
for ((round = 1; round <= rounds; round++)); do
    make_set "$out/steps" "$n"
    start=$(now)
    "$cli" --jobs 1 "$out/steps" 2>/dev/null
    took=$(elapsed "$start" "$(now)")
    if [ -z "$best" ] || (($(echo "$took < $best" | bc -l))); then best=$took; fi
done
turn=$(echo "$best * 1000 / $n" | bc -l)
printf 'whole turn, pivotel-cli --jobs 1: %8.1f ms per photo (best of %d, %d photos)\n' "$turn" "$rounds" "$n"
printf 'the check'"'"'s share of it:         %8.1f%%\n' "$(echo "100 * $check / $turn" | bc -l)"

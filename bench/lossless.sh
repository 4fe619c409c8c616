#!/usr/bin/env bash
# Lossless run of pivotel-cli over 24-megapixel photos (orientation 6/8/3) against the bare transform,
# jpegtran -copy all -progressive -rotate, on the same photos; and the same run with one exiftool
# process per metadata step (PIVOTEL_EXIFTOOL_ONESHOT=1), the slow way that one long-lived exiftool
# replaces. Usage: bench/lossless.sh [photos] [rounds]
set -euo pipefail
source "$(dirname "$0")/common.sh"
need_build
n=${1:-9}
rounds=${2:-3}
make_base

best_bare=
best_cli=
best_oneshot=
for ((round = 1; round <= rounds; round++)); do
    make_set "$out/bare" "$n"
    orientations=(6 8 3)
    start=$(now)
    for ((i = 0; i < n; i++)); do
        jpegtran -copy all -progressive -rotate "$(rotation_for "${orientations[i % 3]}")" \
            -outfile "$out/bare/turned$i.jpg" "$out/bare/photo$i.jpg"
    done
    bare=$(elapsed "$start" "$(now)")

    make_set "$out/cli" "$n"
    start=$(now)
    "$cli" "$out/cli" 2>/dev/null
    cli_time=$(elapsed "$start" "$(now)")

    make_set "$out/oneshot" "$n"
    start=$(now)
    PIVOTEL_EXIFTOOL_ONESHOT=1 "$cli" "$out/oneshot" 2>/dev/null
    oneshot=$(elapsed "$start" "$(now)")

    printf 'round %d: jpegtran %.2f s, pivotel-cli %.2f s, one exiftool per step %.2f s\n' \
        "$round" "$bare" "$cli_time" "$oneshot"
    if [ -z "$best_bare" ] || (($(echo "$bare < $best_bare" | bc -l))); then best_bare=$bare; fi
    if [ -z "$best_cli" ] || (($(echo "$cli_time < $best_cli" | bc -l))); then best_cli=$cli_time; fi
    if [ -z "$best_oneshot" ] || (($(echo "$oneshot < $best_oneshot" | bc -l))); then best_oneshot=$oneshot; fi
done
printf '\n%d photos, best of %d rounds\n' "$n" "$rounds"
printf 'jpegtran (bare transform): %.3f s per photo\n' "$(echo "$best_bare / $n" | bc -l)"
printf 'pivotel-cli lossless:      %.3f s per photo\n' "$(echo "$best_cli / $n" | bc -l)"
printf 'ratio: %.2fx\n' "$(echo "$best_cli / $best_bare" | bc -l)"
printf 'one exiftool per step:     %.3f s per photo (%.2fx)\n' "$(echo "$best_oneshot / $n" | bc -l)" \
    "$(echo "$best_oneshot / $best_bare" | bc -l)"

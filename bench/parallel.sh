#!/usr/bin/env bash
# Lossless runs of pivotel-cli over 24-megapixel photos (orientation 6/8/3) with 1, 2 and all cores'
# worth of jobs, against the bare transforms jpegtran -copy all -progressive and jpegtran -copy all
# (baseline) one photo after the other, with the peak resident memory of each pivotel-cli run.
# "1c" is -j 1 held to one core (taskset), exiftool included: the time "on one core". Beside them,
# exiftran -aip (baseline, with its metadata) as one process per core over the same photos.
# Last, what the cores give for jpegtran run on each at once: the ceiling of any run here.
# Usage: bench/parallel.sh [photos] [rounds] (24 photos by default: each worker's first photo
# pays for memory the later ones reuse, which in a batch of 8 is a quarter of a worker's photos).
set -euo pipefail
source "$(dirname "$0")/common.sh"
need_build
n=${1:-24}
rounds=${2:-3}
make_base
cores=$(nproc)
jobs_list=(1c 1 2)
((cores > 2)) && jobs_list+=("$cores")

declare -A best peak
for ((round = 1; round <= rounds; round++)); do
    # Each way of running comes first in a round as often as the others.
    for ((k = 0; k < ${#jobs_list[@]}; k++)); do
        jobs=${jobs_list[(k + round) % ${#jobs_list[@]}]}
        make_set "$out/cli" "$n"
        start=$(now)
        pin=()
        [ "$jobs" = 1c ] && pin=(taskset -c 0)
        kb=$( { /usr/bin/time -f '%M' "${pin[@]}" "$cli" -q -j "${jobs%c}" "$out/cli" 2>&1 >/dev/null; } | tail -1)
        t=$(elapsed "$start" "$(now)")
        if [ -z "${best[$jobs]:-}" ] || (($(echo "$t < ${best[$jobs]}" | bc -l))); then best[$jobs]=$t; fi
        if [ -z "${peak[$jobs]:-}" ] || ((kb > peak[$jobs])); then peak[$jobs]=$kb; fi
    done
    make_set "$out/exiftran" "$n"
    start=$(now)
    printf '%s\0' "$out/exiftran"/photo*.jpg | xargs -0 -n 1 -P "$cores" exiftran -aip 2>/dev/null
    t=$(elapsed "$start" "$(now)")
    if [ -z "${best[exiftran]:-}" ] || (($(echo "$t < ${best[exiftran]}" | bc -l))); then best[exiftran]=$t; fi
    for way in progressive baseline; do
        make_set "$out/bare" "$n"
        orientations=(6 8 3)
        flag=$([ $way = progressive ] && echo -progressive || true)
        start=$(now)
        for ((i = 0; i < n; i++)); do
            jpegtran -copy all $flag -rotate "$(rotation_for "${orientations[i % 3]}")" \
                -outfile "$out/bare/turned$i.jpg" "$out/bare/photo$i.jpg"
        done
        t=$(elapsed "$start" "$(now)")
        if [ -z "${best[$way]:-}" ] || (($(echo "$t < ${best[$way]}" | bc -l))); then best[$way]=$t; fi
    done
    printf 'round %d done\n' "$round"
done
printf '\n%d photos, best of %d rounds, %d cores\n' "$n" "$rounds" "$cores"
printf 'jpegtran -copy all -progressive, one at a time: %.3f s per photo\n' "$(echo "${best[progressive]} / $n" | bc -l)"
printf 'jpegtran -copy all (baseline), one at a time:   %.3f s per photo\n' "$(echo "${best[baseline]} / $n" | bc -l)"
printf 'exiftran -aip, %d processes at once:          %.3f s per photo\n' "$cores" \
    "$(echo "${best[exiftran]} / $n" | bc -l)"
for jobs in "${jobs_list[@]}"; do
    printf 'pivotel-cli -j %s: %.3f s per photo (%.2fx of one core), peak %d MB\n' "$jobs" \
        "$(echo "${best[$jobs]} / $n" | bc -l)" "$(echo "${best[1c]} / ${best[$jobs]}" | bc -l)" \
        "$((peak[$jobs] / 1024))"
done
printf 'this machine: %d jpegtran -copy all -progressive at once, %.2fx of one after the other\n' "$cores" \
    "$(scaling 4 jpegtran -copy all -progressive -rotate 90 -outfile /dev/null "$out/base.jpg")"

#!/usr/bin/env bash
# The progressive write of a lossless quarter turn: our transform (pivotel-turnbatch, TurboJPEG's
# reading with our own block moves and scan coder) beside jpegtran writing progressive and
# baseline, on copies of the 24-megapixel photo. First one photo at a time, a fresh process each,
# then a batch of PHOTOS on both cores against jpegtran's baseline write on one. The commands take
# turns round after round; each line gives the median wall time and the median CPU time
# (user + system), which a busy machine disturbs less.
# Usage: bench/progressive.sh [photos] [rounds]
set -euo pipefail
source "$(dirname "$0")/common.sh"
need_build
n=${1:-8}
rounds=${2:-7}
batch="$repo_root/build/tools/pivotel-turnbatch"
make_base
dir="$out/progressive"
rm -rf "$dir"
mkdir -p "$dir/in" "$dir/out"
for ((i = 0; i < n; i++)); do cp "$out/base.jpg" "$dir/in/photo$i.jpg"; done
one="$dir/in/photo0.jpg"
times="$dir/times"
: >"$times"

baseline_batch() {
    for f in "$dir"/in/*.jpg; do jpegtran -copy all -rotate 90 -outfile "$dir/out/$(basename "$f")" "$f"; done
}
run() { # NAME COMMAND...: appends "NAME wall cpu" to $times
    local name=$1 TIMEFORMAT='%R %U %S' t
    shift
    t=$({ time "$@" >/dev/null; } 2>&1)
    echo "$name $t" >>"$times"
}
for ((r = 0; r < rounds; r++)); do
    run jpegtran-progressive jpegtran -copy all -progressive -rotate 90 -outfile "$dir/out/j.jpg" "$one"
    run jpegtran-baseline jpegtran -copy all -rotate 90 -outfile "$dir/out/j.jpg" "$one"
    run ours-1-thread "$batch" 1 1 "$dir/out" "$one"
    run ours-2-threads "$batch" 1 2 "$dir/out" "$one"
    run batch-jpegtran-baseline baseline_batch
    run batch-ours-2-jobs "$batch" 2 1 "$dir/out" "$dir"/in/*.jpg
    run batch-ours-2-threads "$batch" 1 2 "$dir/out" "$dir"/in/*.jpg
done
python3 - "$times" "$n" "$rounds" <<'EOF'
import statistics, sys
rows = {}
for line in open(sys.argv[1]):
    name, wall, user, system = line.split()
    rows.setdefault(name, []).append((float(wall), float(user) + float(system)))
print(f"one photo (rotate 90), then {sys.argv[2]} photos; medians of {sys.argv[3]} rounds")
for name, values in rows.items():
    print(f"  {name:26} wall {statistics.median(v[0] for v in values):6.3f} s"
          f"   cpu {statistics.median(v[1] for v in values):6.3f} s")
EOF

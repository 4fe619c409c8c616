#!/usr/bin/env bash
# Peak memory of lossless turns of very large photos: a 100-megapixel photo, and with "huge" a
# 40000x40000 one (1.6 gigapixels, 1 GB; about 12 GB to turn, minutes to make and turn) under a
# 4 GB budget (refused), the default budget (half the machine's memory: refused below 24 GB) and a
# 16 GB one (turned, where the machine has the memory). Usage: bench/memory.sh [huge]
set -euo pipefail
source "$(dirname "$0")/common.sh"
need_build
make_base
dir="$out/memory"
mkdir -p "$dir"

run() { # label, cli arguments...: the outcome line and the peak resident memory
    local label=$1
    shift
    local start t
    start=$(now)
    { /usr/bin/time -f 'peak %M KB' "$cli" "$@" 2>&1 >/dev/null; } | grep -E 'Turned|peak|too large' |
        tr '\n' ' ' | sed "s/^/$label: /" || true # a refused photo exits 1
    t=$(elapsed "$start" "$(now)")
    printf '(%.1f s)\n' "$t"
}

if [ ! -f "$dir/100mp.jpg" ]; then
    echo "Making a 100-megapixel photo (once)..." >&2
    # The bench photo tiled 2 by 2.1: 12000x8400, made row by row (ImageMagick's limits refuse it).
    djpeg -pnm "$out/base.jpg" | python3 -c '
import sys
data = sys.stdin.buffer.read()
header, rest = data.split(b"\n255\n", 1)
w, h = map(int, header.split()[1:3])
rows = [rest[y * w * 3:(y + 1) * w * 3] for y in range(h)]
out = sys.stdout.buffer
out.write(b"P6\n%d %d\n255\n" % (2 * w, 2 * h + h // 10))
for y in list(range(h)) * 2 + list(range(h // 10)):
    out.write(rows[y] + rows[y])
' | cjpeg -quality 92 -sample 2x2 > "$dir/100mp.jpg"
fi
cp "$dir/100mp.jpg" "$dir/turn100.jpg"
run "100 MP, lossless quarter turn" -j 1 --action cw "$dir/turn100.jpg"

if [ "${1:-}" = huge ]; then
    if [ ! -f "$dir/huge.jpg" ]; then
        echo "Making a 40000x40000 photo (once; a few minutes)..." >&2
        python3 -c '
import sys
w = h = 40000
sys.stdout.buffer.write(b"P6\n%d %d\n255\n" % (w, h))
rows = [bytes((x * 7 + y * 13) % 256 for x in range(w * 3)) for y in range(16)]
for y in range(h):
    sys.stdout.buffer.write(rows[y % 16])
' | cjpeg -quality 85 -sample 2x2 > "$dir/huge.jpg"
    fi
    cp "$dir/huge.jpg" "$dir/turnhuge.jpg"
    run "40000x40000, --memory-limit 4G" -j 1 --action cw --memory-limit 4G "$dir/turnhuge.jpg"
    run "40000x40000, default budget" -j 1 --action cw "$dir/turnhuge.jpg"
    run "40000x40000, --memory-limit 16G" -j 1 --action cw --memory-limit 16G "$dir/turnhuge.jpg"
fi

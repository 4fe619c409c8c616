#!/usr/bin/env bash
# Normal rotation of 24-megapixel photos at quality 75: pivotel-cli --reencode against
# ImageMagick's `convert -auto-orient -quality 75`, on the same photos, as many of them.
#
#   bench/reencode.sh [COUNT]      (default 8 photos, 3 runs of each tool)
#
# Needs the build (scripts/build.sh --bench also installs imagemagick and hyperfine).
# The photos are made once, in bench/out/, by ImageMagick: a fractal landscape with grain,
# 6000x4000, quality 92, 4:2:0, EXIF orientation 6, so both tools turn every photo.
set -euo pipefail
cd "$(dirname "$0")/.."

count=${1:-8}
runs=3
cli=build/Pivotel.app/Contents/MacOS/pivotel-cli
convert=/usr/bin/convert # not /usr/local/bin/convert, which may be something else
out=bench/out
[ -x "$cli" ] || { echo "Build first: scripts/build.sh --bench" >&2; exit 1; }
for tool in "$convert" /usr/bin/exiftool /usr/bin/identify hyperfine; do
    command -v "$tool" >/dev/null || { echo "Missing $tool: scripts/deps.sh --bench" >&2; exit 1; }
done

mkdir -p "$out/source"
if [ ! -f "$out/source/photo.jpg" ]; then
    echo "Making a 24-megapixel test photo..."
    "$convert" -size 1500x1000 -seed 7 plasma:fractal -resize '6000x4000!' -attenuate 0.4 +noise Gaussian \
        -sampling-factor 2x2 -quality 92 "$out/source/photo.jpg"
    exiftool -q -overwrite_original -n -Orientation=6 -Make=Bench "$out/source/photo.jpg"
fi
rm -rf "$out/photos"
mkdir -p "$out/photos"
for i in $(seq 1 "$count"); do cp "$out/source/photo.jpg" "$out/photos/photo$i.jpg"; done

# Each run starts from fresh copies: both tools rewrite the photos in place.
prepare="rm -rf $out/work && cp -r $out/photos $out/work"
pivotel="XDG_DATA_HOME=$PWD/$out/data $cli --reencode --quality=75 $out/work 2>/dev/null"
magick="for f in $out/work/*.jpg; do $convert \"\$f\" -auto-orient -quality 75 \"\$f\"; done"

hyperfine --style basic --runs "$runs" --prepare "$prepare" --export-csv "$out/reencode.csv" \
    -n pivotel-cli "$pivotel" -n convert "$magick"

# Both must have turned every photo upright: 4000 wide, 6000 high.
eval "$prepare"
eval "$pivotel"
for f in "$out"/work/*.jpg; do
    [ "$(identify -format '%wx%h' "$f")" = 4000x6000 ] || { echo "pivotel-cli didn't turn $f" >&2; exit 1; }
done
eval "$prepare"
eval "$magick"
for f in "$out"/work/*.jpg; do
    [ "$(identify -format '%wx%h' "$f")" = 4000x6000 ] || { echo "convert didn't turn $f" >&2; exit 1; }
done

awk -F, -v count="$count" '
    $1 == "pivotel-cli" { ours = $2 / count }
    $1 == "convert" { theirs = $2 / count }
    END { printf "per photo: pivotel-cli %.3f s, convert %.3f s; pivotel-cli is %.2fx faster\n", ours, theirs, theirs / ours }
' "$out/reencode.csv"

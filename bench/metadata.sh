#!/usr/bin/env bash
# What the metadata steps cost: a lossless run of pivotel-cli over 24-megapixel photos that carry
# EXIF, XMP and IPTC, against the bare transform (jpegtran -copy all -progressive) and against the
# same run with one exiftool process per step (PIVOTEL_EXIFTOOL_ONESHOT=1).
#
#   bench/metadata.sh [PHOTOS]     (default 4 photos; needs ./test's build, adds imagemagick and hyperfine)
set -euo pipefail
cd "$(dirname "$0")/.."
count=${1:-4}

scripts/deps.sh --bench
[ -x build/Pivotel.app/Contents/MacOS/pivotel-cli ] || scripts/build.sh
cli=$PWD/build/Pivotel.app/Contents/MacOS/pivotel-cli
tool=$PWD/build/Pivotel.app/Contents/Resources/exiftool/exiftool

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/originals" "$work/photos" "$work/jpegtran" "$work/data"

echo "Making $count photos of 6000x4000..."
orientations=(6 8 3)
for ((i = 0; i < count; i++)); do
    photo=$work/originals/photo$i.jpg
    # Noise smoothed by the enlargement compresses about as a real photo does (~9 MB).
    convert -size 600x400 xc: -seed "$i" +noise Random -resize 6000x4000 -quality 92 "$photo"
    "$tool" -q -overwrite_original -n "-Orientation=${orientations[i % 3]}" \
        -Make=Canon "-Model=Canon EOS 5D" -XResolution=300 -YResolution=300 -ResolutionUnit=2 \
        "-DateTimeOriginal=2021:07:14 10:11:12" -ExposureTime=0.004 -FNumber=5.6 -ISO=400 \
        -GPSLatitude=43.2965 -GPSLatitudeRef=N -GPSLongitude=5.3698 -GPSLongitudeRef=E \
        -XMP-dc:Title=Harbour "-XMP-dc:Creator=A. Photographer" -IPTC:Keywords=boats -IPTC:City=Marseille \
        "$photo"
done

restore="cp $work/originals/*.jpg $work/photos/"
transform='for f in '"$work"'/originals/*.jpg; do
    jpegtran -copy all -progressive -rotate 90 -outfile '"$work"'/jpegtran/$(basename "$f") "$f"
done'

# Every run starts from the untouched photos (the jpegtran run only reads them).
hyperfine --style basic --warmup 1 --runs 3 --export-json "$work/times.json" --prepare "$restore" \
    --command-name "jpegtran -copy all -progressive (bare transform)" "$transform" \
    --command-name "pivotel-cli (one exiftool for the run)" "XDG_DATA_HOME=$work/data $cli $work/photos" \
    --command-name "pivotel-cli (one exiftool per step)" \
    "PIVOTEL_EXIFTOOL_ONESHOT=1 XDG_DATA_HOME=$work/data $cli $work/photos"

COUNT=$count perl -MJSON::PP -e '
    local $/; my $r = decode_json(<STDIN>)->{results};
    my $bare = $r->[0]{mean};
    printf "\n%-52s %10s %10s\n", "per photo", "seconds", "vs bare";
    for my $x (@$r) {
        printf "%-52s %10.3f %9.0f%%\n", $x->{command}, $x->{mean} / $ENV{COUNT}, 100 * ($x->{mean} - $bare) / $bare;
    }' < "$work/times.json"

# Shared by the benchmark scripts: where things are, and how photos are made.
# Photos are 24-megapixel (6000x4000) JPEGs with camera-like content and EXIF, made once and cached.

bench_root=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
repo_root=$(cd "$bench_root/.." && pwd)
out="$bench_root/out"
cli="$repo_root/build/Pivotel.app/Contents/MacOS/pivotel-cli"
tool="$repo_root/build/Pivotel.app/Contents/Resources/exiftool/exiftool"
export XDG_DATA_HOME="$out/data"
mkdir -p "$out" "$XDG_DATA_HOME"

need_build() {
    [ -x "$cli" ] || { echo "Build first: ./test or scripts/build.sh" >&2; exit 1; }
}

# base.jpg: plasma with noise at quality 92, about 8 MB like a camera photo, with EXIF that a camera
# would write and an X resolution of 300.
make_base() {
    if [ ! -f "$out/base.jpg" ]; then
        echo "Making a 24-megapixel photo (once)..." >&2
        /usr/bin/convert -size 6000x4000 -seed 7 plasma:fractal -attenuate 0.3 +noise Gaussian \
            -quality 92 -sampling-factor 2x2 "$out/base.jpg"
        "$tool" -q -overwrite_original -Make=BenchCam -Model="Bench 1" -DateTimeOriginal="2026:05:01 10:00:00" \
            -ExposureTime=1/250 -FNumber=5.6 -ISO=200 -XResolution=300 -YResolution=300 -ResolutionUnit=inches \
            -GPSLatitude=48.85 -GPSLatitudeRef=N -GPSLongitude=2.35 -GPSLongitudeRef=E \
            -XMP-dc:Title="Bench" -IPTC:Keywords=bench "$out/base.jpg"
    fi
}

# make_set DIR N: N copies of base.jpg with orientations 6, 8, 3 in turn, settled (below).
make_set() {
    local dir=$1 n=$2 orientations=(6 8 3)
    rm -rf "$dir"
    mkdir -p "$dir"
    for ((i = 0; i < n; i++)); do
        cp "$out/base.jpg" "$dir/photo$i.jpg"
    done
    for ((i = 0; i < n; i++)); do
        printf '%s\n' "-Orientation#=${orientations[i % 3]}" -overwrite_original "$dir/photo$i.jpg" -execute
    done | "$tool" -q -@ - >/dev/null
    settle
}

# settle: what the runs before left behind costs the next one nothing: dirty files are on the
# disk, and, where this may (root), the kernel's free memory is compacted, so that a run gets huge
# pages as readily whatever ran before it (after jpegtran's runs, a run of ours on one core spent
# twice the system time and 7% more in all finding them).
settle() {
    sync
    if [ -w /proc/sys/vm/compact_memory ]; then echo 1 >/proc/sys/vm/compact_memory; fi
}

rotation_for() { # jpegtran's argument for an orientation
    case $1 in 6) echo 90 ;; 8) echo 270 ;; 3) echo 180 ;; esac
}

# seconds since the epoch, with fractions
now() { date +%s.%N; }
elapsed() { echo "$2 - $1" | bc -l; }

# scaling REPEATS COMMAND...: how many times faster one copy of COMMAND per core runs, all at once,
# than the same runs one after the other (REPEATS runs a copy): what this machine's cores give for
# that kind of work, the ceiling of a run that spreads it over them.
scaling() {
    local repeats=$1 cores start one all
    shift
    cores=$(nproc)
    start=$(now)
    for ((i = 0; i < repeats * cores; i++)); do "$@" >/dev/null; done
    one=$(elapsed "$start" "$(now)")
    start=$(now)
    for ((c = 0; c < cores; c++)); do
        (for ((i = 0; i < repeats; i++)); do "$@" >/dev/null; done) &
    done
    wait
    all=$(elapsed "$start" "$(now)")
    echo "$one / $all" | bc -l
}

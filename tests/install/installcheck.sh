#!/usr/bin/env bash
# Installs the build into temporary prefixes and runs the installed pivotel-cli from there:
# its version, a turn of a small photo, which needs exiftool found from the install, a look at it
# and a re-encoding, which need the modules found from the install. Once
# whole (the bundled exiftool under share/pivotel) and once as the .deb has it (the system's).
# Usage: installcheck.sh BUILD_DIR VERSION
set -euo pipefail
build=$1 version=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export XDG_DATA_HOME="$work/data"
fail() { echo "FAIL: $*" >&2; exit 1; }

check() { # PREFIX FILE...: the installed pivotel-cli works, and the files are there
    local prefix=$1 cli="$1/bin/pivotel-cli"
    shift
    for file in bin/pivotel bin/pivotel-cli "$@"; do
        [ -e "$prefix/$file" ] || fail "the install lacks $file"
    done
    [ "$("$cli" --version)" = "pivotel-cli $version" ] || fail "--version says '$("$cli" --version)'"
    # A 32x16 photo, turned clockwise, is 16x32 afterwards.
    { printf 'P6\n32 16\n255\n'; head -c $((32 * 16 * 3)) /dev/zero; } | cjpeg >"$work/photo.jpg"
    "$cli" -q --action=cw "$work/photo.jpg" || fail "$cli failed the turn"
    rdjpgcom -verbose "$work/photo.jpg" | grep -q '16w \* 32h' || fail "$cli did not turn the photo"
    # The picture check's module is found from the install, wherever a test build's may be.
    env -u PIVOTEL_LOOK_MODULE "$cli" -q --look --dry-run "$work/photo.jpg" ||
        fail "$cli --look did not find the picture check"
    # So is the pixels module, which re-encodes: the photo turned back, 32x16 again.
    env -u PIVOTEL_PIXELS_MODULE "$cli" -q --reencode --action=ccw "$work/photo.jpg" ||
        fail "$cli --reencode did not find the pixels module"
    rdjpgcom -verbose "$work/photo.jpg" | grep -q '32w \* 16h' || fail "$cli did not re-encode the photo"
}

whole="$work/prefix with space"
cmake --install "$build" --prefix "$whole" >/dev/null
check "$whole" lib/pivotel/libpivotel-look.so lib/pivotel/libpivotel-pixels.so share/pivotel/pivotel.pdf share/pivotel/exiftool/exiftool

packaged="$work/packaged"
cmake --install "$build" --prefix "$packaged" --component pivotel >/dev/null
[ ! -e "$packaged/share/pivotel/exiftool" ] || fail "the packaged layout carries exiftool"
check "$packaged" lib/pivotel/libpivotel-look.so lib/pivotel/libpivotel-pixels.so share/pivotel/pivotel.pdf
echo "installed twice and turned a photo from each"

#!/usr/bin/env bash
# Builds the .deb with cpack and checks it with dpkg-deb: its name, its control fields, its
# files (and no bundled exiftool), and that Depends names a package for every library the
# programs link directly.
# Usage: debcheck.sh BUILD_DIR VERSION
set -euo pipefail
build=$1 version=$2
command -v dpkg-deb >/dev/null || { echo "SKIP: dpkg-deb is not installed"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

cpack -G DEB --config "$build/CPackConfig.cmake" -B "$work" >"$work/cpack.log" 2>&1 ||
    { cat "$work/cpack.log" >&2; fail "cpack failed"; }
deb="$work/pivotel_${version}_amd64.deb"
[ -f "$deb" ] || fail "no $(basename "$deb") among: $(ls "$work")"

field() { dpkg-deb -f "$deb" "$1"; }
[ "$(field Package)" = pivotel ] || fail "Package: $(field Package)"
[ "$(field Version)" = "$version" ] || fail "Version: $(field Version)"
[ "$(field Architecture)" = amd64 ] || fail "Architecture: $(field Architecture)"
[ -n "$(field Maintainer)" ] && [ -n "$(field Description)" ] || fail "no Maintainer or Description"
depends=$(field Depends | tr ',' '\n' | sed -E 's/^ *//; s/ *\(.*//')
grep -qx libimage-exiftool-perl <<<"$depends" || fail "Depends lacks libimage-exiftool-perl"
grep -qx qt6-qpa-plugins <<<"$depends" || fail "Depends lacks the Qt platform plugins"
# Every library the programs and their modules need directly comes from a package in Depends.
for binary in "$build"/Pivotel.app/Contents/MacOS/{pivotel,pivotel-cli} \
    "$build"/Pivotel.app/Contents/PlugIns/libpivotel-{look,pixels}.so; do
    program=$(basename "$binary")
    for library in $(objdump -p "$binary" | awk '/NEEDED/ {print $2}'); do
        path=$(ldd "$binary" | awk -v l="$library" '$1 == l {print $3}')
        [ -n "$path" ] || continue # the dynamic loader, which ldd names by its path
        package=$(dpkg -S "$(readlink -f "$path")" 2>/dev/null | head -1 | cut -d: -f1) ||
            package=$(dpkg -S "$path" | head -1 | cut -d: -f1)
        grep -qx "$package" <<<"$depends" || fail "$program needs $library of $package, not in Depends"
    done
done

files=$(dpkg-deb -c "$deb" | awk '{print $6}' | sed 's|^\./||')
expected=(usr/bin/pivotel usr/bin/pivotel-cli usr/lib/pivotel/libpivotel-look.so
    usr/lib/pivotel/libpivotel-pixels.so usr/share/pivotel/pivotel.pdf
    usr/share/applications/com.zenthori.pivotel.desktop
    usr/share/metainfo/com.zenthori.pivotel.metainfo.xml
    usr/share/icons/hicolor/scalable/apps/com.zenthori.pivotel.svg
    usr/share/man/man1/pivotel.1 usr/share/man/man1/pivotel-cli.1
    usr/share/bash-completion/completions/pivotel-cli)
for size in 16 24 32 48 64 128 256 512; do
    expected+=("usr/share/icons/hicolor/${size}x${size}/apps/com.zenthori.pivotel.png")
done
for file in "${expected[@]}"; do
    grep -qx "$file" <<<"$files" || fail "the package lacks $file"
done
! grep -q exiftool <<<"$files" || fail "the package carries its own exiftool: $(grep exiftool <<<"$files" | head -1)"
outside=$(grep -v -E '^usr/(bin|share|lib/pivotel)/|/$' <<<"$files" || true)
[ -z "$outside" ] || fail "files outside usr/bin, usr/lib/pivotel and usr/share: $outside"
echo "$(basename "$deb"): $(wc -l <<<"$files") entries; Depends: $(field Depends)"

#!/usr/bin/env bash
# Fails when a layer of src/ includes a header of a layer above it (or of a sibling), or when
# anything outside src/jpeg/ includes a libjpeg or TurboJPEG header, or outside src/look/ an
# OpenCV, Tesseract or Leptonica one. With --self-test it plants
# each kind of fault in a copy of the tree and fails unless every one is caught.
set -uo pipefail
declare -A rank=([support]=0 [jpeg]=1 [look]=2 [photolist]=3 [metadata]=3 [engine]=4 [preview]=5
                 [services]=6 [ui]=7 [cli]=7 [app]=8)

check() {
    local src=$1 bad=0 file layer included
    while IFS=: read -r file included; do
        layer=${file#"$src"/}; layer=${layer%%/*}
        [ -n "${rank[$layer]:-}" ] || { echo "$file: not in a known layer"; bad=1; continue; }
        if [ -z "${rank[$included]:-}" ]; then continue; fi
        if [ "$included" != "$layer" ] && [ "${rank[$included]}" -ge "${rank[$layer]}" ]; then
            echo "$file: $layer includes $included/"; bad=1
        fi
    done < <(grep -rHoE '^#include "[a-z]+/' "$src" --include='*.h' --include='*.cpp' |
             sed -E 's/#include "([a-z]+)\//\1/')
    if grep -rlE '^#include [<"](turbojpeg|jpeglib|jerror|jconfig|jmorecfg)\.h[>"]' "$src" \
        --include='*.h' --include='*.cpp' | grep -v "^$src/jpeg/"; then
        echo "^ include libjpeg or TurboJPEG outside jpeg/"; bad=1
    fi
    if grep -rlE '^#include [<"](opencv2/|tesseract/|leptonica/|allheaders\.h)' "$src" \
        --include='*.h' --include='*.cpp' | grep -v "^$src/look/"; then
        echo "^ include OpenCV, Tesseract or Leptonica outside look/"; bad=1
    fi
    return $bad
}

src=$1
if [ "${2:-}" = "--self-test" ]; then
    for fault in '#include "ui/mainmodule.h"@engine' '#include "cli/intake.h"@ui' '#include <jpeglib.h>@engine' \
                 '#include <opencv2/core.hpp>@ui'; do
        copy=$(mktemp -d)
        cp -r "$src/." "$copy"
        echo "${fault%@*}" > "$copy/${fault#*@}/planted.cpp"
        if check "$copy" >/dev/null; then echo "not caught: $fault"; rm -rf "$copy"; exit 1; fi
        rm -rf "$copy"
    done
    exit 0
fi
check "$src"

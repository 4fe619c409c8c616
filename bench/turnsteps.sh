#!/usr/bin/env bash
# The in-memory steps of one lossless turn of a 24-megapixel photo: the transform, setting the
# EXIF block upright with the trailer carried, and the full check of the new file.
# Usage: bench/turnsteps.sh [rounds]
set -euo pipefail
source "$(dirname "$0")/common.sh"
need_build
make_base
"$repo_root/build/tools/pivotel-turnsteps" "$out/base.jpg" "${1:-5}"

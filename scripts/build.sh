#!/usr/bin/env bash
# Configures and builds Pivotel into build/ (the bundle lands in build/Pivotel.app, the sandboxed
# flavour's in build/sandboxed/Pivotel.app).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh "$@"
cmake -S . -B build -DCMAKE_BUILD_TYPE="${PIVOTEL_BUILD_TYPE:-RelWithDebInfo}" -DPIVOTEL_SANDBOXED=ON >/dev/null
cmake --build build --parallel "$(nproc)"

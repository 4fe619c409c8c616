#!/usr/bin/env bash
# Runs clang-tidy (.clang-tidy) over src/ with the build's compile commands; any finding fails.
# Skipped, with a note, when clang-tidy isn't installed.
set -euo pipefail
cd "$(dirname "$0")/.."
if ! command -v run-clang-tidy >/dev/null; then
    echo "clang-tidy is not installed: src/ not checked" >&2
    exit 0
fi
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! run-clang-tidy -quiet -p build -j "$(nproc)" "$(pwd)/src/.*\.cpp$" >"$log" 2>&1 ||
    grep -qE '(warning|error): ' "$log"; then
    grep -E -A3 '(warning|error): ' "$log" >&2 || cat "$log" >&2
    echo "clang-tidy found the above in src/" >&2
    exit 1
fi
echo "clang-tidy: src/ is clean"

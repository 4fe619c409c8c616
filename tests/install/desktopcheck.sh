#!/usr/bin/env bash
# The desktop entry and the AppStream metainfo pass their validators; skipped (77) when the
# validators (desktop-file-utils, appstream) are missing.
# Usage: desktopcheck.sh RESOURCES_DIR
set -euo pipefail
resources=$1
for tool in desktop-file-validate appstreamcli; do
    command -v "$tool" >/dev/null || { echo "SKIP: $tool is not installed"; exit 77; }
done
# Not even a hint: a missing main category or content rating passes both validators with one.
out=$(desktop-file-validate "$resources/com.zenthori.pivotel.desktop" 2>&1) || { echo "$out" >&2; exit 1; }
[ -z "$out" ] || { echo "$out" >&2; exit 1; }
out=$(appstreamcli validate --no-net --pedantic --no-color "$resources/com.zenthori.pivotel.metainfo.xml" 2>&1) || {
    echo "$out" >&2; exit 1; }
if grep -qE '^[IWEP]:' <<<"$out"; then echo "$out" >&2; exit 1; fi
echo "valid"

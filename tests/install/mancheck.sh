#!/usr/bin/env bash
# The man pages render without a warning, and pivotel-cli.1 names every option of --help, so
# the two can't drift apart.
# Usage: mancheck.sh MAN_DIR PIVOTEL_CLI
set -euo pipefail
mandir=$1 cli=$2
command -v man >/dev/null || { echo "SKIP: man is not installed"; exit 77; }
for page in pivotel pivotel-cli; do
    warnings=$(MANWIDTH=80 man --warnings -l "$mandir/$page.1" 2>&1 >/dev/null)
    [ -z "$warnings" ] || { echo "FAIL: $page.1: $warnings" >&2; exit 1; }
    text=$(MANWIDTH=80 man -l "$mandir/$page.1" 2>/dev/null | col -b)
    grep -q "^NAME" <<<"$text" || { echo "FAIL: $page.1 renders no NAME section" >&2; exit 1; }
    [ "$page" = pivotel-cli ] && cli_text=$text
done
options=$("$cli" --help | grep -oE -- '(^|[ ,])--?[a-zA-Z][a-z-]*' | tr -d ' ,' | sort -u)
[ -n "$options" ] || { echo "FAIL: no options in --help" >&2; exit 1; }
for option in $options; do
    grep -qF -- "$option" <<<"$cli_text" || { echo "FAIL: pivotel-cli.1 lacks $option" >&2; exit 1; }
done
echo "rendered; pivotel-cli.1 names $(wc -w <<<"$options") options"

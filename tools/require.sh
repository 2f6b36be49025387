#!/usr/bin/env bash
# Stops the calling script when a program it needs is not installed, and names what is missing.
# It installs nothing (tools/ensure-packages.sh does, for the README's commands and CI).
#   usage: tools/require.sh CALLER PROGRAM...
set -euo pipefail
caller=$1
shift
missing=()
for program in "$@"; do
    command -v "$program" >/dev/null || missing+=("$program")
done
if [ ${#missing[@]} -gt 0 ]; then
    echo "$caller: not installed: ${missing[*]}" >&2
    exit 1
fi

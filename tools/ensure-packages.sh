#!/usr/bin/env bash
# Installs the Debian packages named on the command line that are not installed yet.
# Used by the build, test and demo scripts so that a fresh machine needs no manual set-up.
set -euo pipefail

missing=()
for pkg in "$@"; do
    dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed" || missing+=("$pkg")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
if [ "$(id -u)" -ne 0 ]; then
    sudo=sudo
else
    sudo=
fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null

#!/usr/bin/env bash
# Installs the other INI readers that bench/ini_bench compares against, where they are missing:
# inih, SimpleIni (whose Debian header converts through ICU), and boost's property_tree.
# Needs root (or sudo) and Debian's package lists.
set -euo pipefail

packages=(libinih-dev libsimpleini-dev libboost-dev libicu-dev pkg-config)
missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
    echo "ini bench: all anchors present"
    exit 0
fi

sudo=()
[ "$(id -u)" -eq 0 ] || sudo=(sudo)
"${sudo[@]}" apt-get update
DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y --no-install-recommends "${missing[@]}"

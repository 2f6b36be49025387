#!/usr/bin/env bash
# Installs the Debian packages with apt-get as a user would, builds the smallest program on them
# through pkg-config and through find_package and runs it, finds the inspector's manual page and
# completion, builds, checks and runs a project that tessarine-plugin writes, and removes the
# packages again: nothing they installed may be left, but for directories that another package
# also owns. Nothing tells the compiler, CMake or the
# programs where Tessarine is: no prefix, run path or environment variable. Changes the
# machine; needs root or sudo.
#   usage: install_test.sh PACKAGE_DIR SOURCE_DIR
set -euo pipefail
packages=$(cd "$1" && pwd)
source=$(cd "$2" && pwd)
names=(libtessarine1 libtessarine-dev tessarine-tools)
sudo=
[ "$(id -u)" -eq 0 ] || sudo=sudo
export DEBIAN_FRONTEND=noninteractive
work=$(mktemp -d)
purge() { $sudo apt-get purge -y -qq "${names[@]}" >/dev/null; }
trap 'dpkg-query -W "${names[@]}" >/dev/null 2>&1 && purge; rm -rf "$work"' EXIT

step() { echo "--- $*"; }
# Runs a command with the environment of a fresh login: only the system's PATH.
clean() { env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME="$work" "$@"; }

step "apt-get install ${packages##*/}/*.deb"
$sudo apt-get install -y -qq "$packages"/*.deb >/dev/null
dpkg -L "${names[@]}" | grep -vx '/\.' | sort -u >"$work/files"

step "g++ \$(pkg-config --cflags --libs tessarine)"
# shellcheck disable=SC2046 # the flags are words of their own
clean g++ -std=c++17 "$source/examples/minimal.cpp" $(clean pkg-config --cflags --libs tessarine) \
    -o "$work/minimal-pkg-config"
clean "$work/minimal-pkg-config"

step "find_package(Tessarine 1.1)"
clean cmake -S "$source/tests/system/consumer" -B "$work/consumer" \
    -DMINIMAL_SOURCE="$source/examples/minimal.cpp" >/dev/null
clean cmake --build "$work/consumer" >/dev/null
clean "$work/consumer/minimal"

step "tessarine-ini, its manual page and its completion"
clean tessarine-ini --get "same release" right "$source/examples/sample.ini"
clean man -w tessarine-ini
clean bash -c 'source /usr/share/bash-completion/bash_completion &&
               __load_completion tessarine-ini && complete -p tessarine-ini'

step "tessarine-plugin new, built, checked and run"
clean tessarine-plugin new demo "$work/demo" >/dev/null
clean cmake -S "$work/demo" -B "$work/demo/build" >/dev/null
clean cmake --build "$work/demo/build" >/dev/null
clean ctest --test-dir "$work/demo/build" --no-tests=error >/dev/null
clean tessarine-plugin run "$work/demo/build/demo.so" Greeting who=apt
clean man -w tessarine-plugin

step "apt-get purge ${names[*]}"
purge
left=()
while read -r path; do
    [ -e "$path" ] || [ -L "$path" ] || continue
    [ -d "$path" ] && [ ! -L "$path" ] && dpkg-query -S "$path" >/dev/null 2>&1 && continue
    left+=("$path")
done <"$work/files"
if [ ${#left[@]} -gt 0 ]; then
    printf 'left behind: %s\n' "${left[@]}"
    exit 1
fi
echo "removed all $(wc -l <"$work/files") paths"

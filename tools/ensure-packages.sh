#!/usr/bin/env bash
# Installs the Debian packages named on the command line that are not installed yet, with
# apt-get (as root, or through sudo). Only the README's two commands and CI install anything;
# every other script says what is missing and stops.
# The name clang-runtime stands for the sanitizer and libFuzzer runtimes of the clang that is
# installed (libclang-rt-NN-dev for clang NN), so that it follows clang's version.
#   usage: tools/ensure-packages.sh PACKAGE... [clang-runtime]
set -euo pipefail

install() {
    local missing=() pkg
    for pkg in "$@"; do
        dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed" ||
            missing+=("$pkg")
    done
    [ ${#missing[@]} -eq 0 ] && return
    echo "Installing: ${missing[*]}"
    local sudo=
    [ "$(id -u)" -eq 0 ] || sudo=sudo
    export DEBIAN_FRONTEND=noninteractive
    $sudo apt-get update -qq
    $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

packages=()
runtime=no
for pkg in "$@"; do
    if [ "$pkg" = clang-runtime ]; then runtime=yes; else packages+=("$pkg"); fi
done
install "${packages[@]}"
if [ $runtime = yes ]; then
    install "libclang-rt-$(clang++ -dumpversion | cut -d. -f1)-dev"
fi
